#include "component/line_source.h"

#include <filesystem>
#include <fstream>
#include <limits>

#include "component/trap.h"
#include "encoding/record_view.h"

namespace musedata {

std::optional<std::string> ReadFileBytes(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  if (!stream) return std::nullopt;
  // The size is only a hint: the first read asks for one byte more, to meet
  // the end; a file that grew, or reports no size, is read on piece by piece.
  constexpr size_t kPiece = 64 << 10;
  std::error_code status;
  const std::uintmax_t size = std::filesystem::file_size(path, status);
  size_t piece = !status && size < std::numeric_limits<size_t>::max() - 1
                     ? static_cast<size_t>(size) + 1
                     : kPiece;
  std::string bytes;
  for (;;) {
    const size_t had = bytes.size();
    bytes.resize(had + piece);
    stream.read(bytes.data() + had, static_cast<std::streamsize>(piece));
    bytes.resize(had + static_cast<size_t>(stream.gcount()));
    if (!stream) break;
    piece = kPiece;
  }
  if (stream.bad()) return std::nullopt;
  return bytes;
}

std::unique_ptr<LineSource> LineSource::OpenFile(const std::string& path, TextEncoding encoding) {
  std::error_code status;
  const std::filesystem::file_status kind = std::filesystem::status(path, status);
  if (status || !std::filesystem::is_regular_file(kind)) throw RunTimeError::FileNotFound();
  const std::optional<std::string> bytes = ReadFileBytes(path);
  if (!bytes) throw RunTimeError::PathFileAccess();
  const std::string name = std::filesystem::path(path).filename().string();
  return std::make_unique<LineSource>(name, *bytes, encoding);
}

LineSource::LineSource(std::string name, std::string_view bytes, TextEncoding encoding)
    : m_name(std::move(name)),
      m_text(DecodeToUtf8(bytes, encoding)),
      m_size(static_cast<int64_t>(bytes.size())) {}

std::string_view LineSource::ReadLine() noexcept {
  if (AtEnd()) return {};
  const std::string_view line = TakeLine(m_text, m_position);
  ++m_line;
  return line;
}

}  // namespace musedata
