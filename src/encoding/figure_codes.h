#pragma once

// The signs of MuseData figured bass and the MusicXML words for them. MuseData
// writes a figure's alteration or stroke as one character before or after its
// number ("#6", "6+"); MusicXML names it in prefix and suffix elements.

#include <array>
#include <string_view>

namespace musedata {

struct FigureSign {
  std::string_view word;
  std::string_view sign;
};
inline constexpr std::array<FigureSign, 7> kFigureSigns{{
    {"sharp", "#"},
    {"flat", "f"},
    {"natural", "n"},
    {"double-sharp", "x"},
    {"slash", "/"},
    {"back-slash", "\\"},
    {"plus", "+"},
}};

// The MuseData sign of a prefix or suffix; a text that names no sign (a sign
// a MuseData file gave as it stands) is kept.
constexpr std::string_view FigureSignFor(std::string_view word) noexcept {
  for (const FigureSign& entry : kFigureSigns)
    if (entry.word == word) return entry.sign;
  return word;
}

}  // namespace musedata
