#pragma once

// The MuseData direction-type letters and dynamic texts with the MusicXML
// elements they stand for.

#include <array>
#include <string_view>

namespace musedata {

// One direction-type letter of columns 17 and 18.
struct DirectionTypeCode {
  char letter;
  const char* element;
  const char* attribute;  // nullptr: the element is made without attributes
  const char* value;
  bool carriesText;  // the record's text goes into this element
};

// Rehearsal marks ("A") are listed so that the letter is recognised; the
// import refuses them.
inline constexpr std::array<DirectionTypeCode, 14> kDirectionTypeCodes{{
    {'A', "rehearsal", nullptr, nullptr, true},
    {'B', "words", "justify", "right", true},
    {'C', "words", "justify", "center", true},
    {'D', "words", nullptr, nullptr, true},
    {'E', "wedge", "type", "start", false},
    {'F', "wedge", "type", "stop", false},
    {'G', "dynamics", nullptr, nullptr, true},
    {'H', "dashes", "type", "start", false},
    {'J', "dashes", "type", "stop", false},
    {'P', "pedal", "type", "start", false},
    {'Q', "pedal", "type", "stop", false},
    {'U', "octave-shift", "type", "up", false},
    {'V', "octave-shift", "type", "down", false},
    {'W', "octave-shift", "type", "stop", false},
}};

// The code of a direction-type column's text; null for a blank column or a
// letter that makes no element.
constexpr const DirectionTypeCode* FindDirectionType(std::string_view letter) noexcept {
  if (letter.size() != 1) return nullptr;
  for (const DirectionTypeCode& code : kDirectionTypeCodes)
    if (code.letter == letter.front()) return &code;
  return nullptr;
}

// A dynamic mark written as text, with its MusicXML element. MuseData writes
// the sforzando family with capitals: "Z" sfz, "Zp" sfp, "R" rfz.
struct DynamicCode {
  std::string_view text;
  const char* element;
};

inline constexpr std::array<DynamicCode, 17> kDynamicCodes{{
    {"p", "p"},
    {"pp", "pp"},
    {"ppp", "ppp"},
    {"pppp", "pppp"},
    {"ppppp", "ppppp"},
    {"pppppp", "pppppp"},
    {"f", "f"},
    {"ff", "ff"},
    {"fff", "fff"},
    {"ffff", "ffff"},
    {"fffff", "fffff"},
    {"ffffff", "ffffff"},
    {"mf", "mf"},
    {"mp", "mp"},
    {"Z", "sfz"},
    {"Zp", "sfp"},
    {"R", "rfz"},
}};

// The element of a dynamic text; null for a text that MusicXML has no
// element for (it becomes other-dynamics).
constexpr const char* FindDynamicElement(std::string_view text) noexcept {
  for (const DynamicCode& code : kDynamicCodes)
    if (code.text == text) return code.element;
  return nullptr;
}

// The MuseData text of a dynamic element ("Z" for sfz); "" for an element
// MuseData has no text for.
constexpr std::string_view DynamicTextFor(std::string_view element) noexcept {
  for (const DynamicCode& code : kDynamicCodes)
    if (element == code.element) return code.text;
  return {};
}

}  // namespace musedata
