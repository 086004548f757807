#pragma once

// A folder of the tool's own, made with a fresh name inside `parent` and
// removed with everything in it when it goes out of scope: parts on their way
// to their place, or a file read back at once.

#include <stdlib.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <system_error>

#include "musedata/converter_error.h"

namespace musedata::tool {

class PrivateFolder {
 public:
  // Raises ConverterError (75, source "musedata") naming `parent` when no
  // folder can be made there.
  explicit PrivateFolder(const std::filesystem::path& parent) {
    std::string pattern = (parent / ".musedata-XXXXXX").string();
    if (!mkdtemp(pattern.data()))
      throw ConverterError(75, "musedata",
                           "Path/File access error: cannot write in " + parent.string() + ": " +
                               std::generic_category().message(errno));
    m_path = pattern;
  }
  ~PrivateFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
  }
  PrivateFolder(const PrivateFolder&) = delete;
  PrivateFolder& operator=(const PrivateFolder&) = delete;

  const std::filesystem::path& Path() const noexcept { return m_path; }

 private:
  std::filesystem::path m_path;
};

}  // namespace musedata::tool
