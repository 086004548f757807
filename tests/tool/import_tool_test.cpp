#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "support/test_support.h"

namespace musedata::test {
namespace {

namespace fs = std::filesystem;

// The order in which the marker comments "@ <name>" appear in the output, "" if one is missing.
std::string MarkerOrder(const std::string& xml, const std::vector<std::string>& names) {
  std::string order;
  size_t last = 0;
  for (const std::string& name : names) {
    const size_t at = xml.find("<!-- " + name + "-->");
    if (at == std::string::npos || at < last) return "";
    order += name + " ";
    last = at;
  }
  return order;
}

size_t PartCount(const std::string& xml) {
  size_t count = 0;
  for (size_t at = xml.find("<part "); at != std::string::npos; at = xml.find("<part ", at + 1))
    ++count;
  return count;
}

// Names in the folder other than `keep`: temporary files a write left behind.
std::vector<std::string> Leftovers(const std::string& folder, const std::string& keep) {
  std::vector<std::string> names;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
    const std::string name = entry.path().filename().string();
    if (name != keep && entry.path().extension() != ".md") names.push_back(name);
  }
  return names;
}

TEST(ImportTool, WritesTheScoreWithItsPrologAndDoctype) {
  const TempDir folder;
  folder.Write("violin.md", Part({"$ K:1 Q:4 T:3/4 C:4", "@ violin"}));
  const ToolRun run = RunTool(folder.Path(), "import -o minuet.musicxml violin.md");
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(run.out, "");
  const std::string xml = ReadFile(folder.Path() + "/minuet.musicxml");
  EXPECT_EQ(xml.rfind("<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\"?>\n"
                      "<!DOCTYPE score-partwise PUBLIC \"-//Tavrendel//DTD MusicXML 1.0 "
                      "Partwise//EN\" \"http://www.musicxml.org/dtds/partwise.dtd\">\n"
                      "<score-partwise>\n",
                      0),
            0u)
      << xml;
  EXPECT_NE(xml.find("<measure number=\"X1\">"), std::string::npos) << xml;
  EXPECT_EQ(Leftovers(folder.Path(), "minuet.musicxml"), std::vector<std::string>());

  // Without -o the same document goes to standard output.
  const ToolRun toStdout = RunTool(folder.Path(), "import violin.md");
  EXPECT_EQ(toStdout.status, 0);
  EXPECT_EQ(toStdout.out, xml);
}

TEST(ImportTool, LoadsEveryInputAsTheNextPart) {
  const TempDir folder;
  fs::create_directories(folder.Path() + "/set/inner");
  for (const std::string name : {"part10", "part2", "part1", ".hidden"})
    folder.Write("set/" + name + ".md", Part({"@ " + name}));
  folder.Write("set/inner/part3.md", Part({"@ part3"}));
  folder.Write("oboe.md", Part({"@ oboe"}));
  folder.Write("horn.md", Part({"@ horn"}));

  const ToolRun two = RunTool(folder.Path(), "import -o two.xml horn.md oboe.md");
  EXPECT_EQ(two.status, 0) << two.err;
  const std::string pair = ReadFile(folder.Path() + "/two.xml");
  EXPECT_EQ(PartCount(pair), 2u);
  EXPECT_EQ(MarkerOrder(pair, {"horn", "oboe"}), "horn oboe ");

  const ToolRun set = RunTool(folder.Path(), "import -o set.xml set");
  EXPECT_EQ(set.status, 0) << set.err;
  const std::string parts = ReadFile(folder.Path() + "/set.xml");
  EXPECT_EQ(PartCount(parts), 3u) << parts;
  EXPECT_EQ(MarkerOrder(parts, {"part1", "part2", "part10"}), "part1 part2 part10 ");
}

TEST(ImportTool, ConvertsTheBundledMinuetWithoutWarnings) {
  const TempDir folder;
  const fs::path minuet = fs::path(__FILE__).parent_path() / "../../examples/minuet";
  const ToolRun run = RunTool(
      folder.Path(), "import -o minuet.musicxml '" + minuet.lexically_normal().string() + "'");
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(PartCount(ReadFile(folder.Path() + "/minuet.musicxml")), 3u);
}

TEST(ImportTool, FailuresReportAndNeverReplaceTheOutput) {
  const TempDir folder;
  folder.Write("good.md", Part({"@ good"}));
  folder.Write("gap.md", Part({"$ K:0 Q:4 T:3/4 C:4", "", "@ after the gap"}));
  folder.Write("fin.md", Part({"/FIN"}));
  struct Row {
    const char* name;
    std::string inputs;
    int status;
    std::string message;  // the start of standard error
  };
  for (const Row& row : {
           Row{"missing input", "nope.md", 2,
               "musedata: error 0x800417BE (Verdantix): File nope.md not found\n"},
           Row{"missing second input", "good.md nope.md", 2,
               "musedata: error 0x800417BE (Verdantix): File nope.md not found\n"},
           Row{"empty data line", "good.md gap.md", 1,
               "musedata: conversion stopped: gap.md, line 14"},
           Row{"unknown end record", "fin.md", 2,
               "musedata: error 0x8004178B (Verdantix): Unrecognized end-of-file record \"FIN\"\n"},
       }) {
    SCOPED_TRACE(row.name);
    const ToolRun fresh = RunTool(folder.Path(), "import -o fresh.musicxml " + row.inputs);
    EXPECT_EQ(fresh.status, row.status);
    EXPECT_EQ(fresh.err.substr(0, row.message.size()), row.message);
    EXPECT_EQ(std::count(fresh.err.begin(), fresh.err.end(), '\n'), 1) << "one line";
    EXPECT_FALSE(fs::exists(folder.Path() + "/fresh.musicxml"));

    folder.Write("kept.musicxml", "a good score");
    const ToolRun over = RunTool(folder.Path(), "import -o kept.musicxml " + row.inputs);
    EXPECT_EQ(over.status, row.status);
    EXPECT_EQ(ReadFile(folder.Path() + "/kept.musicxml"), "a good score");
    EXPECT_EQ(Leftovers(folder.Path(), "kept.musicxml"), std::vector<std::string>());
  }
}

TEST(ImportTool, WrongUsageExits64) {
  const TempDir folder;
  folder.Write("a.md", Part({"@ a"}));
  fs::create_directories(folder.Path() + "/empty/.git");
  folder.Write("empty/.hidden.md", Part({"@ hidden"}));
  for (const char* arguments :
       {"", "import", "transmogrify a.md", "import --bogus a.md", "import a.md -o",
        "import --encoding ebcdic a.md", "import -o out.musicxml empty"}) {
    SCOPED_TRACE(arguments);
    const ToolRun run = RunTool(folder.Path(), arguments);
    EXPECT_EQ(run.status, 64);
    EXPECT_NE(run.err, "");
    EXPECT_EQ(run.out, "");
  }
  EXPECT_FALSE(fs::exists(folder.Path() + "/out.musicxml"));
}

}  // namespace
}  // namespace musedata::test
