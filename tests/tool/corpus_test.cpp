// Real corpora: set files, group choice, code pages and whole-folder batches.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <regex>

#include "component/zip_archive.h"
#include "support/test_support.h"

namespace musedata::test {
namespace {

namespace fs = std::filesystem;

const std::string kData = MUSEDATA_TEST_DATA;

// The part names of a score in document order, joined by "|".
std::string PartNames(const std::string& xml) {
  std::string names;
  const std::regex partName("<part-name>([^<]*)</part-name>");
  for (auto it = std::sregex_iterator(xml.begin(), xml.end(), partName);
       it != std::sregex_iterator(); ++it)
    names += (names.empty() ? "" : "|") + (*it)[1].str();
  return names;
}

// The line of the file that holds the byte at `offset`, from 1.
std::string LineOf(const std::string& text, size_t offset) {
  return std::to_string(std::count(text.begin(), text.begin() + static_cast<long>(offset), '\n') +
                        1);
}

TEST(Corpus, SetFileLoadsItsPartsInGroupOrder) {
  struct Case {
    const char* group;
    const char* names;  // none: no part at all, which is an error
    const char* message;
  };
  const Case cases[] = {
      {"", "Violino|Flauto|Basso",
       "trio.msd part 3 (Organo (realisation)): not in group \"score\"; skipped"},
      {"-g score", "Violino|Flauto|Basso", "trio.msd: 3 of 4 parts loaded"},
      {"-g sound", "Violino|Flauto|Basso|Organo (realisation)", ""},
      {"-g ''", "Basso|Violino|Organo (realisation)|Flauto", ""},
      {"-g midi", "", "error 0x00000005 (musedata): No part was loaded of group \"midi\"\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.group);
    const ToolRun run = RunTool(kData + "/sets", "import " + std::string(c.group) + " trio.msd");
    EXPECT_EQ(run.status, *c.names ? 0 : 2) << run.err;
    EXPECT_EQ(PartNames(run.out), c.names);
    EXPECT_NE(run.err.find(c.message), std::string::npos) << run.err;
  }
}

TEST(Corpus, MessagesNameTheSetFileAndThePart) {
  const TempDir folder;
  std::string set = ReadFile(kData + "/sets/trio.msd");
  // Break the second part stored in the set (the violin) in its data.
  const size_t violin = set.find("Violino");
  const size_t firstNote = set.find("F5     2", violin);
  set.replace(firstNote, 8, "/FIN    ");
  folder.Write("broken.msd", set);
  const ToolRun run = RunTool(folder.Path(), "import broken.msd -o out.musicxml");
  EXPECT_EQ(run.status, 2);
  const std::string at = "broken.msd part 2 (Violino), line " + LineOf(set, firstNote) + ": ";
  EXPECT_NE(run.err.find(at + "Unrecognized end-of-file record \"FIN \""), std::string::npos)
      << run.err;
  EXPECT_FALSE(fs::exists(folder.Path() + "/out.musicxml"));

  // An empty line in the musical data stops the load; the message gives the
  // set file's own line number.
  std::string stopped = ReadFile(kData + "/sets/trio.msd");
  const size_t line = stopped.find("measure 1", stopped.find("Violino"));
  stopped.replace(line, 9, "");
  folder.Write("stopped.msd", stopped);
  const ToolRun stoppedRun = RunTool(folder.Path(), "import stopped.msd -o out.musicxml");
  EXPECT_EQ(stoppedRun.status, 1);
  EXPECT_NE(stoppedRun.err.find("stopped.msd part 2 (Violino), line " + LineOf(stopped, line)),
            std::string::npos)
      << stoppedRun.err;
  // The parts after it are named as not loaded.
  EXPECT_NE(stoppedRun.err.find("stopped.msd part 4 (Flauto): not loaded"), std::string::npos)
      << stoppedRun.err;
}

// Set files as they are published: four parts split by "/END" alone with "@"
// lines between, one part with empty rights lines closed by "/eof", sets
// whose second part a damaged comment toggle turned into a comment (the
// toggle mended when it is "&" repeated after a stray character, the part
// lost when it is not), and a set with a MIDI channel table.
TEST(Corpus, PublishedShapesKeepEveryPart) {
  const TempDir folder;
  const std::string solo = ReadFile(kData + "/sets/solo.md");
  folder.Write("solo-plain.md", solo.substr(0, solo.rfind("/eof")));
  const struct {
    std::string where;
    const char* file;
    int status;
    const char* names;
    const char* err;  // all of standard error, or a part of it when the run fails
  } rows[] = {
      {kData + "/sets", "quartet.msd", 0, "Violino I|Violino II|Viola|Violoncello", ""},
      {kData + "/sets", "solo.md", 0, "Flauto solo", ""},
      {folder.Path(), "solo-plain.md", 0, "Flauto solo", ""},
      // Its block's closing line took a stray character: that line closes it.
      {kData + "/sets", "toggle.msd", 0, "Violino I|Violino II|Viola",
       "musedata: warning: toggle.msd, line 27: \"2&&&&&&&&&&&&&&&&&&&&&&&&&&&&\" read as the "
       "end of the comment block that begins on line 25 (\"&\" repeated after a stray "
       "character)\n"},
      {kData + "/sets", "lost-end.msd", 1, "",
       "musedata: warning: lost-end.msd part 2 (Violino II), line 25: the comment block that "
       "begins here is never closed, so no part was made\n"},
      // A set's MIDI channel table is no part, in every group.
      {kData + "/sets", "-g '' midi-table.msd", 0, "Flauto solo",
       "musedata: warning: midi-table.msd part 2 (MIDI channels): no musical data (no \"$\" "
       "record and no note); skipped\nmusedata: warning: midi-table.msd: 1 of 2 parts loaded\n"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.file);
    const ToolRun run = RunTool(row.where, std::string("import ") + row.file);
    EXPECT_EQ(run.status, row.status);
    EXPECT_EQ(PartNames(run.out), row.names);
    if (row.status == 0) {
      EXPECT_EQ(run.err, row.err);
    } else {
      EXPECT_EQ(run.err.find(row.err), 0u) << run.err;
      EXPECT_NE(run.err.find("1 of 3 parts lost"), std::string::npos) << run.err;
    }
  }
  // A part file and the same part closed by "/eof" are one score.
  EXPECT_EQ(RunTool(kData + "/sets", "import solo.md").out,
            RunTool(folder.Path(), "import solo-plain.md").out);
}

// A zip of part files reads as the folder it holds; files beside them that
// hold no part are named in one warning.
TEST(Corpus, ZipOfPartFilesIsItsFolder) {
  const TempDir folder;
  std::vector<ZipEntry> entries;
  for (const char* name : {"03-organo.md", "01-soprano.md", "02-violino.md"})
    entries.push_back({std::string("aria/") + name, ReadFile(kData + "/movement/" + name)});
  entries.push_back({"aria/stage1/01", "A4    4  q\nB4    4  q\n/END\n"});
  entries.push_back({"__MACOSX/aria/._01-soprano.md", "resource fork"});
  folder.Write("aria.zip", MakeZipArchive(entries, false));

  const ToolRun zip = RunTool(folder.Path(), "import aria.zip");
  const ToolRun movement = RunTool(kData, "import movement");
  ASSERT_EQ(zip.status, 0) << zip.err;
  EXPECT_EQ(zip.out, movement.out);
  EXPECT_EQ(zip.err,
            "musedata: warning: passed over 1 file without a MuseData part (no group-membership "
            "record where a header has one): aria.zip/aria/stage1/01\n");
}

TEST(Corpus, CodePage437AndUtf8GiveTheSameScore) {
  const ToolRun utf8 = RunTool(kData + "/encodings", "import muller-utf8.md");
  const ToolRun cp437 = RunTool(kData + "/encodings", "import muller-cp437.md");
  ASSERT_EQ(utf8.status, 0) << utf8.err;
  ASSERT_EQ(cp437.status, 0) << cp437.err;
  EXPECT_EQ(utf8.out, cp437.out);
  EXPECT_NE(utf8.out.find("<encoder>J. Müller</encoder>"), std::string::npos);
  // Forcing another code page reads the same bytes differently.
  const ToolRun latin1 = RunTool(kData + "/encodings", "import --encoding latin1 muller-cp437.md");
  EXPECT_EQ(latin1.status, 0);
  EXPECT_EQ(latin1.out.find("Müller"), std::string::npos);
}

TEST(Corpus, BatchConvertsGoodMovementsAndListsBadOnes) {
  const TempDir root;
  for (const std::string set : {"trio.msd", "lost-end.msd"})
    root.Write("in/sets/" + set, ReadFile(kData + "/sets/" + set));
  // Part files of one folder are one movement, whether or not one ends with "/eof".
  root.Write("in/bach/mov1/01", ReadFile(kData + "/encodings/muller-utf8.md"));
  root.Write("in/bach/mov1/02.md", ReadFile(kData + "/encodings/muller-cp437.md") + "/eof\n");
  std::vector<ZipEntry> aria;
  for (const char* name : {"01-soprano.md", "02-violino.md", "03-organo.md"})
    aria.push_back({name, ReadFile(kData + "/movement/" + name)});
  root.Write("in/zips/aria.zip", MakeZipArchive(aria, false));
  root.Write("in/broken/empty.md", "");
  root.Write("in/broken/README", "Notes on the edition.\n");
  root.Write("in/.hidden/trio.msd", ReadFile(kData + "/sets/trio.msd"));

  const ToolRun run = RunTool(root.Path(), "import --batch in -o out");
  EXPECT_EQ(run.status, 2) << run.err;
  for (const char* made : {"sets/trio.musicxml", "bach/mov1.musicxml", "zips/aria.musicxml"})
    EXPECT_TRUE(fs::exists(fs::path(root.Path()) / "out" / made)) << made;
  for (const char* missing : {"sets/lost-end.musicxml", "broken.musicxml", ".hidden"})
    EXPECT_FALSE(fs::exists(fs::path(root.Path()) / "out" / missing)) << missing;
  for (const char* line :
       {"musedata: warning: broken/: passed over files without a MuseData part: empty.md, README\n",
        "musedata: converted 3 of 4 movements (4 files, 8 of 12 parts; 1 outside the group)",
        "; passed over 2 files that are not MuseData\n",
        "musedata: sets/lost-end.msd: conversion stopped: 1 of 3 parts lost: lost-end.msd part 2"})
    EXPECT_NE(run.err.find(line), std::string::npos) << line << "\n" << run.err;
  EXPECT_EQ(PartNames(ReadFile(root.Path() + "/out/bach/mov1.musicxml")), "Violine|Violine");
  EXPECT_EQ(ReadFile(root.Path() + "/out/zips/aria.musicxml"),
            RunTool(kData, "import movement").out);
}

}  // namespace
}  // namespace musedata::test
