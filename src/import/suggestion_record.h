#pragma once

// The text of a MuseData print ("P") or sound ("S") suggestion record, taken
// apart. After the record letter stands an optional selector that names the
// applications the suggestion is meant for; then come fields such as
// "C32:Y-10o", each naming a column of the record before the suggestion and
// holding codes, most of them a letter with an optional number.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace musedata {

// One code of a field: a letter (or "|>", a forward repeat) and the number
// written after it, as `GetNextNumber` took it ("" when none, "-" alone when
// only a sign stood there).
struct SuggestionCode {
  std::string code;
  std::string number;

  // The number as an integer; none when no digits follow the code or the
  // number does not fit.
  std::optional<int64_t> Value() const noexcept;
};

// One field "C<column><selector>:<data>".
struct SuggestionField {
  int32_t column = 0;    // the column of the previous record it refers to; 0: none in particular
  std::string selector;  // characters between the column number and the colon
  std::string data;      // everything after the colon up to the next field, blanks removed
  std::vector<SuggestionCode> codes;
};

struct SuggestionRecord {
  std::string selector;  // from column 2 up to the first blank
  bool applies = true;   // the selector leaves the suggestion to a score conversion
  std::vector<SuggestionField> fields;
};

// Takes a suggestion record apart. Never fails: text before the first field,
// a field whose column number does not fit, and characters that are not a
// code are passed over or kept as unknown codes for the caller to ignore.
SuggestionRecord ReadSuggestionRecord(std::string_view record);

// Whether a suggestion with this selector is meant for a score: an empty
// selector, or one that names the score ("s") or all applications ("a"). A
// selector that names only other applications (parts "p", and the like), and
// the special forms starting with "v" or "x", are not. A selector that names
// no application at all (a note size such as "#<12") applies.
bool SelectorApplies(std::string_view selector) noexcept;

}  // namespace musedata
