// The MuseData header lines of an exported part, and comments.
//
// A MuseData part opens with eleven fixed lines (rights, encoder and date,
// work and movement numbers, source, work title, movement title, part name,
// an empty line, group memberships) and one line per group the part belongs
// to. Each header line is one line of the file: a text that runs over several
// lines in the score keeps only its first.

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "component/error_codes.h"
#include "component/music_xml.h"
#include "encoding/dates.h"
#include "encoding/record_view.h"
#include "encoding/text.h"

namespace musedata {
namespace {

// Header lines, like records, hold at most this many characters of free text.
constexpr int32_t kHeaderTextWidth = 75;
// A comment shorter than this fits on one "@" line.
constexpr int32_t kSingleLineCommentLimit = 79;
// The longest line of a comment block.
constexpr int32_t kCommentBlockWidth = 80;

constexpr std::string_view kCopyrightSign = "\u00a9";
constexpr std::string_view kWorkNumberMarker = "WK#:";
constexpr std::string_view kMovementNumberMarker = "MV#:";
constexpr std::string_view kGroupMembershipsRecord = "Group memberships:";
// The group of every part that names none: the full score.
constexpr std::string_view kDefaultGroup = "score";

std::string ReplaceAll(std::string text, std::string_view from, std::string_view to) {
  for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
    text.replace(at, from.size(), to);
  return text;
}

// An ISO date "yyyy-mm-dd" as MuseData's "mm/dd/yy"; none for any other text.
std::optional<std::string> MuseDataDate(std::string_view iso) {
  if (iso.size() != 10 || iso[4] != '-' || iso[7] != '-') return std::nullopt;
  int parts[3] = {};
  const std::string_view fields[3] = {iso.substr(0, 4), iso.substr(5, 2), iso.substr(8, 2)};
  for (int i = 0; i < 3; ++i) {
    const std::string_view field = fields[i];
    if (!std::all_of(field.begin(), field.end(), [](char c) { return c >= '0' && c <= '9'; }))
      return std::nullopt;
    std::from_chars(field.data(), field.data() + field.size(), parts[i]);
  }
  const int year = parts[0], month = parts[1], day = parts[2];
  if (!IsCalendarDate(year, month, day)) return std::nullopt;
  std::string date = std::string(fields[1]) + "/" + std::string(fields[2]) + "/";
  date += fields[0].substr(2);
  return date;
}

// A long source is cut after its first sentence when that ends in time,
// otherwise at the width of the line.
std::string_view CutSource(std::string_view source) {
  if (CharacterCount(source) <= kHeaderTextWidth) return source;
  const std::string_view head = FirstCharacters(source, kHeaderTextWidth);
  const size_t stop = head.find('.');
  return stop == std::string_view::npos ? head : head.substr(0, stop + 1);
}

}  // namespace

bool MusicXML::SaveHeader(const std::string& /*FileName*/, int32_t PartNumber) {
  return Trap(kSaveHeader, &m_caught, [&] {
    const xml::Node part = SelectPart(PartNumber);
    m_export.partList = m_score.root.Child("part-list");
    m_export.work = m_score.root.Child("work");
    SelectScorePart(part, PartNumber);
    const xml::Node scorePart = m_score.scoreParts.at(static_cast<size_t>(PartNumber));

    SaveRightsAndEncoding();
    SaveNumbersAndTitles(scorePart);
    SaveGroups(scorePart, PartNumber);

    // Comments that stand before the part among its siblings, in document order.
    std::vector<xml::Node> comments;
    for (xml::Node node = part.Previous(); node; node = node.Previous())
      if (node.Type() == xml::NodeType::Comment) comments.push_back(node);
    for (auto comment = comments.rbegin(); comment != comments.rend(); ++comment)
      if (!SaveComment(*comment)) return false;
    return true;
  });
}

void MusicXML::SelectScorePart(xml::Node part, int32_t PartNumber) {
  const std::string_view id = part.Attr("id");
  xml::Node scorePart;
  for (const xml::Node candidate : m_export.partList.Children("score-part")) {
    if (candidate.HasAttr("id") && candidate.Attr("id") == id) {
      scorePart = candidate;
      break;
    }
  }
  if (!scorePart)
    RaiseConverterError(kErrNoScorePart,
                        "No score-part number " + std::to_string(PartNumber) + " found");
  m_score.scoreParts.at(static_cast<size_t>(PartNumber)) = scorePart;
}

xml::Node MusicXML::FindInHeaderOrder(std::initializer_list<std::string_view> path) const {
  // The first element at the end of `path` below `from`, trying every
  // element of each name along the way, as an XPath location path does.
  const auto find = [&](auto&& self, xml::Node from, const std::string_view* step) -> xml::Node {
    if (step == path.end()) return from;
    for (const xml::Node child : from.Children(*step))
      if (const xml::Node found = self(self, child, step + 1)) return found;
    return {};
  };
  const xml::Node scorePart = m_score.scoreParts.at(static_cast<size_t>(m_score.partNumber));
  for (const xml::Node from : {scorePart, m_score.root})
    if (const xml::Node found = find(find, from, path.begin())) return found;
  if (m_export.work) return find(find, m_export.work, path.begin());
  return {};
}

// Lines 1 to 4: the rights notice with two free lines after it, and the
// encoding date and encoder.
void MusicXML::SaveRightsAndEncoding() {
  if (const xml::Node rights = FindInHeaderOrder({"identification", "rights"})) {
    const std::string text = rights.Text();
    const std::string_view line = FirstCharacters(FirstLine(text), kHeaderTextWidth);
    WriteLine(ReplaceAll(std::string(line), kCopyrightSign, "(c)"));
    WriteBlankLines(2);
  } else {
    WriteBlankLines(3);
  }

  const xml::Node encoding = FindInHeaderOrder({"identification", "encoding"});
  if (!encoding) {
    WriteBlankLines(1);
    return;
  }
  std::string line;
  if (const xml::Node date = encoding.Child("encoding-date")) {
    const std::string text = date.Text();
    line = MuseDataDate(text).value_or(std::string(FirstLine(text)));
  }
  if (const xml::Node encoder = encoding.Child("encoder")) {
    if (!line.empty()) line += ' ';
    line += FirstLine(GetText(encoder));
  }
  WriteLine(line);
}

// Lines 5 to 10: work and movement numbers, source, work and movement
// titles, the part name and an empty line.
void MusicXML::SaveNumbersAndTitles(xml::Node scorePart) {
  std::string line;
  if (const xml::Node workNumber = m_export.work.Child("work-number"))
    line = std::string(kWorkNumberMarker) + std::string(FirstLine(GetText(workNumber)));
  if (const xml::Node movementNumber = m_score.root.Child("movement-number")) {
    if (!line.empty()) line += ' ';
    line += kMovementNumberMarker;
    line += FirstLine(GetText(movementNumber));
  }
  WriteLine(line);

  if (const xml::Node source = FindInHeaderOrder({"identification", "source"})) {
    const std::string text = GetText(source);
    WriteLine(CutSource(FirstLine(text)));
  } else {
    WriteBlankLines(1);
  }

  const xml::Node workTitle = m_export.work.Child("work-title");
  const xml::Node movementTitle = m_score.root.Child("movement-title");
  for (const xml::Node title : {workTitle, movementTitle}) {
    if (title) {
      WriteLine(FirstLine(GetText(title)));
    } else {
      WriteBlankLines(1);
    }
  }
  WriteLine(FirstLine(GetText(scorePart.Child("part-name"))));
  WriteBlankLines(1);
}

// Line 11 names the groups of the part; one line for each follows, giving
// the part's place in it ("sound: part 2 of 4").
void MusicXML::SaveGroups(xml::Node scorePart, int32_t PartNumber) {
  std::vector<std::string> groups;
  for (const xml::Node group : scorePart.Children("group"))
    groups.emplace_back(Trim(FirstLine(group.Text())));
  const bool namesGroups = !groups.empty();
  if (!namesGroups) groups.emplace_back(kDefaultGroup);

  std::string memberships(kGroupMembershipsRecord);
  for (const std::string& group : groups) memberships += " " + group;
  WriteLine(memberships);

  const size_t partCount = m_score.parts.size() - 1;
  for (const std::string& group : groups)
    WriteLine(group + ": part " + std::to_string(PartNumber) + " of " + std::to_string(partCount));
}

bool MusicXML::SaveComment(xml::Node comment) {
  return Trap(kSaveComment, &m_caught, [&] {
    const std::string_view whole = comment.Content();
    std::string_view text = whole;
    if (CharacterCount(text) < kSingleLineCommentLimit && text.find('\n') == std::string::npos) {
      WriteLine("@" + std::string(text));
      return true;
    }
    // A longer comment, or one of several lines, becomes a comment block:
    // one line per line of the comment, long lines broken at the width.
    WriteLine("&");
    bool wroteLine = false;
    while (!text.empty()) {
      const size_t lineFeed = text.find('\n');
      std::string_view piece = text.substr(0, lineFeed);
      text = lineFeed == std::string_view::npos ? std::string_view() : text.substr(lineFeed + 1);
      if (CharacterCount(piece) > kCommentBlockWidth) {
        // The rest of a long line starts the next line of the block.
        const std::string_view head = FirstCharacters(piece, kCommentBlockWidth);
        text = whole.substr(static_cast<size_t>(piece.data() - whole.data()) + head.size());
        piece = head;
      }
      // Empty lines at the start of the block are dropped; later ones are kept.
      if (piece.empty() && !wroteLine) continue;
      WriteLine(piece);
      wroteLine = true;
    }
    WriteLine("&");
    return true;
  });
}

}  // namespace musedata
