#include "component/atomic_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "musedata/converter_error.h"

namespace musedata {
namespace {

[[noreturn]] void RaiseWriteError(const std::string& path, int error) {
  std::string description = "Path/File access error: cannot write ";
  description.append(path).append(": ").append(std::strerror(error));
  throw ConverterError(75, "musedata", std::move(description));
}

}  // namespace

void WriteFileAtomically(const std::string& path, std::string_view content) {
  const std::filesystem::path target(path);
  const std::filesystem::path folder = target.has_parent_path() ? target.parent_path() : ".";
  std::string temporary = (folder / ("." + target.filename().string() + ".XXXXXX")).string();
  const int fd = mkstemp(temporary.data());
  if (fd < 0) RaiseWriteError(path, errno);
  size_t written = 0;
  while (written < content.size()) {
    const ssize_t n = ::write(fd, content.data() + written, content.size() - written);
    if (n < 0) {
      if (errno == EINTR) continue;
      const int error = errno;
      ::close(fd);
      ::unlink(temporary.c_str());
      RaiseWriteError(path, error);
    }
    written += static_cast<size_t>(n);
  }
  // Files made by mkstemp are private; give the result the usual permissions.
  const mode_t mask = ::umask(0);
  ::umask(mask);
  ::fchmod(fd, 0666 & ~mask);
  if (::close(fd) != 0 || std::rename(temporary.c_str(), path.c_str()) != 0) {
    const int error = errno;
    ::unlink(temporary.c_str());
    RaiseWriteError(path, error);
  }
}

}  // namespace musedata
