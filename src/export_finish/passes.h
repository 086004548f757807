#pragma once

// The passes of the finishing step for MuseData, one per family of what the
// export would otherwise write wrong, each in its own unit. They work on the
// tool's own copy of a score, part by part, and return how many changes they
// made.

#include <cstdint>
#include <string_view>
#include <vector>

#include "finish/score_walk.h"

namespace musedata::export_finish {

using finish::Context;
using finish::PartInScore;

// A part without its score-part has no header to write; it gets one, named
// "Part N", at the end of the part-list.
int32_t AddMissingScoreParts(xml::Node root, std::vector<PartInScore>& parts, Context& context);

// MuseData's track column takes a voice number; a voice that is no number
// ("X", "0") gets the next number free in its part.
int32_t RenumberVoices(const PartInScore& part, Context& context);

// A bar record's number is MuseData's measure number; numbers that are not
// one ("X3", which our import gives a bar line without a number, "12a", an
// empty number) are left out of the bar record.
int32_t DropMeasureNumbers(const PartInScore& part);

// Attribute values MuseData cannot hold (a time without metre, a key without
// fifths, a transposition without its chromatic step, a clef MuseData has no
// code for) are mended or left out, and an `attributes` left with nothing that
// MuseData writes goes, so that no bare "$" record is written.
struct AttributeChanges {
  int32_t mended = 0;
  int32_t removed = 0;
};
AttributeChanges MendAttributes(const PartInScore& part, xml::Node measure, Context& context);

// The first "$" record of a part states its key, divisions, time and clef;
// MuseData readers need them all. Missing ones are added to the opening
// attributes: key and clef as MusicXML reads their absence (no accidentals,
// a treble clef), divisions from the part, the time from the length of the
// first full measure (with a warning, as it is a guess).
int32_t CompleteOpeningAttributes(const PartInScore& part, Context& context);

// A part closes with a bar record; a last measure without a bar line of its
// own gets a regular one, which is what its page shows.
int32_t CloseLastMeasure(const PartInScore& part);

// Directions whose type MuseData has no code for are written as words: a
// metronome mark as "q = 120", a rehearsal mark as its text, a segno and a
// coda as "Segno" and "Coda", other directions as their text. Types that
// have no text either are left out with a warning.
struct DirectionChanges {
  int32_t asWords = 0;
  int32_t dropped = 0;
  int32_t split = 0;  // directions of more types than one record holds, made two
};
DirectionChanges WriteDirectionsAsWords(const PartInScore& part, xml::Node measure,
                                        Context& context);

// A measure's `sound` keeps only the attributes that MuseData's sound record
// has a code for, so that no sound record is written without one.
int32_t MendSounds(xml::Node measure);

// What the note writer would lose: a cue note that takes time (it has no
// duration field in MuseData) is followed by an invisible rest of its
// duration; an unpitched note is written at its display step and octave; a
// note without a duration gets the one its type says; an invisible rest is
// written as `irest`; computed layout positions, and the slur sides drawn
// with them, are left out unless kept.
struct NoteChanges {
  int32_t cueTime = 0;
  int32_t unpitched = 0;
  int32_t durations = 0;
  int32_t positions = 0;
  int32_t hiddenRests = 0;
};
// What the note pass carries from one measure to the next.
struct NoteWalk {
  int32_t divisions = 0;
  // The clef of each staff, as (sign, line, octave change); staff 1 at index 0.
  struct Clef {
    char sign = 'G';
    int32_t line = 2;
    int32_t octaveChange = 0;
  };
  std::vector<Clef> clefs;
};
NoteChanges MendNotes(const PartInScore& part, xml::Node measure, bool keepPositions,
                      NoteWalk& walk, Context& context);

// Divides the part's divisions and the durations of its measures by their
// greatest common divisor when one of them does not fit three columns;
// offsets are divided too, rounded, but never decide the divisor. True when
// the part changed.
bool ReduceDivisions(xml::Node part);

// Whether `text` is a whole number, and which.
bool ReadWholeNumber(std::string_view text, int64_t& number);

}  // namespace musedata::export_finish
