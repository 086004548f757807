#pragma once

// The one-character notation codes of MuseData note records (columns 32 to 43)
// and the MusicXML notations they stand for.

#include <array>
#include <cstddef>
#include <string_view>

namespace musedata {

// Which part of `notations` a code belongs to, and so how it is read.
enum class NotationFamily {
  PrintedTie,            // a tie drawn to the next note of the same pitch
  Notation,              // slurs, tuplets, arpeggios, fermatas: children of `notations` itself
  Ornament,              // may be followed by the accidental of its upper or lower note
  Technical,             // bowings, harmonics, open strings, thumb positions
  Fingering,             // a finger number, the code itself
  SubstitutedFingering,  // a finger that replaces the one before, named in the next column
  Articulation,
  Dynamic,               // one letter of a dynamic such as "ff" or "mp"
  EditorialAccidental,   // the note's accidental was added by the editor
  CautionaryAccidental,  // the note's accidental is a reminder
  EditorialLevel,        // the codes that follow belong to an editorial level
};

// An attribute that a code sets on its element.
struct NotationAttribute {
  const char* name = nullptr;
  std::string_view value;
};

struct NotationCode {
  char code;
  NotationFamily family;
  const char* element;  // null for dynamic letters, which make an element only as a run
  NotationAttribute first{};
  NotationAttribute second{};
};

inline constexpr std::array<NotationCode, 49> kNotationCodes{{
    {'-', NotationFamily::PrintedTie, "tied", {"type", "start"}},
    // Four slur levels, so that slurs can overlap.
    {'(', NotationFamily::Notation, "slur", {"type", "start"}, {"number", "1"}},
    {')', NotationFamily::Notation, "slur", {"type", "stop"}, {"number", "1"}},
    {'[', NotationFamily::Notation, "slur", {"type", "start"}, {"number", "2"}},
    {']', NotationFamily::Notation, "slur", {"type", "stop"}, {"number", "2"}},
    {'{', NotationFamily::Notation, "slur", {"type", "start"}, {"number", "3"}},
    {'}', NotationFamily::Notation, "slur", {"type", "stop"}, {"number", "3"}},
    {'z', NotationFamily::Notation, "slur", {"type", "start"}, {"number", "4"}},
    {'x', NotationFamily::Notation, "slur", {"type", "stop"}, {"number", "4"}},
    {'*', NotationFamily::Notation, "tuplet", {"type", "start"}},
    {'!', NotationFamily::Notation, "tuplet", {"type", "stop"}},
    {'S', NotationFamily::Notation, "arpeggiate"},
    {'F', NotationFamily::Notation, "fermata"},
    {'E', NotationFamily::Notation, "fermata", {"type", "inverted"}},
    {'t', NotationFamily::Ornament, "trill-mark"},
    {'r', NotationFamily::Ornament, "turn"},
    {'k', NotationFamily::Ornament, "delayed-turn"},
    {'w', NotationFamily::Ornament, "inverted-mordent"},
    {'~', NotationFamily::Ornament, "wavy-line", {"type", "start"}},
    {'c', NotationFamily::Ornament, "wavy-line", {"type", "continue"}},
    {'M', NotationFamily::Ornament, "mordent"},
    {'j', NotationFamily::Ornament, "schleifer"},
    {'v', NotationFamily::Technical, "up-bow"},
    {'n', NotationFamily::Technical, "down-bow"},
    {'o', NotationFamily::Technical, "harmonic"},
    {'0', NotationFamily::Technical, "open-string"},
    {'Q', NotationFamily::Technical, "thumb-position"},
    {'1', NotationFamily::Fingering, "fingering"},
    {'2', NotationFamily::Fingering, "fingering"},
    {'3', NotationFamily::Fingering, "fingering"},
    {'4', NotationFamily::Fingering, "fingering"},
    {'5', NotationFamily::Fingering, "fingering"},
    {':', NotationFamily::SubstitutedFingering, "fingering", {"substitution", "yes"}},
    {'A', NotationFamily::Articulation, "strong-accent", {"type", "up"}},
    {'V', NotationFamily::Articulation, "strong-accent", {"type", "down"}},
    {'>', NotationFamily::Articulation, "accent"},
    {'.', NotationFamily::Articulation, "staccato"},
    {'_', NotationFamily::Articulation, "tenuto"},
    {'=', NotationFamily::Articulation, "detached-legato"},
    {'i', NotationFamily::Articulation, "spiccato"},
    {'\'', NotationFamily::Articulation, "breath-mark"},
    // "Z" is sfz and "R" rfz; "Zp" reads as sfp.
    {'p', NotationFamily::Dynamic, nullptr},
    {'f', NotationFamily::Dynamic, nullptr},
    {'m', NotationFamily::Dynamic, nullptr},
    {'Z', NotationFamily::Dynamic, nullptr},
    {'R', NotationFamily::Dynamic, nullptr},
    {'^', NotationFamily::EditorialAccidental, "accidental", {"editorial", "yes"}},
    {'+', NotationFamily::CautionaryAccidental, "accidental", {"cautionary", "yes"}},
    {'&', NotationFamily::EditorialLevel, "level"},
}};

// The entry of a notation code; null for a character that is no code.
constexpr const NotationCode* FindNotationCode(char code) noexcept {
  for (const NotationCode& entry : kNotationCodes)
    if (entry.code == code) return &entry;
  return nullptr;
}

// The accidental of an ornament's auxiliary note, written in the columns right
// after the ornament: "s" sharp, "b" flat, "h" natural, doubled for a double
// sharp or flat, and after "u" for the note below. Longer spellings come first
// so that the longest one that stands there is taken. A single "b" reads as a
// double flat and only the sharps below are marked as below: MuseData files
// were written for that reading.
struct AccidentalMarkCode {
  std::string_view letters;
  std::string_view mark;  // "" : the letters make no mark
  bool below;
};
inline constexpr std::array<AccidentalMarkCode, 11> kAccidentalMarkCodes{{
    {"uss", "double-sharp", true},
    {"us", "sharp", true},
    {"ubb", "flat-flat", false},
    {"ub", "flat", false},
    {"uh", "natural", false},
    {"u", "", false},
    {"ss", "double-sharp", false},
    {"s", "sharp", false},
    {"bb", "flat-flat", false},
    {"b", "flat-flat", false},
    {"h", "natural", false},
}};

// The most columns an accidental mark takes after its ornament.
inline constexpr int32_t kLongestAccidentalMark = 3;

// The accidental mark whose letters begin `following`; null when none does.
constexpr const AccidentalMarkCode* FindAccidentalMark(std::string_view following) noexcept {
  for (const AccidentalMarkCode& entry : kAccidentalMarkCodes)
    if (following.substr(0, entry.letters.size()) == entry.letters) return &entry;
  return nullptr;
}

}  // namespace musedata
