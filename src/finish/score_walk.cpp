#include "finish/score_walk.h"

#include <algorithm>

#include "encoding/numbers.h"

namespace musedata::finish {

void Context::Warn(const PartInScore& part, xml::Node measure, const std::string& text) const {
  if (!m_warning) return;
  m_warning(part.label + ", measure " + std::string(measure.Attr("number")) + ": " + text);
}

std::vector<xml::Node> MeasuresOf(xml::Node part) {
  std::vector<xml::Node> measures;
  for (xml::Node measure : part.Children("measure")) measures.push_back(measure);
  return measures;
}

bool IsChordTone(xml::Node note) {
  return static_cast<bool>(note.Child("chord"));
}

int32_t WholeNumber(std::string_view text, int32_t fallback) {
  return WholeNumber32(text).value_or(fallback);
}

std::string PitchText(xml::Node pitch) {
  if (!pitch) return {};
  xml::Node step;
  xml::Node alter;
  xml::Node octave;
  for (xml::Node child : pitch.Children()) {
    const std::string_view name = child.Name();
    if (name == "step" && !step) step = child;
    if (name == "alter" && !alter) alter = child;
    if (name == "octave" && !octave) octave = child;
  }
  std::string text = step.Text();
  text += ' ';
  text += std::to_string(WholeNumber(alter.Text(), 0));
  text += ' ';
  text += octave.Text();
  return text;
}

std::string PitchName(xml::Node note) {
  const xml::Node pitch = note.Child("pitch");
  if (!pitch) return "rest";
  static constexpr const char* kSigns[] = {"bb", "b", "", "#", "##"};
  const int32_t alter = WholeNumber(pitch.Child("alter").Text(), 0);
  const char* sign = alter >= -2 && alter <= 2 ? kSigns[alter + 2] : "";
  return pitch.Child("step").Text() + sign + pitch.Child("octave").Text();
}

namespace {

// What places a note among the chords of its voice, and the parts later
// passes read, in one walk over its children.
struct ChordPlace {
  bool chordTone = false;
  bool grace = false;
  std::string voice;
  std::string staff;
  NoteParts parts;
  xml::Node tupletRatio;
};

ChordPlace PlaceOf(xml::Node note) {
  ChordPlace place;
  xml::Node voice;
  xml::Node staff;
  for (xml::Node child : note.Children()) {
    const std::string_view name = child.Name();
    if (name == "chord") {
      place.chordTone = true;
    } else if (name == "grace") {
      place.grace = true;
    } else if (name == "pitch") {
      if (!place.parts.pitch) place.parts.pitch = child;
    } else if (name == "voice") {
      if (!voice) voice = child;
    } else if (name == "staff") {
      if (!staff) staff = child;
    } else if (name == "accidental") {
      if (!place.parts.accidental) place.parts.accidental = child;
    } else if (name == "time-modification") {
      if (!place.tupletRatio) place.tupletRatio = child;
    } else if (name == "tie") {
      place.parts.tieMarks.push_back(child);
    } else if (name == "notations") {
      for (xml::Node notation : child.Children()) {
        const std::string_view notationName = notation.Name();
        if (notationName == "tied") place.parts.tieMarks.push_back(notation);
        if (notationName == "ornaments") place.parts.ornaments.push_back(notation);
      }
    }
  }
  place.voice = voice.Text();
  place.staff = staff.Text();
  if (place.staff.empty()) place.staff = "1";
  return place;
}

}  // namespace

void ReadChords(const std::vector<xml::Node>& measures, size_t index, ChordsOfVoices& chords,
                std::vector<TupletNote>& tuplets) {
  std::vector<Chord>* open = nullptr;
  for (xml::Node note : measures[index].Children("note")) {
    ChordPlace place = PlaceOf(note);
    if (place.tupletRatio) tuplets.push_back({note, place.tupletRatio});
    // A chord tone joins the chord before it, whatever voice it names.
    if (place.chordTone && open && !open->empty()) {
      open->back().notes.push_back(note);
      open->back().parts.push_back(std::move(place.parts));
      continue;
    }
    std::string key = std::move(place.voice);
    key += '/';
    key += place.staff;
    open = &chords[std::move(key)];
    Chord& chord = open->emplace_back();
    chord.notes.push_back(note);
    chord.parts.push_back(std::move(place.parts));
    chord.measure = index;
    chord.grace = place.grace;
  }
}

// The duration, in divisions, of a note of the type and dots of `note`.
int64_t DurationOfType(xml::Node note, int32_t divisions) {
  struct Value {
    std::string_view type;
    int64_t sixtyFourths;  // of a whole note, times 4 for the shortest values
  };
  static constexpr Value kValues[] = {{"long", 4096}, {"breve", 2048},  {"whole", 1024},
                                      {"half", 512},  {"quarter", 256}, {"eighth", 128},
                                      {"16th", 64},   {"32nd", 32},     {"64th", 16},
                                      {"128th", 8},   {"256th", 4}};
  const std::string type = note.Child("type").Text();
  int64_t length = 0;
  for (const Value& value : kValues)
    if (value.type == type) length = value.sixtyFourths;
  if (length == 0) length = 256;
  int64_t total = length;
  for (int32_t dots = note.CountChildren("dot"); dots > 0; --dots) {
    length /= 2;
    total += length;
  }
  int64_t actual = 1;
  int64_t normal = 1;
  if (const xml::Node ratio = note.Child("time-modification")) {
    actual = WholeNumber(ratio.Child("actual-notes").Text(), 0);
    normal = WholeNumber(ratio.Child("normal-notes").Text(), 0);
    if (actual < 1 || normal < 1) actual = normal = 1;
  }
  // A quarter is `divisions`, and 256 of the units above.
  const int64_t scaled = total * divisions * normal;
  const int64_t per = 256 * actual;
  return (scaled + per / 2) / per;
}

std::vector<PartInScore> PartsOf(xml::Node root) {
  std::map<std::string, xml::Node, std::less<>> scoreParts;
  for (xml::Node scorePart : root.Child("part-list").Children("score-part"))
    scoreParts.emplace(std::string(scorePart.Attr("id")), scorePart);
  std::vector<PartInScore> parts;
  for (xml::Node part : root.Children("part")) {
    PartInScore entry;
    entry.part = part;
    const auto found = scoreParts.find(part.Attr("id"));
    if (found != scoreParts.end()) entry.scorePart = found->second;
    entry.label = "part " + std::to_string(parts.size() + 1);
    const std::string name = entry.scorePart.Child("part-name").Text();
    if (!name.empty()) entry.label += " (" + name + ")";
    entry.measures = MeasuresOf(part);
    parts.push_back(std::move(entry));
  }
  return parts;
}

xml::Node InsertBeforeFirstOf(xml::Node parent, const char* name,
                              std::span<const std::string_view> later) {
  for (xml::Node child : parent.Children()) {
    if (std::find(later.begin(), later.end(), child.Name()) != later.end())
      return parent.InsertElementBefore(name, child);
  }
  return parent.AppendElement(name);
}

xml::Node ChildOrNew(xml::Node parent, const char* name, std::span<const std::string_view> later) {
  const xml::Node child = parent.Child(name);
  return child ? child : InsertBeforeFirstOf(parent, name, later);
}

xml::Node NotationsOf(xml::Node note) {
  return ChildOrNew(note, "notations", {"lyric"});
}

}  // namespace musedata::finish
