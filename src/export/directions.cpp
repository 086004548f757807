// Direction records ("*") on export: the type letters of the first two
// direction types, the wedge spread, octave-shift size or font number, the
// placement and staff, and the text with its font changes.

#include <optional>
#include <string>
#include <vector>

#include "component/error_codes.h"
#include "component/music_xml.h"
#include "encoding/direction_codes.h"
#include "encoding/direction_columns.h"
#include "encoding/text.h"
#include "export/suggestion_text.h"

namespace musedata {
namespace {

// One direction type's letter and the parameter it sets; none leaves the
// parameter of the type before in place.
struct TypeCode {
  char letter = ' ';
  std::optional<std::string> parameter;
};

// The letter of the direction type `element` whose attribute the import's
// table names has `value` ("" for the entry made without an attribute); a
// blank when there is none.
char LetterFor(std::string_view element, std::string_view value = {}) {
  for (const DirectionTypeCode& code : kDirectionTypeCodes)
    if (element == code.element && value == (code.value ? code.value : "")) return code.letter;
  return ' ';
}

TypeCode CodeOfDirectionType(xml::Node element) {
  const std::string_view name = element.Name();
  const std::string_view type = element.Attr("type");
  const auto attributeOr = [&](const char* attribute, std::optional<std::string> fallback) {
    return element.HasAttr(attribute) ? std::optional<std::string>(element.Attr(attribute))
                                      : fallback;
  };
  if (name == "rehearsal") return {LetterFor(name), ConvertFontNumber(element)};
  // A segno shares the rehearsal mark's letter.
  if (name == "segno") return {LetterFor("rehearsal"), std::nullopt};
  if (name == "words") {
    // Left-justified words are MuseData's plain words.
    const std::string_view justify = element.Attr("justify");
    const bool centredOrRight = justify == "center" || justify == "right";
    return {LetterFor(name, centredOrRight ? justify : ""), ConvertFontNumber(element)};
  }
  if (name == "wedge") {
    if (type == "stop") return {LetterFor(name, "stop"), attributeOr("spread", std::nullopt)};
    // A crescendo opens from nothing; a diminuendo closes from a wide spread.
    std::optional<std::string> spread;
    if (type == "crescendo") spread = "0";
    if (type == "diminuendo") spread = "15";
    return {LetterFor(name, "start"), attributeOr("spread", spread)};
  }
  if (name == "dynamics") return {LetterFor(name), ConvertFontNumber(element)};
  if (name == "dashes" || name == "pedal")
    return {LetterFor(name, type == "stop" ? "stop" : "start"), std::nullopt};
  if (name == "octave-shift") {
    const char letter = LetterFor(name, type);
    if (letter == ' ') return {};
    return {letter, attributeOr("size", std::string("8"))};
  }
  return {};
}

// The text of a dynamics element is its mark: "ff", or the text of an
// other-dynamics.
std::string DynamicMark(xml::Node dynamics) {
  const xml::Node mark = dynamics.FirstElement();
  if (mark.Name() == "other-dynamics") return mark.Text();
  return std::string(mark.Name());
}

// The text-carrying elements below the direction, in document order.
void CollectTextElements(xml::Node parent, std::vector<xml::Node>& found) {
  for (const xml::Node child : parent.Children()) {
    const std::string_view name = child.Name();
    if (name == "rehearsal" || name == "words" || name == "dynamics") found.push_back(child);
    CollectTextElements(child, found);
  }
}

// Which type column, 17 or 18, the direction type that holds `element` is written in.
int32_t TypeColumnOf(xml::Node element, const std::vector<xml::Node>& directionTypes) {
  for (size_t i = 0; i < directionTypes.size(); ++i)
    if (element.Parent() == directionTypes[i])
      return i == 0 ? kDirectionFirstType : kDirectionSecondType;
  return kDirectionSecondType;
}

// Fits a field of three columns by keeping its first three characters.
std::string FirstThree(std::string_view text) {
  return std::string(
      RecordView(text).Raw(1, kDirectionParameter.last - kDirectionParameter.first + 1));
}

}  // namespace

bool MusicXML::SaveDirection(xml::Node direction) {
  return Trap(kSaveDirection, &m_caught, [&] {
    m_export.printSuggestion.clear();
    LineBuilder line;
    line.Put(1, "*");
    if (const xml::Node offset = direction.Child("offset"))
      line.Put(kDirectionOffset.first, FirstThree(offset.Text()));
    line.Put(kDirectionFootnote, SaveVoice(direction));

    // The first two direction types have a letter each; the later one's
    // parameter wins.
    std::vector<xml::Node> directionTypes;
    std::optional<std::string> parameter;
    for (const xml::Node directionType : direction.Children("direction-type")) {
      if (directionTypes.size() == 2) break;
      const int32_t column = directionTypes.empty() ? kDirectionFirstType : kDirectionSecondType;
      directionTypes.push_back(directionType);
      const TypeCode code = CodeOfDirectionType(directionType.FirstElement());
      line.Put(column, std::string(1, code.letter));
      // A text without a font number has no parameter to give.
      if (code.parameter && !code.parameter->empty()) parameter = code.parameter;
    }
    // A "+" here is what MuseData reads as above the staff; it is written for
    // "below" all the same, as the export always has.
    line.Put(kDirectionPlacement, direction.Attr("placement") == "below" ? "+" : " ");
    if (parameter) line.Put(kDirectionParameter.first, FirstThree(*parameter));
    const std::string staff(TrimLeft(direction.Child("staff").Text()));
    line.Put(kDirectionStaff, staff.empty() ? " " : staff.substr(0, 1));

    // The text, with a font change wherever an element names a font. The
    // first element's font cannot be written inline; a print suggestion on
    // its type column carries it.
    std::vector<xml::Node> textElements;
    CollectTextElements(direction, textElements);
    std::string text;
    for (const xml::Node element : textElements) {
      const std::string font = ConvertFontNumber(element);
      const bool isDynamics = element.Name() == "dynamics";
      const std::string elementText = isDynamics ? DynamicMark(element) : GetText(element);
      if (font.empty()) {
        if (isDynamics)
          text = elementText;
        else
          text += elementText;
      } else if (text.empty()) {
        text = elementText;
        AddSuggestionGroup(m_export.printSuggestion, 'P', TypeColumnOf(element, directionTypes),
                           "f" + font);
      } else {
        text += "!" + font + elementText;
      }
    }
    line.Put(kDirectionText, OnOneLine(std::move(text)));

    WriteLine(line.Finish());
    if (!m_export.printSuggestion.empty()) WriteLine(m_export.printSuggestion);
    m_export.printSuggestion.clear();
    return true;
  });
}

}  // namespace musedata
