#pragma once

// The print ("P") and sound ("S") suggestion lines that follow a note or a
// direction record. A line is the record letter followed by groups, each a
// blank, "C", the column the group speaks of, ":" and its codes run together:
// "P C32:Y-10o C1:X12".

#include <cstdint>
#include <string>
#include <string_view>

namespace musedata {

// Appends the group of `codes` for `column` to the suggestion line `line`,
// which starts as `letter` when still empty. Nothing happens for empty codes.
void AddSuggestionGroup(std::string& line, char letter, int32_t column, std::string_view codes);

// A vertical position in MuseData's sense: MuseData counts y downwards and
// MusicXML upwards, so a number is negated and written in its shortest form
// ("-30.00" gives "30"); any other text is kept as it stands.
std::string NegatedWhenNumeric(std::string_view value);

// How a non-numeric relative-y is spelled: notation positions write "y" like
// the numeric case, ornaments a capital "Y".
enum class TextualRelativeY { Lower, Capital };

// The position code of a default-x, default-y, relative-x or relative-y
// attribute ("X12", "Y-10", "x3", "y4"); "" for any other attribute.
std::string PositionCode(std::string_view name, std::string_view value,
                         TextualRelativeY textual = TextualRelativeY::Lower);

// Replaces each line end (CR or LF) by a blank, so that the text stays on its record's line.
std::string OnOneLine(std::string text);

}  // namespace musedata
