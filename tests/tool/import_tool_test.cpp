#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <tuple>

#include "support/test_support.h"

namespace musedata::test {
namespace {

namespace fs = std::filesystem;

// The marker comments "@ <name>" of a score in their order, then its number of parts.
std::string Contents(const std::string& xml) {
  std::string text;
  for (size_t at = xml.find("<!-- "); at != std::string::npos; at = xml.find("<!-- ", at + 1))
    text += xml.substr(at + 5, xml.find("-->", at) - at - 5) + " ";
  size_t parts = 0;
  for (size_t at = xml.find("<part "); at != std::string::npos; at = xml.find("<part ", at + 1))
    ++parts;
  return text + "in " + std::to_string(parts) + " parts";
}

// A folder stands for its visible files in natural name order, not its subfolders.
TEST(ImportTool, LoadsEveryInputAsTheNextPart) {
  const TempDir folder;
  for (const std::string name : {"part10", "part2", "part1", ".hidden"})
    folder.Write("set/" + name + ".md", Part({"@ " + name, "$  Q:1"}));
  folder.Write("set/inner/part3.md", Part({"@ part3", "$  Q:1"}));
  folder.Write("oboe.md", Part({"@ oboe", "$  Q:1"}));
  folder.Write("horn.md", Part({"@ horn", "$  Q:1"}));

  EXPECT_EQ(RunTool(folder.Path(), "import -o two.xml horn.md oboe.md").status, 0);
  EXPECT_EQ(Contents(ReadFile(folder.Path() + "/two.xml")), "horn oboe in 2 parts");
  EXPECT_EQ(RunTool(folder.Path(), "import -o set.xml set").status, 0);
  EXPECT_EQ(Contents(ReadFile(folder.Path() + "/set.xml")), "part1 part2 part10 in 3 parts");
}

// Every failure is one line on standard error, with status 2 for an error
// and 1 for a load the data stopped, and no output file made or replaced.
TEST(ImportTool, FailuresReportOneLineAndNeverReplaceTheOutput) {
  const TempDir folder;
  std::string wide;
  for (const char c : Part({"@ violin", "$  Q:1"})) wide += std::string{c, '\0'};
  folder.Write("good.md", Part({"@ good", "$  Q:1"}));
  folder.Write("gap.md", Part({"$ K:0 Q:4 T:3/4 C:4", "", "@ after the gap"}));
  folder.Write("bom.md", "\xFF\xFE" + wide);
  folder.Write("wide.md", wide);
  folder.Write("score.mxl", "PK\x03\x04 and the rest of a container");
  folder.Write("score.xml", "<?xml version=\"1.0\"?>\n<score-partwise/>\n");
  folder.Write("clef.md", Part({"$ C:x"}));
  folder.Write("big.md", Part({"$  Q:1", std::string(12000, '@')}));
  folder.Write("kept.musicxml", "a good score");
  const std::vector<std::string> before = Names(folder.Path());
  const std::string utf16 = ": UTF-16 text; MuseData files are ASCII, CP437, Latin-1 or UTF-8\n";
  const std::tuple<std::string, int, std::string> rows[] = {
      {"good.md nope.md", 2, "error 0x800417BE (Verdantix): File nope.md not found\n"},
      {"good.md gap.md", 1, "conversion stopped: gap.md, line 14"},
      {"bom.md", 2, "error 0x0000000D (musedata): bom.md" + utf16},
      {"wide.md", 2, "error 0x0000000D (musedata): wide.md" + utf16},
      {"score.mxl", 2,
       "error 0x0000000D (musedata): score.mxl: a zip container, not MuseData text\n"},
      {"score.xml", 2, "error 0x0000000D (musedata): score.xml: MusicXML, not MuseData text\n"},
      // Some 12 KB of MuseData make a score of about 1.1 MB: past a limit of 1 MB.
      {"--memory-limit 1 good.md big.md", 2,
       "error 0x00000007 (musedata): Out of memory: big.md: the score would take about 1 MB"},
      {"clef.md", 2,
       "error 0x80041783 (Verdantix): clef.md, line 13: MuseData ParseAttributes error 13: Type "
       "mismatch\n"},
  };
  for (const auto& [inputs, status, message] : rows) {
    for (const std::string output : {"fresh.musicxml", "kept.musicxml"}) {
      SCOPED_TRACE(inputs + " -o " + output);
      const ToolRun run = RunTool(folder.Path(), "import -o " + output + " " + inputs);
      EXPECT_EQ(run.status, status);
      EXPECT_EQ(run.err.substr(0, message.size() + 10), "musedata: " + message);
      EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
      EXPECT_EQ(ReadFile(folder.Path() + "/kept.musicxml"), "a good score");
      EXPECT_EQ(Names(folder.Path()), before);
    }
  }
}

// Either command, used wrongly, says so and writes nothing.
TEST(Tool, WrongUsageExits64AndWritesNothing) {
  const TempDir folder;
  folder.Write("a.md", Part({"@ a", "$  Q:1"}));
  folder.Write("a.xml", ReadFile(MUSEDATA_TEST_DATA "/export/sonatina.musicxml"));
  fs::create_directories(folder.Path() + "/empty/.git");
  folder.Write("empty/.hidden.md", Part({"@ hidden", "$  Q:1"}));
  const std::vector<std::string> before = Names(folder.Path());
  for (const char* arguments :
       {"", "import", "transmogrify a.md", "import --bogus a.md", "import a.md -o",
        "import --encoding ebcdic a.md", "import -o out.musicxml empty", "export",
        "export a.xml b.xml", "export -p 0 a.xml", "export -p two a.xml",
        "export -p 1 --all -o parts a.xml", "export --all a.xml", "export --all -o - a.xml",
        "export --bogus a.xml"}) {
    SCOPED_TRACE(arguments);
    const ToolRun run = RunTool(folder.Path(), arguments);
    EXPECT_EQ(run.status, 64);
    EXPECT_NE(run.err, "");
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(Names(folder.Path()), before);
  }
}

}  // namespace
}  // namespace musedata::test
