#include "component/atomic_file.h"

#include <gtest/gtest.h>

#include "musedata/converter_error.h"
#include "support/test_support.h"

namespace musedata::test {
namespace {

TEST(AtomicFile, WriterThatFailsLeavesTheTargetAlone) {
  const struct {
    const char* name;
    bool succeeds;
    const char* expected;
  } rows[] = {
      {"written", true, "<score/>"},
      {"failed", false, "old\n"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    TempDir dir;
    const std::string target = dir.Write("score.musicxml", "old\n");
    try {
      AtomicFileWriter writer(target);
      writer.WriteWith(
          [&](std::FILE* file) { return std::fputs("<score/>", file) >= 0 && row.succeeds; });
      writer.Commit();
      EXPECT_TRUE(row.succeeds);
    } catch (const ConverterError& error) {
      EXPECT_FALSE(row.succeeds);
      EXPECT_EQ(error.Number(), 75);
    }
    EXPECT_EQ(ReadFile(target), row.expected);
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
