// The notation columns of a note record (ties, slurs, tuplets, ornaments,
// technical marks, articulations, dynamics, fermatas, arpeggios) and the print
// and sound suggestion codes of those notation elements.

#include <algorithm>
#include <string>
#include <vector>

#include "component/error_codes.h"
#include "component/music_xml.h"
#include "encoding/base40.h"
#include "encoding/direction_codes.h"
#include "encoding/notation_codes.h"
#include "encoding/notation_columns.h"
#include "encoding/numbers.h"
#include "export/suggestion_text.h"

namespace musedata {
namespace {

// Which of a notation element's placement and orientation attributes become
// position codes.
struct PositionFlags {
  bool placement;
  bool orientation;
};

std::string CodeText(char code) {
  return code == '\0' ? std::string() : std::string(1, code);
}

// A slur's level picks one of four pairs of brackets, so that slurs may
// overlap; a level MuseData does not have writes nothing.
// A level that is no whole number is an error in the score.
std::string SlurCode(xml::Node slur) {
  if (!slur.HasAttr("number")) return CodeText(SlurCodeFor("1", slur.Attr("type") == "start"));
  const std::optional<int32_t> level = WholeNumber32(slur.Attr("number"));
  if (!level) throw RunTimeError::TypeMismatch();
  const std::string number = std::to_string(*level);
  return CodeText(SlurCodeFor(number, slur.Attr("type") == "start"));
}

// The code of a tie, slur, tuplet, fermata or arpeggio standing directly in
// `notations`, and which of its placement and orientation it writes; "" for
// a printed tie's end (the next note of the same pitch ends it on reading)
// and anything MuseData has no code for.
std::string PlainNotationCode(xml::Node notation, PositionFlags& flags) {
  const std::string_view name = notation.Name();
  const std::string_view type = notation.Attr("type");
  flags = {name == "tied" || name == "slur" || name == "tuplet", name == "tied" || name == "slur"};
  if (name == "tied") return type == "start" ? CodeText(NotationCodeFor(name, type)) : "";
  if (name == "slur") return SlurCode(notation);
  if (name == "tuplet") return CodeText(NotationCodeFor(name, type == "start" ? "start" : "stop"));
  if (name == "fermata") return CodeText(NotationCodeFor(name, type == "inverted" ? type : ""));
  if (name == "arpeggiate") return CodeText(NotationCodeFor(name));
  return {};
}

// The code of the element `name` when the notation codes give it one in
// `family`; "" for an element of another family or none.
std::string CodeInFamily(std::string_view name, NotationFamily family) {
  const char code = NotationCodeFor(name);
  const auto* entry = FindNotationCode(code);
  return entry && entry->family == family ? CodeText(code) : std::string();
}

std::string OrnamentCode(xml::Node ornament) {
  const std::string_view name = ornament.Name();
  // MuseData has one sign for the shake and the inverted mordent.
  if (name == "shake") return CodeText(NotationCodeFor("inverted-mordent"));
  if (name == "wavy-line")
    return CodeText(
        NotationCodeFor(name, ornament.Attr("type") == "continue" ? "continue" : "start"));
  if (name == "accidental-mark") {
    std::string letters(AccidentalMarkLettersFor(ornament.Text()));
    if (!letters.empty() && ornament.Attr("placement") == "below") letters += 'u';
    return letters;
  }
  return CodeInFamily(name, NotationFamily::Ornament);
}

std::string TechnicalCode(xml::Node technical) {
  const std::string_view name = technical.Name();
  if (name == "fingering")
    return (technical.Attr("substitution") == "yes" ? ":" : "") + technical.Text();
  return CodeInFamily(name, NotationFamily::Technical);
}

std::string ArticulationCode(xml::Node articulation) {
  const std::string_view name = articulation.Name();
  if (name == "strong-accent")
    return CodeText(NotationCodeFor(name, articulation.Attr("type") == "up" ? "up" : "down"));
  return CodeInFamily(name, NotationFamily::Articulation);
}

// A run of dynamic letters: "ff", "Zp" for sfp.
std::string DynamicsCode(xml::Node dynamics) {
  std::string code;
  for (const xml::Node mark : dynamics.Children()) code += DynamicTextFor(mark.Name());
  return code;
}

// The playback and print codes of one ornament's attributes. Playback goes to
// the sound suggestion, the drawing to the print suggestion.
struct OrnamentCodes {
  std::string sound;
  std::string print;
};

OrnamentCodes OrnamentAttributeCodes(xml::Node ornament) {
  OrnamentCodes codes;
  for (const xml::Node::Attribute& attribute : ornament.Attributes()) {
    const std::string_view name = attribute.name;
    const std::string_view value = attribute.value;
    if (name == "start-note") {
      codes.sound += value == "main" ? "m" : "u";
    } else if (name == "trill-step") {
      codes.sound += value == "half" ? "h" : value == "unison" ? "j" : "w";
    } else if (name == "two-note-turn") {
      codes.sound += value == "whole" ? "e" : value == "half" ? "f" : "";
    } else if (name == "accelerate") {
      codes.sound += value == "yes" ? "a" : "";
    } else if (name == "beats") {
      codes.sound += "n" + attribute.value;
    } else if (name == "second-beat") {
      codes.sound += "s" + attribute.value;
    } else if (name == "last-beat") {
      codes.sound += "t" + attribute.value;
    } else if (name == "placement") {
      codes.print += value == "above" ? "a" : "b";
    } else {
      codes.print += PositionCode(name, value, TextualRelativeY::Capital);
    }
  }
  return codes;
}

}  // namespace

// Builds the field left to right. Each element whose code was written gets
// its position codes for the column where its code stands; an element that
// wrote nothing has no column and so no position either.
std::string MusicXML::SaveNotations(const std::vector<xml::Node>& notations, bool cautionary,
                                    bool editorial) {
  return Trap(kSaveNotations, &m_caught, [&] {
    std::string field;
    const int32_t beforeField = kNotationField.first - 1;
    // Appends a code and places the element at the column of its last character.
    const auto write = [&](xml::Node element, const std::string& code, PositionFlags flags) {
      if (code.empty()) return;
      field += code;
      SavePosition(element, beforeField + CharacterCount(field), flags.placement,
                   flags.orientation);
    };

    for (const xml::Node group : notations) {
      if (const xml::Node level = group.Child("level")) {
        const std::string digit = ConvertToDigit(level.Text());
        if (!digit.empty()) field += CodeOfFamily(NotationFamily::EditorialLevel) + digit;
      }
      for (const xml::Node child : group.Children()) {
        const std::string_view name = child.Name();
        if (name == "ornaments") {
          for (const xml::Node ornament : child.Children()) {
            const std::string code = OrnamentCode(ornament);
            if (code.empty()) continue;
            field += code;
            const int32_t column = beforeField + CharacterCount(field);
            const OrnamentCodes codes = OrnamentAttributeCodes(ornament);
            AddSuggestionGroup(m_export.soundSuggestion, 'S', column, codes.sound);
            AddSuggestionGroup(m_export.printSuggestion, 'P', column, codes.print);
          }
        } else if (name == "technical") {
          for (const xml::Node mark : child.Children())
            write(mark, TechnicalCode(mark), {true, false});
        } else if (name == "articulations") {
          for (const xml::Node mark : child.Children())
            write(mark, ArticulationCode(mark), {true, false});
        } else if (name == "dynamics") {
          // A dynamic of several letters is placed at its first letter.
          const std::string code = DynamicsCode(child);
          if (code.empty()) continue;
          const int32_t column = beforeField + CharacterCount(field) + 1;
          field += code;
          SavePosition(child, column, true, false);
        } else {
          PositionFlags flags{};
          write(child, PlainNotationCode(child, flags), flags);
        }
      }
    }
    if (cautionary) field += CodeOfFamily(NotationFamily::CautionaryAccidental);
    if (editorial) field += CodeOfFamily(NotationFamily::EditorialAccidental);

    // The field is exactly as wide as its columns; what does not fit is lost.
    const int32_t width = kNotationField.last - kNotationField.first + 1;
    const RecordView fitted(field);
    std::string result(fitted.Raw(1, width));
    result.append(static_cast<size_t>(width - CharacterCount(result)), ' ');
    return result;
  });
}

void MusicXML::SavePosition(xml::Node element, int32_t column, bool placement, bool orientation) {
  Trap(kSavePosition, &m_caught, [&] {
    const std::string_view name = element.Name();
    const bool isTieOrSlur = name == "tied" || name == "slur";
    std::string codes;
    for (const xml::Node::Attribute& attribute : element.Attributes()) {
      const std::string_view value = attribute.value;
      if (attribute.name == "placement") {
        if (!placement) continue;
        if (isTieOrSlur) codes += value == "above" ? "o" : "u";
        if (name == "tuplet") codes += value == "above" ? "a" : "b";
      } else if (attribute.name == "orientation") {
        if (orientation) codes += value == "over" ? "o" : "u";
      } else {
        codes += PositionCode(attribute.name, value);
      }
    }
    AddSuggestionGroup(m_export.printSuggestion, 'P', column, codes);
  });
}

}  // namespace musedata
