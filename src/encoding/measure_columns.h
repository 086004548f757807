#pragma once

// Where the fields of the bar, "back" and "irest" records stand, and where the
// codes of an attributes record begin. Columns count from 1, as MuseData does.

#include <cstdint>

#include "encoding/record_view.h"

namespace musedata {

// Attributes record ("$"): blank-separated codes from column 2 to the end.
inline constexpr int32_t kAttributeCodesFrom = 2;
// The export writes the first code in column 5.
inline constexpr int32_t kAttributeCodesWrittenFrom = 5;

// Bar record ("measure", "mdotted", "mdouble", "mheavy1" ... "mheavy4").
inline constexpr Span kBarStyleCode{2, 7};
inline constexpr Span kBarNumber{9, 12};
inline constexpr Span kBarFootnote{13, 13};
inline constexpr Span kBarLevel{14, 14};
// Footnote, level and track together, as the export writes them.
inline constexpr Span kBarEditorial{13, 15};
// Flags (repeats, endings, fermatas, segno ...) run from here to the end.
inline constexpr int32_t kBarFlagsFrom = 17;

// "back" and "irest" records, which move the time position without sounding.
inline constexpr Span kBackupForwardKind{1, 5};
inline constexpr Span kBackupForwardDuration{6, 8};
inline constexpr Span kBackupForwardFootnote{13, 13};
inline constexpr Span kBackupForwardLevel{14, 14};
inline constexpr Span kForwardVoice{15, 15};
inline constexpr Span kBackupForwardEditorial{13, 15};  // footnote, level, track
inline constexpr Span kBackupForwardPass{17, 17};
inline constexpr Span kForwardStaff{24, 24};

}  // namespace musedata
