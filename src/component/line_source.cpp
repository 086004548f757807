#include "component/line_source.h"

#include <filesystem>
#include <fstream>
#include <limits>

#include "component/trap.h"
#include "encoding/record_view.h"

namespace musedata {

std::unique_ptr<LineSource> LineSource::OpenFile(const std::string& path, TextEncoding encoding) {
  std::error_code status;
  const std::filesystem::file_status kind = std::filesystem::status(path, status);
  if (status || !std::filesystem::is_regular_file(kind)) throw RunTimeError::FileNotFound();
  std::ifstream stream(path, std::ios::binary);
  if (!stream) throw RunTimeError::PathFileAccess();
  std::string bytes;
  const std::uintmax_t size = std::filesystem::file_size(path, status);
  if (!status && size < std::numeric_limits<size_t>::max())
    bytes.reserve(static_cast<size_t>(size));
  bytes.assign(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
  if (stream.bad()) throw RunTimeError::PathFileAccess();
  const std::string name = std::filesystem::path(path).filename().string();
  return std::make_unique<LineSource>(name, bytes, encoding);
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
