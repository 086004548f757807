// The import's reader: one logical MuseData record per call (a line and its
// continuation lines), the header zone, comments, and the dispatch of data
// records on their first column.

#include "component/error_codes.h"
#include "component/music_xml.h"
#include "import/record_kind.h"

namespace musedata {
namespace {

// The header zone is the first 11 lines plus one line for every comment line
// and group record inside it; the reader compares the number of the next line
// to be read with this limit.
constexpr int32_t kHeaderZoneLimit = 12;

}  // namespace

bool MusicXML::NextRecord() {
  return Trap(kNextRecord, &m_caught, [&] {
    if (m_reader.streamExhausted) {
      m_reader.endOfData = true;
      return true;
    }
    const int32_t limit = m_reader.headerCommentCount + kHeaderZoneLimit;
    const int32_t line = m_source->Line();
    if (line <= limit && m_source->AtEnd()) {
      m_reader.endOfData = true;
      return true;
    }
    ReadRecordLines();
    AppendContinuationLines();

    if (m_reader.inCommentBlock) return ParseComment();

    const char kind = m_reader.currentRecord.empty() ? '\0' : m_reader.currentRecord.front();
    if (m_source->Line() <= m_reader.headerCommentCount + kHeaderZoneLimit) {
      if (kind == '&') {
        const bool result = ParseCommentToggle();
        m_reader.headerCommentCount = CheckedAdd(m_reader.headerCommentCount, 1);
        return result;
      }
      if (kind == '@') {
        const bool result = ParseSingleLineComment();
        m_reader.headerCommentCount = CheckedAdd(m_reader.headerCommentCount, 1);
        return result;
      }
      return ParseInitialLine();
    }
    if (m_reader.afterFine) return ParseAfterFine();
    if (!m_score.parts[static_cast<size_t>(m_score.partNumber)]) CreatePartAndFirstMeasure();
    return DispatchDataRecord();
  });
}

// Reads the physical line of the next record. Header lines are read one at a
// time; from the first data line on, one line is read ahead so that
// continuation lines can be recognised.
void MusicXML::ReadRecordLines() {
  const int32_t limit = m_reader.headerCommentCount + kHeaderZoneLimit;
  const int32_t line = m_source->Line();
  if (line < limit) {
    m_reader.currentLineNumber = line;
    m_reader.currentLine = m_source->ReadLine();
  } else if (line == limit) {
    m_reader.currentLineNumber = line;
    m_reader.currentLine = m_source->ReadLine();
    if (!m_source->AtEnd()) m_reader.lookAhead = m_source->ReadLine();
  } else {
    m_reader.currentLineNumber = line - 1;
    m_reader.currentLine = m_reader.lookAhead;
    AdvanceLookAhead();
  }
  m_reader.currentRecord.assign(m_reader.currentLine);
  m_reader.currentRecordLength = CharacterCount(m_reader.currentRecord);
}

void MusicXML::AdvanceLookAhead() {
  if (m_source->AtEnd()) {
    m_reader.streamExhausted = true;
    m_reader.lookAhead = {};
  } else {
    m_reader.lookAhead = m_source->ReadLine();
  }
}

// A line beginning with "a" continues the record before it; the "a" is dropped
// and nothing is put between the pieces.
void MusicXML::AppendContinuationLines() {
  if (m_reader.inCommentBlock || m_reader.afterFine) return;
  while (!m_reader.lookAhead.empty() && m_reader.lookAhead.front() == 'a') {
    m_reader.currentLine = m_reader.lookAhead;
    AdvanceLookAhead();
    // Counting only the new piece keeps a record of many continuation lines linear.
    const std::string_view continuation = std::string_view(m_reader.currentLine).substr(1);
    m_reader.currentRecord.append(continuation);
    m_reader.currentRecordLength =
        CheckedAdd(m_reader.currentRecordLength, CharacterCount(continuation));
  }
}

// The first data record of a file opens its part and the part's first
// measure, "X1"; bar lines open the measures that follow.
void MusicXML::CreatePartAndFirstMeasure() {
  xml::Node reference;
  if (!m_group.groupType.empty() && m_group.groupPosition > 0) {
    int32_t index = 0;
    for (xml::Node part : m_score.root.Children("part")) {
      if (++index == m_group.groupPosition) {
        reference = part;
        break;
      }
    }
  }
  const xml::Node part = m_score.root.InsertElementBefore("part", reference);
  part.SetAttr("id", m_score.partId);
  m_score.parts[static_cast<size_t>(m_score.partNumber)] = part;

  m_score.measureCount = CheckedAdd(m_score.measureCount, 1);
  m_score.currentMeasure = part.AppendElement("measure");
  m_score.currentMeasure.SetAttr("number", "X" + std::to_string(m_score.measureCount));
}

bool MusicXML::DispatchDataRecord() {
  if (m_reader.currentRecord.empty()) return false;  // an empty record ends the load
  const RecordKind kind = KindOfRecord(m_reader.currentRecord.front());
  // Suggestion records that follow refer to what this record makes.
  RememberSuggestionTarget(kind);
  switch (kind) {
    case RecordKind::Note: return ParseNoteRecord();
    case RecordKind::CueOrGrace: return ParseCueGrace();
    case RecordKind::PrintSuggestion: return ParsePrintSuggestion();
    case RecordKind::SoundSuggestion: return ParseSoundSuggestion();
    case RecordKind::End: return ParseEnd();
    case RecordKind::BackupForward: return ParseBackupForward();
    case RecordKind::FiguredBass: return ParseFiguredBass();
    case RecordKind::BarLine: return ParseBarLine();
    case RecordKind::Attributes: return ParseAttributes();
    case RecordKind::CommentToggle: return ParseCommentToggle();
    case RecordKind::Comment: return ParseSingleLineComment();
    case RecordKind::Direction: return ParseDirection();
    case RecordKind::Other: return true;  // an unknown record type is passed over
  }
  return true;
}

bool MusicXML::ParseCommentToggle() {
  return Trap(kParseCommentToggle, &m_caught, [&] {
    m_reader.inCommentBlock = true;
    m_reader.commentAccumulator = "\r\n";
    m_reader.commentBlockLine = RecordLineNumber();
    return true;
  });
}

bool MusicXML::ParseComment() {
  return Trap(kParseComment, &m_caught, [&] {
    if (m_reader.currentRecord.empty() || m_reader.currentRecord.front() != '&') {
      m_reader.commentAccumulator.append(m_reader.currentRecord);
      m_reader.commentAccumulator.append("\r\n");
    } else {
      const xml::Node parent = m_score.currentMeasure ? m_score.currentMeasure : m_score.root;
      AddText(parent.AppendComment(""), m_reader.commentAccumulator);
      m_reader.inCommentBlock = false;
    }
    // Each comment line inside the header lengthens the header zone by one
    // line. The test is the reader's own header test: a comment line read as
    // the last line of the zone is inside it too, and counting it keeps the
    // header records after the block in the header.
    if (m_source->Line() <= m_reader.headerCommentCount + kHeaderZoneLimit)
      m_reader.headerCommentCount = CheckedAdd(m_reader.headerCommentCount, 1);
    return true;
  });
}

bool MusicXML::ParseSingleLineComment() {
  return Trap(kParseSingleLineComment, &m_caught, [&] {
    const xml::Node parent = m_score.currentMeasure ? m_score.currentMeasure : m_score.root;
    AddText(parent.AppendComment(""), std::string_view(m_reader.currentRecord).substr(1));
    return true;
  });
}

}  // namespace musedata
