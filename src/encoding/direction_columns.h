#pragma once

// Where the fields of direction records ("*") and figured-bass records ("f")
// stand. Both record kinds put their codes from column 17 on and share the
// duration-or-offset, footnote and level columns with the note records.

#include "encoding/record_view.h"

namespace musedata {

// Direction records.
inline constexpr Span kDirectionOffset{6, 8};  // offset from the note, in divisions
inline constexpr int32_t kDirectionFootnote = 13;
inline constexpr int32_t kDirectionLevel = 14;
inline constexpr int32_t kDirectionVoice = 15;
// Two direction types may share one record, e.g. a wedge ending under a dynamic.
inline constexpr int32_t kDirectionFirstType = 17;
inline constexpr int32_t kDirectionSecondType = 18;
inline constexpr int32_t kDirectionPlacement = 19;  // "+" puts the direction above the staff
// Wedge spread, octave-shift size, or the font number of the direction's text.
inline constexpr Span kDirectionParameter{21, 23};
inline constexpr int32_t kDirectionStaff = 24;
inline constexpr int32_t kDirectionText = 25;  // free text to the end of the record

// Figured-bass records.
inline constexpr Span kFiguredBassDuration{6, 8};
inline constexpr int32_t kFiguredBassFootnote = 13;
inline constexpr int32_t kFiguredBassLevel = 14;
inline constexpr int32_t kFiguredBassFigures = 17;  // blank-separated figures to the end

}  // namespace musedata
