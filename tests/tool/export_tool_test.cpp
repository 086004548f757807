#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <filesystem>

#include "support/test_support.h"

namespace musedata::test {
namespace {

namespace fs = std::filesystem;

// The tool's temporary files go to TMPDIR; the tests point it into their own
// folder, so that nothing is written elsewhere and leftovers can be seen.
class TemporaryFolderScope {
 public:
  explicit TemporaryFolderScope(const std::string& folder) {
    if (const char* old = std::getenv("TMPDIR")) m_old = old;
    setenv("TMPDIR", folder.c_str(), 1);
  }
  ~TemporaryFolderScope() {
    if (m_old.empty()) {
      unsetenv("TMPDIR");
    } else {
      setenv("TMPDIR", m_old.c_str(), 1);
    }
  }

 private:
  std::string m_old;
};

std::string MinuetFolder() {
  return (fs::path(__FILE__).parent_path() / "../../examples/minuet").lexically_normal().string();
}

// A score of `parts` parts at 10080 divisions per quarter, as notation
// programs write them: a 3/4 bar of a quarter, two eighths and a quarter. A
// second part has a voice that is not a number, which the export refuses.
std::string FineDivisionsScore(int parts) {
  std::string notes;
  for (const int duration : {10080, 5040, 5040, 10080})
    notes += "<note><pitch><step>G</step><octave>4</octave></pitch><duration>" +
             std::to_string(duration) + "</duration><voice>1</voice><type>" +
             (duration == 5040 ? "eighth" : "quarter") + "</type></note>";
  std::string text =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<!DOCTYPE score-partwise PUBLIC \"-//Recordare//DTD MusicXML 4.0 Partwise//EN\" "
      "\"http://www.musicxml.org/dtds/partwise.dtd\">\n"
      "<score-partwise version=\"4.0\"><part-list><score-part id=\"P1\"><part-name>Flute"
      "</part-name></score-part><score-part id=\"P2\"/></part-list><part id=\"P1\">"
      "<measure number=\"1\"><attributes><divisions>10080</divisions><key><fifths>0</fifths>"
      "</key><time><beats>3</beats><beat-type>4</beat-type></time><clef><sign>G</sign><line>2"
      "</line></clef></attributes>" +
      notes + "</measure></part>";
  if (parts == 2) text += "<part id=\"P2\"><measure><note><voice>x</voice></note></measure></part>";
  return text + "</score-partwise>\n";
}

TEST(ExportTool, WritesAPartToAFileStandardOutputOrEveryPartToAFolder) {
  const TempDir folder;
  const TemporaryFolderScope temporary(folder.Path());
  const std::string minuet = "'" + MinuetFolder() + "'";
  const ToolRun imported = RunTool(folder.Path(), "import -o minuet.musicxml " + minuet);
  ASSERT_EQ(imported.status, 0) << imported.err;
  EXPECT_EQ(imported.err, "") << "the bundled minuet converts without a warning";

  const ToolRun toFile = RunTool(folder.Path(), "export -p 2 -o viola.md minuet.musicxml");
  EXPECT_EQ(toFile.status, 0) << toFile.err;
  EXPECT_EQ(toFile.err + toFile.out, "");
  const std::string viola = ReadFile(folder.Path() + "/viola.md");
  EXPECT_NE(viola.find("/END"), std::string::npos) << viola;
  EXPECT_NE(viola.find("score: part 2 of 3"), std::string::npos) << viola;

  const ToolRun toOutput = RunTool(folder.Path(), "export --part 2 minuet.musicxml");
  EXPECT_EQ(toOutput.status, 0) << toOutput.err;
  EXPECT_EQ(toOutput.out, viola);

  const ToolRun all = RunTool(folder.Path(), "export --all -o parts minuet.musicxml");
  EXPECT_EQ(all.status, 0) << all.err;
  EXPECT_EQ(all.err, "");
  EXPECT_EQ(ReadFile(folder.Path() + "/parts/02.md"), viola);

  // What import writes as compressed MusicXML, export reads back.
  ASSERT_EQ(RunTool(folder.Path(), "import -o minuet.mxl " + minuet).status, 0);
  const ToolRun packed = RunTool(folder.Path(), "export -p 2 minuet.mxl");
  EXPECT_EQ(packed.status, 0) << packed.err;
  EXPECT_EQ(packed.out, viola);
  EXPECT_EQ(Names(folder.Path()),
            (std::vector<std::string>{"minuet.musicxml", "minuet.mxl", "parts", "parts/01.md",
                                      "parts/02.md", "parts/03.md", "viola.md"}))
      << "no temporary file is left behind";
}

// Without the reduction, 10080 divisions overflow the three duration columns
// and the writers clamp them with a warning; with it the part keeps its rhythm.
TEST(ExportTool, ReducesDivisionsToFitTheDurationColumns) {
  const TempDir folder;
  const TemporaryFolderScope temporary(folder.Path());
  folder.Write("flute.musicxml", FineDivisionsScore(1));
  const ToolRun reduced = RunTool(folder.Path(), "export flute.musicxml");
  EXPECT_EQ(reduced.status, 0) << reduced.err;
  EXPECT_EQ(reduced.err, "");
  EXPECT_EQ(reduced.out.substr(reduced.out.find("\n$")),
            "\n$   Q:2 K:0 T:3/4 C:4\nG4   2        1 q\nG4   1        1 e\nG4   1        1 e\n"
            "G4   2        1 q\n/END\n");

  const ToolRun kept = RunTool(folder.Path(), "export --keep-divisions flute.musicxml");
  EXPECT_EQ(kept.status, 0) << kept.err;
  EXPECT_EQ(kept.err.rfind("musedata: warning: ", 0), 0u) << kept.err;
  EXPECT_NE(kept.out.find("\n$   Q:10080 K:0 T:3/4 C:4\nG4   999      1 q\n"), std::string::npos)
      << kept.out;
}

// Any failure: one error line, exit 2, and no file or folder made or
// replaced, even when the second of two parts fails.
TEST(ExportTool, FailuresReportOneLineAndWriteNothing) {
  const TempDir folder;
  const TemporaryFolderScope temporary(folder.Path());
  folder.Write("broken.xml", "<score-partwise>\n  <part id=\"P1\">\n</score-partwise>\n");
  folder.Write("one.xml", FineDivisionsScore(1));
  folder.Write("two.xml", FineDivisionsScore(2));
  fs::create_directory(folder.Path() + "/parts");
  folder.Write("parts/01.md", "a good part");
  const std::pair<const char*, std::string> rows[] = {
      {"-o kept.md broken.xml",
       "error 0x00000005 (musedata): broken.xml, line 4, column 1: not well-formed XML: "
       "Premature end of data in tag score-partwise line 1"},
      {"-o kept.md none.xml", "error 0x00000035 (musedata): File none.xml not found"},
      {"-p 2 -o kept.md one.xml", "error 0x800417B2 (Verdantix): No part number 2 found"},
      {"-p 2 two.xml", "error 0x800417A4 (Verdantix): MuseData InitTracks error 13"},
      {"--all -o parts two.xml", "error 0x800417A4 (Verdantix): MuseData InitTracks error 13"},
      {"--all -o fresh two.xml", "error 0x800417A4 (Verdantix): MuseData InitTracks error 13"},
  };
  folder.Write("kept.md", "a good part");
  const std::vector<std::string> before = Names(folder.Path());
  for (const auto& [arguments, message] : rows) {
    SCOPED_TRACE(arguments);
    const ToolRun run = RunTool(folder.Path(), std::string("export ") + arguments);
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err.rfind("musedata: " + message, 0), 0u) << run.err;
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(ReadFile(folder.Path() + "/kept.md"), "a good part");
    EXPECT_EQ(ReadFile(folder.Path() + "/parts/01.md"), "a good part");
    EXPECT_EQ(Names(folder.Path()), before);
  }
}

TEST(ExportTool, WrongUsageExits64) {
  const TempDir folder;
  folder.Write("a.xml", FineDivisionsScore(1));
  for (const char* arguments :
       {"export", "export a.xml b.xml", "export -p 0 a.xml", "export -p two a.xml",
        "export -p 1 --all -o parts a.xml", "export --all a.xml", "export --all -o - a.xml",
        "export --bogus a.xml"}) {
    SCOPED_TRACE(arguments);
    const ToolRun run = RunTool(folder.Path(), arguments);
    EXPECT_EQ(run.status, 64);
    EXPECT_NE(run.err, "");
    EXPECT_EQ(run.out, "");
  }
  EXPECT_EQ(Names(folder.Path()), std::vector<std::string>{"a.xml"});
}

}  // namespace
}  // namespace musedata::test
