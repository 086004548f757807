// Trill lines (wavy lines) that start and never stop.

#include <vector>

#include "component/error_codes.h"
#include "finish/passes.h"

namespace musedata::finish {
namespace {

// The ornaments of a note, in every notations it has.
std::vector<xml::Node> OrnamentsOf(xml::Node note) {
  std::vector<xml::Node> ornaments;
  for (xml::Node notations : note.Children("notations"))
    for (xml::Node element : notations.Children("ornaments")) ornaments.push_back(element);
  return ornaments;
}

// The note of the chord whose ornaments hold a wavy line of `type`, or empty.
xml::Node WavyLine(const Chord& chord, std::string_view type) {
  for (xml::Node note : chord.notes)
    for (xml::Node ornaments : OrnamentsOf(note))
      for (xml::Node line : ornaments.Children("wavy-line"))
        if (line.Attr("type") == type) return note;
  return {};
}

bool HasTrillMark(const Chord& chord) {
  for (xml::Node note : chord.notes)
    for (xml::Node ornaments : OrnamentsOf(note))
      if (ornaments.Child("trill-mark")) return true;
  return false;
}

// Whether a bar line closing one of the measures from `first` up to (not
// including) `last` is left without a wavy line running on across it.
bool BarlineEndsLine(const std::vector<xml::Node>& measures, size_t first, size_t last) {
  for (size_t index = first; index < last; ++index) {
    bool carried = false;
    for (xml::Node barline : measures[index].Children("barline"))
      if (barline.Attr("location") != "left" && barline.Child("wavy-line")) carried = true;
    if (!carried) return true;
  }
  return false;
}

// The chord the line that starts at `start` runs to: the start itself, or
// the last later chord that a "continue" mark or a bar line's wavy line
// carries it to, before the next trill or a bar line that ends it.
size_t LineEnd(const std::vector<Chord>& chords, size_t start,
               const std::vector<xml::Node>& measures) {
  size_t last = start;
  bool acrossBarline = false;
  for (size_t index = start + 1; index < chords.size(); ++index) {
    const Chord& chord = chords[index];
    if (chord.grace) continue;
    if (chord.measure != chords[index - 1].measure) {
      if (BarlineEndsLine(measures, chords[last].measure, chord.measure)) break;
      acrossBarline = true;
    }
    if (WavyLine(chord, "start") || HasTrillMark(chord)) break;
    if (!WavyLine(chord, "continue") && !acrossBarline) break;
    last = index;
  }
  return last;
}

bool HasStop(const std::vector<Chord>& chords, size_t first, size_t last) {
  for (size_t index = first; index <= last; ++index)
    if (WavyLine(chords[index], "stop")) return true;
  return false;
}

}  // namespace

int32_t CloseTrillLines(const PartInScore& part, const ChordsOfVoices& chordsByVoice,
                        Context& context) {
  return Trap(kCloseTrillLines, context.Caught(), [&] {
    int32_t closed = 0;
    for (const auto& [voice, chords] : chordsByVoice) {
      for (size_t index = 0; index < chords.size(); ++index) {
        if (!WavyLine(chords[index], "start")) continue;
        const size_t end = LineEnd(chords, index, part.measures);
        if (HasStop(chords, index, end)) continue;
        // Each tone of a chord may carry a line of its own.
        for (xml::Node starting : chords[index].notes) {
          if (!WavyLine(Chord{{starting}, {}}, "start")) continue;
          xml::Node note = end == index ? starting : WavyLine(chords[end], "continue");
          if (!note) note = chords[end].notes.front();
          const xml::Node ornaments = ChildOrNew(NotationsOf(note), "ornaments", {});
          ornaments.AppendElement("wavy-line").SetAttr("type", "stop");
          ++closed;
        }
      }
    }
    return closed;
  });
}

}  // namespace musedata::finish
