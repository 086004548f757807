// Bar lines, which close one measure and open the next, and the "back" and
// "irest" records, which move the time position inside a measure.

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "component/error_codes.h"
#include "component/music_xml.h"
#include "encoding/measure_codes.h"
#include "encoding/measure_columns.h"

namespace musedata {
namespace {

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

// A measure number that can be counted back from: digits with an optional sign.
bool IsWholeNumber(std::string_view text) {
  if (!text.empty() && (text.front() == '+' || text.front() == '-')) text.remove_prefix(1);
  return !text.empty() && std::all_of(text.begin(), text.end(), IsDigit);
}

// The whole character that starts at byte `at`, or "" past the end.
std::string_view CharacterAt(std::string_view text, size_t at) {
  if (at >= text.size()) return {};
  size_t length = 1;
  while (at + length < text.size() &&
         (static_cast<unsigned char>(text[at + length]) & 0xC0) == 0x80)
    ++length;
  return text.substr(at, length);
}

struct Ending {
  std::string number;
  std::string_view type;  // "start", "stop" or "discontinue"
};

// What the flags of a bar record ask for. A later flag of a kind replaces an
// earlier one: a bar line has at most one element of each kind.
struct BarFlags {
  bool nonControlling = false;  // the closed measure does not count for the layout
  bool wavyLine = false;        // a trill line runs on across the bar line
  bool segno = false;
  bool fermata = false;
  bool invertedFermata = false;
  std::optional<Ending> closingEnding;  // stop or discontinue, at the end of the closed measure
  std::optional<Ending> openingEnding;  // start, at the beginning of the new measure
  bool backwardRepeat = false;
  bool forwardRepeat = false;
};

// How many characters the flag at `at` takes: the ending flags are written
// out ("start-end", "stop-end", "disc-end") and repeat signs take two or three.
size_t FlagLength(std::string_view flags, size_t at) {
  switch (flags[at]) {
    case 's': return at + 2 < flags.size() && flags[at + 2] == 'a' ? 9 : 8;
    case 'd': return 8;
    case ':':
    case '|': return flags.substr(at, 3) == ":|:" ? 3 : 2;
    default: return 1;
  }
}

// Reads the flags from column 17 on; an ending flag is followed by the
// ending's number, one character.
BarFlags ReadBarFlags(std::string_view flags) {
  BarFlags result;
  size_t at = 0;
  while (at < flags.size()) {
    const size_t length = FlagLength(flags, at);
    const std::string_view flag = flags.substr(at, length);
    at += length;
    std::string_view endingType;
    if (flag == kBarFlagNonControlling) {
      result.nonControlling = true;
    } else if (flag == kBarFlagWavyLine) {
      result.wavyLine = true;
    } else if (flag == kBarFlagSegno || flag == "%") {
      result.segno = true;
    } else if (flag == kBarFlagFermata) {
      result.fermata = true;
    } else if (flag == kBarFlagInvertedFermata) {
      result.invertedFermata = true;
    } else if (flag == kBarFlagBackwardRepeat) {
      result.backwardRepeat = true;
    } else if (flag == kBarFlagForwardRepeat) {
      result.forwardRepeat = true;
    } else if (flag == ":|:") {
      result.backwardRepeat = true;
      result.forwardRepeat = true;
    } else if (flag == "start-end") {
      endingType = "start";
    } else if (flag == "stop-end") {
      endingType = "stop";
    } else if (flag == "disc-end") {
      endingType = "discontinue";
    }
    if (endingType.empty()) continue;
    const std::string_view number = CharacterAt(flags, at);
    at += number.size();
    Ending ending{std::string(number), endingType};
    if (endingType == "start") {
      result.openingEnding = std::move(ending);
    } else {
      result.closingEnding = std::move(ending);
    }
  }
  return result;
}

void AppendEnding(xml::Node barline, const Ending& ending) {
  const xml::Node element = barline.AppendElement("ending");
  element.SetAttr("number", ending.number);
  element.SetAttr("type", ending.type);
}

void AppendRepeat(xml::Node barline, std::string_view direction) {
  barline.AppendElement("repeat").SetAttr("direction", direction);
}

// The editorial marks of a bar line: a footnote and a level, each one column.
struct Editorial {
  std::string_view footnote;
  std::string_view level;

  void AppendTo(xml::Node barline) const {
    if (!footnote.empty()) barline.AppendElement("footnote", footnote);
    if (!level.empty()) barline.AppendElement("level", level);
  }
};

// The bar line at the end of the closed measure, in MusicXML's order of children.
void AppendRightBarline(xml::Node measure, std::string_view barStyle, const Editorial& editorial,
                        const BarFlags& flags) {
  const xml::Node barline = measure.AppendElement("barline");
  barline.SetAttr("location", "right");
  if (!barStyle.empty()) barline.AppendElement("bar-style", barStyle);
  editorial.AppendTo(barline);
  if (flags.wavyLine) barline.AppendElement("wavy-line").SetAttr("type", "continue");
  if (flags.segno) barline.AppendElement("segno");
  if (flags.fermata) barline.AppendElement("fermata");
  if (flags.invertedFermata) barline.AppendElement("fermata").SetAttr("type", "inverted");
  if (flags.closingEnding) AppendEnding(barline, *flags.closingEnding);
  if (flags.backwardRepeat) AppendRepeat(barline, "backward");
  // A plain bar line needs no element: the measure's end is bar line enough.
  if (!barline.FirstChild()) barline.Remove();
}

// The bar line at the start of the new measure, made only where an ending
// starts or a repeated section opens; it carries the editorial marks again.
void AppendLeftBarline(xml::Node measure, const Editorial& editorial, const BarFlags& flags) {
  if (!flags.openingEnding && !flags.forwardRepeat) return;
  const xml::Node barline = measure.AppendElement("barline");
  barline.SetAttr("location", "left");
  editorial.AppendTo(barline);
  if (flags.openingEnding) AppendEnding(barline, *flags.openingEnding);
  if (flags.forwardRepeat) AppendRepeat(barline, "forward");
}

}  // namespace

void MusicXML::NumberFirstMeasure(std::string_view numberText) {
  m_measure.firstBarSeen = true;
  const xml::Node first = m_score.currentMeasure;
  if (!IsWholeNumber(numberText)) {
    // Without a number to count back from, the music before the first bar
    // line is taken for an upbeat.
    first.SetAttr("implicit", "yes");
    return;
  }
  // The first bar line closes the measure before the one it names; a
  // measure numbered below 1 is a pickup.
  const int32_t number = CheckedAdd(ToLong(numberText), -1);
  first.SetAttr("number", std::to_string(number));
  m_score.measureCount = CheckedAdd(m_score.measureCount, -1);
  if (number < 1) first.SetAttr("implicit", "yes");
}

bool MusicXML::ParseBarLine() {
  return Trap(kParseBarLine, &m_caught, [&] {
    const RecordView record = Record();
    const std::string_view numberText = record.Field(kBarNumber);
    if (!m_measure.firstBarSeen) NumberFirstMeasure(numberText);

    std::string nextNumber(numberText);
    if (nextNumber.empty()) {
      m_score.measureCount = CheckedAdd(m_score.measureCount, 1);
      nextNumber = "X" + std::to_string(m_score.measureCount);
    }

    // A record too short for them reads its footnote, level and flags as empty.
    const Editorial editorial{record.Field(kBarFootnote), record.Field(kBarLevel)};
    const BarFlags flags = ReadBarFlags(Trim(record.From(kBarFlagsFrom)));

    const xml::Node closed = m_score.currentMeasure;
    if (flags.nonControlling) closed.SetAttr("non-controlling", "yes");
    AppendRightBarline(closed, BarStyleFor(record.Raw(kBarStyleCode)), editorial, flags);

    const xml::Node next = m_score.parts.at(m_score.partNumber).AppendElement("measure");
    next.SetAttr("number", nextNumber);
    AppendLeftBarline(next, editorial, flags);
    m_score.currentMeasure = next;
    return true;
  });
}

bool MusicXML::ParseBackupForward() {
  return Trap(kParseBackupForward, &m_caught, [&] {
    const RecordView record = Record();
    const std::string_view kind = record.Raw(kBackupForwardKind);
    const bool isForward = kind == kForwardWord;
    // Any other record starting with "b" or "i" is not understood, and the
    // load stops rather than lose the time position.
    if (!isForward && kind != kBackupWord) return false;

    const xml::Node element =
        m_score.currentMeasure.AppendElement(isForward ? "forward" : "backup");
    element.AppendElement("duration", record.Field(kBackupForwardDuration));
    if (record.Has(kBackupForwardFootnote))
      element.AppendElement("footnote", record.Raw(kBackupForwardFootnote));
    if (record.Has(kBackupForwardLevel))
      element.AppendElement("level", record.Raw(kBackupForwardLevel));
    if (isForward && record.Has(kForwardVoice))
      element.AppendElement("voice", record.Raw(kForwardVoice));
    if (IsDigit(record.At(kBackupForwardPass.first)))
      element.AppendElement("pass-number", record.Raw(kBackupForwardPass));
    if (isForward && record.Has(kForwardStaff))
      element.AppendElement("staff", record.Raw(kForwardStaff));
    return true;
  });
}

}  // namespace musedata
