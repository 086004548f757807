#include "component/atomic_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <utility>

#include "musedata/converter_error.h"

namespace musedata {
namespace {

[[noreturn]] void RaiseWriteError(const std::string& path, int error) {
  std::string description = "Path/File access error: cannot write ";
  description.append(path).append(": ").append(std::strerror(error));
  throw ConverterError(75, "musedata", std::move(description));
}

}  // namespace

AtomicFileWriter::AtomicFileWriter(std::string path) : m_path(std::move(path)) {
  const std::filesystem::path target(m_path);
  const std::filesystem::path folder = target.has_parent_path() ? target.parent_path() : ".";
  m_temporary = (folder / ("." + target.filename().string() + ".XXXXXX")).string();
  const int fd = mkstemp(m_temporary.data());
  if (fd < 0) RaiseWriteError(m_path, errno);
  m_file = fdopen(fd, "wb");
  if (!m_file) {
    const int error = errno;
    ::close(fd);
    ::unlink(m_temporary.c_str());
    RaiseWriteError(m_path, error);
  }
}

AtomicFileWriter::~AtomicFileWriter() {
  Discard();
}

void AtomicFileWriter::Write(std::string_view text) {
  if (!m_file) RaiseWriteError(m_path, EBADF);
  if (std::fwrite(text.data(), 1, text.size(), m_file) != text.size()) {
    const int error = errno;
    Discard();
    RaiseWriteError(m_path, error);
  }
}

void AtomicFileWriter::WriteWith(const std::function<bool(std::FILE*)>& write) {
  if (!m_file) RaiseWriteError(m_path, EBADF);
  errno = 0;
  if (!write(m_file) || std::ferror(m_file)) {
    const int error = errno != 0 ? errno : EIO;
    Discard();
    RaiseWriteError(m_path, error);
  }
}

void AtomicFileWriter::Commit() {
  if (!m_file) RaiseWriteError(m_path, EBADF);
  // Files made by mkstemp are private; give the result the usual permissions.
  const mode_t mask = ::umask(0);
  ::umask(mask);
  ::fchmod(fileno(m_file), 0666 & ~mask);
  std::FILE* file = std::exchange(m_file, nullptr);
  int error = 0;
  if (std::fflush(file) != 0) error = errno;
  if (std::fclose(file) != 0 && error == 0) error = errno;
  if (error == 0 && std::rename(m_temporary.c_str(), m_path.c_str()) != 0) error = errno;
  if (error != 0) {
    ::unlink(m_temporary.c_str());
    RaiseWriteError(m_path, error);
  }
}

void AtomicFileWriter::Discard() noexcept {
  if (!m_file) return;
  std::fclose(m_file);
  m_file = nullptr;
  ::unlink(m_temporary.c_str());
}

void WriteFileAtomically(const std::string& path, std::string_view content) {
  AtomicFileWriter writer(path);
  writer.Write(content);
  writer.Commit();
}

}  // namespace musedata
