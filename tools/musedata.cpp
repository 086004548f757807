// musedata: converts MuseData part files into MusicXML scores and back.

#include "musedata/musedata.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "batch.h"
#include "component/natural_order.h"
#include "export_command.h"
#include "huge_pages.h"
#include "interrupt.h"
#include "progress_bar.h"
#include "xml/arena.h"
#ifdef MUSEDATA_WITH_SERVE
#include "serve.h"
#endif

namespace fs = std::filesystem;

namespace {

constexpr int kExitDone = 0;
constexpr int kExitIncomplete = 1;
constexpr int kExitError = 2;
constexpr int kExitUsage = 64;

// A folder stands for its regular, non-hidden files in natural name order.
// Raises ConverterError naming a folder that cannot be read.
std::vector<std::string> ExpandInputs(const std::vector<std::string>& inputs) {
  std::vector<std::string> files;
  for (const std::string& input : inputs) {
    std::error_code status;
    if (!fs::is_directory(input, status)) {
      files.push_back(input);
      continue;
    }
    for (std::string& file : musedata::FolderFiles(input)) files.push_back(std::move(file));
  }
  return files;
}

void PrintError(const musedata::ConverterError& error) {
  std::fprintf(stderr, "musedata: error 0x%08X (%s): %s\n", static_cast<uint32_t>(error.Number()),
               error.Source().c_str(), error.Description().c_str());
}

// Keeps the score until the process ends. A score of millions of nodes takes
// about a quarter of the conversion to free node by node, and the system takes
// the memory back at once when the tool exits, as compilers leave their syntax
// trees. The holder stays reachable, so leak checkers see no leak.
void KeepUntilExit(musedata::Document document) {
  static std::vector<musedata::Document>* const kept =
      std::make_unique<std::vector<musedata::Document>>().release();
  kept->push_back(std::move(document));
}

// Reports a run that a signal stopped; the status tells the shell which one.
int ReportInterruption(const std::string& output, bool written) {
  const std::string name = output == "-" ? "standard output" : output;
  std::fprintf(stderr, "musedata: interrupted by %s; %s %s\n", musedata::tool::InterruptName(),
               name.c_str(), written ? "was written before it came" : "left as it was");
  return musedata::tool::InterruptedExitStatus();
}

struct ImportCommand {
  // The score's parts, not the sound or midi parts of a set, unless asked.
  std::string group = "score";
  std::string batchFolder;
  std::string systemId;
  std::string encoding = "auto";
  std::string output = "-";
  std::vector<std::string> inputs;
  bool progress = isatty(STDERR_FILENO) != 0;
  // Writes the score exactly as the converter built it, without the finishing step.
  bool literal = false;
  bool verbose = false;
  unsigned jobs = 0;  // batch workers; 0: one per core
  // Megabytes a movement's score may take; 0 sets no limit.
  uint64_t memoryLimit = 1024;
};

// What the finishing step changed, one kind a line.
void PrintFinishCounts(const musedata::FinishCounts& counts) {
  for (const auto& [kind, count] : musedata::CountsByKind(counts))
    std::fprintf(stderr, "musedata: finishing step: %s: %d\n", kind.c_str(), count);
}

int RunImport(const ImportCommand& command) {
  const bool toStdout = command.output == "-";
  const std::string extension = fs::path(command.output).extension().string();
  musedata::ImportOptions options;
  options.groupType = command.group;
  options.systemIdentifier = command.systemId;
  options.finish = !command.literal;
  options.memoryLimit = command.memoryLimit << 20;
  options.encoding =
      musedata::ParseTextEncoding(command.encoding).value_or(musedata::TextEncoding::Auto);
  if (!command.batchFolder.empty()) {
    if (!command.inputs.empty() || toStdout) {
      std::fprintf(
          stderr,
          "musedata: --batch takes an input folder and -o OUTPUT_FOLDER, and no other inputs\n");
      return kExitUsage;
    }
    musedata::tool::BatchOptions batch;
    batch.inputFolder = command.batchFolder;
    batch.outputFolder = command.output;
    batch.import = options;
    batch.progress = command.progress;
    batch.jobs = command.jobs;
    return musedata::tool::RunBatch(batch);
  }
  if (command.jobs != 0) {
    std::fprintf(stderr, "musedata: --jobs sets the workers of --batch; one score is one job\n");
    return kExitUsage;
  }
  if (command.inputs.empty()) {
    std::fprintf(stderr, "musedata: import needs at least one INPUT (or --batch FOLDER)\n");
    return kExitUsage;
  }

  std::vector<std::string> files;
  try {
    files = ExpandInputs(command.inputs);
  } catch (const musedata::ConverterError& error) {
    PrintError(error);
    return kExitError;
  }
  // Folders without a single part file leave nothing to convert; an empty
  // document would not be a MusicXML score.
  if (files.empty()) {
    std::fprintf(stderr, "musedata: the input folders hold no MuseData files; nothing written\n");
    return kExitUsage;
  }
  musedata::tool::ProgressBar bar(command.progress);
  options.progress = [&](const std::string& file, int32_t current, int32_t size, bool& cancel) {
    bar.Update(file, current, size);
    cancel = musedata::tool::IsInterrupted();
  };
  musedata::WriteOptions writing;
  writing.progress = [](int64_t, bool& cancel) { cancel = musedata::tool::IsInterrupted(); };
  options.warning = [&](const std::string& text) {
    bar.Finish();
    std::fprintf(stderr, "musedata: warning: %s\n", text.c_str());
  };
  try {
    // An output that is one of the inputs would destroy it: refused before any work.
    musedata::RefuseOutputOverInputs({command.output}, files);
    // Folders go to the import as folders: a file in one that is no MuseData
    // at all (the MusicXML beside the parts, say) is passed over with a warning.
    musedata::ImportResult result = musedata::ImportScore(command.inputs, options);
    bar.Finish();
    if (musedata::tool::IsInterrupted()) return ReportInterruption(command.output, false);
    if (command.verbose && result.complete && options.finish) PrintFinishCounts(result.finished);
    if (!result.complete) {
      std::fprintf(stderr, "musedata: conversion stopped: %s; nothing written\n",
                   result.stoppedAt.c_str());
      return kExitIncomplete;
    }
    const bool written =
        extension == ".mxl"
            ? musedata::WriteCompressedMusicXmlFile(result.document, command.output, writing)
            : musedata::WriteMusicXmlFile(result.document, command.output, writing);
    KeepUntilExit(std::move(result.document));
    if (musedata::tool::IsInterrupted()) return ReportInterruption(command.output, written);
    return kExitDone;
  } catch (const musedata::ConverterError& error) {
    bar.Finish();
    // A write that a signal broke off fails as a write; the signal is the news.
    if (musedata::tool::IsInterrupted()) return ReportInterruption(command.output, false);
    PrintError(error);
    return kExitError;
  }
}

}  // namespace

int main(int argc, char** argv) {
  musedata::tool::RunOnHugePages(argv);
  musedata::xml::InstallArena();
  musedata::tool::InstallInterruptHandlers();
  CLI::App app{"musedata: converts MuseData part files into MusicXML scores and back", "musedata"};
  app.set_version_flag("--version", std::string("musedata ") + "0.1.0");
  app.require_subcommand(1);

  ImportCommand import;
  CLI::App* importCommand = app.add_subcommand(
      "import", "Load MuseData files, in order, as the parts of one MusicXML score");
  importCommand->add_option(
      "-g,--group", import.group,
      "Load only parts that belong to this group (default score; '' loads every part)");
  importCommand->add_option(
      "--batch", import.batchFolder,
      "Convert every MuseData movement below this folder into -o OUTPUT_FOLDER");
  importCommand
      ->add_option("-j,--jobs", import.jobs,
                   "Movements converted at once by --batch (default: one per core)")
      ->check(CLI::Range(1u, 256u));
  importCommand->add_option("--system-id", import.systemId,
                            "System identifier handed to the converter");
  importCommand
      ->add_option("--encoding", import.encoding,
                   "Input encoding: auto, utf-8, cp437, cp1252, latin1")
      ->check(CLI::IsMember({"auto", "utf-8", "utf8", "cp437", "cp1252", "latin1"}));
  importCommand->add_option(
      "-o,--output", import.output,
      "Output file (.musicxml, .xml or compressed .mxl); - or none writes to standard output");
  importCommand->add_flag("--progress,!--no-progress", import.progress,
                          "Show a progress bar on standard error");
  importCommand->add_flag("--literal", import.literal,
                          "Write the score exactly as the converter built it, without the "
                          "finishing step for notation programs");
  importCommand
      ->add_option("--memory-limit", import.memoryLimit,
                   "Megabytes a movement's score may take, judged from its MuseData before it "
                   "is loaded (0: no limit)")
      ->capture_default_str();
  importCommand->add_flag("-v,--verbose", import.verbose,
                          "Print what the finishing step changed, per kind of change");
  importCommand->add_option(
      "INPUT", import.inputs,
      "MuseData part files, set files or zips of part files, or folders of them");

  musedata::tool::ExportCommand exportArguments;
  exportArguments.progress = isatty(STDERR_FILENO) != 0;
  CLI::App* exportCommand = musedata::tool::AddExportCommand(app, exportArguments);

#ifdef MUSEDATA_WITH_SERVE
  musedata::tool::ServeOptions serve;
  CLI::App* serveCommand = musedata::tool::AddServeCommand(app, serve);
#endif

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    const int status = app.exit(error);
    return status == 0 ? kExitDone : kExitUsage;
  }
  // A single conversion keeps its documents in the arena for the whole run;
  // the batch opens a scope for each movement on each of its workers.
  if (importCommand->parsed()) {
    if (!import.batchFolder.empty()) return RunImport(import);
    const musedata::xml::ArenaScope documents;
    return RunImport(import);
  }
  if (exportCommand->parsed()) {
    const musedata::xml::ArenaScope documents;
    return musedata::tool::RunExport(exportArguments);
  }
#ifdef MUSEDATA_WITH_SERVE
  if (serveCommand->parsed()) return musedata::tool::RunServe(serve);
#endif
  return kExitUsage;
}
