// Direction records ("*"): words, dynamics, wedges, dashes, pedal marks and
// octave shifts, up to two of them in one record (a wedge that ends under a
// dynamic, words over a pedal mark), with an optional text in several fonts.

#include <string>
#include <vector>

#include "component/error_codes.h"
#include "component/music_xml.h"
#include "encoding/direction_codes.h"
#include "encoding/direction_columns.h"
#include "encoding/text.h"

namespace musedata {
namespace {

// Which of the two type columns takes the record's text.
enum class TextOwner { None = 0, First = 1, Second = 2, Both = 3 };

bool CarriesText(std::string_view letter) {
  const DirectionTypeCode* code = FindDirectionType(letter);
  return code && code->carriesText;
}

TextOwner WordDirectionType(std::string_view type1, std::string_view type2) {
  return Trap(kWordDirectionType, nullptr, [&] {
    int owner = 0;
    if (CarriesText(type1)) owner += 1;
    if (CarriesText(type2)) owner += 2;
    return static_cast<TextOwner>(owner);
  });
}

struct DirectionFields {
  std::string_view offset;
  std::string_view footnote;
  std::string_view level;
  std::string_view voice;
  std::string_view type1;
  std::string_view type2;
  bool above = false;
  std::string_view parameter;
  std::string_view staff;
  std::string_view text;  // leading blanks kept: they space the words
};

DirectionFields ReadDirectionFields(const RecordView& record) {
  DirectionFields fields;
  fields.offset = record.Field(kDirectionOffset);
  fields.footnote = record.Field(kDirectionFootnote, kDirectionFootnote);
  fields.level = record.Field(kDirectionLevel, kDirectionLevel);
  fields.voice = record.Field(kDirectionVoice, kDirectionVoice);
  fields.type1 = record.Field(kDirectionFirstType, kDirectionFirstType);
  fields.type2 = record.Field(kDirectionSecondType, kDirectionSecondType);
  fields.above = record.Column(kDirectionPlacement) == "+";
  fields.parameter = record.Field(kDirectionParameter);
  fields.staff = record.Field(kDirectionStaff, kDirectionStaff);
  fields.text = TrimRight(record.From(kDirectionText));
  return fields;
}

// The elements one type column makes, in one direction-type: the first, then
// one more of the same kind for every further piece of text the column takes.
struct TypeColumn {
  std::string_view letter;
  xml::Node directionType;
  std::vector<xml::Node> elements;

  bool Is(std::string_view name) const {
    return !elements.empty() && elements.front().Name() == name;
  }
  xml::Node First() const { return elements.empty() ? xml::Node() : elements.front(); }
};

// Columns 21-23 give the spread of a wedge (a wedge starting at spread 0
// opens into a crescendo, one starting wide closes into a diminuendo), the
// size of an octave shift, or else the font of the record's text.
void ApplyParameter(const TypeColumn& first, const TypeColumn& second, std::string_view parameter) {
  if (parameter.empty()) return;
  for (const TypeColumn* column : {&first, &second}) {
    if (!column->Is("wedge")) continue;
    const xml::Node wedge = column->First();
    wedge.SetAttr("spread", parameter);
    if (wedge.Attr("type") == "start")
      wedge.SetAttr("type", parameter == "0" ? "crescendo" : "diminuendo");
    return;
  }
  for (const TypeColumn* column : {&first, &second}) {
    if (!column->Is("octave-shift")) continue;
    column->First().SetAttr("size", parameter);
    return;
  }
  for (const TypeColumn* column : {&first, &second}) {
    if (!column->Is("words") && !column->Is("dynamics") && !column->Is("rehearsal")) continue;
    AddFontNumber(column->First(), parameter);
    return;
  }
}

// The element that takes text piece `piece` (0-based). With both columns
// taking text, the first piece goes to the first column and the rest to the second.
xml::Node TextTarget(TextOwner owner, const TypeColumn& first, const TypeColumn& second,
                     size_t piece) {
  switch (owner) {
    case TextOwner::First: return first.elements.at(piece);
    case TextOwner::Second: return second.elements.at(piece);
    case TextOwner::Both: return piece == 0 ? first.elements.at(0) : second.elements.at(piece - 1);
    case TextOwner::None: break;
  }
  return {};
}

// Offset, footnote, level, voice and staff follow the direction types, each
// only when its column is not blank.
void AppendDirectionDetails(xml::Node direction, const DirectionFields& fields) {
  if (!fields.offset.empty()) direction.AppendElement("offset", fields.offset);
  if (!fields.footnote.empty()) direction.AppendElement("footnote", fields.footnote);
  if (!fields.level.empty()) direction.AppendElement("level", fields.level);
  if (!fields.voice.empty()) direction.AppendElement("voice", fields.voice);
  if (!fields.staff.empty()) direction.AppendElement("staff", fields.staff);
}

}  // namespace

bool MusicXML::ParseDirection() {
  return Trap(kParseDirection, &m_caught, [&] {
    const RecordView record = Record();
    const DirectionFields fields = ReadDirectionFields(record);

    std::vector<FontPiece> pieces;
    TextOwner owner = TextOwner::None;
    if (!fields.text.empty()) {
      pieces = DivideFonts(fields.text);
      owner = WordDirectionType(fields.type1, fields.type2);
    }

    // The direction is current even when its type columns make nothing; the
    // holder keeps it until a measure takes it.
    m_direction.unattachedDirection = xml::DetachedElement(m_score.document, "direction");
    const xml::Node direction = m_direction.unattachedDirection.Get();
    m_direction.currentDirection = direction;
    if (fields.above) direction.SetAttr("placement", "above");

    // A column's direction-type stands in the direction only when its letter
    // makes an element; column 17's comes first.
    const auto startColumn = [&](std::string_view letter) {
      TypeColumn column{letter, {}, {}};
      if (FindDirectionType(letter)) {
        column.directionType = direction.AppendElement("direction-type");
        column.elements.push_back(CreateDirectionType(column.directionType, letter));
      }
      return column;
    };
    const auto growColumn = [&](TypeColumn& column, size_t count) {
      while (column.directionType && column.elements.size() < count)
        column.elements.push_back(CreateDirectionType(column.directionType, column.letter));
    };
    TypeColumn first = startColumn(fields.type1);
    TypeColumn second = startColumn(fields.type2);
    // Every piece of text between font changes gets an element of its own.
    switch (owner) {
      case TextOwner::First: growColumn(first, pieces.size()); break;
      case TextOwner::Second: growColumn(second, pieces.size()); break;
      case TextOwner::Both:
        if (pieces.size() >= 3) growColumn(second, pieces.size() - 1);
        break;
      case TextOwner::None: break;
    }
    if (first.elements.empty() && second.elements.empty()) return false;

    ApplyParameter(first, second, fields.parameter);
    if (owner != TextOwner::None) {
      for (size_t i = 0; i < pieces.size(); ++i) {
        const xml::Node target = TextTarget(owner, first, second, i);
        if (target.Name() == "dynamics") {
          CreateDynamicElement(target, pieces[i].text);
        } else {
          AddText(target, pieces[i].text);
        }
        if (!pieces[i].font.empty()) AddFontNumber(target, pieces[i].font);
      }
    }

    AppendDirectionDetails(direction, fields);
    m_direction.unattachedDirection.AppendTo(m_score.currentMeasure);
    return true;
  });
}

xml::Node MusicXML::CreateDirectionType(xml::Node directionType, std::string_view letter) {
  return Trap(kCreateDirectionType, &m_caught, [&] {
    const DirectionTypeCode* code = FindDirectionType(letter);
    if (!code) return xml::Node();
    const xml::Node element = directionType.AppendElement(code->element);
    if (code->attribute) element.SetAttr(code->attribute, code->value);
    // Rehearsal marks are not imported: rather than lose one silently, the
    // conversion stops on the record that holds it.
    if (code->letter == 'A')
      RaiseConverterError(kErrRehearsalDirection,
                          "Direction type A found\r\n\"" + m_reader.currentRecord + "\"");
    return element;
  });
}

xml::Node MusicXML::CreateDynamicElement(xml::Node dynamics, std::string_view text) {
  return Trap(kCreateDynamicElement, &m_caught, [&] {
    if (const char* name = FindDynamicElement(text)) return dynamics.AppendElement(name);
    const xml::Node other = dynamics.AppendElement("other-dynamics");
    AddText(other, text);
    return other;
  });
}

}  // namespace musedata
