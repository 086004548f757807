#pragma once

#include <string>

namespace CLI {
class App;
}

namespace musedata::tool {

// What `musedata export` was asked to do.
struct ExportCommand {
  int part = 1;
  bool all = false;            // every part, into the folder `output`
  std::string output = "-";    // "-": standard output
  bool keepDivisions = false;  // export durations as the score has them
  bool progress = false;
  std::string input;
};

// Adds the `export` subcommand with its options, filling `command`.
CLI::App* AddExportCommand(CLI::App& app, ExportCommand& command);

// Exports what `command` asks for and returns the tool's exit status: 0 done,
// 1 an export that stopped early (nothing written), 2 an error, 64 wrong usage.
int RunExport(const ExportCommand& command);

}  // namespace musedata::tool
