#include "component/natural_order.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <string_view>

#include "musedata/converter_error.h"

namespace musedata {
namespace {

bool IsDigit(char c) {
  return std::isdigit(static_cast<unsigned char>(c)) != 0;
}

}  // namespace

bool NaturalLess(const std::string& a, const std::string& b) {
  size_t i = 0;
  size_t j = 0;
  while (i < a.size() && j < b.size()) {
    if (IsDigit(a[i]) && IsDigit(b[j])) {
      size_t iEnd = i;
      size_t jEnd = j;
      while (iEnd < a.size() && IsDigit(a[iEnd])) ++iEnd;
      while (jEnd < b.size() && IsDigit(b[jEnd])) ++jEnd;
      std::string_view x(a.data() + i, iEnd - i);
      std::string_view y(b.data() + j, jEnd - j);
      while (x.size() > 1 && x.front() == '0') x.remove_prefix(1);
      while (y.size() > 1 && y.front() == '0') y.remove_prefix(1);
      if (x.size() != y.size()) return x.size() < y.size();
      if (x != y) return x < y;
      i = iEnd;
      j = jEnd;
    } else {
      if (a[i] != b[j]) return a[i] < b[j];
      ++i;
      ++j;
    }
  }
  return a.size() - i < b.size() - j;
}

std::vector<std::string> FolderFiles(const std::string& folder) {
  namespace fs = std::filesystem;
  std::error_code status;
  const fs::directory_iterator entries(folder, status);
  if (status)
    throw ConverterError(
        75, "musedata",
        "Path/File access error: cannot read the folder " + folder + ": " + status.message());
  std::vector<std::string> names;
  for (const fs::directory_entry& entry : entries) {
    const std::string name = entry.path().filename().string();
    if (name.empty() || name.front() == '.' || !entry.is_regular_file(status)) continue;
    names.push_back(name);
  }
  std::sort(names.begin(), names.end(), NaturalLess);
  std::vector<std::string> files;
  for (const std::string& name : names) files.push_back((fs::path(folder) / name).string());
  return files;
}

}  // namespace musedata
