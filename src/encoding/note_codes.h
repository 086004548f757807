#pragma once

// The one-character codes of MuseData note records and the MusicXML values
// they stand for. The import reads them one way, the export the other.

#include <array>
#include <cstddef>
#include <string_view>

namespace musedata {

// A code and the MusicXML text it stands for.
struct CodeText {
  char code;
  std::string_view text;
};

// The text that `code` stands for in `table`; "" for a code the table lacks.
template <std::size_t N>
constexpr std::string_view TextForCode(const std::array<CodeText, N>& table, char code) noexcept {
  for (const CodeText& entry : table)
    if (entry.code == code) return entry.text;
  return {};
}

// The code that stands for `text` in `table`; `fallback` for a text the table lacks.
template <std::size_t N>
constexpr char CodeForText(const std::array<CodeText, N>& table, std::string_view text,
                           char fallback = ' ') noexcept {
  for (const CodeText& entry : table)
    if (entry.text == text) return entry.code;
  return fallback;
}

// Note values. Each value has a code for a note printed at full size and one
// for a note printed at cue size.
struct NoteTypeCode {
  char fullSize;
  char cueSize;
  std::string_view type;
};
inline constexpr std::array<NoteTypeCode, 11> kNoteTypeCodes{{
    {'L', 'B', "long"},
    {'b', 'A', "breve"},
    {'w', '9', "whole"},
    {'h', '8', "half"},
    {'q', '7', "quarter"},
    {'e', '6', "eighth"},
    {'s', '5', "16th"},
    {'t', '4', "32nd"},
    {'x', '3', "64th"},
    {'y', '2', "128th"},
    {'z', '1', "256th"},
}};

// The column-17 code of a note value at full or cue size; a blank for an
// unknown value.
constexpr char NoteTypeCodeFor(std::string_view type, bool cueSize) noexcept {
  for (const NoteTypeCode& entry : kNoteTypeCodes)
    if (entry.type == type) return cueSize ? entry.cueSize : entry.fullSize;
  return ' ';
}

// The printed value of a grace note; "0" is the slashed eighth of an acciaccatura.
struct GraceTypeCode {
  char code;
  std::string_view type;
  bool slash;
};
inline constexpr std::array<GraceTypeCode, 11> kGraceTypeCodes{{
    {'0', "eighth", true},
    {'1', "256th", false},
    {'2', "128th", false},
    {'3', "64th", false},
    {'4', "32nd", false},
    {'5', "16th", false},
    {'6', "eighth", false},
    {'7', "quarter", false},
    {'8', "half", false},
    {'9', "whole", false},
    {'A', "breve", false},
}};

// The column-8 code of a cue or grace note's printed value; a slashed eighth
// is "0". The sixteenth's row is looked up under the name "26th", not "16th",
// on purpose: the export leaves column 8 blank for a cue or grace sixteenth,
// unlike the full table of column 17.
constexpr char GraceCodeForType(std::string_view type, bool slash) noexcept {
  if (type == "26th") return '5';
  if (type == "16th") return ' ';
  for (const GraceTypeCode& entry : kGraceTypeCodes)
    if (entry.type == type && (slash || !entry.slash)) return entry.code;
  return ' ';
}

// The printed accidental of a note.
inline constexpr std::array<CodeText, 8> kAccidentalCodes{{
    {'#', "sharp"},
    {'n', "natural"},
    {'f', "flat"},
    {'x', "double-sharp"},
    {'X', "sharp-sharp"},
    {'&', "flat-flat"},
    {'S', "natural-sharp"},
    {'F', "natural-flat"},
}};

// What a beam does at this note, one code per beam level.
inline constexpr std::array<CodeText, 5> kBeamCodes{{
    {'[', "begin"},
    {'=', "continue"},
    {']', "end"},
    {'/', "forward hook"},
    {'\\', "backward hook"},
}};

// The sounding alteration written in the pitch field, as MusicXML's alter.
struct PitchAlter {
  std::string_view accidental;
  std::string_view alter;
};
inline constexpr std::array<PitchAlter, 4> kPitchAlters{{
    {"#", "1"},
    {"##", "2"},
    {"f", "-1"},
    {"ff", "-2"},
}};

// The alter value of a pitch-field accidental; "" for none.
constexpr std::string_view AlterForAccidental(std::string_view accidental) noexcept {
  for (const PitchAlter& entry : kPitchAlters)
    if (entry.accidental == accidental) return entry.alter;
  return {};
}

// The pitch-field accidental of an alter value ("+1" reads as "1"); "" for
// none or for an alteration MuseData cannot spell.
constexpr std::string_view AccidentalForAlter(std::string_view alter) noexcept {
  if (!alter.empty() && alter.front() == '+') alter.remove_prefix(1);
  for (const PitchAlter& entry : kPitchAlters)
    if (entry.alter == alter) return entry.accidental;
  return {};
}

// The stem direction of column 23. MusicXML's "double" stem has no MuseData
// code and is written as an up stem.
constexpr char StemCodeFor(std::string_view stem) noexcept {
  if (stem == "down") return 'd';
  if (stem == "up" || stem == "double") return 'u';
  return ' ';
}

// The usual tuplets: when a record gives only the actual notes, the normal
// notes are the ones the tuplet most often stands against (a triplet in the
// time of two, a quintuplet in the time of four, ...).
struct TupletRatio {
  std::string_view actual;
  std::string_view normal;
};
inline constexpr std::array<TupletRatio, 6> kDerivedNormalNotes{{
    {"2", "3"},
    {"3", "2"},
    {"4", "3"},
    {"5", "4"},
    {"6", "4"},
    {"9", "6"},
}};

// The normal notes of a tuplet given only by its actual notes; "" when there is no usual one.
constexpr std::string_view DerivedNormalNotes(std::string_view actual) noexcept {
  for (const TupletRatio& entry : kDerivedNormalNotes)
    if (entry.actual == actual) return entry.normal;
  return {};
}

}  // namespace musedata
