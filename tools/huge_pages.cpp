#include "huge_pages.h"

#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "component/sanitizers.h"

// Building a score allocates some ninety bytes of small libxml2 nodes for each
// byte of MuseData. On 4 KiB pages the kernel takes a page fault for every page
// the allocator first touches, and those faults cost more than the conversion
// itself. glibc puts its heap on transparent huge pages when asked through its
// tunable glibc.malloc.hugetlb=1, which removes nearly all of them; but glibc
// reads its tunables only as a process starts, so the tool starts itself once
// more with the tunable set. Nothing else changes: same process, same
// arguments, same output. (The documents themselves live in the tool's arena,
// which asks for huge pages on its own; the tunable serves the rest of the
// conversion's memory.) Starting again costs some 20 ms of loading the
// libraries twice, which a score of a megabyte or two does not win back.

namespace musedata::tool {
namespace {

constexpr const char* kTunable = "glibc.malloc.hugetlb=1";

// Whether the kernel hands out transparent huge pages to a process that asks.
// Files given by name smaller than this in all are converted without the
// restart; folders (a batch of small movements) too.
constexpr uintmax_t kRestartFrom = uintmax_t{2} << 20;

bool NamedFilesAreLarge(char** argv) {
  uintmax_t total = 0;
  for (char** argument = argv + 1; *argument; ++argument) {
    std::error_code status;
    if (!std::filesystem::is_regular_file(*argument, status)) continue;
    const uintmax_t size = std::filesystem::file_size(*argument, status);
    if (!status) total += size;
  }
  return total >= kRestartFrom;
}

bool SystemOffersHugePages() {
  std::ifstream setting("/sys/kernel/mm/transparent_hugepage/enabled");
  std::string modes;
  std::getline(setting, modes);
  return modes.find("[always]") != std::string::npos ||
         modes.find("[madvise]") != std::string::npos;
}

}  // namespace

void RunOnHugePages(char** argv) {
  if (BuiltWithSanitizer() || std::getenv("MUSEDATA_SMALL_PAGES")) return;
  const char* tunables = std::getenv("GLIBC_TUNABLES");
  // Already set, by the run before this one or by the user: leave it.
  if (tunables && std::strstr(tunables, "glibc.malloc.hugetlb")) return;
  if (!NamedFilesAreLarge(argv) || !SystemOffersHugePages()) return;
  const std::string previous = tunables ? tunables : "";
  const std::string value = previous.empty() ? kTunable : previous + ":" + kTunable;
  if (setenv("GLIBC_TUNABLES", value.c_str(), 1) != 0) return;
  execv("/proc/self/exe", argv);
  // The tool could not start itself again; it goes on with small pages.
  if (tunables) {
    setenv("GLIBC_TUNABLES", previous.c_str(), 1);
  } else {
    unsetenv("GLIBC_TUNABLES");
  }
}

}  // namespace musedata::tool
