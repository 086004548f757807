#pragma once

// The lines of one MuseData part, read as a text stream: a whole file, or one
// part of a set file held in memory. The text is decoded to UTF-8 once, when
// the source is made; lines end at LF, CR LF or a lone CR, and the line end is
// not part of the line.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "encoding/code_pages.h"

namespace musedata {

// The whole content of the file at `path`, read in large pieces; nullopt
// when it cannot be opened or a read fails.
std::optional<std::string> ReadFileBytes(const std::string& path);

class LineSource {
 public:
  // Reads the file at `path`. Raises File not found (53) when there is no such
  // file (a folder included) and Path/File access error (75) when it cannot be read.
  static std::unique_ptr<LineSource> OpenFile(const std::string& path,
                                              TextEncoding encoding = TextEncoding::Auto);

  // A source over bytes already in memory; `name` is what messages call it and
  // `size` the number of bytes that progress counts against.
  LineSource(std::string name, std::string_view bytes, TextEncoding encoding = TextEncoding::Auto);

  // The name messages use ("op4.md", or "set.msd part 2").
  const std::string& Name() const noexcept { return m_name; }
  void SetName(std::string name) { m_name = std::move(name); }
  // The size of the input in bytes.
  int64_t Size() const noexcept { return m_size; }
  // Whether every line has been read.
  bool AtEnd() const noexcept { return m_position >= m_text.size(); }
  // The number of the line that the next read returns, from 1.
  int32_t Line() const noexcept { return m_line; }
  // Where line 1 of this source stands in the file it came from, for messages
  // about one part of a set file.
  int32_t FirstLineInFile() const noexcept { return m_firstLineInFile; }
  void SetFirstLineInFile(int32_t line) noexcept { m_firstLineInFile = line; }
  // Reads the next line; "" at the end. The view stays valid as long as the source.
  std::string_view ReadLine() noexcept;

 private:
  std::string m_name;
  std::string m_text;
  int64_t m_size = 0;
  size_t m_position = 0;
  int32_t m_line = 1;
  int32_t m_firstLineInFile = 1;
};

}  // namespace musedata
