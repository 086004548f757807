#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "musedata/text_encoding.h"

namespace musedata {


// Whether `bytes` is entirely valid UTF-8 (no overlong forms, no surrogates).
bool IsValidUtf8(std::string_view bytes) noexcept;
// The text of `bytes` as UTF-8; a leading UTF-8 byte-order mark is dropped.
std::string DecodeToUtf8(std::string_view bytes, TextEncoding encoding);
// The encoding named "auto", "utf-8", "cp437", "cp1252" or "latin1"; nothing for another name.
std::optional<TextEncoding> ParseTextEncoding(std::string_view name) noexcept;

}  // namespace musedata
