// The tool's documents live in its arena; MUSEDATA_SYSTEM_MALLOC puts them
// back on malloc. Both must write the same bytes, also when batch workers
// reuse one movement's memory for the next.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <map>

#include "support/test_support.h"

namespace musedata::test {
namespace {

namespace fs = std::filesystem;

const std::string kData = MUSEDATA_TEST_DATA;

// Every file below `folder`, by relative path, with its bytes.
std::map<std::string, std::string> FilesBelow(const std::string& folder) {
  std::map<std::string, std::string> files;
  for (const auto& entry : fs::recursive_directory_iterator(folder))
    if (entry.is_regular_file())
      files[fs::relative(entry.path(), folder).string()] = ReadFile(entry.path().string());
  return files;
}

// What `arguments` write into a fresh output folder (as "out/...").
std::map<std::string, std::string> Outputs(const std::string& inputs,
                                           const std::string& arguments) {
  const TempDir output;
  const ToolRun run = RunTool(inputs, arguments + " -o '" + output.Path() + "/" +
                                          (arguments.find("--batch") != std::string::npos ||
                                                   arguments.find("--all") != std::string::npos
                                               ? "out'"
                                               : "out.result'"));
  EXPECT_EQ(run.status, 0) << arguments << ": " << run.err;
  return FilesBelow(output.Path());
}

TEST(ToolArena, WritesWhatMallocWrites) {
  // A folder of movements for the batch: the aria's parts, the set files,
  // and a movement exported back to MuseData.
  const TempDir inputs;
  fs::copy(kData + "/movement", inputs.Path() + "/aria");
  fs::remove(inputs.Path() + "/aria/movement.musicxml");
  for (const char* set : {"trio.msd", "quartet.msd", "solo.md"})
    fs::copy(kData + "/sets/" + set, inputs.Path() + "/" + set);
  fs::create_directory(inputs.Path() + "/sonatina");
  for (const char* part : {"sonatina-01.md", "sonatina-02.md"})
    fs::copy(kData + "/export/" + part, inputs.Path() + "/sonatina/" + part);
  fs::copy(kData + "/export/sonatina.musicxml", inputs.Path() + "/sonatina.musicxml");

  const char* commands[] = {
      "import aria",      "import --literal aria",
      "import trio.msd",  "export --all sonatina.musicxml",
      "import --batch .",
  };
  for (const char* command : commands) {
    SCOPED_TRACE(command);
    const auto inArena = Outputs(inputs.Path(), command);
    ASSERT_EQ(setenv("MUSEDATA_SYSTEM_MALLOC", "1", 1), 0);
    const auto withMalloc = Outputs(inputs.Path(), command);
    unsetenv("MUSEDATA_SYSTEM_MALLOC");
    ASSERT_FALSE(inArena.empty());
    EXPECT_EQ(inArena, withMalloc);
  }
}

}  // namespace
}  // namespace musedata::test
