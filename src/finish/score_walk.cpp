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

bool IsGrace(xml::Node note) {
  return static_cast<bool>(note.Child("grace"));
}

std::string StaffOf(xml::Node element) {
  std::string staff = element.Child("staff").Text();
  return staff.empty() ? "1" : staff;
}

int32_t WholeNumber(std::string_view text, int32_t fallback) {
  return WholeNumber32(text).value_or(fallback);
}

std::string PitchOf(xml::Node note) {
  const xml::Node pitch = note.Child("pitch");
  if (!pitch) return {};
  return pitch.Child("step").Text() + " " +
         std::to_string(WholeNumber(pitch.Child("alter").Text(), 0)) + " " +
         pitch.Child("octave").Text();
}

std::string PitchName(xml::Node note) {
  const xml::Node pitch = note.Child("pitch");
  if (!pitch) return "rest";
  static constexpr const char* kSigns[] = {"bb", "b", "", "#", "##"};
  const int32_t alter = WholeNumber(pitch.Child("alter").Text(), 0);
  const char* sign = alter >= -2 && alter <= 2 ? kSigns[alter + 2] : "";
  return pitch.Child("step").Text() + sign + pitch.Child("octave").Text();
}

std::map<std::string, std::vector<Chord>> ChordsByVoice(const std::vector<xml::Node>& measures) {
  std::map<std::string, std::vector<Chord>> chords;
  for (size_t index = 0; index < measures.size(); ++index) {
    std::vector<Chord>* open = nullptr;
    for (xml::Node note : measures[index].Children("note")) {
      // A chord tone joins the chord before it, whatever voice it names.
      if (IsChordTone(note) && open && !open->empty()) {
        open->back().notes.push_back(note);
        continue;
      }
      open = &chords[note.Child("voice").Text() + "/" + StaffOf(note)];
      open->push_back(Chord{{note}, index, IsGrace(note)});
    }
  }
  return chords;
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
