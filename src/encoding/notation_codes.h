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

// For each character, 1 + the index of its first entry in kNotationCodes, or
// 0: every column of the notation field of every note is looked up.
inline constexpr auto kNotationCodeIndex = [] {
  static_assert(kNotationCodes.size() < 255);
  std::array<unsigned char, 256> index{};
  for (size_t entry = kNotationCodes.size(); entry-- > 0;)
    index[static_cast<unsigned char>(kNotationCodes[entry].code)] =
        static_cast<unsigned char>(entry + 1);
  return index;
}();

// The entry of a notation code; null for a character that is no code.
constexpr const NotationCode* FindNotationCode(char code) noexcept {
  const unsigned char entry = kNotationCodeIndex[static_cast<unsigned char>(code)];
  return entry == 0 ? nullptr : &kNotationCodes[entry - 1];
}

// The code of notation element `element` whose `type` attribute is `type`
// ("" for an element the table makes without one); '\0' when there is none.
constexpr char NotationCodeFor(std::string_view element, std::string_view type = {}) noexcept {
  for (const NotationCode& entry : kNotationCodes) {
    if (entry.element == nullptr || element != entry.element) continue;
    const bool hasType =
        entry.first.name != nullptr && std::string_view(entry.first.name) == "type";
    if (hasType ? entry.first.value == type : type.empty()) return entry.code;
  }
  return '\0';
}

// The code of a family that has a single one (the editorial level, the
// editorial and the cautionary accidental); '\0' for the others.
constexpr char CodeOfFamily(NotationFamily family) noexcept {
  for (const NotationCode& entry : kNotationCodes)
    if (entry.family == family) return entry.code;
  return '\0';
}

// The code of a slur's start or stop at slur level `number` ("1" to "4");
// '\0' for any other level.
constexpr char SlurCodeFor(std::string_view number, bool start) noexcept {
  for (const NotationCode& entry : kNotationCodes)
    if (entry.element != nullptr && std::string_view(entry.element) == "slur" &&
        entry.second.value == number && (entry.first.value == "start") == start)
      return entry.code;
  return '\0';
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

// The letters the export writes for an accidental mark: the sign, then "u"
// when the mark stands below the ornament. This spelling is not the one the
// reader above expects ("u" first, "bb" for the double flat): kept so on
// purpose, at the price that a mark below or a double flat reads back
// differently.
struct AccidentalMarkLetters {
  std::string_view mark;
  std::string_view letters;
};
inline constexpr std::array<AccidentalMarkLetters, 5> kAccidentalMarkLetters{{
    {"sharp", "s"},
    {"flat", "b"},
    {"natural", "h"},
    {"double-sharp", "ss"},
    {"flat-flat", "ff"},
}};

// The letters of an accidental mark for the export; "" for a mark MuseData has no letters for.
constexpr std::string_view AccidentalMarkLettersFor(std::string_view mark) noexcept {
  for (const AccidentalMarkLetters& entry : kAccidentalMarkLetters)
    if (entry.mark == mark) return entry.letters;
  return {};
}

// The most columns an accidental mark takes after its ornament.
inline constexpr int32_t kLongestAccidentalMark = 3;

// The accidental mark whose letters begin `following`; null when none does.
constexpr const AccidentalMarkCode* FindAccidentalMark(std::string_view following) noexcept {
  for (const AccidentalMarkCode& entry : kAccidentalMarkCodes)
    if (following.substr(0, entry.letters.size()) == entry.letters) return &entry;
  return nullptr;
}

}  // namespace musedata
