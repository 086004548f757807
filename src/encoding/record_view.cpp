#include "encoding/record_view.h"

#include <algorithm>

#include "encoding/code_pages.h"

namespace musedata {
namespace {

bool IsContinuationByte(unsigned char byte) {
  return (byte & 0xC0) == 0x80;
}

}  // namespace

std::string_view TrimLeft(std::string_view text) noexcept {
  const size_t first = text.find_first_not_of(' ');
  return first == std::string_view::npos ? std::string_view() : text.substr(first);
}

std::string_view TrimRight(std::string_view text) noexcept {
  const size_t last = text.find_last_not_of(' ');
  return last == std::string_view::npos ? std::string_view() : text.substr(0, last + 1);
}

std::string_view Trim(std::string_view text) noexcept {
  return TrimRight(TrimLeft(text));
}

int32_t CharacterCount(std::string_view text) noexcept {
  int32_t count = 0;
  for (const char c : text)
    if (!IsContinuationByte(static_cast<unsigned char>(c))) ++count;
  return count;
}

std::string_view FirstCharacters(std::string_view text, int32_t count) noexcept {
  size_t end = 0;
  for (int32_t taken = 0; end < text.size(); ++end) {
    if (IsContinuationByte(static_cast<unsigned char>(text[end]))) continue;
    if (taken == count) break;
    ++taken;
  }
  return text.substr(0, end);
}

namespace {
// The first CR or LF at or after `from`, or the end of the text. A plain loop:
// find_first_of would search its set of two characters once per byte.
size_t LineEndFrom(std::string_view text, size_t from) noexcept {
  while (from < text.size() && text[from] != '\n' && text[from] != '\r') ++from;
  return from;
}
}  // namespace

std::string_view FirstLine(std::string_view text) noexcept {
  return text.substr(0, LineEndFrom(text, 0));
}

std::string_view TakeLine(std::string_view text, size_t& position) noexcept {
  const size_t start = std::min(position, text.size());
  const size_t end = LineEndFrom(text, start);
  position = end;
  if (end < text.size()) {
    ++position;
    if (text[end] == '\r' && position < text.size() && text[position] == '\n') ++position;
  }
  return text.substr(start, end - start);
}

RecordView::RecordView(std::string_view record) : m_text(record) {
  if (AsciiRunEnd(record, 0) == record.size()) {
    m_length = static_cast<int32_t>(record.size());
    return;
  }
  for (size_t i = 0; i < record.size(); ++i)
    if (!IsContinuationByte(static_cast<unsigned char>(record[i])))
      m_offsets.push_back(static_cast<uint32_t>(i));
  m_length = static_cast<int32_t>(m_offsets.size());
}

size_t RecordView::Offset(int32_t column) const noexcept {
  if (column <= 1) return 0;
  if (column > m_length) return m_text.size();
  return m_offsets.empty() ? static_cast<size_t>(column - 1)
                           : m_offsets[static_cast<size_t>(column - 1)];
}

std::string_view RecordView::Raw(int32_t first, int32_t last) const noexcept {
  if (first < 1) first = 1;
  if (last < first || first > m_length) return {};
  const size_t begin = Offset(first);
  // A range that runs past the end (up to the largest column, as callers do for
  // "the rest of the record") is cut at the end without computing last + 1.
  const size_t end = last >= m_length ? m_text.size() : Offset(last + 1);
  return m_text.substr(begin, end - begin);
}

char RecordView::At(int32_t column) const noexcept {
  if (column < 1 || column > m_length) return '\0';
  const unsigned char byte = static_cast<unsigned char>(m_text[Offset(column)]);
  return byte < 0x80 ? static_cast<char>(byte) : static_cast<char>(0x80);
}

std::string_view RecordView::From(int32_t first) const noexcept {
  if (first < 1) first = 1;
  if (first > m_length) return {};
  return m_text.substr(Offset(first));
}

LineBuilder& LineBuilder::Put(int32_t first, std::string_view text) {
  size_t column = static_cast<size_t>(std::max(first, 1)) - 1;
  for (size_t i = 0; i < text.size();) {
    size_t length = 1;
    while (i + length < text.size() &&
           IsContinuationByte(static_cast<unsigned char>(text[i + length])))
      ++length;
    if (m_cells.size() <= column) m_cells.resize(column + 1, " ");
    m_cells[column].assign(text.substr(i, length));
    ++column;
    i += length;
  }
  return *this;
}

LineBuilder& LineBuilder::PutRight(int32_t last, std::string_view text) {
  return Put(last - CharacterCount(text) + 1, text);
}

std::string LineBuilder::Finish() const {
  std::string line;
  for (const std::string& cell : m_cells) line += cell;
  return std::string(TrimRight(line));
}

}  // namespace musedata
