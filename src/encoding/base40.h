#pragma once

// MuseData's two compact number codes. A transposition interval is one base-40
// number: 40 per octave, each diatonic step owning a run of values for its
// chromatic spellings. A count that must fit one column is a digit code: "0" to
// "9", then the capital letters "A" (10) to "Z" (35).

#include <cstdint>
#include <string>
#include <string_view>

namespace musedata {

// Splits a base-40 interval into diatonic steps, chromatic semitones and
// octaves; true when its class names an interval, false (diatonic and chromatic
// untouched, octave already counted) when it falls between two steps' runs.
bool ConvertBase40(int32_t value, int32_t& diatonic, int32_t& chromatic, int32_t& octave);

// The base-40 interval of a transposition; 0 for a spelling it does not know
// (indistinguishable from the unison).
int32_t ConvertToBase40(int32_t chromatic, int32_t diatonic = 0, int32_t octave = 0);

// The decimal text ("0" to "35") of a one-column digit code; "" for anything else.
std::string ConvertDigit(std::string_view code);

// The one-column digit code of decimal text "0" to "35"; "" for anything else.
std::string ConvertToDigit(std::string_view number);

}  // namespace musedata
