#pragma once

// The passes of the finishing step, one per fault they mend, each in its own
// unit. Every pass works on one part and returns how many changes it made.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "finish/score_walk.h"

namespace musedata::finish {

// A part that opens with its first bar line before any note starts with a
// measure "0" that holds only attributes, and a "$" record after the final
// bar line leaves an empty last measure. Such a measure hands its attributes,
// directions and bar lines to its neighbour and goes, so that measure numbers
// agree across parts.
int32_t RemoveEmptyEndMeasures(PartInScore& part, Context& context);

// MuseData's ":||:" closes one measure with a backward repeat on a
// heavy-heavy bar line; notation programs read a repeat only on the MusicXML
// idiom: light-heavy with the backward repeat, heavy-light with the forward
// repeat that opens the next measure. Mends the bar line that closes
// measure `index` of the part, and the one that opens the next.
int32_t MendDoubleRepeat(const PartInScore& part, size_t index, Context& context);

// Notes after a backup are a further layer of the measure; without a voice
// of their own (a part without track numbers, or the first layer's track)
// renderers lay the layers end to end. Each layer gets a voice distinct from
// the layers before it. Numbers the layers of one measure.
int32_t NumberVoices(xml::Node measure, Context& context);

// MuseData's ties are paired per track on one open tie, so in a chord all but
// the last tied tone stay open. Every tie start finds the note of the same
// pitch in the next chord of its voice and staff, which gets the stop; a tie
// that finds none is removed. `chords` are the part's chords by voice.
struct TieChanges {
  int32_t closed = 0;
  int32_t removed = 0;
};
TieChanges CloseTies(const PartInScore& part, const ChordsOfVoices& chords, Context& context);

// A trill's wavy line starts on a note and is continued by later notes or bar
// lines, but never stopped. It stops on the note it starts on, or on the last
// note that the data carries it to. `chords` are the part's chords by voice.
// The stops it adds are recorded in `chords`.
int32_t CloseTrillLines(const PartInScore& part, ChordsOfVoices& chords, Context& context);

// MuseData's cue notes take no time, and the converter writes them without a
// duration, which MusicXML requires of a cue note. Each gets the duration its
// type says, and the time the run of cue notes takes is given back: by the
// invisible rest (forward) that follows them in their voice, or by a backup.
// `divisions` carries the divisions in force from measure to measure.
int32_t TimeCueNotes(xml::Node measure, int32_t& divisions, Context& context);

// Tempo and other directives exist only as attributes/directive, which
// notation programs do not show; each is also written as words above the
// staff at the same place, in one measure.
int32_t AddTempoWords(xml::Node measure, Context& context);

// Values that odd input lets through and MusicXML refuses: keys written with
// their alternative, wedges without a direction, pass numbers in backups,
// time signatures without a beat type, figures with empty or MuseData signs,
// clefs without a sign, tuplet ratios of 0. Mends measure `index`; `walk`
// carries the divisions in force and the next of `tuplets` (the part's notes
// with a tuplet ratio, in document order) from one measure to the next.
struct ValueWalk {
  int32_t divisions = 0;
  size_t nextTuplet = 0;
};
int32_t MendValues(const PartInScore& part, size_t index, const std::vector<TupletNote>& tuplets,
                   ValueWalk& walk, Context& context);

// A courtesy or editorial sign on a sharp or flat note comes out of the
// notation codes as a natural; the sign must show the note's alteration.
// `chords` are the part's chords by voice.
int32_t MendCourtesyAccidentals(const ChordsOfVoices& chords, Context& context);

// Without a score-instrument notation programs make every part a piano; the
// part's name becomes the instrument's, with a General MIDI program where
// the name is a common instrument.
int32_t NameInstrument(xml::Node scorePart, Context& context);

}  // namespace musedata::finish
