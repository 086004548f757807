#pragma once

// MuseData text read back from the score document, and MuseData font numbers.
// A MuseData text changes typeface with "!" and a font number ("!33Allegro");
// MusicXML carries the same as font-family, font-weight and font-style.

#include <string>
#include <string_view>
#include <vector>

#include "xml/node.h"

namespace musedata {

// A stretch of MuseData text and the font number that governs it ("" for none).
struct FontPiece {
  std::string text;
  std::string font;
};

// The element's text and entity-reference children as MuseData text, accented
// letters escaped ("é" as "\7e") and "\" doubled; "" for an empty node.
std::string GetText(xml::Node element);

// Splits MuseData text at its font changes; always at least one piece.
std::vector<FontPiece> DivideFonts(std::string_view text);

// Sets font-family and font-weight or font-style from a MuseData font number;
// an unknown number sets nothing.
void AddFontNumber(xml::Node element, std::string_view fontNumber);

// The MuseData font number for the element's font attributes; "" when its
// font-family has none.
std::string ConvertFontNumber(xml::Node element);

// Takes a leading whole number (a "-" only as its first character) off the
// front of `s` and returns it; "" when `s` starts with anything else.
std::string GetNextNumber(std::string& s);

}  // namespace musedata
