#include "musedata/score.h"

#include <filesystem>
#include <fstream>
#include <optional>

#include "component/atomic_file.h"
#include "component/set_file.h"
#include "musedata/converter_error.h"
#include "musedata/muse_data.h"
#include "musedata/registry.h"
#include "xml/node.h"

namespace musedata {
namespace {

// A new converter component, made as any host makes one: by its class name.
std::unique_ptr<MuseData> CreateMuseData() {
  std::unique_ptr<MusicXMLConverter> converter = CreateObject(kMuseDataProgId);
  auto* component = dynamic_cast<MuseData*>(converter.get());
  if (!component) throw ConverterError(13, "musedata", "Type mismatch");
  converter.release();
  return std::unique_ptr<MuseData>(component);
}

// Why a load that returned false stopped, for the host's message.
std::string StoppedAt(const MuseData& component, bool cancelled) {
  std::string text =
      component.FileName() + ", line " + std::to_string(component.RecordLineNumber());
  if (cancelled) return text + ": cancelled";
  if (component.CurrentRecord().empty())
    return text + ": an empty line ends the musical data before \"/END\"";
  return text + ": the record \"" + component.CurrentRecord() + "\" ended the part";
}

}  // namespace

namespace {

// The whole of a regular file, or nothing when it cannot be read as one.
std::optional<std::string> ReadWholeFile(const std::string& path) {
  std::error_code status;
  if (!std::filesystem::is_regular_file(path, status)) return std::nullopt;
  std::ifstream stream(path, std::ios::binary);
  if (!stream) return std::nullopt;
  std::string bytes((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
  if (stream.bad()) return std::nullopt;
  return bytes;
}

int32_t PartCount(const Document& document) {
  return xml::Root(document).CountChildren("part");
}

// Loads the inputs one part at a time and says what happened to each.
class ScoreImport {
 public:
  ScoreImport(MuseData& component, const ImportOptions& options)
      : m_component(component), m_options(options) {}

  // Loads every part of the file at `path`; false when a part stopped early.
  bool LoadFile(const std::string& path) {
    const std::optional<std::string> bytes = ReadWholeFile(path);
    // A file that cannot be read is reported by the component itself, with
    // the converter's own error for a missing file.
    if (!bytes) {
      ++m_loads;
      return Loaded(path, m_component.Load(path));
    }
    return LoadBytes(std::filesystem::path(path).filename().string(), *bytes);
  }

  // Loads every part of the file `name` whose bytes are `bytes`.
  bool LoadBytes(const std::string& name, const std::string& bytes) {
    if (!IsSetFile(bytes)) {
      ++m_loads;
      return Loaded(name, m_component.LoadPart(name, bytes));
    }
    // The parts of a set share one reading of its bytes.
    m_component.SetEncoding(ResolveEncoding(bytes, m_options.encoding));
    int32_t index = 0;
    bool complete = true;
    for (const SetFilePart& part : SetFileParts(bytes)) {
      const std::string partName = name + " part " + std::to_string(++index);
      ++m_loads;
      complete = Loaded(partName, m_component.LoadPart(partName, part.bytes, part.firstLine));
      if (!complete) break;
    }
    m_component.SetEncoding(m_options.encoding);
    if (index == 0) Warn(name + ": a set file without any part");
    return complete;
  }

  // Where the component stands now: its file, the part it makes, its line
  // and its measure.
  ImportPlace Place() const {
    ImportPlace place;
    place.file = m_component.FileName();
    place.part = m_loads;
    place.line = m_component.RecordLineNumber();
    place.measure = m_component.CurrentMeasureNumber();
    return place;
  }

 private:
  bool Loaded(const std::string& name, bool complete) {
    const int32_t parts = PartCount(m_component.XML());
    if (complete && m_component.LastLoadSkipped()) {
      Warn(name + ": not in group \"" + m_component.GroupType() + "\"; skipped");
    } else if (complete && parts == m_parts) {
      Warn(name + ": no musical data; no part made");
    }
    m_parts = parts;
    return complete;
  }

  void Warn(const std::string& text) const {
    if (m_component.Warning) m_component.Warning(text);
  }

  MuseData& m_component;
  const ImportOptions& m_options;
  int32_t m_parts = 0;
  int32_t m_loads = 0;
};

}  // namespace

namespace {

// Runs `load(import, index)` for each input index in order on a new component
// and makes the result; `load` returns false when a part stopped early.
template <typename Load>
ImportResult RunImport(size_t inputs, const ImportOptions& options, const Load& load) {
  const std::unique_ptr<MuseData> component = CreateMuseData();
  component->SetGroupType(options.groupType);
  component->SetSystemIdentifier(options.systemIdentifier);
  component->SetEncoding(options.encoding);
  bool cancelled = false;
  component->Loading = [&](int32_t current, int32_t size, bool& cancel) {
    if (options.progress) options.progress(component->FileName(), current, size, cancel);
    cancelled = cancel;
  };
  ScoreImport import(*component, options);
  component->Warning = [&](const std::string& text) {
    if (options.warning) options.warning(text);
    if (options.placedWarning) options.placedWarning(text, import.Place());
  };

  ImportResult result;
  for (size_t index = 0; index < inputs; ++index) {
    bool complete = false;
    try {
      complete = load(import, index);
    } catch (const ConverterError&) {
      if (options.stopped) options.stopped(import.Place());
      throw;
    }
    if (!complete) {
      if (options.stopped) options.stopped(import.Place());
      result.document = component->XML();
      result.stoppedAt = StoppedAt(*component, cancelled);
      return result;
    }
  }
  result.document = component->XML();
  if (PartCount(result.document) == 0) {
    std::string description = "No part was loaded";
    if (!options.groupType.empty()) description += " of group \"" + component->GroupType() + "\"";
    throw ConverterError(5, "musedata", description);
  }
  result.complete = true;
  return result;
}

}  // namespace

ImportResult ImportScore(const std::vector<std::string>& paths, const ImportOptions& options) {
  return RunImport(paths.size(), options, [&](ScoreImport& import, size_t index) {
    return import.LoadFile(paths[index]);
  });
}

ImportResult ImportScoreFromMemory(const std::vector<InputFile>& files,
                                   const ImportOptions& options) {
  return RunImport(files.size(), options, [&](ScoreImport& import, size_t index) {
    return import.LoadBytes(files[index].name, files[index].bytes);
  });
}

bool ExportPart(const Document& document, int32_t partNumber, const std::string& path,
                const ExportOptions& options) {
  const std::unique_ptr<MuseData> component = CreateMuseData();
  component->SetXML(document);
  component->SetPartNumber(partNumber);
  component->Saving = options.progress;
  component->Warning = options.warning;
  if (!component->Warning) component->Warning = [](const std::string&) {};
  return component->Save(path);
}

std::string ToMusicXmlText(const Document& document) {
  return xml::ToIndentedString(document);
}

void WriteMusicXmlFile(const Document& document, const std::string& path) {
  // The text of a score is about ten times the size of its MuseData; written
  // straight into the file it never has to be held in memory beside the tree.
  AtomicFileWriter writer(path);
  writer.WriteWith([&](std::FILE* file) { return xml::WriteIndented(document, file); });
  writer.Commit();
}

}  // namespace musedata
