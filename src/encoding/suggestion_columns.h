#pragma once

// The columns that the fields of print and sound suggestion records ("C26:a")
// name: columns of the record before the suggestion, or, for the first few,
// the element that record made as a whole. The direction and notation columns
// that suggestions name are those of direction_columns.h and notation_columns.h.

#include <cstdint>

#include "encoding/columns.h"

namespace musedata {

// "C0:": no column in particular; a sound for the measure.
inline constexpr int32_t kSuggestionGeneral = 0;
// "C1:": the note, rest or figured bass as a whole; for sound, a grace note's timing.
inline constexpr int32_t kSuggestionWhole = 1;
// "C2:" (sound): pizzicato, for the measure or for the note before.
inline constexpr int32_t kSuggestionPizzicato = 2;
// "C8:" (sound): where the music ends at a "fine".
inline constexpr int32_t kSuggestionFine = 8;
// Beam repeaters: on every beam level when named by the first beam column,
// from level 2 on when named by the second.
inline constexpr int32_t kSuggestionAllBeams = kNoteBeams.first;
inline constexpr int32_t kSuggestionUpperBeams = kNoteBeams.first + 1;

}  // namespace musedata
