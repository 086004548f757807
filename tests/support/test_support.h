#pragma once

#include <string>

namespace musedata::test {

// A fresh folder under the system's temporary folder, removed with the object.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::string& Path() const { return m_path; }
  // Writes `content` to the file `name` in the folder and returns its path.
  std::string Write(const std::string& name, const std::string& content) const;

 private:
  std::string m_path;
};

// The whole content of a file.
std::string ReadFile(const std::string& path);

// The standard eleven header lines of a MuseData part file, with the given
// part name and group-membership record, ready for data records to follow.
std::string Header(const std::string& partName = "Violino I",
                   const std::string& groups = "Group memberships: score\nscore: part 1 of 1");

}  // namespace musedata::test
