#pragma once

// Column access to one MuseData record, shared by the import (RecordView) and
// the export (LineBuilder). Columns count from 1, as the format does, and count
// characters, not bytes; a column past the end of the record reads as empty.
// Nothing here ever changes the record.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace musedata {

// An inclusive range of columns.
struct Span {
  int32_t first;
  int32_t last;
};

// Removes blanks (only the blank character, as MuseData pads with blanks) from both ends.
std::string_view Trim(std::string_view text) noexcept;
std::string_view TrimRight(std::string_view text) noexcept;
std::string_view TrimLeft(std::string_view text) noexcept;
// The number of characters in UTF-8 text.
int32_t CharacterCount(std::string_view text) noexcept;
// The first `count` characters of UTF-8 text (all of it when shorter).
std::string_view FirstCharacters(std::string_view text, int32_t count) noexcept;
// The text before its first line end (CR or LF); all of it when there is none.
std::string_view FirstLine(std::string_view text) noexcept;
// The line of `text` that starts at `position`, without its end; `position`
// moves past the end ("\r\n", "\n" or "\r") to the next line.
std::string_view TakeLine(std::string_view text, size_t& position) noexcept;

class RecordView {
 public:
  explicit RecordView(std::string_view record);

  // The record's length in characters.
  int32_t Length() const noexcept { return m_length; }
  std::string_view Text() const noexcept { return m_text; }
  bool IsEmpty() const noexcept { return m_text.empty(); }

  // Columns first..last exactly as they stand, cut at the end of the record.
  std::string_view Raw(int32_t first, int32_t last) const noexcept;
  std::string_view Raw(Span span) const noexcept { return Raw(span.first, span.last); }
  // One column as text: a single character, or "" past the end.
  std::string_view Column(int32_t column) const noexcept { return Raw(column, column); }
  // The byte of a column that holds an ASCII character; '\0' past the end and
  // 0x80 for any other character, so comparisons with ASCII codes stay exact.
  char At(int32_t column) const noexcept;
  // Everything from `first` to the end of the record.
  std::string_view From(int32_t first) const noexcept;
  // The columns trimmed of blanks on both sides.
  std::string_view Field(int32_t first, int32_t last) const noexcept {
    return Trim(Raw(first, last));
  }
  std::string_view Field(Span span) const noexcept { return Field(span.first, span.last); }
  // Whether the columns hold anything but blanks.
  bool Has(int32_t first, int32_t last) const noexcept { return !Field(first, last).empty(); }
  bool Has(Span span) const noexcept { return Has(span.first, span.last); }

 private:
  // The byte offset where a column starts (1-based), clamped to the end.
  size_t Offset(int32_t column) const noexcept;

  std::string_view m_text;
  int32_t m_length = 0;
  // Byte offsets of each character, kept only for records with non-ASCII text.
  std::vector<uint32_t> m_offsets;
};

// Builds one MuseData line column by column for the export.
class LineBuilder {
 public:
  // Writes `text` starting at column `first`, padding with blanks up to it and
  // overwriting what stood there.
  LineBuilder& Put(int32_t first, std::string_view text);
  // Writes `text` so that it ends at column `last`, right-aligned.
  LineBuilder& PutRight(int32_t last, std::string_view text);
  // Writes `text` just after the last column written so far.
  LineBuilder& Append(std::string_view text) { return Put(Length() + 1, text); }
  // The number of columns written so far, blanks included.
  int32_t Length() const noexcept { return static_cast<int32_t>(m_cells.size()); }
  // The line with trailing blanks removed.
  std::string Finish() const;

 private:
  std::vector<std::string> m_cells;  // one character per column
};

}  // namespace musedata
