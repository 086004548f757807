#pragma once

// Where each field of a MuseData record stands. Columns count from 1, as the
// format does; the import reads and the export writes the same positions.

#include <cstdint>

#include "encoding/record_view.h"

namespace musedata {

// The same columns moved `offset` to the right, as a chord tone moves its pitch field.
constexpr Span Shifted(Span span, int32_t offset) noexcept {
  return {span.first + offset, span.last + offset};
}

// ---- Note, rest and chord-tone records ----
// Column 1 holds the pitch letter, "r" for a rest, or a blank for a chord tone
// (whose pitch field then moves one column to the right).
inline constexpr int32_t kNoteKind = 1;
inline constexpr Span kNotePitch{1, 4};     // step, optional "#", "##", "f", "ff", octave
inline constexpr Span kNoteDuration{6, 8};  // in divisions; blank repeats the last one
inline constexpr int32_t kNoteTie = 9;      // "-": a sounding tie starts here

// ---- Cue and grace records ----
// Column 1 is "c" or "g"; a blank in column 2 makes the note a chord tone.
inline constexpr int32_t kCueGraceKind = 1;
inline constexpr Span kCueGracePitch{2, 5};
inline constexpr int32_t kGraceType = 8;  // the grace note's printed value and slash

// ---- The data fields that note, cue and grace records share ----
inline constexpr int32_t kNoteFootnote = 13;
inline constexpr int32_t kNoteLevel = 14;
inline constexpr int32_t kNoteTrack = 15;
inline constexpr int32_t kNoteType = 17;
inline constexpr int32_t kNoteDots = 18;
inline constexpr int32_t kNoteAccidental = 19;
// A tuplet: actual notes in the first column, normal notes in the last.
inline constexpr Span kNoteTimeModification{20, 22};
inline constexpr int32_t kNoteStem = 23;
inline constexpr int32_t kNoteStaff = 24;
// One column per beam level, level 1 in the first.
inline constexpr Span kNoteBeams{26, 31};
inline constexpr Span kNoteNotations{32, 43};
// The lyrics run from here to the end of the record, verses separated by "|".
inline constexpr int32_t kNoteLyrics = 44;

}  // namespace musedata
