#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

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

// Names in the folder other than `keep` and the inputs: files a write left behind.
std::vector<std::string> Leftovers(const std::string& folder, const std::string& keep) {
  std::vector<std::string> names;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
    const std::string name = entry.path().filename().string();
    if (name != keep && entry.path().extension() != ".md") names.push_back(name);
  }
  return names;
}

TEST(ImportTool, WritesTheScoreToTheOutputOrStandardOutput) {
  const TempDir folder;
  folder.Write("violin.md", Part({"$ K:1 Q:4 T:3/4 C:4", "@ violin"}));
  const ToolRun run = RunTool(folder.Path(), "import -o minuet.musicxml violin.md");
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.err + run.out, "");
  const std::string xml = ReadFile(folder.Path() + "/minuet.musicxml");
  EXPECT_EQ(xml.rfind("<?xml ", 0), 0u) << xml;
  EXPECT_NE(xml.find("<measure number=\"X1\">"), std::string::npos) << xml;
  EXPECT_EQ(Leftovers(folder.Path(), "minuet.musicxml"), std::vector<std::string>());
  EXPECT_EQ(RunTool(folder.Path(), "import violin.md").out, xml);
}

// A folder stands for its visible files in natural name order, not its subfolders.
TEST(ImportTool, LoadsEveryInputAsTheNextPart) {
  const TempDir folder;
  fs::create_directories(folder.Path() + "/set/inner");
  for (const std::string name : {"part10", "part2", "part1", ".hidden"})
    folder.Write("set/" + name + ".md", Part({"@ " + name}));
  folder.Write("set/inner/part3.md", Part({"@ part3"}));
  folder.Write("oboe.md", Part({"@ oboe"}));
  folder.Write("horn.md", Part({"@ horn"}));

  EXPECT_EQ(RunTool(folder.Path(), "import -o two.xml horn.md oboe.md").status, 0);
  EXPECT_EQ(Contents(ReadFile(folder.Path() + "/two.xml")), "horn oboe in 2 parts");
  EXPECT_EQ(RunTool(folder.Path(), "import -o set.xml set").status, 0);
  EXPECT_EQ(Contents(ReadFile(folder.Path() + "/set.xml")), "part1 part2 part10 in 3 parts");
}

TEST(ImportTool, ConvertsTheBundledMinuetWithoutWarnings) {
  const TempDir folder;
  const fs::path minuet = fs::path(__FILE__).parent_path() / "../../examples/minuet";
  const ToolRun run = RunTool(
      folder.Path(), "import -o minuet.musicxml '" + minuet.lexically_normal().string() + "'");
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.err, "");
  EXPECT_TRUE(Contents(ReadFile(folder.Path() + "/minuet.musicxml")).ends_with("in 3 parts"));
}

// An error in any input exits with 2 and a load stopped by the data with 1;
// either way one line on standard error and no output file, old or new.
TEST(ImportTool, FailuresReportAndNeverReplaceTheOutput) {
  const TempDir folder;
  folder.Write("good.md", Part({"@ good"}));
  folder.Write("gap.md", Part({"$ K:0 Q:4 T:3/4 C:4", "", "@ after the gap"}));
  const std::tuple<const char*, int, std::string> rows[] = {
      {"good.md nope.md", 2, "musedata: error 0x800417BE (Verdantix): File nope.md not found\n"},
      {"good.md gap.md", 1, "musedata: conversion stopped: gap.md, line 14"},
  };
  for (const auto& [inputs, status, message] : rows) {
    SCOPED_TRACE(inputs);
    const ToolRun fresh = RunTool(folder.Path(), "import -o fresh.musicxml " + std::string(inputs));
    EXPECT_EQ(fresh.status, status);
    EXPECT_EQ(fresh.err.substr(0, message.size()), message);
    EXPECT_EQ(std::count(fresh.err.begin(), fresh.err.end(), '\n'), 1) << "one line";
    EXPECT_FALSE(fs::exists(folder.Path() + "/fresh.musicxml"));

    folder.Write("kept.musicxml", "a good score");
    EXPECT_EQ(RunTool(folder.Path(), "import -o kept.musicxml " + std::string(inputs)).status,
              status);
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
