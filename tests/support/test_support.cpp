#include "support/test_support.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace musedata::test {

TempDir::TempDir() {
  std::string pattern = (std::filesystem::temp_directory_path() / "musedata-test-XXXXXX").string();
  if (!mkdtemp(pattern.data())) throw std::runtime_error("cannot make a temporary folder");
  m_path = pattern;
}

TempDir::~TempDir() {
  std::error_code ignored;
  std::filesystem::remove_all(m_path, ignored);
}

std::string TempDir::Write(const std::string& name, const std::string& content) const {
  const std::string path = (std::filesystem::path(m_path) / name).string();
  std::ofstream(path, std::ios::binary) << content;
  return path;
}

std::string ReadFile(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  std::ostringstream content;
  content << stream.rdbuf();
  return content.str();
}

std::string Header(const std::string& partName, const std::string& groups) {
  return "(C) 2026 musedata test suite\n"
         "\n"
         "ID: {test/part} [1]\n"
         "11/05/26 A. Encoder\n"
         "WK#:12 MV#:1\n"
         "Test source, no edition\n"
         "Sonata\n"
         "Allegro\n" +
         partName + "\n" + "0 0\n" + groups + "\n";
}

}  // namespace musedata::test
