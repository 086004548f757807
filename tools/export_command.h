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
  bool literal = false;        // no finishing step for MuseData
  bool positions = false;      // keep the layout positions of notes as "P" lines
  bool verbose = false;        // print what the finishing step changed
  bool progress = false;
  std::string input;
};

// Adds the `export` subcommand with its options, filling `command`.
CLI::App* AddExportCommand(CLI::App& app, ExportCommand& command);

// Exports what `command` asks for and returns the tool's exit status: 0 done,
// 1 an export that stopped early (nothing written) or, with --all, a part
// that could not be written (the others are), 2 an error, 64 wrong usage.
int RunExport(const ExportCommand& command);

}  // namespace musedata::tool
