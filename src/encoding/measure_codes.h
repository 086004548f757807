#pragma once

// The codes of bar records and clefs, shared by the reader and the writer.

#include <array>
#include <optional>
#include <string_view>

namespace musedata {

// A bar record names its style in columns 2 to 7 ("measure" itself is a plain
// single bar and has none).
struct BarStyleCode {
  std::string_view code;
  std::string_view barStyle;  // MusicXML bar-style
};

inline constexpr std::array<BarStyleCode, 6> kBarStyles{{
    {"dotted", "dotted"},
    {"double", "light-light"},
    {"heavy1", "heavy"},
    {"heavy2", "light-heavy"},
    {"heavy3", "heavy-light"},
    {"heavy4", "heavy-heavy"},
}};

// The bar-style for the code of a bar record; "" for a plain bar or an unknown code.
constexpr std::string_view BarStyleFor(std::string_view code) noexcept {
  for (const BarStyleCode& entry : kBarStyles)
    if (entry.code == code) return entry.barStyle;
  return {};
}

// The code of a bar record for a MusicXML bar-style; "" for "regular" and any
// style MuseData has no code for, which are written as a plain bar.
constexpr std::string_view BarCodeFor(std::string_view barStyle) noexcept {
  for (const BarStyleCode& entry : kBarStyles)
    if (entry.barStyle == barStyle) return entry.code;
  return {};
}

// The records that move the time position: forward without sounding (an
// invisible rest) and back, both five columns wide.
inline constexpr std::string_view kForwardWord = "irest";
inline constexpr std::string_view kBackupWord = "back ";

// The word of a plain bar record; the other styles put their code after its "m".
inline constexpr std::string_view kPlainBarWord = "measure";
inline constexpr std::string_view kBarWordLetter = "m";

// The flags of a bar record (from column 17, separated by blanks).
inline constexpr std::string_view kBarFlagNonControlling = "*";
inline constexpr std::string_view kBarFlagWavyLine = "~";
inline constexpr std::string_view kBarFlagSegno = "A";
inline constexpr std::string_view kBarFlagFermata = "F";
inline constexpr std::string_view kBarFlagInvertedFermata = "E";
inline constexpr std::string_view kBarFlagForwardRepeat = "|:";
inline constexpr std::string_view kBarFlagBackwardRepeat = ":|";
// An ending flag is its kind, this suffix and the ending's number ("start-end1").
inline constexpr std::string_view kEndingFlagSuffix = "-end";
// MuseData shortens the discontinued ending's kind.
inline constexpr std::string_view kEndingDiscontinue = "disc";

// The first digit of a two-digit MuseData clef code gives the clef's sign and
// whether it sounds an octave away from where it is written.
struct ClefSign {
  char digit;
  std::string_view sign;          // MusicXML sign
  std::string_view octaveChange;  // clef-octave-change; "" when the clef sounds as written
};

inline constexpr std::array<ClefSign, 9> kClefSigns{{
    {'0', "G", ""},
    {'1', "C", ""},
    {'2', "F", ""},
    {'3', "G", "-1"},
    {'4', "C", "-1"},
    {'5', "F", "-1"},
    {'6', "G", "1"},
    {'7', "C", "1"},
    {'8', "F", "1"},
}};

// The sign for a clef code's first digit, or nothing for a digit that names none.
constexpr std::optional<ClefSign> ClefSignFor(char digit) noexcept {
  for (const ClefSign& entry : kClefSigns)
    if (entry.digit == digit) return entry;
  return std::nullopt;
}

// The tens of a clef code for a sign: G 0, C 10, F 20; none for a sign that
// MuseData has no code for.
constexpr std::optional<int> ClefSignTens(std::string_view sign) noexcept {
  for (const ClefSign& entry : kClefSigns)
    if (entry.sign == sign && entry.octaveChange.empty()) return (entry.digit - '0') * 10;
  return std::nullopt;
}

// What a clef-octave-change adds to a clef code: the octave clefs' first
// digits lie 3 ("-1") and 6 ("1") above the plain ones; 0 for other values.
constexpr int ClefOctaveTens(std::string_view octaveChange) noexcept {
  if (octaveChange.empty()) return 0;
  for (const ClefSign& entry : kClefSigns)
    if (entry.sign == "G" && entry.octaveChange == octaveChange) return (entry.digit - '0') * 10;
  return 0;
}

// The line a clef sits on when MusicXML gives none: G 2, C 3, F 4; 0 for
// other signs.
constexpr int DefaultClefLine(std::string_view sign) noexcept {
  if (sign == "G") return 2;
  if (sign == "C") return 3;
  if (sign == "F") return 4;
  return 0;
}

// A MuseData clef code counts its line from the top line of the staff (1 to
// 5); MusicXML counts from the bottom. Gives the MusicXML line, and the
// other way round.
constexpr int ClefLine(int lineFromTop) noexcept {
  return 6 - lineFromTop;
}

}  // namespace musedata
