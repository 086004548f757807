#pragma once

// What every finishing pass needs: the part it works on, warnings that name
// part and measure, and the musical reading of notes (voice, staff, pitch,
// chords) over a part's measures.

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "component/trap.h"
#include "xml/node.h"

namespace musedata::finish {

// One part of the score: its element, its measures in order, and how
// warnings name it.
struct PartInScore {
  xml::Node part;
  xml::Node scorePart;
  std::string label;  // "part 2 (Violino)"
  std::vector<xml::Node> measures;
};

// The warning channel and the error trap's record, shared by every pass.
class Context {
 public:
  explicit Context(std::function<void(const std::string&)> warning)
      : m_warning(std::move(warning)) {}
  // Passes `text` on as "part 2 (Violino), measure 12: text".
  void Warn(const PartInScore& part, xml::Node measure, const std::string& text) const;
  CaughtError* Caught() { return &m_caught; }

 private:
  std::function<void(const std::string&)> m_warning;
  CaughtError m_caught;
};

// Every part of the score, with its score-part (null when the part-list has
// none for it) and its measures; labelled "part N (name)".
std::vector<PartInScore> PartsOf(xml::Node root);

// The part's measures, read again after a pass removed some.
std::vector<xml::Node> MeasuresOf(xml::Node part);

// The children MusicXML puts after a note's duration: where a duration, and
// before it a tie, is inserted.
inline constexpr std::string_view kAfterNoteDuration[] = {
    "tie",   "instrument", "footnote",          "level", "voice",    "type",
    "dot",   "accidental", "time-modification", "stem",  "notehead", "notehead-text",
    "staff", "beam",       "notations",         "lyric", "play",     "listen"};

bool IsChordTone(xml::Node note);
// The duration, in divisions of which a quarter has `divisions`, of a note
// of the type, dots and tuplet ratio of `note` (a quarter when it has no type).
int64_t DurationOfType(xml::Node note, int32_t divisions);
// The whole number in `text`, or `fallback` when it is not one.
int32_t WholeNumber(std::string_view text, int32_t fallback);
// The sounding pitch of a note's `pitch` as "step alter octave" ("F 1 4");
// "" for an empty node (a rest).
std::string PitchText(xml::Node pitch);
// A note's pitch as a musician writes it ("F#4", "Bb3"), "rest" for a rest.
std::string PitchName(xml::Node note);

// What the passes after the voices read of one note, gathered while the
// chords are read: a large score does not fit in the cache, and each walk
// over a note's children costs about as much as all the rest of a pass.
// Later passes keep these true: ties remove only the marks of notes they have
// already passed, and trill lines record the ornaments they add.
struct NoteParts {
  xml::Node pitch;
  xml::Node accidental;
  // The note's `tie` children and the `tied` of its notations, in document order.
  std::vector<xml::Node> tieMarks;
  // The `ornaments` of its notations, in document order.
  std::vector<xml::Node> ornaments;
};

// A note and the chord tones that sound with it.
struct Chord {
  std::vector<xml::Node> notes;
  std::vector<NoteParts> parts;  // one for each of `notes`
  size_t measure = 0;            // index into the part's measures
  // Grace notes take no time: they stand between the chords of their voice.
  bool grace = false;
};
// The chords of every voice and staff of the part ("voice/staff" as key), in
// time order across the measures.
using ChordsOfVoices = std::map<std::string, std::vector<Chord>>;
// A note with a tuplet ratio (its first `time-modification`).
struct TupletNote {
  xml::Node note;
  xml::Node ratio;
};
// Adds the chords of measure `index` of `measures` to `chords`; `tuplets`
// receives its notes with a tuplet ratio, in document order.
void ReadChords(const std::vector<xml::Node>& measures, size_t index, ChordsOfVoices& chords,
                std::vector<TupletNote>& tuplets);

// Makes a new element `name` in `parent`, before the first child whose name is
// in `later` (the elements MusicXML orders after it), or at the end.
xml::Node InsertBeforeFirstOf(xml::Node parent, const char* name,
                              std::span<const std::string_view> later);
inline xml::Node InsertBeforeFirstOf(xml::Node parent, const char* name,
                                     std::initializer_list<std::string_view> later) {
  return InsertBeforeFirstOf(parent, name, std::span(later.begin(), later.size()));
}
// The first child of `parent` called `name`, made where `later` says when there is none.
xml::Node ChildOrNew(xml::Node parent, const char* name, std::span<const std::string_view> later);
inline xml::Node ChildOrNew(xml::Node parent, const char* name,
                            std::initializer_list<std::string_view> later) {
  return ChildOrNew(parent, name, std::span(later.begin(), later.size()));
}
// The note's first `notations`, made before its lyrics when it has none.
xml::Node NotationsOf(xml::Node note);
// The child of `notations` that the notation codes put first after the
// editorial footnote and level.
inline constexpr std::string_view kNotationsContent[] = {
    "tied",       "slur",           "tuplet",          "glissando",     "slide",
    "ornaments",  "technical",      "articulations",   "dynamics",      "fermata",
    "arpeggiate", "non-arpeggiate", "accidental-mark", "other-notation"};

}  // namespace musedata::finish
