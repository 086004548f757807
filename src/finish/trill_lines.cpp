// Trill lines (wavy lines) that start and never stop.

#include <algorithm>
#include <vector>

#include "component/error_codes.h"
#include "finish/passes.h"

namespace musedata::finish {
namespace {

// The tone of the chord whose ornaments hold a wavy line of `type`; the
// chord's size when none does.
size_t WavyLineTone(const Chord& chord, std::string_view type) {
  for (size_t tone = 0; tone < chord.parts.size(); ++tone)
    for (xml::Node ornaments : chord.parts[tone].ornaments)
      for (xml::Node line : ornaments.Children("wavy-line"))
        if (line.Attr("type") == type) return tone;
  return chord.parts.size();
}

bool HasWavyLine(const Chord& chord, std::string_view type) {
  return WavyLineTone(chord, type) < chord.parts.size();
}

bool HasTrillMark(const Chord& chord) {
  for (const NoteParts& parts : chord.parts)
    for (xml::Node ornaments : parts.ornaments)
      if (ornaments.Child("trill-mark")) return true;
  return false;
}

bool StartsLine(const NoteParts& parts) {
  for (xml::Node ornaments : parts.ornaments)
    for (xml::Node line : ornaments.Children("wavy-line"))
      if (line.Attr("type") == "start") return true;
  return false;
}

// Stops the line on the chord's tone `tone`, keeping its ornaments known to
// the passes that look for stops later.
void StopLine(Chord& chord, size_t tone) {
  const xml::Node ornaments = ChildOrNew(NotationsOf(chord.notes[tone]), "ornaments", {});
  ornaments.AppendElement("wavy-line").SetAttr("type", "stop");
  std::vector<xml::Node>& known = chord.parts[tone].ornaments;
  if (std::find(known.begin(), known.end(), ornaments) == known.end()) known.push_back(ornaments);
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
    if (HasWavyLine(chord, "start") || HasTrillMark(chord)) break;
    if (!HasWavyLine(chord, "continue") && !acrossBarline) break;
    last = index;
  }
  return last;
}

bool HasStop(const std::vector<Chord>& chords, size_t first, size_t last) {
  for (size_t index = first; index <= last; ++index)
    if (HasWavyLine(chords[index], "stop")) return true;
  return false;
}

}  // namespace

int32_t CloseTrillLines(const PartInScore& part, ChordsOfVoices& chordsByVoice, Context& context) {
  return Trap(kCloseTrillLines, context.Caught(), [&] {
    int32_t closed = 0;
    for (auto& [voice, chords] : chordsByVoice) {
      for (size_t index = 0; index < chords.size(); ++index) {
        if (!HasWavyLine(chords[index], "start")) continue;
        const size_t end = LineEnd(chords, index, part.measures);
        if (HasStop(chords, index, end)) continue;
        // Each tone of a chord may carry a line of its own.
        for (size_t starting = 0; starting < chords[index].notes.size(); ++starting) {
          if (!StartsLine(chords[index].parts[starting])) continue;
          if (end == index) {
            StopLine(chords[index], starting);
          } else {
            const size_t continued = WavyLineTone(chords[end], "continue");
            StopLine(chords[end], continued < chords[end].notes.size() ? continued : 0);
          }
          ++closed;
        }
      }
    }
    return closed;
  });
}

}  // namespace musedata::finish
