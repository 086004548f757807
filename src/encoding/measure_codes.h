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

// A MuseData clef code counts its line from the top line of the staff (1 to
// 5); MusicXML counts from the bottom. Gives the MusicXML line.
constexpr int ClefLine(int lineFromTop) noexcept {
  return 6 - lineFromTop;
}

}  // namespace musedata
