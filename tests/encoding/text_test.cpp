#include "encoding/text.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "component/music_xml.h"
#include "component/utilities.h"
#include "encoding/accents.h"
#include "support/test_support.h"

namespace musedata {

// White-box access to the engine's text writer.
struct EngineProbe {
  static bool AddText(MusicXML& engine, xml::Node element, std::string_view text) {
    return engine.AddText(element, text);
  }
};

namespace {

using Strings = std::vector<std::string>;

// A score document to write MuseData text into, one fresh element at a time.
struct Scratch {
  Document doc = InitializeXML(true, "");
  MusicXML engine;
  xml::Node NewElement() const { return xml::Root(doc).AppendElement("words"); }
  xml::Node WithText(std::string_view text) {
    const xml::Node element = NewElement();
    EXPECT_TRUE(EngineProbe::AddText(engine, element, text));
    return element;
  }
};

// The element's children one by one: text as it stands, entity references as "&name;".
Strings ChildNodes(xml::Node element) {
  Strings nodes;
  for (xml::Node child = element.FirstChild(); child; child = child.Next()) {
    const bool isEntity = child.Type() == xml::NodeType::EntityRef;
    nodes.push_back(isEntity ? "&" + std::string(child.Name()) + ";"
                             : std::string(child.Content()));
  }
  return nodes;
}

Strings Words(const std::string& text) {
  std::istringstream stream(text);
  Strings words;
  for (std::string word; stream >> word;) words.push_back(word);
  return words;
}

TEST(MuseDataText, AddTextDecodesEscapesAndSplitsOutSpecialCharacters) {
  // clang-format off
  const std::pair<const char*, Strings> rows[] = {
      {"Caf\\7e", {"Café"}}, {"Caf\\e7", {"Café"}}, {"\\\\7e", {"\\7e"}}, {"\\\\\\3a", {"\\ä"}},
      {"\\6a", {"\\6a"}}, {"\\77", {"\\77"}}, {"\\ab", {"\\ab"}}, {"\\3x", {"\\3x"}},
      {"end\\", {"end\\"}}, {"\\3\\3a", {"\\3ä"}}, {"\\3&", {"\\3", "&amp;"}}, {"\x01", {}},
      {"Tom & Jerry <1>", {"Tom ", "&amp;", " Jerry ", "&lt;", "1", "&gt;"}},
      {"'\"", {"&apos;", "&quot;"}}, {"a\x07" "b\tc\r\nd", {"ab\tc\r\nd"}},
  };
  // clang-format on
  Scratch scratch;
  for (const auto& [text, nodes] : rows)
    EXPECT_EQ(ChildNodes(scratch.WithText(text)), nodes) << text;

  const xml::Node words = scratch.WithText("Allegro");
  EngineProbe::AddText(scratch.engine, words, " & vivace");
  EXPECT_EQ(ChildNodes(words), (Strings{"Allegro", " ", "&amp;", " vivace"}));
  // A comment keeps its text as typed, shortening hyphen runs to stay well formed.
  const xml::Node comment = scratch.NewElement().AppendComment("old");
  EngineProbe::AddText(scratch.engine, comment, "a\x07<b> \\3a -- c\td");
  EXPECT_EQ(comment.Content(), "a<b> \\3a - c\td");
}

// Every accented letter comes back as the escape it was read from, save the
// two spellings the writer keeps on purpose.
TEST(MuseDataText, EveryAccentSurvivesAddTextThenGetText) {
  Scratch scratch;
  for (const Accent& accent : kAccents) {
    const std::string escape = {'\\', accent.digit, accent.letter};
    const xml::Node element = scratch.WithText(escape);
    EXPECT_EQ(ChildNodes(element), Strings{std::string(accent.character)}) << escape;
    const std::string written = escape == "\\1A"   ? "Ã"
                                : escape == "\\5s" ? "\\5S"
                                : escape == "\\5S" ? "\\5s"
                                                   : escape;
    EXPECT_EQ(GetText(element), written);
    EXPECT_EQ(GetText(scratch.WithText(std::string{'\\', accent.letter, accent.digit})), written);
  }
}

// One name for each accent and its spellings, and names that merely look like one.
TEST(MuseDataText, GetTextReadsEntityReferencesByName) {
  const std::string rows =
      "amp=& apos=' quot=\" gt=> lt=< ntilde=\\1n Atilde=\\1A ccedil=\\2c Ccedil=\\2C "
      "oslash=\\2o Oslash=\\2O szlig=\\2s auml=\\3a Uuml=\\3U aring=\\4a scaron=\\5s "
      "Scaron=\\5S eacute=\\7e Igrave=\\8I ucirc=\\9u nbsp= Szlig= scedil= AMP= eacutes= "
      "acute= e=";
  Scratch scratch;
  for (const std::string& row : Words(rows)) {
    const std::string name = row.substr(0, row.find('='));
    const xml::Node element = scratch.NewElement();
    element.AppendEntityRef(name.c_str());
    EXPECT_EQ(GetText(element), row.substr(name.size() + 1)) << name;
  }
  // Only text and entity references are read; other children add nothing.
  const xml::Node element = scratch.NewElement();
  element.AppendText("C:\\dir é");
  element.AppendElement("sub", "hidden");
  element.AppendComment("note");
  element.AppendEntityRef("amp");
  element.AppendText("Ñ€");
  EXPECT_EQ(GetText(element), "C:\\\\dir \\7e&\\1N€");
  EXPECT_EQ(GetText(xml::Node()), "");
}

TEST(MuseDataText, FontNumbersSetAttributesAndReadBack) {
  const std::string serif = " font-family=\"serif\"";
  // clang-format off
  const std::tuple<const char*, std::string, const char*> rows[] = {
      {"1", " font-family=\"music\"", "1"}, {"21", " font-family=\"sans-serif\"", "21"},
      {"22 25 31 34 37 43 46 61 67 76", serif, "31"},
      {"23 32 38 44 68 77", serif + " font-weight=\"bold\"", "32"},
      {"24 33 39 45 69", serif + " font-style=\"italic\"", "33"}, {"35 01 2 210 11 ! -1", "", ""},
  };
  // clang-format on
  Scratch scratch;
  for (const auto& [numbers, attributes, readBack] : rows) {
    for (const std::string& number : Words(numbers)) {
      const xml::Node element = scratch.NewElement();
      AddFontNumber(element, number);
      EXPECT_EQ(xml::NodeToString(element), "<words" + attributes + "/>") << number;
      EXPECT_EQ(ConvertFontNumber(element), readBack) << number;
    }
  }
  // Italic wins over bold; another family, or a style without one, has no number.
  const xml::Node element = scratch.NewElement();
  AddFontNumber(element, "32");
  element.SetAttr("font-style", "italic");
  EXPECT_EQ(ConvertFontNumber(element), "33");
  element.SetAttr("font-family", "Times");
  EXPECT_EQ(ConvertFontNumber(element), "");
  element.RemoveAttr("font-family");
  EXPECT_EQ(ConvertFontNumber(element), "");
}

TEST(MuseDataText, DivideFontsSplitsAtFontChanges) {
  using Pieces = std::vector<std::pair<std::string, std::string>>;  // text, font
  // A bare "!" is text, but a later one replaces the stretch before it.
  // clang-format off
  const std::pair<const char*, Pieces> rows[] = {
      {"", {{"", ""}}}, {"!33Allegro", {{"Allegro", "33"}}},
      {"Allegro !32molto", {{"Allegro ", ""}, {"molto", "32"}}},
      {"x!1!2y", {{"x", ""}, {"", "1"}, {"y", "2"}}}, {"!32!33word", {{"", "32"}, {"word", "33"}}},
      {"5! not", {{"5! not", ""}}}, {"a!b!c", {{"b!c", ""}}}, {"!33a!b", {{"a!b", "33"}}},
      {"a!b!c!32d", {{"b!c", ""}, {"d", "32"}}}, {"!!33a", {{"!", ""}, {"a", "33"}}},
  };
  // clang-format on
  for (const auto& [text, expected] : rows) {
    Pieces pieces;
    for (const FontPiece& piece : DivideFonts(text)) pieces.emplace_back(piece.text, piece.font);
    EXPECT_EQ(pieces, expected) << text;
  }
}

TEST(MuseDataText, MissingElementsRaiseTheirOwnErrors) {
  const std::string notSet = " error 91: Object variable or With block variable not set";
  Scratch scratch;
  EXPECT_EQ(test::ErrorOf([&] { EngineProbe::AddText(scratch.engine, xml::Node(), "x"); }),
            "6079 Verdantix: Cannot add MuseData text to a non-existent XML element");
  EXPECT_EQ(test::ErrorOf([] { AddFontNumber(xml::Node(), "33"); }),
            "6080 Verdantix: MuseData AddFontNumber" + notSet);
  EXPECT_EQ(test::ErrorOf([] { ConvertFontNumber(xml::Node()); }),
            "6081 Verdantix: MuseData ConvertFontNumber" + notSet);
}

}  // namespace
}  // namespace musedata
