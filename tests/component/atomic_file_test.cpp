#include "component/atomic_file.h"

#include <gtest/gtest.h>

#include "support/test_support.h"

namespace musedata::test {
namespace {

TEST(AtomicFile, TargetChangesOnlyOnCommit) {
  for (const bool commit : {true, false}) {
    SCOPED_TRACE(commit ? "committed" : "abandoned");
    TempDir dir;
    const std::string target = dir.Write("part.md", "old\n");
    {
      AtomicFileWriter writer(target);
      writer.Write("/END");
      EXPECT_EQ(ReadFile(target), "old\n");  // nothing shows before the commit
      writer.Write("\n");
      if (commit) writer.Commit();
    }
    EXPECT_EQ(ReadFile(target), commit ? "/END\n" : "old\n");
    EXPECT_EQ(EntriesIn(dir.Path()), 1);
  }
}

TEST(AtomicFile, UnwritableTargetRaisesPathFileAccessError) {
  TempDir dir;
  const std::string target = dir.Path() + "/missing/part.md";
  const std::string error = ErrorOf([&] { AtomicFileWriter writer(target); });
  EXPECT_EQ(error.substr(0, 4), "#75 ");
  EXPECT_NE(error.find(target), std::string::npos) << error;
}

}  // namespace
}  // namespace musedata::test
