#pragma once

#include <cstdio>
#include <functional>
#include <string>
#include <string_view>

namespace musedata {

// A file written piece by piece through a temporary file in the same folder.
// Commit renames the temporary file into place; a writer destroyed without
// Commit removes it, so a failed or cancelled conversion never replaces a
// good file with a partial one. Every failure raises a ConverterError
// (source "musedata", 75) naming the path.
class AtomicFileWriter {
 public:
  // Creates the temporary file next to `path`.
  explicit AtomicFileWriter(std::string path);
  ~AtomicFileWriter();
  AtomicFileWriter(const AtomicFileWriter&) = delete;
  AtomicFileWriter& operator=(const AtomicFileWriter&) = delete;

  void Write(std::string_view text);
  // Hands the file to `write`, for writers that produce their text in pieces;
  // `write` answers false when a write failed.
  void WriteWith(const std::function<bool(std::FILE*)>& write);
  // Writes everything out and puts the file in place of `path`.
  void Commit();

  const std::string& Path() const noexcept { return m_path; }

 private:
  void Discard() noexcept;

  std::string m_path;
  std::string m_temporary;
  std::FILE* m_file = nullptr;  // null once committed or discarded
};

// Writes `content` to `path` through an AtomicFileWriter.
void WriteFileAtomically(const std::string& path, std::string_view content);

}  // namespace musedata
