#pragma once

// Zip containers held in memory: MusicXML's compressed form (.mxl) and the
// zips in which older distributions ship the part files of a movement.

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

// The files of the zip container `bytes`, in the container's order, without
// its folder entries. `name` is the container's name for messages. Raises
// ConverterError (5, source "musedata") naming it when the bytes are not a
// readable zip container or a file in it cannot be inflated.
std::vector<ZipEntry> ReadZipArchive(std::string_view bytes, const std::string& name);

// The zip container that holds `entries`, in that order. The first entry is
// stored uncompressed when `storeFirst` is set (the "mimetype" file of an
// .mxl must be), the others deflated.
std::string MakeZipArchive(const std::vector<ZipEntry>& entries, bool storeFirst);

}  // namespace musedata
