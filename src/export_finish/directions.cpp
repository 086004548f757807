// Directions and sounds as MuseData's records hold them. A direction record
// knows words, dynamics, wedges, dashes, pedal marks and octave shifts; any
// other type would be written with a code the import refuses, or none.

#include <string>
#include <vector>

#include "component/error_codes.h"
#include "export_finish/passes.h"

namespace musedata::export_finish {
namespace {

constexpr std::string_view kTypesWithCodes[] = {"words",  "wedge", "dynamics",
                                                "dashes", "pedal", "octave-shift"};

// A wedge, dashes, pedal mark or octave shift that goes on: MuseData has no
// record for it (the line lasts until its stop anyway), and its start letter
// would start the line again.
bool GoesOn(xml::Node mark) {
  const std::string_view name = mark.Name();
  return mark.Attr("type") == "continue" &&
         (name == "wedge" || name == "dashes" || name == "pedal" || name == "octave-shift");
}

bool HasCode(xml::Node mark) {
  const std::string_view name = mark.Name();
  if (GoesOn(mark)) return false;
  for (const std::string_view known : kTypesWithCodes)
    if (name == known) return true;
  return false;
}

// The letter MuseData's note records give a note value, as musicians write
// tempo marks with them ("q = 120").
std::string_view NoteLetter(std::string_view unit) {
  struct Unit {
    std::string_view name;
    std::string_view letter;
  };
  static constexpr Unit kUnits[] = {{"long", "L"},  {"breve", "b"},   {"whole", "w"},
                                    {"half", "h"},  {"quarter", "q"}, {"eighth", "e"},
                                    {"16th", "s"},  {"32nd", "t"},    {"64th", "x"},
                                    {"128th", "y"}, {"256th", "z"}};
  for (const Unit& entry : kUnits)
    if (entry.name == unit) return entry.letter;
  return "";
}

std::string Trimmed(std::string text) {
  const size_t first = text.find_first_not_of(" \t\r\n");
  if (first == std::string::npos) return {};
  const size_t last = text.find_last_not_of(" \t\r\n");
  return text.substr(first, last - first + 1);
}

// A metronome mark as text: "q = 120", "q. = 60", "h = q" (a metric
// modulation), in parentheses when it is printed so.
std::string MetronomeText(xml::Node metronome) {
  std::vector<std::string> units;
  std::string perMinute;
  for (const xml::Node child : metronome.Children()) {
    const std::string_view name = child.Name();
    if (name == "beat-unit") {
      units.emplace_back(NoteLetter(Trimmed(child.Text())));
    } else if (name == "beat-unit-dot" && !units.empty()) {
      units.back() += '.';
    } else if (name == "per-minute") {
      perMinute = Trimmed(child.Text());
    }
  }
  std::string text;
  if (units.size() == 1 && !units[0].empty() && !perMinute.empty()) {
    text = units[0] + " = " + perMinute;
  } else if (units.size() == 2 && !units[0].empty() && !units[1].empty()) {
    text = units[0] + " = " + units[1];
  } else if (!perMinute.empty()) {
    text = "M.M. " + perMinute;
  }
  if (!text.empty() && metronome.Attr("parentheses") == "yes") text = "(" + text + ")";
  return text;
}

// The text that stands for a direction type without a MuseData code; empty
// when it has none.
std::string TextFor(xml::Node type) {
  const std::string_view name = type.Name();
  if (name == "metronome") return MetronomeText(type);
  if (name == "segno") return "Segno";
  if (name == "coda") return "Coda";
  if (name == "rehearsal" || name == "other-direction") return Trimmed(type.Text());
  return {};
}

// A record holds two types, and takes a dynamic mark that follows its words
// for its whole text; a direction of more types, or of words then dynamics,
// goes into as many directions as keep every type and text. Returns how
// many directions were added.
int32_t SplitDirection(xml::Node measure, xml::Node direction) {
  std::vector<std::vector<xml::Node>> groups;
  bool words = false;
  for (const xml::Node type : direction.Children("direction-type")) {
    const std::string_view name = type.FirstElement().Name();
    if (groups.empty() || groups.back().size() == 2 || (name == "dynamics" && words)) {
      groups.emplace_back();
      words = false;
    }
    groups.back().push_back(type);
    words = words || name == "words";
  }
  xml::Node previous = direction;
  for (size_t group = 1; group < groups.size(); ++group) {
    const xml::Node copy = measure.InsertElementBefore("direction", previous.NextElement());
    for (const xml::Node::Attribute& attribute : direction.Attributes())
      copy.SetAttr(std::string(attribute.name).c_str(), attribute.value);
    for (const xml::Node type : groups[group]) copy.AppendChild(type);
    for (const char* name : {"offset", "footnote", "level", "voice", "staff"})
      if (const xml::Node child = direction.Child(name)) copy.AppendElement(name, child.Text());
    previous = copy;
  }
  return groups.empty() ? 0 : static_cast<int32_t>(groups.size() - 1);
}

// The attributes of a mark that the words keep: the font, which becomes the
// record's font number.
constexpr const char* kFontAttributes[] = {"font-family", "font-style", "font-size", "font-weight"};

// The record's text joins the texts of its marks as they stand: words that
// follow another mark start with a blank, so that "Allegro" and "h = 72"
// do not run together.
void SpaceTheWords(xml::Node direction) {
  bool text = false;
  for (const xml::Node type : direction.Children("direction-type")) {
    for (const xml::Node mark : type.Children()) {
      const std::string_view name = mark.Name();
      if (name != "words" && name != "rehearsal" && name != "dynamics") continue;
      if (name == "words" && text) {
        const std::string words = mark.Text();
        if (!words.empty() && words.front() != ' ') {
          while (const xml::Node child = mark.FirstChild()) child.Remove();
          mark.AppendText(" " + words);
        }
      }
      text = true;
    }
  }
}

}  // namespace

DirectionChanges WriteDirectionsAsWords(const PartInScore& part, xml::Node measure,
                                        Context& context) {
  return Trap(kWriteDirectionsAsWords, context.Caught(), [&] {
    DirectionChanges changes;
    std::vector<xml::Node> directions;
    for (const xml::Node direction : measure.Children("direction")) directions.push_back(direction);
    for (const xml::Node direction : directions) {
      std::vector<xml::Node> types;
      for (const xml::Node type : direction.Children("direction-type")) types.push_back(type);
      for (const xml::Node type : types) {
        const xml::Node first = type.FirstElement();
        if (first && HasCode(first)) continue;
        std::string text;
        for (const xml::Node mark : type.Children()) {
          const std::string piece = TextFor(mark);
          if (piece.empty()) continue;
          if (!text.empty()) text += ' ';
          text += piece;
        }
        if (text.empty() && first && GoesOn(first)) {
          type.Remove();
          ++changes.dropped;
          continue;
        }
        if (text.empty()) {
          context.Warn(part, measure,
                       "a direction (" + std::string(first ? first.Name() : "empty") +
                           ") has no MuseData record and no text; left out");
          type.Remove();
          ++changes.dropped;
          continue;
        }
        const xml::Node words = type.PrependElement("words");
        for (const char* attribute : kFontAttributes)
          if (first.HasAttr(attribute)) words.SetAttr(attribute, first.Attr(attribute));
        words.AppendText(text);
        while (const xml::Node other = words.NextElement()) other.Remove();
        ++changes.asWords;
      }
      if (!direction.Child("direction-type")) {
        direction.Remove();
        continue;
      }
      // The record holds no sound; the measure's sound record does.
      if (const xml::Node sound = direction.Child("sound"))
        measure.InsertBefore(sound, direction.NextElement());
      changes.split += SplitDirection(measure, direction);
      for (xml::Node record = direction; record && record.Name() == "direction";
           record = record.Next())
        SpaceTheWords(record);
    }
    return changes;
  });
}

int32_t MendSounds(xml::Node measure) {
  int32_t mended = 0;
  for (const xml::Node sound : measure.Children("sound")) {
    bool changed = false;
    for (const xml::Node::Attribute& attribute : sound.Attributes()) {
      const std::string_view name = attribute.name;
      const bool coded = name == "tempo" || name == "dynamics" || name == "segno" ||
                         name == "fine" || name == "pizzicato" || name == "forward-repeat" ||
                         (name == "dacapo" && attribute.value == "yes");
      if (coded) continue;
      sound.RemoveAttr(std::string(name).c_str());
      changed = true;
    }
    if (changed) ++mended;
  }
  return mended;
}

}  // namespace musedata::export_finish
