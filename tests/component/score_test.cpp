#include "musedata/score.h"

#include <gtest/gtest.h>

#include "component/utilities.h"
#include "musedata/converter_error.h"
#include "support/test_support.h"
#include "xml/node.h"

namespace musedata::test {
namespace {

TEST(Score, ImportRunsEveryFileThroughOneComponent) {
  TempDir dir;
  const std::vector<std::string> paths = {
      dir.Write("a.md", Part({"$ K:0 Q:4 T:4/4 C:4"})),
      dir.Write("b.md", Part({"$ K:0 Q:4 T:4/4 C:4"})),
  };
  const struct {
    const char* name;
    const char* cancelIn;  // the file whose first event cancels; none when null
    bool complete;
    int parts;
    const char* stoppedAt;
  } rows[] = {
      {"whole import", nullptr, true, 2, ""},
      {"cancelled in the second file", "b.md", false, 1, "b.md, line 1: cancelled"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    std::vector<std::string> filesSeen;
    ImportOptions options;
    options.progress = [&](const std::string& file, int32_t, int32_t, bool& cancel) {
      if (filesSeen.empty() || filesSeen.back() != file) filesSeen.push_back(file);
      if (row.cancelIn && file == row.cancelIn) cancel = true;
    };
    const ImportResult result = ImportScore(paths, options);
    EXPECT_EQ(result.complete, row.complete);
    EXPECT_EQ(result.stoppedAt, row.stoppedAt);
    EXPECT_EQ(xml::Root(result.document).CountChildren("part"), row.parts);
    EXPECT_EQ(filesSeen, (std::vector<std::string>{"a.md", "b.md"}));
  }
}

// The file is replaced only by a whole part: a timewise score, a cancel and
// a missing part all leave it as it was.
TEST(Score, ExportPartReplacesTheFileOnlyWithAWholePart) {
  TempDir dir;
  const std::string target = dir.Write("out.md", "kept\n");
  const ImportResult score = ImportScore({dir.Write("a.md", Part({"$ K:0 Q:4 T:4/4 C:4"}))});
  ExportOptions cancelling;
  cancelling.progress = [](int32_t, int32_t, bool& cancel) { cancel = true; };
  EXPECT_FALSE(ExportPart(InitializeXML(false, ""), 1, target));
  EXPECT_FALSE(ExportPart(score.document, 1, target, cancelling));
  EXPECT_THROW(ExportPart(score.document, 2, target), ConverterError);
  EXPECT_EQ(ReadFile(target), "kept\n");
  EXPECT_TRUE(ExportPart(score.document, 1, target));
  EXPECT_NE(ReadFile(target).find("\n$   Q:4 K:0 T:4/4 C:4\n/END\n"), std::string::npos);
}

}  // namespace
}  // namespace musedata::test
