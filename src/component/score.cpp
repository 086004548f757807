#include "musedata/score.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>

#include "component/atomic_file.h"
#include "component/error_codes.h"
#include "component/line_source.h"
#include "component/natural_order.h"
#include "component/pending_file.h"
#include "component/set_file.h"
#include "component/trap.h"
#include "component/zip_archive.h"
#include "encoding/code_pages.h"
#include "encoding/record_view.h"
#include "musedata/converter_error.h"
#include "musedata/finish.h"
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
  return ReadFileBytes(path);
}

int32_t PartCount(const Document& document) {
  return xml::Root(document).CountChildren("part");
}

// Whether a file of a zip container stands for a file of the folder it was
// made from: not hidden, and not in the folder of resource forks that some
// archivers add.
bool IsFolderFile(const ZipEntry& entry) {
  return !entry.name.starts_with("__MACOSX/") && !entry.name.starts_with(".") &&
         entry.name.find("/.") == std::string::npos;
}

std::string LinesText(const LineRange& range) {
  if (range.first == range.last) return "line " + std::to_string(range.first);
  return "lines " + std::to_string(range.first) + "-" + std::to_string(range.last);
}

// Loads the inputs one part at a time and says what became of each part.
class ScoreImport {
 public:
  ScoreImport(MuseData& component, const ImportOptions& options)
      : m_component(component), m_options(options) {}

  // Loads every part of the file at `path`: a part file, a set file or a zip
  // container of them. False when a load stopped early.
  bool LoadFile(const std::string& path) { return LoadFile(path, true); }

  // Loads every part of the file `name` held in memory as `bytes`, as a file
  // given by name.
  bool LoadBytes(const std::string& name, std::string_view bytes) {
    return LoadBytes(name, name, bytes, true);
  }

  // Where the component stands now: its file, the part it makes, its line
  // and its measure.
  ImportPlace Place() const {
    ImportPlace place;
    // The file a person has (a set file, a member of a .zip), not the part's label.
    place.file = m_fileName.empty() ? m_component.FileName() : m_fileName;
    place.part = m_found;
    place.line = m_component.RecordLineNumber();
    place.measure = m_component.CurrentMeasureNumber();
    return place;
  }

  // Names the files passed over, in one warning.
  void WarnPassedOver(std::vector<std::string>& files) {
    if (files.empty()) return;
    std::string text = "passed over " + std::to_string(files.size()) +
                       (files.size() == 1 ? " file" : " files") +
                       " without a MuseData part (no group-membership record where a header has "
                       "one): ";
    for (size_t index = 0; index < files.size(); ++index)
      text += (index ? ", " : "") + files[index];
    Warn(text);
    files.clear();
  }
  void WarnPassedOver() { WarnPassedOver(m_passedOver); }

  // When parts were lost: how many, and the first of them with its reason.
  std::string Losses() const {
    if (m_lost == 0) return {};
    return std::to_string(m_lost) + " of " + std::to_string(m_found) +
           " parts lost: " + m_firstLoss;
  }

 private:
  // `named`: the file was given by name, not found in a folder. A named file
  // that is no MuseData text at all is an error; one in a folder is passed over.
  bool LoadFile(const std::string& path, bool named) {
    std::error_code status;
    if (std::filesystem::is_directory(path, status)) {
      for (const std::string& file : FolderFiles(path))
        if (!LoadFile(file, false)) return false;
      return true;
    }
    const std::optional<std::string> bytes = ReadWholeFile(path);
    // A file that cannot be read is reported by the component itself, with
    // the converter's own error for a missing file.
    if (!bytes) return LoadUnreadable(path);
    return LoadBytes(path, std::filesystem::path(path).filename().string(), *bytes, named);
  }

  // Loads the bytes of the file `path`, which messages call `name`.
  bool LoadBytes(const std::string& path, const std::string& name, std::string_view bytes,
                 bool named) {
    // Bytes that are no MuseData text at all would only fail as a header
    // record that was not understood; they are named for what they are.
    // A compressed MusicXML file is a zip container too, but no folder of parts.
    const bool musicXml = std::filesystem::path(path).extension() == ".mxl";
    if (named && (!LooksLikeZip(bytes) || musicXml))
      if (const std::string kind = ForeignTextKind(bytes); !kind.empty())
        throw ConverterError(13, "musedata", path + ": " + kind);
    const int32_t found = m_found;
    const int32_t loaded = m_loaded;
    const bool complete =
        LooksLikeZip(bytes) ? LoadZip(name, bytes) : LoadMuseData(name, bytes, m_passedOver);
    // A file of several parts says how many it gave; each part not loaded
    // has been named already.
    if (complete && m_found - found > 1 && m_loaded - loaded < m_found - found)
      Warn(name + ": " + std::to_string(m_loaded - loaded) + " of " +
           std::to_string(m_found - found) + " parts loaded");
    return complete;
  }

  // The converter's own error for a file it cannot open; a missing file is
  // named by its own message, any other failure gets the file's name in front.
  bool LoadUnreadable(const std::string& path) {
    try {
      return Judge(path, m_component.Load(path));
    } catch (const ConverterError& error) {
      if (error.Number() == kErrorBase + kErrFileNotFound) throw;
      throw ConverterError(error.Number(), error.Source(), path + ": " + error.Description());
    }
  }

  // A zip container stands for the folder it holds.
  bool LoadZip(const std::string& name, std::string_view bytes) {
    std::vector<ZipEntry> files = ReadZipArchive(bytes, name);
    std::erase_if(files, [](const ZipEntry& file) { return !IsFolderFile(file); });
    std::sort(files.begin(), files.end(),
              [](const ZipEntry& a, const ZipEntry& b) { return NaturalLess(a.name, b.name); });
    std::vector<std::string> passedOver;
    for (const ZipEntry& file : files)
      if (!LoadMuseData(name + "/" + file.name, file.bytes, passedOver)) return false;
    WarnPassedOver(passedOver);
    return true;
  }

  // Loads the parts of one MuseData file; a file without any joins `passedOver`.
  bool LoadMuseData(const std::string& name, std::string_view bytes,
                    std::vector<std::string>& passedOver) {
    m_fileName = name;
    CheckMemoryLimit(name, bytes.size());
    // A comment block whose closing line took a stray character ("2&&&&",
    // a typing slip of published data) would swallow the rest of its part:
    // that line closes it, with a warning.
    std::string mended;
    const std::vector<StrayCommentEnd> strayEnds = FindStrayCommentEnds(bytes);
    if (!strayEnds.empty()) {
      mended.assign(bytes);
      for (const StrayCommentEnd& end : strayEnds) {
        Warn(name + ", line " + std::to_string(end.line) + ": \"" + std::string(end.text) +
             "\" read as the end of the comment block that begins on line " +
             std::to_string(end.blockLine) + " (\"&\" repeated after a stray character)");
        mended[end.offset] = '&';
      }
      bytes = mended;
    }
    const SetFileLayout layout = SetFileParts(bytes);
    if (layout.parts.empty()) {
      // An XML file given as MuseData is a common slip; say so.
      const bool xml = TrimLeft(bytes.substr(0, 64)).starts_with("<?xml");
      passedOver.push_back(xml ? name + " (an XML file)" : name);
      return true;
    }
    for (const LineRange& range : layout.strayLines)
      Warn(name + ", " + LinesText(range) + ": outside every part; not read");
    // The parts of a set share one reading of its bytes.
    const TextEncoding encoding = ResolveEncoding(bytes, m_options.encoding);
    m_component.SetEncoding(encoding);
    std::vector<std::string> labels;
    while (labels.size() < layout.parts.size())
      labels.push_back(PartLabel(name, labels.size() + 1, layout.parts, encoding));
    bool complete = true;
    size_t index = 0;
    for (; index < layout.parts.size() && complete; ++index) {
      const SetFilePart& part = layout.parts[index];
      m_found = CheckedAdd(m_found, 1);
      if (!HasMusicalData(part.bytes) && InWantedGroup(part.bytes)) {
        // A set's MIDI channel table, say: a header and no music.
        Warn(labels[index] + ": no musical data (no \"$\" record and no note); skipped");
        Count(PartFate::WithoutMusic);
        continue;
      }
      try {
        complete =
            Judge(labels[index], m_component.LoadPart(labels[index], part.bytes, part.firstLine));
      } catch (const ConverterError& error) {
        Count(PartFate::Lost);
        NotReached(labels, index + 1);
        m_component.SetEncoding(m_options.encoding);
        // Messages name the file a person has, the part in it and the line.
        throw ConverterError(error.Number(), error.Source(),
                             Located(labels[index]) + ": " + error.Description());
      }
    }
    NotReached(labels, index);
    m_component.SetEncoding(m_options.encoding);
    return complete;
  }

  // Stops the import before the MuseData read so far would make a score
  // larger than the options allow.
  void CheckMemoryLimit(const std::string& name, size_t bytes) {
    constexpr uint64_t kTreeBytesPerMuseDataByte = 90;
    m_museDataBytes += bytes;
    const uint64_t estimate = m_museDataBytes * kTreeBytesPerMuseDataByte;
    const uint64_t limit = m_options.memoryLimit;
    if (limit == 0 || estimate <= limit) return;
    throw ConverterError(7, "musedata",
                         "Out of memory: " + name + ": the score would take about " +
                             std::to_string(estimate >> 20) + " MB (some ninety times the " +
                             std::to_string(m_museDataBytes >> 10) +
                             " KB of MuseData read), more than the limit of " +
                             std::to_string(limit >> 20) + " MB");
  }

  // Whether the group being loaded takes the part (every group does for "").
  bool InWantedGroup(std::string_view part) const {
    const std::string& wanted = m_component.GroupType();
    if (wanted.empty()) return true;
    const std::vector<std::string> groups = PartGroups(part);
    return std::find(groups.begin(), groups.end(), wanted) != groups.end();
  }

  // "trio.msd part 3 (Basso)" for a part of a set; a part file is its name.
  static std::string PartLabel(const std::string& name, size_t number,
                               const std::vector<SetFilePart>& parts, TextEncoding encoding) {
    if (parts.size() == 1) return name;
    std::string label = name + " part " + std::to_string(number);
    const std::string partName = DecodeToUtf8(parts[number - 1].name, encoding);
    const std::string_view trimmed = Trim(partName);
    if (!trimmed.empty()) label += " (" + std::string(trimmed) + ")";
    return label;
  }

  std::string Located(const std::string& label) const {
    const int32_t line = m_component.RecordLineNumber();
    return line > 0 ? label + ", line " + std::to_string(line) : label;
  }

  // The parts from `first` on, which the import did not reach.
  void NotReached(const std::vector<std::string>& labels, size_t first) {
    for (size_t index = first; index < labels.size(); ++index) {
      m_found = CheckedAdd(m_found, 1);
      Count(PartFate::Lost);
      Warn(labels[index] + ": not loaded; the import ended before it");
    }
  }

  // Says what became of the part just loaded; `complete` is the load's result.
  bool Judge(const std::string& label, bool complete) {
    const int32_t parts = PartCount(m_component.XML());
    const bool made = parts > m_parts;
    m_parts = parts;
    const int32_t unclosed = m_component.UnclosedCommentLine();
    const std::string openBlock =
        label + ", line " + std::to_string(unclosed) + ": the comment block that begins here";
    if (!complete) {
      Count(PartFate::Lost);
    } else if (m_component.LastLoadSkipped()) {
      Warn(label + ": not in group \"" + m_component.GroupType() + "\"; skipped");
      Count(PartFate::OutsideGroup);
    } else if (made) {
      Count(PartFate::Loaded);
      if (unclosed) Warn(openBlock + " is never closed; the rest of the part is left out");
    } else {
      const std::string text = unclosed ? openBlock + " is never closed, so no part was made"
                                        : label + ": no musical data; no part made";
      Warn(text);
      if (m_lost == 0) m_firstLoss = text;
      m_lost = CheckedAdd(m_lost, 1);
      Count(PartFate::Lost);
    }
    return complete;
  }

  void Count(PartFate fate) {
    if (fate == PartFate::Loaded) m_loaded = CheckedAdd(m_loaded, 1);
    if (m_options.partCounted) m_options.partCounted(fate);
  }

  void Warn(const std::string& text) const {
    if (m_component.Warning) m_component.Warning(text);
  }

  MuseData& m_component;
  const ImportOptions& m_options;
  std::string m_fileName;        // the file being read, as named in messages
  uint64_t m_museDataBytes = 0;  // MuseData read so far
  int32_t m_parts = 0;           // parts in the score so far
  int32_t m_found = 0;           // parts found in the inputs so far
  int32_t m_loaded = 0;          // of them, parts that the score took
  int32_t m_lost = 0;            // of them, parts lost other than by the group choice
  std::string m_firstLoss;
  std::vector<std::string> m_passedOver;  // input files without any part
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
  import.WarnPassedOver();
  result.document = component->XML();
  result.stoppedAt = import.Losses();
  if (!result.stoppedAt.empty()) {
    if (options.stopped) options.stopped(import.Place());
    return result;
  }
  if (PartCount(result.document) == 0) {
    std::string description = "No part was loaded";
    if (!options.groupType.empty()) description += " of group \"" + component->GroupType() + "\"";
    throw ConverterError(5, "musedata", description);
  }
  result.complete = true;
  if (options.finish) {
    const xml::NameScope names(result.document);
    result.finished = FinishScore(result.document, component->Warning);
  }
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

namespace {

// Where an export stood: "minuet.musicxml part 2 (Viola), measure 12", from
// the part's child node that `Saving` last reported as written (the count
// starts at 3 and rises by one after each child of the part).
std::string ExportPlace(const Document& document, int32_t partNumber, const std::string& name,
                        int32_t lastCount) {
  const xml::Node root = xml::Root(document);
  xml::Node part;
  int32_t index = 0;
  for (const xml::Node candidate : root.Children("part"))
    if (++index == partNumber) part = candidate;
  std::string place = name.empty() ? std::string("the score") : name;
  place += " part " + std::to_string(partNumber);
  if (!part) return place;
  for (const xml::Node scorePart : root.Child("part-list").Children("score-part")) {
    if (scorePart.Attr("id") != part.Attr("id")) continue;
    const std::string partName = scorePart.Child("part-name").Text();
    if (!partName.empty()) place += " (" + partName + ")";
    break;
  }
  if (lastCount < 3) return place;  // the header, or the voices read before the measures
  xml::Node child = part.FirstChild();
  for (int32_t skip = lastCount - 3; child && skip > 0; --skip) child = child.Next();
  if (!child) return place + ", after the last measure";
  if (child.IsElement()) return place + ", measure " + std::string(child.Attr("number"));
  return place;
}

}  // namespace

bool ExportPart(const Document& document, int32_t partNumber, const std::string& path,
                const ExportOptions& options) {
  const std::unique_ptr<MuseData> component = CreateMuseData();
  Document score = document;
  if (options.finish) {
    score = xml::CopyDocument(document);
    MuseDataFinishOptions finishing;
    finishing.part = partNumber;
    finishing.keepPositions = options.keepPositions;
    finishing.reduceDivisions = options.reduceDivisions;
    const MuseDataFinishCounts counts = FinishForMuseData(score, finishing, options.warning);
    if (options.finished) options.finished(counts);
  } else if (options.reduceDivisions) {
    score = ReduceDivisions(document);
  }
  component->SetXML(score);
  component->SetPartNumber(partNumber);
  // A finished part is laid out for other readers as published files are.
  component->SetAttributeTrackColumnBlank(options.finish || options.attributeTrackColumnBlank);
  int32_t lastCount = 0;
  component->Saving = [&](int32_t current, int32_t size, bool& cancel) {
    lastCount = current;
    if (options.progress) options.progress(current, size, cancel);
  };
  component->Warning = options.warning;
  if (!component->Warning) component->Warning = [](const std::string&) {};
  try {
    return component->Save(path);
  } catch (const ConverterError& error) {
    // The cancellation error of a host's handler passes as it came.
    if (error.Number() == kErrorBase + 6007) throw;
    throw ConverterError(
        error.Number(), error.Source(),
        ExportPlace(score, partNumber, options.name, lastCount) + ": " + error.Description());
  }
}

std::string ToMusicXmlText(const Document& document) {
  return xml::ToIndentedString(document);
}

namespace {

// Writes the document's text into `writer`, leaving the commit to the caller:
// false when the progress handler cancelled; raises when the text could not
// be written or made.
bool WriteMusicXmlText(const Document& document, AtomicFileWriter& writer) {
  // The text of a score is about ten times the size of its MuseData; written
  // straight into the file it never has to be held in memory beside the tree.
  if (xml::WriteIndented(document, [&](std::string_view text) { return writer.Append(text); }))
    return true;
  // A failed write raises its own error here; a cancelled one only stops.
  writer.Write({});
  if (writer.Cancelled()) return false;
  throw ConverterError(75, "musedata",
                       "Path/File access error: cannot write " + writer.Path() +
                           ": the MusicXML text could not be made");
}

}  // namespace

bool WriteMusicXmlFile(const Document& document, const std::string& path,
                       const WriteOptions& options) {
  AtomicFileWriter writer(path, options.progress);
  return WriteMusicXmlText(document, writer) && writer.Commit();
}

std::unique_ptr<AtomicFileWriter> WriteMusicXmlPending(const Document& document,
                                                       const std::string& path,
                                                       const WriteOptions& options) {
  auto writer = std::make_unique<AtomicFileWriter>(path, options.progress);
  if (!WriteMusicXmlText(document, *writer) || !writer->Complete()) return nullptr;
  return writer;
}

}  // namespace musedata
