#include "component/set_file.h"

#include "encoding/code_pages.h"

namespace musedata {
namespace {

// Walks the physical lines of raw bytes, with the same line ends as LineSource.
class ByteLines {
 public:
  explicit ByteLines(std::string_view bytes) : m_bytes(bytes) {}
  bool AtEnd() const noexcept { return m_position >= m_bytes.size(); }
  size_t Position() const noexcept { return m_position; }
  std::string_view Next() noexcept {
    const size_t start = m_position;
    const size_t end = m_bytes.find_first_of("\r\n", start);
    if (end == std::string_view::npos) {
      m_position = m_bytes.size();
      return m_bytes.substr(start);
    }
    m_position = end + 1;
    if (m_bytes[end] == '\r' && m_position < m_bytes.size() && m_bytes[m_position] == '\n')
      ++m_position;
    return m_bytes.substr(start, end - start);
  }

 private:
  std::string_view m_bytes;
  size_t m_position = 0;
};

std::string_view WithoutTrailingBlanks(std::string_view line) {
  while (!line.empty() && (line.back() == ' ' || line.back() == '\t')) line.remove_suffix(1);
  return line;
}

bool IsEndOfPart(std::string_view line) { return WithoutTrailingBlanks(line) == "/eof"; }
bool IsEndOfSet(std::string_view line) { return WithoutTrailingBlanks(line) == "//"; }
bool IsSetReference(std::string_view line) { return line.substr(0, 3) == "@@@"; }

}  // namespace

bool IsSetFile(std::string_view bytes) noexcept {
  ByteLines lines(bytes);
  while (!lines.AtEnd())
    if (IsEndOfPart(lines.Next())) return true;
  return false;
}

std::vector<std::unique_ptr<LineSource>> SplitSetFile(const std::string& fileName,
                                                      std::string_view bytes,
                                                      TextEncoding encoding) {
  // One decision for the whole file, so that every part reads its bytes alike.
  if (encoding == TextEncoding::Auto)
    encoding = IsValidUtf8(bytes) ? TextEncoding::Utf8 : TextEncoding::Cp437;

  std::vector<std::unique_ptr<LineSource>> parts;
  ByteLines lines(bytes);
  int32_t lineNumber = 0;
  size_t partStart = 0;
  int32_t partFirstLine = 1;
  bool atSetStart = true;
  bool partHasText = false;
  size_t partEnd = 0;
  const auto addPart = [&](size_t end) {
    if (!partHasText) return;
    auto part = std::make_unique<LineSource>(fileName + " part " + std::to_string(parts.size() + 1),
                                             bytes.substr(partStart, end - partStart), encoding);
    part->SetFirstLineInFile(partFirstLine);
    parts.push_back(std::move(part));
  };
  while (!lines.AtEnd()) {
    const size_t lineStart = lines.Position();
    const std::string_view line = lines.Next();
    ++lineNumber;
    if (atSetStart && IsSetReference(line)) {
      // References to the set as a whole belong to no part.
      partStart = lines.Position();
      partFirstLine = lineNumber + 1;
      continue;
    }
    atSetStart = false;
    if (IsEndOfSet(line)) break;
    const bool blank = WithoutTrailingBlanks(line).empty();
    if (!partHasText && blank) {
      // Blank lines between parts would shift the part's header records.
      partStart = lines.Position();
      partFirstLine = lineNumber + 1;
      continue;
    }
    if (!IsEndOfPart(line)) {
      partHasText = true;
      partEnd = lines.Position();
      continue;
    }
    addPart(lineStart);
    partStart = lines.Position();
    partFirstLine = lineNumber + 1;
    partHasText = false;
  }
  // A last part that lacks its "/eof" is still a part: nothing is dropped.
  if (partHasText) addPart(partEnd);
  return parts;
}

}  // namespace musedata
