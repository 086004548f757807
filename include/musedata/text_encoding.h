#pragma once

#include <optional>
#include <string_view>

namespace musedata {

// How the bytes of a MuseData file are read. Auto: UTF-8 when the whole file
// is valid UTF-8, otherwise code page 437, the DOS code page of the old corpora.
enum class TextEncoding { Auto, Utf8, Cp437, Cp1252, Latin1 };

// The encoding named "auto", "utf-8", "cp437", "cp1252" or "latin1"; nothing for another name.
std::optional<TextEncoding> ParseTextEncoding(std::string_view name) noexcept;

}  // namespace musedata
