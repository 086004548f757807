#pragma once

#include <string>
#include <string_view>

namespace musedata {

// Writes `content` to `path` through a temporary file in the same folder that
// is renamed into place only when everything was written. Raises a
// ConverterError (source "musedata", 75) naming the path when it cannot.
void WriteFileAtomically(const std::string& path, std::string_view content);

}  // namespace musedata
