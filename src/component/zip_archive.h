#pragma once

// Zip containers held in memory: MusicXML's compressed form (.mxl) and the
// zips in which older distributions ship the part files of a movement.

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace musedata {

// One file of a zip container: its path inside the container and its bytes.
struct ZipEntry {
  std::string name;
  std::string bytes;
};

// Whether `bytes` begin as a zip container does ("PK" and a local file header).
bool LooksLikeZip(std::string_view bytes) noexcept;

// What reading a container may cost: no real score reaches these, and a
// container past them (a "zip bomb": a small file that inflates to gigabytes)
// is refused before it takes the memory. Sizes are counted as the entries
// inflate, never taken from the container's headers.
struct ZipLimits {
  // Bytes one entry may inflate to: the largest real MusicXML scores are some
  // tens of megabytes, and a score's tree takes about nine times its text.
  uint64_t entryBytes = uint64_t{100} << 20;
  // Bytes all the entries read may inflate to together.
  uint64_t totalBytes = uint64_t{200} << 20;
  // How many times its compressed size an entry may grow, once it is past
  // `ratioFrom` bytes (XML compresses some 10 to 40 times; zeros a thousand).
  uint64_t ratio = 200;
  uint64_t ratioFrom = uint64_t{4} << 20;
  // Entries a container may hold.
  uint64_t entries = 10000;
};

// The files of the zip container `bytes`, in the container's order, without
// its folder entries; only those `wanted` accepts (by name) are inflated, the
// others come with empty bytes. `name` is the container's name for messages.
// Raises ConverterError (5, source "musedata") naming it and saying why when
// the bytes are not a readable zip container, a file in it cannot be
// inflated, or the container goes past `limits`. The container is read as
// leniently as unzip and Python's zipfile read it: nothing of it is checked
// beyond what reading the wanted entries needs.
std::vector<ZipEntry> ReadZipArchive(std::string_view bytes, const std::string& name,
                                     const std::function<bool(std::string_view)>& wanted = {},
                                     const ZipLimits& limits = {});

// The zip container that holds `entries`, in that order. The first entry is
// stored uncompressed when `storeFirst` is set (the "mimetype" file of an
// .mxl must be), the others deflated.
std::string MakeZipArchive(const std::vector<ZipEntry>& entries, bool storeFirst);

}  // namespace musedata
