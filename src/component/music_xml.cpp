#include "component/music_xml.h"

#include <algorithm>
#include <cctype>
#include <iostream>
#include <limits>

#include "component/error_codes.h"
#include "component/utilities.h"

namespace musedata {
namespace {

// Ends a save's hold on its output file. A file that was not committed is
// removed, so the name it was meant for keeps its old content.
class OutputScope {
 public:
  explicit OutputScope(std::unique_ptr<AtomicFileWriter>& output) : m_output(output) {}
  ~OutputScope() { m_output.reset(); }
  OutputScope(const OutputScope&) = delete;
  OutputScope& operator=(const OutputScope&) = delete;

 private:
  std::unique_ptr<AtomicFileWriter>& m_output;
};

}  // namespace

MusicXML::MusicXML() = default;
MusicXML::~MusicXML() = default;

void MusicXML::SetGroupType(std::string_view value) {
  std::string group(Trim(value));
  std::transform(group.begin(), group.end(), group.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  m_group.groupType = std::move(group);
}

int32_t MusicXML::LineNumber() const noexcept {
  return m_source ? m_source->Line() : 0;
}

int32_t MusicXML::RecordLineNumber() const noexcept {
  return m_source ? m_reader.currentLineNumber + m_source->FirstLineInFile() - 1 : 0;
}

bool MusicXML::Load(const std::string& FileName) {
  return Trap(
      kLoad, &m_caught,
      [&] {
        m_progress.cancel = false;
        m_group.mayBeXml = false;
        return LoadSource(LineSource::OpenFile(FileName, m_encoding));
      },
      [&](const CaughtError& error) -> std::optional<ConverterError> {
        if (error.number != 53) return std::nullopt;
        return ConverterError(kErrorBase + kErrFileNotFound, kErrorSource,
                              "File " + FileName + " not found");
      });
}

bool MusicXML::Load(std::unique_ptr<LineSource> source) {
  return Trap(kLoad, &m_caught, [&] {
    m_progress.cancel = false;
    m_group.mayBeXml = false;
    if (!source) throw RunTimeError::ObjectNotSet();
    return LoadSource(std::move(source));
  });
}

void MusicXML::SetXML(Document document) {
  // The elements kept from earlier loads live in the document they were made
  // in, and a libxml2 node does not keep its document alive: when the host
  // hands over another score, they are let go before the old one can be freed.
  if (!(document == m_score.document)) ReleaseHeldElements();
  m_score.document = std::move(document);
}

void MusicXML::ReleaseHeldElements() {
  m_score.root = {};
  m_score.work = {};
  m_score.partList = {};
  m_score.identification = {};
  m_score.currentMeasure = {};
  std::fill(m_score.parts.begin(), m_score.parts.end(), xml::Node());
  std::fill(m_score.scoreParts.begin(), m_score.scoreParts.end(), xml::Node());
  m_note = NoteState();
  m_direction = DirectionState();
  m_suggestion = SuggestionTargets();
}

bool MusicXML::Save(const std::string& FileName, int32_t PartNumber) {
  return Trap(kSave, &m_caught, [&] {
    m_progress.cancel = false;
    if (!m_score.document) return false;
    m_score.root = xml::Root(m_score.document);
    if (m_score.root.Name() != "score-partwise") return false;
    FitPartArrays();
    m_source.reset();
    m_output.reset();
    m_output = std::make_unique<AtomicFileWriter>(FileName);
    const OutputScope scope(m_output);
    m_score.partNumber = PartNumber;
    if (!SaveHeader(FileName, PartNumber)) return false;
    if (!SaveData(FileName, PartNumber)) return false;
    m_output->Commit();
    return true;
  });
}

// A save sizes the part and score-part tables to the parts of the document it
// writes (one slot at least), so the header names the document's part count
// however many parts this engine loaded before.
void MusicXML::FitPartArrays() {
  const int32_t partCount = m_score.root.CountChildren("part");
  m_score.parts.resize(static_cast<size_t>(std::max(partCount, 1)) + 1);
  int32_t scorePartCount = 0;
  for (const xml::Node partList : m_score.root.Children("part-list"))
    scorePartCount = CheckedAdd(scorePartCount, partList.CountChildren("score-part"));
  m_score.scoreParts.resize(static_cast<size_t>(std::max(scorePartCount, 1)) + 1);
}

void MusicXML::WriteLine(std::string_view line) {
  if (!m_output) throw RunTimeError::ObjectNotSet();
  // An empty line has no characters to hand over (its view may not point anywhere).
  if (!line.empty()) m_output->Write(line);
  m_output->Write("\n");
}

void MusicXML::WriteBlankLines(int32_t count) {
  for (int32_t i = 0; i < count; ++i) WriteLine({});
}

bool MusicXML::LoadSource(std::unique_ptr<LineSource> source) {
  m_source = std::move(source);
  m_fileName = m_source->Name();
  if (!m_score.document) {
    StartNewDocument();
  } else {
    StartNextPart();
  }
  const xml::NameScope names(m_score.document);
  if (!CreateIdentification()) return false;
  if (!Reset()) return false;
  m_reader.headerCommentCount = 0;
  m_reader.groupLineCount = 0;
  return LoadRecords();
}

bool MusicXML::LoadRecords() {
  while (!m_reader.endOfData) {
    const bool goOn = NextRecord();
    // The 2 stands for each record's line end, so that progress ends near the file size.
    m_progress.current =
        CheckedAdd(m_progress.current, CheckedAdd(m_reader.currentRecordLength, 2));
    RaiseLoading(m_progress.current, m_progress.size);
    // A cancelled or refused load leaves the stream open, so that the line
    // where it stopped can still be reported.
    if (m_progress.cancel) return false;
    if (goOn) continue;
    if (!m_group.notInGroup) return false;
    // A file skipped because it is not in the wanted group counts as complete.
    RaiseLoading(m_progress.size, m_progress.size);
    break;
  }
  // A file that ended before its part-name record leaves its identification
  // waiting in the score, where MusicXML has no place for it.
  if (m_score.identification && m_score.identification.Parent() == m_score.root)
    m_score.identification.Remove();
  m_score.identification = {};
  m_source.reset();
  return true;
}

void MusicXML::StartNewDocument() {
  m_score.document = InitializeXML(true, m_systemIdentifier);
  m_score.root = xml::Root(m_score.document);
  m_score.work = {};
  m_score.partList = {};
  m_tables.lyricWordOpen.assign(7, false);
  m_score.parts.assign(101, xml::Node());
  m_score.scoreParts.assign(101, xml::Node());
  m_score.partNumber = 1;
}

void MusicXML::StartNextPart() {
  m_score.partNumber = CheckedAdd(m_score.partNumber, 1);
  if (static_cast<size_t>(m_score.partNumber) >= m_score.scoreParts.size()) GrowPartArrays();
}

void MusicXML::GrowPartArrays() {
  // Both arrays grow by 100 above their own upper bounds.
  m_score.parts.resize(m_score.parts.size() + 100);
  m_score.scoreParts.resize(m_score.scoreParts.size() + 100);
}

bool MusicXML::Reset() {
  return Trap(kReset, &m_caught, [&] {
    m_reader = ReaderState();
    m_score.currentMeasure = {};
    m_score.measureCount = 0;
    m_note = NoteState();
    m_measure = MeasureState();
    m_direction = DirectionState();
    m_suggestion = SuggestionTargets();
    m_warnings = WarningFlags();
    // The tables keep their sizes; only their slots are emptied.
    std::fill(m_tables.pendingTies.begin(), m_tables.pendingTies.end(), std::string());
    std::fill(m_tables.pendingTied.begin(), m_tables.pendingTied.end(), std::string());
    std::fill(m_tables.lyricWordOpen.begin(), m_tables.lyricWordOpen.end(), false);
    const int64_t size = m_source ? m_source->Size() : 0;
    if (size > std::numeric_limits<int32_t>::max()) throw RunTimeError::Overflow();
    m_progress.size = static_cast<int32_t>(size);
    m_progress.current = 0;
    return true;
  });
}

void MusicXML::RaiseLoading(int32_t current, int32_t size) {
  if (Loading) Loading(current, size, m_progress.cancel);
}

std::string MusicXML::LocationText() const {
  return "File " + m_fileName + ", measure " + std::string(m_score.currentMeasure.Attr("number"));
}

void MusicXML::ShowWarning(const std::string& text) const {
  if (Warning) {
    Warning(text);
  } else {
    std::cerr << text << '\n';
  }
}

}  // namespace musedata
