// musedata export: one part, or every part, of a MusicXML score as MuseData.

#include "export_command.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <vector>

#include "component/atomic_file.h"
#include "interrupt.h"
#include "musedata/converter_error.h"
#include "musedata/finish.h"
#include "musedata/score.h"
#include "private_folder.h"
#include "progress_bar.h"

namespace fs = std::filesystem;

namespace musedata::tool {
namespace {

constexpr int kExitDone = 0;
constexpr int kExitIncomplete = 1;
constexpr int kExitError = 2;
constexpr int kExitUsage = 64;

[[noreturn]] void RaiseFileError(const std::string& what, const std::error_code& status) {
  throw ConverterError(75, "musedata", "Path/File access error: " + what + ": " + status.message());
}

// Keeps the score until the process ends: freeing a large tree node by node
// costs a good part of the export's time, and the system takes the memory
// back at once when the tool exits. The holder stays reachable, so leak
// checkers see no leak.
void KeepUntilExit(Document document) {
  static Document* const kept = std::make_unique<Document>().release();
  *kept = std::move(document);
}

std::string PartFileName(int part) {
  char name[32];
  std::snprintf(name, sizeof name, "%02d.md", part);
  return name;
}

void PrintError(const ConverterError& error) {
  std::fprintf(stderr, "musedata: error 0x%08X (%s): %s\n", static_cast<uint32_t>(error.Number()),
               error.Source().c_str(), error.Description().c_str());
}

class PartExport {
 public:
  PartExport(const ExportCommand& command, Document score)
      : m_command(command), m_score(std::move(score)), m_bar(command.progress) {
    m_options.name = command.input;
    m_options.attributeTrackColumnBlank = !command.literal;
    m_options.warning = [this](const std::string& text) {
      m_bar.Finish();
      std::fprintf(stderr, "musedata: warning: %s%s\n", m_warningPrefix.c_str(), text.c_str());
    };
  }

  // Writes part `part` to `path`; false when the export stopped early.
  bool Write(int part, const std::string& path) {
    const std::string label =
        fs::path(m_command.input).filename().string() + ", part " + std::to_string(part);
    m_options.progress = [&](int32_t current, int32_t size, bool& cancel) {
      m_bar.Update(label, current, size);
      cancel = IsInterrupted();
    };
    if (m_command.all) m_warningPrefix = "part " + std::to_string(part) + ": ";
    const bool complete = ExportPart(m_score, part, path, m_options);
    m_bar.Finish();
    if (!complete && !IsInterrupted())
      std::fprintf(stderr, "musedata: the export of part %d of %s stopped early; nothing written\n",
                   part, m_command.input.c_str());
    return complete;
  }

  // Every part into the output folder as 01.md, 02.md, ...: all are written
  // into a staging folder first and moved into place together at the end,
  // so an interrupted export leaves the folder as it was. A part that cannot
  // be written is named and left out; the others are written. False when a
  // part failed or the export was interrupted.
  bool WriteAll() {
    const int parts = CountParts(m_score);
    if (parts == 0)
      throw ConverterError(5, "musedata", m_command.input + ": the score has no part to export");
    const fs::path folder(m_command.output);
    std::error_code status;
    const bool made = fs::create_directories(folder, status);
    if (status) RaiseFileError("cannot make the folder " + folder.string(), status);
    // A folder made for this export goes again when nothing is written into it.
    const std::unique_ptr<const fs::path, void (*)(const fs::path*)> unmade(
        made ? &folder : nullptr, [](const fs::path* path) {
          std::error_code ignored;
          fs::remove(*path, ignored);  // only while it is empty
        });
    const PrivateFolder staging(folder);
    std::vector<int> written;
    std::vector<int> failed;
    for (int part = 1; part <= parts; ++part) {
      try {
        if (Write(part, (staging.Path() / PartFileName(part)).string())) {
          written.push_back(part);
          continue;
        }
      } catch (const ConverterError& error) {
        if (IsInterrupted()) throw;
        PrintError(error);
      }
      if (IsInterrupted()) return false;
      failed.push_back(part);
    }
    for (const int part : written) {
      fs::rename(staging.Path() / PartFileName(part), folder / PartFileName(part), status);
      if (status) RaiseFileError("cannot write " + (folder / PartFileName(part)).string(), status);
    }
    if (failed.empty()) return true;
    std::string list;
    for (const int part : failed) list += (list.empty() ? "" : ", ") + std::to_string(part);
    std::fprintf(stderr, "musedata: %zu of %d parts of %s written to %s; not written: part%s %s\n",
                 written.size(), parts, m_command.input.c_str(), folder.string().c_str(),
                 failed.size() == 1 ? "" : "s", list.c_str());
    return false;
  }

  // One part to standard output, by way of a file in a private temporary
  // folder: the converter writes files, and nothing reaches standard output
  // unless the whole part was written.
  bool WriteToStandardOutput(int part) {
    std::error_code status;
    const fs::path temporary = fs::temp_directory_path(status);
    if (status) RaiseFileError("no temporary folder", status);
    const PrivateFolder staging(temporary);
    const fs::path path = staging.Path() / PartFileName(part);
    if (!Write(part, path.string())) return false;
    std::ifstream stream(path, std::ios::binary);
    char buffer[1 << 16];
    while (stream.read(buffer, sizeof buffer) || stream.gcount() > 0) {
      const size_t count = static_cast<size_t>(stream.gcount());
      if (std::fwrite(buffer, 1, count, stdout) != count)
        RaiseFileError("cannot write to standard output",
                       std::error_code(errno, std::generic_category()));
    }
    if (std::fflush(stdout) != 0)
      RaiseFileError("cannot write to standard output",
                     std::error_code(errno, std::generic_category()));
    return true;
  }

  Document Score() const { return m_score; }

 private:
  const ExportCommand& m_command;
  Document m_score;
  ExportOptions m_options;
  ProgressBar m_bar;
  std::string m_warningPrefix;
};

}  // namespace

CLI::App* AddExportCommand(CLI::App& app, ExportCommand& command) {
  CLI::App* sub = app.add_subcommand(
      "export", "Write one part (or every part) of a MusicXML score as MuseData");
  CLI::Option* part = sub->add_option("-p,--part", command.part, "The part to write (default 1)")
                          ->check(CLI::PositiveNumber);
  sub->add_flag("--all", command.all,
                "Write every part into the folder -o OUTPUT as 01.md, 02.md, ...")
      ->excludes(part);
  sub->add_option(
      "-o,--output", command.output,
      "Output MuseData file, or folder with --all; - or none writes to standard output");
  sub->add_flag("--keep-divisions", command.keepDivisions,
                "Keep the score's divisions instead of reducing them to fit three columns");
  CLI::Option* literal =
      sub->add_flag("--literal", command.literal,
                    "Write the part exactly as the converter writes it, without the finishing "
                    "step that makes MuseData other readers take");
  sub->add_flag("--positions", command.positions,
                "Keep the layout positions of notes (default-x, default-y ...) as \"P\" lines")
      ->excludes(literal);
  sub->add_flag("-v,--verbose", command.verbose,
                "Print what the finishing step changed, per kind of change");
  sub->add_flag("--progress,!--no-progress", command.progress,
                "Show a progress bar on standard error");
  sub->add_option("INPUT", command.input, "MusicXML score (.xml, .musicxml or .mxl)")->required();
  return sub;
}

// The files an export would write: the part file, or with --all the part
// files of every part the score could hold in the output folder.
std::vector<std::string> PlannedOutputs(const ExportCommand& command, int parts) {
  if (!command.all) return {command.output};
  std::vector<std::string> outputs;
  for (int part = 1; part <= parts; ++part)
    outputs.push_back((fs::path(command.output) / PartFileName(part)).string());
  return outputs;
}

int ReportInterruption(const ExportCommand& command) {
  const std::string name = command.output == "-" ? "standard output" : command.output;
  std::fprintf(stderr, "musedata: interrupted by %s; %s left as it was\n", InterruptName(),
               name.c_str());
  return InterruptedExitStatus();
}

int RunExport(const ExportCommand& command) {
  const bool toStandardOutput = command.output == "-";
  if (command.all && toStandardOutput) {
    std::fprintf(stderr, "musedata: export --all needs -o OUTPUT_FOLDER for the part files\n");
    return kExitUsage;
  }
  try {
    Document score = ReadMusicXmlFile(command.input);
    // An output that is the input, by any name, would destroy it.
    if (!toStandardOutput)
      RefuseOutputOverInputs(PlannedOutputs(command, CountParts(score)), {command.input});
    // The score is the tool's own: finished (or reduced) once here, in
    // place, it serves every part.
    if (!command.literal) {
      MuseDataFinishOptions finishing;
      finishing.part = command.all ? 0 : command.part;
      finishing.keepPositions = command.positions;
      finishing.reduceDivisions = !command.keepDivisions;
      const MuseDataFinishCounts counts =
          FinishForMuseData(score, finishing, [](const std::string& text) {
            std::fprintf(stderr, "musedata: warning: %s\n", text.c_str());
          });
      if (command.verbose)
        for (const auto& [kind, count] : CountsByKind(counts))
          std::fprintf(stderr, "musedata: finishing step: %s: %d\n", kind.c_str(), count);
    } else if (!command.keepDivisions) {
      score = ReduceDivisions(score);
    }
    PartExport partExport(command, std::move(score));
    bool complete = false;
    if (command.all) {
      complete = partExport.WriteAll();
    } else if (toStandardOutput) {
      complete = partExport.WriteToStandardOutput(command.part);
    } else {
      complete = partExport.Write(command.part, command.output);
    }
    KeepUntilExit(partExport.Score());
    if (IsInterrupted() && !complete) return ReportInterruption(command);
    return complete ? kExitDone : kExitIncomplete;
  } catch (const ConverterError& error) {
    if (IsInterrupted()) return ReportInterruption(command);
    PrintError(error);
    return kExitError;
  }
}

}  // namespace musedata::tool
