// Header records: identification, titles, the part list and group memberships.
//
// A MuseData part file opens with eleven fixed header records (three free
// lines, the encoder, work and movement numbers, source, work title, movement
// title, part name, miscellaneous designations, group memberships), followed
// by one record for each group the part belongs to ("score: part 3 of 12").

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "component/error_codes.h"
#include "component/music_xml.h"
#include "encoding/dates.h"

namespace musedata {
namespace {

// The header records by their number, comment lines of the header not counted.
constexpr int64_t kLastFreeTextRecord = 3;
constexpr int64_t kEncodingRecord = 4;
constexpr int64_t kWorkNumberRecord = 5;
constexpr int64_t kSourceRecord = 6;
constexpr int64_t kWorkTitleRecord = 7;
constexpr int64_t kMovementTitleRecord = 8;
constexpr int64_t kPartNameRecord = 9;
constexpr int64_t kMiscellaneousRecord = 10;
constexpr int64_t kGroupMembershipRecord = 11;

// The encodings carry the rights notice of the body that made them; every
// imported part is credited to it, three lines each ended by CR LF.
constexpr std::string_view kRightsNotice =
    "\u00a9 1994 Center for Computer Assisted Research in the Humanities.\r\n"
    "Rights to all derivative electronic formats reserved.\r\n"
    "Refer to licensing agreement for further details.\r\n";

constexpr std::string_view kWorkNumberMarker = "WK#:";
constexpr std::string_view kMovementNumberMarker = "MV#:";
constexpr std::string_view kXmlDeclaration = "<?xml";
static_assert(kWorkNumberMarker.size() == kMovementNumberMarker.size());

// A group record reads "<group>: part <n> of <m>".
constexpr size_t kGroupRecordPieces = 5;

// The pieces of `text` between single blanks; two blanks in a row give an
// empty piece, which is kept.
std::vector<std::string_view> SplitAtBlanks(std::string_view text) {
  std::vector<std::string_view> pieces;
  for (;;) {
    const size_t blank = text.find(' ');
    pieces.push_back(text.substr(0, blank));
    if (blank == std::string_view::npos) return pieces;
    text.remove_prefix(blank + 1);
  }
}

std::string LowerCase(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  return lower;
}

struct CalendarDate {
  int year = 0;
  int month = 0;
  int day = 0;
};

// Reads a run of `minDigits` to `maxDigits` decimal digits that makes up the
// whole of `text`.
std::optional<int> ReadDigits(std::string_view text, size_t minDigits, size_t maxDigits) {
  if (text.size() < minDigits || text.size() > maxDigits) return std::nullopt;
  int value = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') return std::nullopt;
    value = value * 10 + (c - '0');
  }
  return value;
}

// The encoding date of a MuseData header, written month/day/year as the
// encoders in America typed it: "4/12/95", "04/12/95" or "4/12/1995". A
// two-digit year 00-29 is 2000-2029 and 30-99 is 1930-1999 (the encodings
// began in the 1980s). Only a real calendar date is a date.
std::optional<CalendarDate> ReadEncodingDate(std::string_view text) {
  const size_t first = text.find('/');
  if (first == std::string_view::npos) return std::nullopt;
  const size_t second = text.find('/', first + 1);
  if (second == std::string_view::npos) return std::nullopt;
  const std::optional<int> month = ReadDigits(text.substr(0, first), 1, 2);
  const std::optional<int> day = ReadDigits(text.substr(first + 1, second - first - 1), 1, 2);
  const std::string_view yearText = text.substr(second + 1);
  std::optional<int> year;
  if (yearText.size() == 2) {
    year = ReadDigits(yearText, 2, 2);
    if (year) *year += *year < 30 ? 2000 : 1900;
  } else {
    year = ReadDigits(yearText, 4, 4);
  }
  if (!month || !day || !year || !IsCalendarDate(*year, *month, *day)) return std::nullopt;
  return CalendarDate{*year, *month, *day};
}

std::string IsoDate(const CalendarDate& date) {
  char text[16];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d", date.year, date.month, date.day);
  return text;
}

// The number in a part id after its letter ("P12" gives 12); none when the
// rest is not a number.
std::optional<double> PartIdNumber(std::string_view id) {
  if (id.empty()) return std::nullopt;
  std::string_view digits = Trim(id.substr(1));
  if (!digits.empty() && digits.front() == '+') digits.remove_prefix(1);
  double value = 0;
  const auto [end, status] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  if (digits.empty() || status != std::errc() || end != digits.data() + digits.size())
    return std::nullopt;
  return value;
}

}  // namespace

bool MusicXML::CreateIdentification() {
  return Trap(kCreateIdentification, &m_caught, [&] {
    // Whether the file belongs to the wanted group, and where, is settled
    // anew by its own header.
    m_group.notInGroup = false;
    m_group.groupPosition = 0;
    m_score.partId.clear();
    // One work for the whole score: the first part creates it.
    if (!m_score.work) m_score.work = m_score.root.AppendElement("work");
    // The identification waits at the end of the score until the part-name
    // record moves it into the part's score-part.
    m_score.identification = m_score.root.AppendElement("identification");
    m_score.identification.AppendElement("rights", kRightsNotice);
    return true;
  });
}

bool MusicXML::ParseInitialLine() {
  // The record's place in the header with comment lines not counted; group
  // records are counted by both counters, so they number on from 12.
  const int64_t recordNumber = static_cast<int64_t>(LineNumber()) - 1 -
                               m_reader.headerCommentCount + m_reader.groupLineCount;
  return Trap(
      kParseInitialLine, &m_caught,
      [&] {
        const std::string_view record = m_reader.currentRecord;
        if (recordNumber <= kMovementTitleRecord && record.empty()) return true;
        switch (recordNumber) {
          case 1:
            if (record.find(kXmlDeclaration) != std::string_view::npos) m_group.mayBeXml = true;
            [[fallthrough]];
          case 2:
          case kLastFreeTextRecord:
            AddText(m_score.identification.AppendComment(""), record);
            return true;
          case kEncodingRecord: AddEncoding(); return true;
          case kWorkNumberRecord: AddWorkAndMovementNumbers(); return true;
          case kSourceRecord:
            AddText(m_score.identification.AppendElement("source"), TrimRight(record));
            return true;
          case kWorkTitleRecord:
            if (!TrimRight(record).empty() && !m_score.work.Child("work-title"))
              AddText(m_score.work.AppendElement("work-title"), TrimRight(record));
            return true;
          case kMovementTitleRecord:
            if (!TrimRight(record).empty() && !m_score.root.Child("movement-title"))
              AddText(m_score.root.AppendElement("movement-title"), TrimRight(record));
            return true;
          case kPartNameRecord: CreateScorePart(); return true;
          case kMiscellaneousRecord: AddMiscellaneous(); return true;
          case kGroupMembershipRecord: return ParseGroupMemberships();
          default:
            return recordNumber > kGroupMembershipRecord ? ParseGroupRecord(recordNumber) : true;
        }
      },
      [&](const CaughtError& error) -> std::optional<ConverterError> {
        // This procedure's messages name the header record where reading failed.
        return ConverterError(kErrorBase + kParseInitialLine.number, kErrorSource,
                              std::string(kParseInitialLine.name) + " error " +
                                  std::to_string(error.number) + " at line " +
                                  std::to_string(recordNumber) + ": " + error.description);
      });
}

// "04/12/95 J. Smith": the date the part was encoded and who encoded it;
// either may stand alone.
void MusicXML::AddEncoding() {
  const std::string_view record = m_reader.currentRecord;
  std::optional<CalendarDate> date;
  std::string_view encoder;
  const size_t blank = record.find(' ');
  if (blank == std::string_view::npos) {
    date = ReadEncodingDate(record);
    if (!date) encoder = Trim(record);
  } else {
    date = ReadEncodingDate(record.substr(0, blank));
    encoder = Trim(date ? record.substr(blank + 1) : record);
  }
  const xml::Node encoding = m_score.identification.AppendElement("encoding");
  if (date) encoding.AppendElement("encoding-date", IsoDate(*date));
  if (!encoder.empty()) AddText(encoding.AppendElement("encoder"), encoder);
}

// "WK#:9 MV#:2": the work number goes to the score's work, the movement number
// to the score itself; a later part of the same score adds neither again.
void MusicXML::AddWorkAndMovementNumbers() {
  const std::string_view record = m_reader.currentRecord;
  const size_t work = record.find(kWorkNumberMarker);
  const size_t movement = record.find(kMovementNumberMarker);
  if (work == std::string_view::npos && movement == std::string_view::npos) {
    if (m_group.mayBeXml)
      RaiseConverterError(kErrHeaderMayBeXml,
                          "MuseData line 5 not understood; file may be in XML format");
    RaiseConverterError(kErrWorkMovementNotFound,
                        "MuseData Line 5 not understood: WK#: or MV#: not found");
  }
  // Each number runs from its marker to the other marker or to the end.
  const auto numberAfter = [&](size_t marker, size_t other) {
    const size_t start = marker + kWorkNumberMarker.size();
    const size_t end = other != std::string_view::npos && other > marker ? other : record.size();
    return Trim(record.substr(start, end - start));
  };
  const std::string_view workNumber =
      work == std::string_view::npos ? std::string_view() : numberAfter(work, movement);
  const std::string_view movementNumber =
      movement == std::string_view::npos ? std::string_view() : numberAfter(movement, work);
  if (!workNumber.empty() && !m_score.work.Child("work-number"))
    m_score.work.AppendElement("work-number", workNumber);
  if (!movementNumber.empty() && !m_score.root.Child("movement-number"))
    m_score.root.AppendElement("movement-number", movementNumber);
}

// The part name opens the part's score-part, which takes the identification
// gathered so far as its first child. The score-part stands at the end of the
// part list until the group-membership record or the wanted group's record
// gives it its id and its place.
void MusicXML::CreateScorePart() {
  if (!m_score.partList) m_score.partList = m_score.root.AppendElement("part-list");
  const xml::Node scorePart = m_score.partList.AppendElement("score-part");
  m_score.scoreParts.at(static_cast<size_t>(m_score.partNumber)) = scorePart;
  scorePart.AppendChild(m_score.identification);
  AddText(scorePart.AppendElement("part-name"), TrimRight(m_reader.currentRecord));
}

// Miscellaneous designations, one field per blank-separated piece, numbered
// from 1; two blanks in a row make an empty field.
void MusicXML::AddMiscellaneous() {
  const std::string_view text = Trim(m_reader.currentRecord);
  if (text.empty()) return;
  const xml::Node miscellaneous = m_score.identification.AppendElement("miscellaneous");
  int32_t number = 0;
  for (const std::string_view piece : SplitAtBlanks(text)) {
    number = CheckedAdd(number, 1);
    const xml::Node field = miscellaneous.AppendElement("miscellaneous-field");
    AddText(field, piece);
    field.SetAttr("name", std::to_string(number));
  }
}

// "Group memberships: score parts sound": the groups this part belongs to.
// Each named group has a record of its own after this one, so the header zone
// grows by one line per group. A file outside the wanted group is skipped.
bool MusicXML::ParseGroupMemberships() {
  const std::string_view record = m_reader.currentRecord;
  const size_t colon = record.find(':');
  const std::string_view groups =
      Trim(colon == std::string_view::npos ? record : record.substr(colon + 1));
  bool member = m_group.groupType.empty();
  for (const std::string_view piece : SplitAtBlanks(groups)) {
    const std::string group = LowerCase(Trim(piece));
    if (group.empty()) continue;
    m_reader.headerCommentCount = CheckedAdd(m_reader.headerCommentCount, 1);
    m_reader.groupLineCount = CheckedAdd(m_reader.groupLineCount, 1);
    if (!member) member = group == m_group.groupType;
  }
  const xml::Node scorePart = m_score.scoreParts.at(static_cast<size_t>(m_score.partNumber));
  if (!member) {
    // The part leaves no trace in the score.
    m_group.notInGroup = true;
    scorePart.Remove();
    m_score.scoreParts.at(static_cast<size_t>(m_score.partNumber)) = {};
    m_score.identification = {};
    return false;
  }
  if (m_group.groupType.empty()) {
    // Without a wanted group every part is taken in the order of loading.
    m_score.partId = "P" + std::to_string(m_score.partNumber);
    scorePart.SetAttr("id", m_score.partId);
    m_score.partList.AppendChild(scorePart);
  }
  return true;
}

// "score: part 3 of 12": the part's place in one of its groups. The wanted
// group's record places the part among the parts of that group loaded so far.
bool MusicXML::ParseGroupRecord(int64_t recordNumber) {
  const std::string_view text = Trim(m_reader.currentRecord);
  if (text.empty()) return true;
  std::vector<std::string_view> pieces = SplitAtBlanks(text);
  // "sound:  part 1 of 4": two blanks after the group name are allowed.
  if (pieces.size() == kGroupRecordPieces + 1 && Trim(pieces[1]).empty())
    pieces.erase(pieces.begin() + 1);
  if (pieces.size() != kGroupRecordPieces) {
    const std::string line = "MuseData line " + std::to_string(recordNumber) + " not understood";
    if (m_group.mayBeXml)
      RaiseConverterError(kErrHeaderMayBeXml, line + "; \r\nfile may be in XML format");
    RaiseConverterError(kErrGroupRecordTokens, line + ": " + std::to_string(pieces.size()) +
                                                   " group tokens found instead of 5");
  }
  std::string_view group = pieces[0];
  if (!group.empty() && group.back() == ':') group.remove_suffix(1);
  m_score.scoreParts.at(static_cast<size_t>(m_score.partNumber)).AppendElement("group", group);
  const std::string groupName = LowerCase(Trim(group));
  const int32_t position = ToLong(pieces[2]);
  if (m_group.groupType.empty() || groupName != m_group.groupType) return true;
  PlaceScorePartInGroup(position);
  return true;
}

// Parts of a group may be loaded in any order: the score-part goes before
// the first score-part whose id number is higher than its own position, and
// the group position remembers that place (1-based among the score-parts) so
// that the part element is inserted at the same place among the parts.
void MusicXML::PlaceScorePartInGroup(int32_t position) {
  const xml::Node scorePart = m_score.scoreParts.at(static_cast<size_t>(m_score.partNumber));
  m_score.partId = "P" + std::to_string(position);
  scorePart.SetAttr("id", m_score.partId);
  m_group.groupPosition = 0;
  for (const xml::Node other : m_score.partList.Children("score-part")) {
    m_group.groupPosition = CheckedAdd(m_group.groupPosition, 1);
    if (!other.HasAttr("id")) continue;
    const std::optional<double> number = PartIdNumber(other.Attr("id"));
    if (!number || *number <= position) continue;
    m_score.partList.InsertBefore(scorePart, other);
    return;
  }
  m_score.partList.AppendChild(scorePart);
  m_group.groupPosition = 0;
}

}  // namespace musedata
