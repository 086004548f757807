#pragma once

// The kind of a MuseData data record, told by its first column.

namespace musedata {

enum class RecordKind {
  Note,             // "A" to "G", "r", or a blank for a chord tone
  CueOrGrace,       // "c", "g"
  PrintSuggestion,  // "P"
  SoundSuggestion,  // "S"
  End,              // "/"
  BackupForward,    // "b" (back), "i" (irest)
  FiguredBass,      // "f"
  BarLine,          // "m"
  Attributes,       // "$"
  CommentToggle,    // "&"
  Comment,          // "@"
  Direction,        // "*"
  Other,            // anything else: passed over
};

constexpr RecordKind KindOfRecord(char first) noexcept {
  switch (first) {
    case 'A':
    case 'B':
    case 'C':
    case 'D':
    case 'E':
    case 'F':
    case 'G':
    case ' ':
    case 'r': return RecordKind::Note;
    case 'c':
    case 'g': return RecordKind::CueOrGrace;
    case 'P': return RecordKind::PrintSuggestion;
    case 'S': return RecordKind::SoundSuggestion;
    case '/': return RecordKind::End;
    case 'b':
    case 'i': return RecordKind::BackupForward;
    case 'f': return RecordKind::FiguredBass;
    case 'm': return RecordKind::BarLine;
    case '$': return RecordKind::Attributes;
    case '&': return RecordKind::CommentToggle;
    case '@': return RecordKind::Comment;
    case '*': return RecordKind::Direction;
    default: return RecordKind::Other;
  }
}

}  // namespace musedata
