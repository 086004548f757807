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

bool IsEndOfPart(std::string_view line) {
  return WithoutTrailingBlanks(line) == "/eof";
}
bool IsEndOfSet(std::string_view line) {
  return WithoutTrailingBlanks(line) == "//";
}
bool IsSetReference(std::string_view line) {
  return line.substr(0, 3) == "@@@";
}

}  // namespace

bool IsSetFile(std::string_view bytes) noexcept {
  ByteLines lines(bytes);
  while (!lines.AtEnd())
    if (IsEndOfPart(lines.Next())) return true;
  return false;
}

std::vector<SetFilePart> SetFileParts(std::string_view bytes) {
  std::vector<SetFilePart> parts;
  ByteLines lines(bytes);
  int32_t lineNumber = 0;
  size_t partStart = 0;
  size_t partEnd = 0;
  int32_t partFirstLine = 1;
  bool atSetStart = true;
  bool partHasText = false;
  const auto startPartAfter = [&](int32_t line) {
    partStart = lines.Position();
    partFirstLine = line + 1;
    partHasText = false;
  };
  while (!lines.AtEnd()) {
    const size_t lineStart = lines.Position();
    const std::string_view line = lines.Next();
    ++lineNumber;
    if (atSetStart && IsSetReference(line)) {
      // References to the set as a whole belong to no part.
      startPartAfter(lineNumber);
      continue;
    }
    atSetStart = false;
    if (IsEndOfSet(line)) break;
    if (!partHasText && WithoutTrailingBlanks(line).empty()) {
      // Blank lines between parts would shift the part's header records.
      startPartAfter(lineNumber);
      continue;
    }
    if (!IsEndOfPart(line)) {
      partHasText = true;
      partEnd = lines.Position();
      continue;
    }
    if (partHasText)
      parts.push_back({bytes.substr(partStart, lineStart - partStart), partFirstLine});
    startPartAfter(lineNumber);
  }
  // A last part that lacks its "/eof" is still a part: nothing is dropped.
  if (partHasText) parts.push_back({bytes.substr(partStart, partEnd - partStart), partFirstLine});
  return parts;
}

std::vector<std::unique_ptr<LineSource>> SplitSetFile(const std::string& fileName,
                                                      std::string_view bytes,
                                                      TextEncoding encoding) {
  // One decision for the whole file, so that every part reads its bytes alike.
  encoding = ResolveEncoding(bytes, encoding);
  std::vector<std::unique_ptr<LineSource>> sources;
  for (const SetFilePart& part : SetFileParts(bytes)) {
    auto source = std::make_unique<LineSource>(
        fileName + " part " + std::to_string(sources.size() + 1), part.bytes, encoding);
    source->SetFirstLineInFile(part.firstLine);
    sources.push_back(std::move(source));
  }
  return sources;
}

}  // namespace musedata
