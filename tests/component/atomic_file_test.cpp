#include "component/atomic_file.h"

#include <gtest/gtest.h>

#include "support/test_support.h"

namespace musedata::test {
namespace {

TEST(AtomicFile, UnwritableTargetRaisesPathFileAccessError) {
  TempDir dir;
  const std::string target = dir.Path() + "/missing/part.md";
  const std::string error = ErrorOf([&] { AtomicFileWriter writer(target); });
  EXPECT_EQ(error.substr(0, 4), "#75 ");
  EXPECT_NE(error.find(target), std::string::npos) << error;
}

}  // namespace
}  // namespace musedata::test
