#pragma once

// Where the notation codes of a note, cue or grace record stand. Columns count
// from 1, as the format does.

#include <cstdint>

#include "encoding/columns.h"

namespace musedata {

// Twelve columns of one-character codes between the beams and the lyrics.
// Some codes take the columns after them as their argument (a substituted
// finger, an editorial level's digit, an ornament's accidental); such an
// argument never reaches past the last column into the lyrics.
inline constexpr Span kNotationField = kNoteNotations;

// How far after its code a code's argument stands: the finger of a
// substitution, the digit code of an editorial level, the first letter of an
// ornament's accidental.
inline constexpr int32_t kCodeArgument = 1;

}  // namespace musedata
