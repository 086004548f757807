#include "component/atomic_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>
#include <utility>

#include "musedata/converter_error.h"
#include "musedata/score.h"

namespace musedata {
namespace {

namespace fs = std::filesystem;

constexpr size_t kBufferSize = size_t{1} << 16;
// As many links as the kernel follows before it answers ELOOP.
constexpr int kMaxLinks = 40;

// The temporary files of the writers that are open, for a signal handler that
// must remove them before the process ends at once. This is process-wide state
// by nature: a signal ends every conversion of the process. A slot is free (0),
// being filled or emptied by its writer (1) or names a live temporary file (2).
// Writers beyond the table's size are still removed by their own destructor.
constexpr int kTemporarySlots = 256;
constexpr size_t kTemporaryPathSize = 4096;
struct TemporarySlot {
  std::atomic<int> state{0};
  char path[kTemporaryPathSize]{};
};
// Zero before the program starts, without a page of it touched: a megabyte
// of table that most runs never use costs no memory.
constinit TemporarySlot g_temporaries[kTemporarySlots]{};

int RegisterTemporary(const std::string& path) noexcept {
  if (path.size() >= kTemporaryPathSize) return -1;
  for (int slot = 0; slot < kTemporarySlots; ++slot) {
    int expected = 0;
    if (!g_temporaries[slot].state.compare_exchange_strong(expected, 1)) continue;
    std::memcpy(g_temporaries[slot].path, path.c_str(), path.size() + 1);
    g_temporaries[slot].state.store(2);
    return slot;
  }
  return -1;
}

void ReleaseTemporary(int slot) noexcept {
  if (slot >= 0) g_temporaries[slot].state.store(0);
}

// The descriptor that a name of the process's own open files stands for:
// /dev/stdout, /dev/stderr, /dev/fd/N, /proc/self/fd/N and /proc/<our pid>/fd/N.
// Writing to a copy of that descriptor keeps the shell's redirection as it is
// (its offset, its append mode), where opening the name again would not.
std::optional<int> OwnDescriptor(const std::string& path) {
  if (path == "/dev/stdout") return STDOUT_FILENO;
  if (path == "/dev/stderr") return STDERR_FILENO;
  std::string_view rest = path;
  const std::string ownProc = "/proc/" + std::to_string(::getpid()) + "/fd/";
  bool matched = false;
  for (const std::string_view prefix :
       {std::string_view("/dev/fd/"), std::string_view("/proc/self/fd/"),
        std::string_view(ownProc)}) {
    if (rest.starts_with(prefix)) {
      rest.remove_prefix(prefix.size());
      matched = true;
      break;
    }
  }
  int descriptor = -1;
  if (!matched || rest.empty()) return std::nullopt;
  const auto [end, status] = std::from_chars(rest.data(), rest.data() + rest.size(), descriptor);
  if (status != std::errc() || end != rest.data() + rest.size()) return std::nullopt;
  return descriptor;
}

// Where an output path leads once its links are followed.
struct Resolution {
  OutputKind kind = OutputKind::Replace;
  std::string target;                   // the file to replace or open
  std::optional<int> descriptor;        // an open descriptor of ours to write to
  std::optional<struct stat> existing;  // the regular file being replaced
  int error = 0;                        // why the path cannot be written
};

Resolution Resolve(const std::string& path) {
  Resolution resolution;
  if (path == "-") {
    resolution.kind = OutputKind::Direct;
    resolution.descriptor = STDOUT_FILENO;
    return resolution;
  }
  std::string current = path;
  for (int links = 0; links <= kMaxLinks; ++links) {
    const std::string absolute = fs::absolute(current).lexically_normal().string();
    if (const std::optional<int> descriptor = OwnDescriptor(absolute)) {
      resolution.kind = OutputKind::Direct;
      resolution.descriptor = descriptor;
      return resolution;
    }
    resolution.target = current;
    struct stat status {};
    if (::lstat(current.c_str(), &status) != 0) {
      // A name that does not exist yet is made; any other failure is reported.
      if (errno != ENOENT) resolution.error = errno;
      return resolution;
    }
    if (S_ISREG(status.st_mode)) {
      resolution.existing = status;
      return resolution;
    }
    if (S_ISDIR(status.st_mode)) {
      resolution.error = EISDIR;
      return resolution;
    }
    // The links below /proc name open files, pipes and sockets rather than
    // paths; they are opened as they stand.
    if (!S_ISLNK(status.st_mode) || absolute.starts_with("/proc/")) {
      resolution.kind = OutputKind::Direct;
      return resolution;
    }
    std::error_code failure;
    const fs::path named = fs::read_symlink(current, failure);
    if (failure) {
      resolution.error = failure.value();
      return resolution;
    }
    current =
        named.is_absolute() ? named.string() : (fs::path(current).parent_path() / named).string();
  }
  resolution.error = ELOOP;
  return resolution;
}

// The process's file mode creation mask, read without changing it: umask()
// can only be read by setting it, which would race with other threads making
// files and folders.
mode_t CreationMask() {
  static const mode_t mask = [] {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
      if (!line.starts_with("Umask:")) continue;
      return static_cast<mode_t>(std::strtoul(line.c_str() + 6, nullptr, 8));
    }
    return static_cast<mode_t>(022);
  }();
  return mask;
}

std::string Describe(const std::string& name) {
  return name == "-" ? "standard output" : name;
}

}  // namespace

AtomicFileWriter::AtomicFileWriter(std::string path,
                                   std::function<void(int64_t written, bool& cancel)> progress)
    : Progress(std::move(progress)), m_name(Describe(path)) {
  m_buffer.reserve(kBufferSize);
  Open(path);
}

AtomicFileWriter::~AtomicFileWriter() {
  Discard();
}

void AtomicFileWriter::Open(const std::string& path) {
  const Resolution resolution = Resolve(path);
  if (resolution.error != 0) Fail(resolution.error);
  m_kind = resolution.kind;
  if (resolution.descriptor) {
    m_fd = ::fcntl(*resolution.descriptor, F_DUPFD_CLOEXEC, 3);
    if (m_fd < 0) Fail(errno);
    return;
  }
  if (m_kind == OutputKind::Direct) {
    // A FIFO waits here for its reader, as a shell redirection would.
    int error = 0;
    do {
      m_fd = ::open(resolution.target.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC);
      error = m_fd < 0 ? errno : 0;
    } while (error == EINTR && !Interrupted());
    if (m_fd < 0) Fail(error);
    return;
  }
  OpenTemporary(resolution.target);
  // The result keeps the permissions and owner of the file it replaces, or
  // gets the usual ones for a new file (mkstemp makes it private).
  if (resolution.existing) {
    const struct stat& existing = *resolution.existing;
    if (::fchown(m_fd, existing.st_uid, existing.st_gid) != 0) {
      // Only root may hand a file to another owner; anyone else replaces a
      // file of their own, which the new one already is.
    }
    ::fchmod(m_fd, existing.st_mode & 07777);
  } else {
    ::fchmod(m_fd, 0666 & ~CreationMask());
  }
}

void AtomicFileWriter::OpenTemporary(const std::string& target) {
  m_target = target;
  const fs::path file(target);
  const fs::path folder = file.has_parent_path() ? file.parent_path() : ".";
  std::string temporary = (folder / ("." + file.filename().string() + ".XXXXXX")).string();
  m_fd = ::mkostemp(temporary.data(), O_CLOEXEC);
  if (m_fd < 0) Fail(errno);
  m_temporary = std::move(temporary);
  m_slot = RegisterTemporary(m_temporary);
}

bool AtomicFileWriter::Interrupted() noexcept {
  if (!Progress) return false;
  bool cancel = false;
  Progress(m_written, cancel);
  if (cancel) m_cancelled = true;
  return cancel;
}

void AtomicFileWriter::Write(std::string_view text) {
  if (!Append(text) && m_error != 0) Fail(m_error);
}

bool AtomicFileWriter::Append(std::string_view text) noexcept {
  if (m_fd < 0 && m_error == 0) m_error = EBADF;
  if (m_error != 0 || m_cancelled) return false;
  // A piece as large as the buffer goes out as it is, not through it.
  if (m_buffer.empty() && text.size() >= kBufferSize) return WriteAll(text);
  m_buffer.append(text);
  return m_buffer.size() < kBufferSize || Flush();
}

bool AtomicFileWriter::Flush() noexcept {
  const bool written = WriteAll(m_buffer);
  m_buffer.clear();
  return written;
}

bool AtomicFileWriter::WriteAll(std::string_view text) noexcept {
  size_t done = 0;
  while (done < text.size()) {
    const ssize_t count = ::write(m_fd, text.data() + done, text.size() - done);
    if (count >= 0) {
      done += static_cast<size_t>(count);
      m_written += count;
      continue;
    }
    // A signal broke the write off: the handler may want the work to stop.
    const int error = errno;
    if (error == EINTR && !Interrupted()) continue;
    if (error != EINTR) m_error = error;
    return false;
  }
  return !Interrupted();
}

bool AtomicFileWriter::WriteOut() {
  if (m_fd < 0) Fail(m_error != 0 ? m_error : EBADF);
  if (m_cancelled || !Flush() || m_error != 0) {
    if (m_error != 0) Fail(m_error);
    Discard();
    return false;
  }
  return true;
}

bool AtomicFileWriter::Complete() {
  if (!WriteOut()) return false;
  // Only a hint: whatever the disk makes of it, Commit's fsync reports.
  if (m_kind == OutputKind::Replace) ::sync_file_range(m_fd, 0, 0, SYNC_FILE_RANGE_WRITE);
  m_complete = true;
  return true;
}

bool AtomicFileWriter::Commit() {
  if (!m_complete && !WriteOut()) return false;
  if (m_fd < 0) Fail(EBADF);
  // A replaced file must be on the disk before its name moves to it, so that
  // a crash leaves the old file or the new one, never an empty one.
  if (m_kind == OutputKind::Replace && ::fsync(m_fd) != 0) Fail(errno);
  if (::close(std::exchange(m_fd, -1)) != 0) Fail(errno);
  if (m_kind == OutputKind::Direct) return true;
  if (std::rename(m_temporary.c_str(), m_target.c_str()) != 0) Fail(errno);
  m_temporary.clear();
  ReleaseTemporary(std::exchange(m_slot, -1));
  const fs::path folder =
      fs::path(m_target).has_parent_path() ? fs::path(m_target).parent_path() : fs::path(".");
  const int folderFd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folderFd >= 0) {
    ::fsync(folderFd);
    ::close(folderFd);
  }
  return true;
}

void AtomicFileWriter::Fail(int error) {
  Discard();
  std::string description = "Path/File access error: cannot write ";
  description.append(m_name).append(": ").append(std::strerror(error));
  throw ConverterError(75, "musedata", std::move(description));
}

void AtomicFileWriter::Discard() noexcept {
  if (m_fd >= 0) ::close(std::exchange(m_fd, -1));
  if (!m_temporary.empty()) ::unlink(m_temporary.c_str());
  m_temporary.clear();
  ReleaseTemporary(std::exchange(m_slot, -1));
}

void WriteFileAtomically(const std::string& path, std::string_view content) {
  AtomicFileWriter writer(path);
  writer.Write(content);
  writer.Commit();
}

void RefuseOutputOverInputs(const std::vector<std::string>& outputs,
                            const std::vector<std::string>& inputs) {
  const auto identify = [](const std::string& path) -> std::optional<std::pair<dev_t, ino_t>> {
    struct stat status {};
    const int result =
        path == "-" ? ::fstat(STDOUT_FILENO, &status) : ::stat(path.c_str(), &status);
    if (result != 0) return std::nullopt;
    return std::make_pair(status.st_dev, status.st_ino);
  };
  std::vector<std::pair<std::pair<dev_t, ino_t>, const std::string*>> known;
  for (const std::string& input : inputs)
    if (const auto id = identify(input)) known.emplace_back(*id, &input);
  for (const std::string& output : outputs) {
    const auto id = identify(output);
    if (!id) continue;
    for (const auto& [inputId, input] : known) {
      if (inputId != *id) continue;
      throw ConverterError(75, "musedata",
                           "Path/File access error: writing " + Describe(output) +
                               " would overwrite the input " + *input +
                               "; refused, nothing written");
    }
  }
}

void RemovePartialOutputs() noexcept {
  for (TemporarySlot& slot : g_temporaries)
    if (slot.state.load() == 2) ::unlink(slot.path);
}

}  // namespace musedata
