#pragma once

// Every file the converter writes goes through AtomicFileWriter, which applies
// one rule to the output path:
//
// - a regular file, or a name that does not exist yet, is written as a
//   temporary file in the same folder, flushed to disk and renamed over the
//   name only when the whole text was written; a file that existed keeps its
//   permissions (and, where allowed, its owner);
// - a symbolic link is followed, and the rule applies to the file it names, so
//   the link stays a link;
// - anything else (a terminal, /dev/null, a FIFO, /dev/stdout, /proc/self/fd/N)
//   is written to directly and never renamed over: a device stays a device;
// - "-" is standard output.
//
// A failed or cancelled write never replaces a good file and leaves no
// temporary file behind; the facade's RemovePartialOutputs (musedata/score.h)
// removes the temporary files of every writer still open, for a signal
// handler, and RefuseOutputOverInputs guards the inputs. Every failure raises ConverterError
// (source "musedata", 75 Path/File access error) with a description naming the file.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace musedata {

// How an output path is written.
enum class OutputKind {
  Replace,  // through a temporary file renamed over the target
  Direct,   // straight into the device, FIFO or standard output
};

class AtomicFileWriter {
 public:
  // Opens the output at `path` by the rule above; for Replace, creates the
  // temporary file next to the file that `path` finally names. `progress`
  // becomes Progress at once, so that it can also stop a wait for a FIFO's
  // reader.
  explicit AtomicFileWriter(std::string path,
                            std::function<void(int64_t written, bool& cancel)> progress = {});
  // An unfinished writer removes its temporary file.
  ~AtomicFileWriter();
  AtomicFileWriter(const AtomicFileWriter&) = delete;
  AtomicFileWriter& operator=(const AtomicFileWriter&) = delete;

  // Called whenever a piece of the text has gone out, with the bytes written
  // so far; setting cancel stops the write, and Commit then answers false.
  std::function<void(int64_t written, bool& cancel)> Progress;

  // Appends `text`; raises when the file cannot take it. Text given after a
  // cancel is dropped.
  void Write(std::string_view text);
  // Appends `text` without raising, for writers called back from C libraries:
  // false once a write failed or the write was cancelled. The failure is
  // kept and raised by Commit.
  bool Append(std::string_view text) noexcept;
  // Writes everything out and puts the file in place of the target. False,
  // with nothing replaced, when Progress cancelled the write; raises for a
  // write that failed, flush and close included.
  bool Commit();
  // Writes everything out and asks the kernel to start writing it to the
  // disk, without waiting for it; a later Commit only has to wait for what is
  // still on its way, and no longer asks Progress. False, with nothing
  // replaced, when Progress cancelled the write; raises for a write that
  // failed. Until Commit, the target is untouched.
  bool Complete();

  // The path as given ("standard output" for "-"), as messages name it.
  const std::string& Path() const noexcept { return m_name; }
  OutputKind Kind() const noexcept { return m_kind; }
  // Whether Progress cancelled the write.
  bool Cancelled() const noexcept { return m_cancelled; }

 private:
  bool Flush() noexcept;
  // Writes `text` to the file; false when a write failed or Progress cancelled.
  bool WriteAll(std::string_view text) noexcept;
  // Writes out what is buffered; false when the write was cancelled.
  bool WriteOut();
  // Asks Progress whether the write should stop; true when it cancelled.
  bool Interrupted() noexcept;
  void Open(const std::string& target);
  void OpenTemporary(const std::string& target);
  [[noreturn]] void Fail(int error);
  void Discard() noexcept;

  std::string m_name;    // the output as the caller named it
  std::string m_target;  // the file the temporary file replaces
  std::string m_temporary;
  OutputKind m_kind = OutputKind::Replace;
  int m_fd = -1;    // -1 once committed or discarded
  int m_slot = -1;  // this writer's entry among the live temporary files
  int m_error = 0;  // the first failed write's errno
  bool m_cancelled = false;
  bool m_complete = false;  // the whole text is in the file, Commit remains
  int64_t m_written = 0;
  std::string m_buffer;
};

// Writes `content` to `path` through an AtomicFileWriter.
void WriteFileAtomically(const std::string& path, std::string_view content);

}  // namespace musedata
