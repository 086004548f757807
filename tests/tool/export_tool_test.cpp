#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "support/test_support.h"

namespace musedata::test {
namespace {

namespace fs = std::filesystem;

// Runs the tool in `folder` with its temporary files there too (TMPDIR), so
// that nothing is written elsewhere and leftovers can be seen.
ToolRun RunIn(const TempDir& folder, const std::string& arguments) {
  return RunScript(folder.Path(), "TMPDIR=\"$PWD\" \"$TOOL\" " + arguments);
}

const std::string kSonatina = MUSEDATA_TEST_DATA "/export/sonatina.musicxml";

// The two-part sonatina with a backup in the piano's third measure that has
// no duration, which the export cannot write.
std::string BrokenSonatina() {
  std::string score = ReadFile(kSonatina);
  const std::string backup =
      "<backup><duration>12</duration></backup>\n      <note><pitch><step>G</step>";
  const size_t at = score.find(backup);
  if (at != std::string::npos) score.replace(at, backup.find('\n'), "<backup/>");
  return score;
}

TEST(ExportTool, WritesAPartToAFileStandardOutputOrEveryPartToAFolder) {
  const TempDir folder;
  const std::string minuet = "'" MUSEDATA_TEST_DATA "/../../examples/minuet'";
  const ToolRun imported = RunIn(folder, "import -o minuet.musicxml " + minuet);
  ASSERT_EQ(imported.status, 0) << imported.err;
  EXPECT_EQ(imported.err, "") << "the bundled minuet converts without a warning";

  const ToolRun toFile = RunIn(folder, "export -p 2 -o viola.md minuet.musicxml");
  EXPECT_EQ(toFile.status, 0) << toFile.err;
  EXPECT_EQ(toFile.err + toFile.out, "");
  const std::string viola = ReadFile(folder.Path() + "/viola.md");
  EXPECT_NE(viola.find("/END"), std::string::npos) << viola;
  EXPECT_NE(viola.find("score: part 2 of 3"), std::string::npos) << viola;

  const ToolRun toOutput = RunIn(folder, "export --part 2 minuet.musicxml");
  EXPECT_EQ(toOutput.status, 0) << toOutput.err;
  EXPECT_EQ(toOutput.out, viola);

  const ToolRun all = RunIn(folder, "export --all -o parts minuet.musicxml");
  EXPECT_EQ(all.status, 0) << all.err;
  EXPECT_EQ(all.err, "");
  EXPECT_EQ(ReadFile(folder.Path() + "/parts/02.md"), viola);

  // What import writes as compressed MusicXML, export reads back.
  ASSERT_EQ(RunIn(folder, "import -o minuet.mxl " + minuet).status, 0);
  const ToolRun packed = RunIn(folder, "export -p 2 minuet.mxl");
  EXPECT_EQ(packed.status, 0) << packed.err;
  EXPECT_EQ(packed.out, viola);
  EXPECT_EQ(Names(folder.Path()),
            (std::vector<std::string>{"minuet.musicxml", "minuet.mxl", "parts", "parts/01.md",
                                      "parts/02.md", "parts/03.md", "viola.md"}))
      << "no temporary file is left behind";
}

// The sonatina at 4000 divisions per quarter, as fine as notation programs
// write them: without the reduction its durations overflow the three
// duration columns and the writers clamp them with a warning.
TEST(ExportTool, ReducesDivisionsToFitTheDurationColumns) {
  const TempDir folder;
  std::string fine = ReadFile(kSonatina);
  for (const std::string end : {"</divisions>", "</duration>"})
    for (size_t at = fine.find(end); at != std::string::npos; at = fine.find(end, at + 4))
      fine.insert(at, "000");
  folder.Write("fine.xml", fine);
  const ToolRun reduced = RunIn(folder, "export fine.xml");
  EXPECT_EQ(reduced.status, 0) << reduced.err;
  EXPECT_EQ(reduced.err, "");
  EXPECT_NE(reduced.out.find("\n$   Q:1 K:1    T:3/4 C:4 X:-6\nD5   1        1 q\nmheavy3 1 "),
            std::string::npos)
      << reduced.out;

  const ToolRun kept = RunIn(folder, "export --keep-divisions fine.xml");
  EXPECT_EQ(kept.status, 0) << kept.err;
  EXPECT_EQ(kept.err.rfind("musedata: warning: Duration of 4000 is too large", 0), 0u) << kept.err;
  EXPECT_NE(kept.out.find("\n$   Q:4000 K:1 T:3/4 C:4 X:-6\nD5   999      1 q\n"),
            std::string::npos)
      << kept.out;
  EXPECT_EQ(Names(folder.Path()), std::vector<std::string>{"fine.xml"});
}

// Any failure of a single part: one error line naming the file, the part
// and the measure, exit 2, and no file made or replaced.
TEST(ExportTool, FailuresReportOneLineAndWriteNothing) {
  const TempDir folder;
  folder.Write("broken.xml", "<score-partwise>\n  <part id=\"P1\">\n</score-partwise>\n");
  folder.Write("two.xml", BrokenSonatina());
  const std::pair<const char*, std::string> rows[] = {
      {"-o kept.md broken.xml",
       "error 0x00000005 (musedata): broken.xml, line 4, column 1: not well-formed XML: "
       "Premature end of data in tag score-partwise line 1"},
      {"-o kept.md none.xml", "error 0x00000035 (musedata): File none.xml not found"},
      {"-p 3 -o kept.md two.xml",
       "error 0x800417B2 (Verdantix): two.xml part 3: No part number 3 found"},
      {"-p 2 two.xml",
       "error 0x800417A9 (Verdantix): two.xml part 2 (Pianoforte), measure 3: "
       "MuseData SaveBackupForward error 91"},
      {"--literal -p 2 -o kept.md two.xml",
       "error 0x800417A9 (Verdantix): two.xml part 2 (Pianoforte), measure 3: "
       "MuseData SaveBackupForward error 91"},
  };
  folder.Write("kept.md", "a good part");
  const std::vector<std::string> before = Names(folder.Path());
  for (const auto& [arguments, message] : rows) {
    SCOPED_TRACE(arguments);
    const ToolRun run = RunIn(folder, std::string("export ") + arguments);
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err.rfind("musedata: " + message, 0), 0u) << run.err;
    EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(ReadFile(folder.Path() + "/kept.md"), "a good part");
    EXPECT_EQ(Names(folder.Path()), before);
  }
}

// --all writes every part that exports, names the one that does not and
// exits 1; a folder it made stays only when a part went into it.
TEST(ExportTool, AllWritesThePartsThatExportAndNamesTheOthers) {
  const TempDir folder;
  folder.Write("two.xml", BrokenSonatina());
  fs::create_directory(folder.Path() + "/parts");
  folder.Write("parts/02.md", "an older part");
  for (const char* output : {"parts", "fresh"}) {
    SCOPED_TRACE(output);
    const ToolRun run = RunIn(folder, std::string("export --all -o ") + output + " two.xml");
    EXPECT_EQ(run.status, 1) << run.err;
    EXPECT_NE(run.err.find("musedata: error 0x800417A9 (Verdantix): two.xml part 2 (Pianoforte), "
                           "measure 3: MuseData SaveBackupForward error 91"),
              std::string::npos)
        << run.err;
    EXPECT_NE(run.err.find("1 of 2 parts of two.xml written to " + std::string(output) +
                           "; not written: part 2"),
              std::string::npos)
        << run.err;
    const std::string first = ReadFile(folder.Path() + "/" + output + "/01.md");
    EXPECT_NE(first.find("score: part 1 of 2"), std::string::npos) << first;
  }
  EXPECT_EQ(ReadFile(folder.Path() + "/parts/02.md"), "an older part");
  EXPECT_EQ(Names(folder.Path() + "/fresh"), std::vector<std::string>{"01.md"});
}

}  // namespace
}  // namespace musedata::test
