// Figured-bass records ("f"): the figures that stand under a bass note, each
// written as an optional prefix sign, a number and an optional suffix sign
// ("6", "#6", "6#", "10+", "b7").

#include <string>
#include <vector>

#include "component/error_codes.h"
#include "component/music_xml.h"
#include "encoding/direction_columns.h"

namespace musedata {
namespace {

bool IsDigit(std::string_view character) {
  return character.size() == 1 && character.front() >= '0' && character.front() <= '9';
}

// The flat sign "b" stands where a figure's number stands.
bool IsDigitOrFlat(std::string_view character) {
  return IsDigit(character) || character == "b";
}

// Whether the whole text reads as a number: an optional leading sign, digits
// and at most one decimal point. "+6" is a number; "6+" is a 6 with a suffix.
bool IsNumeric(std::string_view text) {
  if (!text.empty() && (text.front() == '+' || text.front() == '-')) text.remove_prefix(1);
  bool hasDigit = false;
  bool hasPoint = false;
  for (const char c : text) {
    if (c >= '0' && c <= '9') {
      hasDigit = true;
    } else if (c == '.' && !hasPoint) {
      hasPoint = true;
    } else {
      return false;
    }
  }
  return hasDigit;
}

// Splits at every blank, so two blanks in a row leave an empty token between
// them; an empty text has no tokens.
std::vector<std::string_view> SplitAtBlanks(std::string_view text) {
  std::vector<std::string_view> tokens;
  if (text.empty()) return tokens;
  for (size_t start = 0;;) {
    const size_t blank = text.find(' ', start);
    tokens.push_back(text.substr(start, blank - start));
    if (blank == std::string_view::npos) return tokens;
    start = blank + 1;
  }
}

// Adds the figure number that stands in `length` characters from `first` and,
// when anything follows it, a suffix. A number with a flat in it ("b", "b6")
// gives an empty figure-number. What follows the number is kept in
// `lastSuffix` for a later sign that has no number of its own.
void AddNumberAndSuffix(xml::Node figure, const RecordView& token, int32_t first, int32_t length,
                        std::string& lastSuffix) {
  const std::string_view number = token.Raw(first, first + length - 1);
  const xml::Node figureNumber = figure.AppendElement("figure-number");
  if (IsNumeric(number)) figureNumber.AppendText(number);
  lastSuffix = token.From(first + length);
  if (!lastSuffix.empty()) figure.AppendElement("suffix", lastSuffix);
}

// Adds to `figure` what one token says: a whole number, a lone flat, a lone
// sign (a prefix), a number with a suffix, or a prefix with a number and
// suffix. A prefix followed by anything but a number takes the suffix of the
// last figure that had a number, as MuseData repeats an alteration that way.
void AddFigureParts(xml::Node figure, std::string_view text, std::string& lastSuffix) {
  if (IsNumeric(text)) {
    figure.AppendElement("figure-number", text);
    return;
  }
  if (text == "b") {
    figure.AppendElement("figure-number");
    return;
  }
  const RecordView token(text);
  if (token.Length() == 1) {
    figure.AppendElement("prefix", text);
    return;
  }
  const std::string_view first = token.Column(1);
  const std::string_view second = token.Column(2);
  if (IsDigitOrFlat(first)) {
    AddNumberAndSuffix(figure, token, 1, IsDigit(second) ? 2 : 1, lastSuffix);
    return;
  }
  figure.AppendElement("prefix", first);
  if (!IsDigitOrFlat(second)) {
    figure.AppendElement("suffix", lastSuffix);
    return;
  }
  AddNumberAndSuffix(figure, token, 2, IsDigit(token.Column(3)) ? 2 : 1, lastSuffix);
}

// Adds one figure per token. An empty token (two blanks in a row) makes no
// figure of its own: it adds its parts to the figure before it.
void AddFigures(xml::Node figuredBass, std::string_view figures) {
  xml::Node figure;
  std::string lastSuffix;
  for (std::string_view token : SplitAtBlanks(figures)) {
    token = Trim(token);
    if (!token.empty()) figure = figuredBass.AppendElement("figure");
    AddFigureParts(figure, token, lastSuffix);
  }
}

}  // namespace

bool MusicXML::ParseFiguredBass() {
  return Trap(kParseFiguredBass, &m_caught, [&] {
    const RecordView record = Record();
    if (record.Length() < kFiguredBassFigures)
      RaiseConverterError(kErrFiguredBass, "No figures in figured bass record");

    const xml::Node figuredBass = m_score.currentMeasure.AppendElement("figured-bass");
    m_direction.currentFiguredBass = figuredBass;
    AddFigures(figuredBass, Trim(record.From(kFiguredBassFigures)));

    const std::string_view duration = record.Field(kFiguredBassDuration);
    const std::string_view footnote = record.Field(kFiguredBassFootnote, kFiguredBassFootnote);
    const std::string_view level = record.Field(kFiguredBassLevel, kFiguredBassLevel);
    if (!duration.empty()) figuredBass.AppendElement("duration", duration);
    if (!footnote.empty()) figuredBass.AppendElement("footnote", footnote);
    if (!level.empty()) figuredBass.AppendElement("level", level);
    return true;
  });
}

}  // namespace musedata
