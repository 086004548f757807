// musedata._musedata: the converter for Python. The Python package around it
// (musedata/__init__.py) turns what these functions return into str results,
// warnings and exceptions; here the conversions run with the GIL released.

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <optional>
#include <string>
#include <vector>

#include "musedata/converter_error.h"
#include "musedata/score.h"
#include "musedata/text_encoding.h"
#include "score_bytes.h"

namespace py = pybind11;

namespace {

struct Warning {
  std::string text;
  musedata::ImportPlace place;
};

// What a conversion gives back to Python: its text (when it makes one), its
// warnings, and how it ended when not done.
struct Outcome {
  std::optional<std::string> text;
  std::vector<Warning> warnings;
  std::optional<musedata::ConverterError> error;
  std::string stoppedAt;
  bool cancelled = false;
  // An exception the progress callback raised; it cancelled the conversion.
  py::object callbackError = py::none();

  py::dict ToPython() const {
    py::dict result;
    result["text"] = text ? py::object(py::str(*text)) : py::object(py::none());
    py::list list;
    for (const Warning& warning : warnings) {
      list.append(py::make_tuple(warning.text, warning.place.file, warning.place.part,
                                 warning.place.line, warning.place.measure));
    }
    result["warnings"] = list;
    result["error"] =
        error ? py::object(py::make_tuple(error->Number(), error->Source(), error->Description()))
              : py::object(py::none());
    result["stopped_at"] = stoppedAt;
    result["cancelled"] = cancelled;
    result["callback_error"] = callbackError;
    return result;
  }
};

// Calls the Python progress callback with the GIL held. A callback that
// returns False cancels; one that raises cancels too, and its exception is
// kept for the caller to raise again.
void CallProgress(const py::object& callback, Outcome& outcome, const std::string& file,
                  int32_t current, int32_t size, bool& cancel) {
  py::gil_scoped_acquire acquire;
  try {
    const py::object answer = callback(file, current, size);
    if (answer.is(py::bool_(false))) {
      cancel = true;
      outcome.cancelled = true;
    }
  } catch (py::error_already_set& error) {
    outcome.callbackError = error.value();
    cancel = true;
  }
}

musedata::ImportOptions MakeOptions(const std::string& group, const std::string& encoding,
                                    const py::object& progress, uint64_t memoryLimitMb,
                                    Outcome& outcome) {
  musedata::ImportOptions options;
  options.groupType = group;
  options.memoryLimit = memoryLimitMb << 20;
  const std::optional<musedata::TextEncoding> parsed = musedata::ParseTextEncoding(encoding);
  if (!parsed) throw py::value_error("unknown encoding \"" + encoding + "\"");
  options.encoding = *parsed;
  options.placedWarning = [&outcome](const std::string& text, const musedata::ImportPlace& place) {
    outcome.warnings.push_back({text, place});
  };
  if (!progress.is_none()) {
    options.progress = [&outcome, &progress](const std::string& file, int32_t current, int32_t size,
                                             bool& cancel) {
      CallProgress(progress, outcome, file, current, size, cancel);
    };
  }
  return options;
}

// Imports `paths` (files already expanded from folders) and either returns the
// score's text or, with `out` set, writes it there as .musicxml or .mxl.
py::dict ImportPaths(const std::vector<std::string>& paths, const std::string& group,
                     const std::string& encoding, const py::object& progress,
                     const std::optional<std::string>& out, uint64_t memoryLimitMb) {
  Outcome outcome;
  const musedata::ImportOptions options =
      MakeOptions(group, encoding, progress, memoryLimitMb, outcome);
  {
    py::gil_scoped_release release;
    try {
      musedata::ImportResult result = musedata::ImportScore(paths, options);
      if (!result.complete) {
        outcome.stoppedAt = result.stoppedAt;
      } else if (out) {
        musedata::tool::WriteScoreFile(result.document, *out);
      } else {
        outcome.text = musedata::ToMusicXmlText(result.document);
      }
    } catch (const musedata::ConverterError& error) {
      outcome.error = error;
    }
  }
  return outcome.ToPython();
}

// Imports MuseData files held in memory, given as (name, bytes) pairs, and
// returns the score's text.
py::dict ImportMemory(const std::vector<std::pair<std::string, py::bytes>>& files,
                      const std::string& group, const std::string& encoding,
                      const py::object& progress, uint64_t memoryLimitMb) {
  Outcome outcome;
  const musedata::ImportOptions options =
      MakeOptions(group, encoding, progress, memoryLimitMb, outcome);
  std::vector<musedata::InputFile> inputs;
  for (const auto& [name, bytes] : files) inputs.push_back({name, std::string(bytes)});
  {
    py::gil_scoped_release release;
    try {
      musedata::ImportResult result = musedata::ImportScoreFromMemory(inputs, options);
      if (result.complete) {
        outcome.text = musedata::ToMusicXmlText(result.document);
      } else {
        outcome.stoppedAt = result.stoppedAt;
      }
    } catch (const musedata::ConverterError& error) {
      outcome.error = error;
    }
  }
  return outcome.ToPython();
}

// Exports part `part` of the MusicXML `bytes` (text or .mxl) as MuseData text,
// or into the file `out`.
py::dict ExportBytes(const std::string& bytes, const std::string& name, int32_t part,
                     const py::object& progress, const std::optional<std::string>& out,
                     bool literal, bool keepDivisions, bool positions) {
  Outcome outcome;
  // The options of `musedata export`, so that both give the same MuseData.
  musedata::ExportOptions options;
  options.finish = !literal;
  options.reduceDivisions = !keepDivisions;
  options.keepPositions = positions;
  options.name = name;
  options.warning = [&outcome](const std::string& text) { outcome.warnings.push_back({text, {}}); };
  if (!progress.is_none()) {
    options.progress = [&outcome, &progress](int32_t current, int32_t size, bool& cancel) {
      CallProgress(progress, outcome, "", current, size, cancel);
    };
  }
  {
    py::gil_scoped_release release;
    try {
      const musedata::Document document = musedata::tool::ParseMusicXml(bytes, name);
      if (!out) {
        outcome.text = musedata::tool::ExportPartText(document, part, options);
      } else if (!musedata::ExportPart(document, part, *out, options)) {
        outcome.stoppedAt = *out + ": part " + std::to_string(part) + " was not written";
      }
    } catch (const musedata::ConverterError& error) {
      outcome.error = error;
    }
  }
  return outcome.ToPython();
}

}  // namespace

PYBIND11_MODULE(_musedata, module) {
  module.doc() = "MuseData <-> MusicXML conversion (the compiled part of the musedata package)";
  module.def("import_paths", &ImportPaths, py::arg("paths"), py::arg("group"), py::arg("encoding"),
             py::arg("progress"), py::arg("out"), py::arg("memory_limit") = 1024);
  module.def("import_memory", &ImportMemory, py::arg("files"), py::arg("group"),
             py::arg("encoding"), py::arg("progress"), py::arg("memory_limit") = 1024);
  module.def("export_bytes", &ExportBytes, py::arg("bytes"), py::arg("name"), py::arg("part"),
             py::arg("progress"), py::arg("out"), py::arg("literal") = false,
             py::arg("keep_divisions") = false, py::arg("positions") = false);
  module.attr("CANCELLED") = musedata::kErrorBase + 6007;
}
