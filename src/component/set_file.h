#pragma once

// MuseData set files: a whole movement in one file. A set may open with
// reference lines ("@@@..."); each part (often after a comment block naming
// it) ends with "/END" and a line "/eof"; the set ends with a line "//".

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "component/line_source.h"

namespace musedata {

// Whether `bytes` hold a set file: some line reads "/eof".
bool IsSetFile(std::string_view bytes) noexcept;

// One part of a set file: its bytes and where they start in the file.
struct SetFilePart {
  std::string_view bytes;
  int32_t firstLine = 1;
};

// The parts of a set file, in order, without the set's reference lines, the
// blank lines between parts and their "/eof" lines.
std::vector<SetFilePart> SetFileParts(std::string_view bytes);

// The parts of a set file, in order, each a source of its own named
// "<fileName> part <n>" that reports line numbers of the whole file. The
// encoding is decided once for the whole file. A set without any part gives
// no sources.
std::vector<std::unique_ptr<LineSource>> SplitSetFile(const std::string& fileName,
                                                      std::string_view bytes,
                                                      TextEncoding encoding);

}  // namespace musedata
