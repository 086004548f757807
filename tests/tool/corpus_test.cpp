// Real corpora: set files, group choice, code pages and whole-folder batches.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <regex>

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

TEST(Corpus, SetFileLoadsItsPartsInGroupOrder) {
  struct Case {
    const char* group;
    const char* names;
    const char* warning;  // a skipped part is named
  };
  const Case cases[] = {
      {"", "Violino|Flauto|Basso", "trio.msd part 3: not in group \"score\"; skipped"},
      {"-g score", "Violino|Flauto|Basso", "trio.msd part 3"},
      {"-g sound", "Violino|Flauto|Basso|Organo (realisation)", ""},
      {"-g ''", "Basso|Violino|Organo (realisation)|Flauto", ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.group);
    const ToolRun run = RunTool(kData + "/sets", "import " + std::string(c.group) + " trio.msd");
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(PartNames(run.out), c.names);
    if (*c.warning) {
      EXPECT_NE(run.err.find(c.warning), std::string::npos) << run.err;
    }
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
  EXPECT_NE(run.err.find("Unrecognized end-of-file record \"FIN \""), std::string::npos) << run.err;
  EXPECT_FALSE(fs::exists(folder.Path() + "/out.musicxml"));

  // An empty line in the musical data stops the load; the message gives the
  // set file's own line number.
  std::string stopped = ReadFile(kData + "/sets/trio.msd");
  const size_t line = stopped.find("measure 1", stopped.find("Violino"));
  stopped.replace(line, 9, "");
  folder.Write("stopped.msd", stopped);
  const int lineNumber = static_cast<int>(std::count(
                             stopped.begin(), stopped.begin() + static_cast<long>(line), '\n')) +
                         1;
  const ToolRun stoppedRun = RunTool(folder.Path(), "import stopped.msd -o out.musicxml");
  EXPECT_EQ(stoppedRun.status, 1);
  EXPECT_NE(stoppedRun.err.find("stopped.msd part 2, line " + std::to_string(lineNumber)),
            std::string::npos)
      << stoppedRun.err;
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

TEST(Corpus, NoPartAtAllIsAnError) {
  const ToolRun run = RunTool(kData + "/sets", "import -g midi trio.msd -o nothing.musicxml");
  EXPECT_EQ(run.status, 2);
  EXPECT_NE(run.err.find("No part was loaded of group \"midi\""), std::string::npos) << run.err;
  EXPECT_FALSE(fs::exists(kData + "/sets/nothing.musicxml"));
}

TEST(Corpus, BatchConvertsGoodMovementsAndListsBadOnes) {
  const TempDir root;
  const fs::path in = fs::path(root.Path()) / "in";
  fs::create_directories(in / "bach" / "mov1");
  fs::create_directories(in / "sets");
  fs::create_directories(in / "broken");
  fs::create_directories(in / ".hidden");
  fs::copy(kData + "/sets/trio.msd", in / "sets" / "trio.msd");
  fs::copy(kData + "/encodings/muller-utf8.md", in / "bach" / "mov1" / "01");
  fs::copy(kData + "/encodings/muller-cp437.md", in / "bach" / "mov1" / "02.md");
  root.Write("in/broken/empty.md", "");
  root.Write("in/broken/README", "Notes on the edition.\n");
  root.Write("in/.hidden/trio.msd", ReadFile(kData + "/sets/trio.msd"));

  const ToolRun run = RunTool(root.Path(), "import --batch in -o out");
  EXPECT_EQ(run.status, 2) << run.err;
  EXPECT_TRUE(fs::exists(fs::path(root.Path()) / "out/sets/trio.musicxml"));
  EXPECT_TRUE(fs::exists(fs::path(root.Path()) / "out/bach/mov1.musicxml"));
  EXPECT_FALSE(fs::exists(fs::path(root.Path()) / "out/broken.musicxml"));
  EXPECT_FALSE(fs::exists(fs::path(root.Path()) / "out/.hidden"));
  EXPECT_NE(run.err.find("converted 2 of 3 movements (3 files)"), std::string::npos) << run.err;
  EXPECT_NE(run.err.find("passed over 1 files that are not MuseData"), std::string::npos)
      << run.err;
  EXPECT_NE(run.err.find("musedata: broken/: error 0x00000005 (musedata): No part was loaded"),
            std::string::npos)
      << run.err;
  const std::string mov1 = ReadFile(root.Path() + "/out/bach/mov1.musicxml");
  EXPECT_EQ(PartNames(mov1), "Violine|Violine");
}

}  // namespace
}  // namespace musedata::test
