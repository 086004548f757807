#include "component/atomic_file.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "musedata/converter_error.h"
#include "support/test_support.h"

namespace musedata::test {
namespace {

int EntriesIn(const std::string& folder) {
  int count = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder)) ++count;
  return count;
}

TEST(AtomicFile, TargetChangesOnlyOnCommit) {
  const struct {
    const char* name;
    bool commit;
    const char* expected;
  } rows[] = {
      {"committed", true, "/END\n"},
      {"abandoned", false, "old\n"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    TempDir dir;
    const std::string target = dir.Write("part.md", "old\n");
    {
      AtomicFileWriter writer(target);
      writer.Write("/END");
      EXPECT_EQ(ReadFile(target), "old\n");  // nothing shows before the commit
      writer.Write("\n");
      if (row.commit) writer.Commit();
    }
    EXPECT_EQ(ReadFile(target), row.expected);
    EXPECT_EQ(EntriesIn(dir.Path()), 1);
  }
}

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
  try {
    AtomicFileWriter writer(target);
    FAIL() << "the writer was created";
  } catch (const ConverterError& error) {
    EXPECT_EQ(error.Number(), 75);
    EXPECT_NE(error.Description().find(target), std::string::npos);
  }
}

}  // namespace
}  // namespace musedata::test
