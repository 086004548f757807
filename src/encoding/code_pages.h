#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "musedata/text_encoding.h"

namespace musedata {

// Where the run of ASCII bytes that starts at `from` ends: the first byte of
// 0x80 or above, or the end. Eight bytes at a time, as most MuseData text is
// plain ASCII.
size_t AsciiRunEnd(std::string_view bytes, size_t from) noexcept;
// Whether `bytes` is entirely valid UTF-8 (no overlong forms, no surrogates).
bool IsValidUtf8(std::string_view bytes) noexcept;
// The encoding that `Auto` stands for with these bytes: UTF-8 when they are
// all valid UTF-8, else code page 437; any other choice is kept.
TextEncoding ResolveEncoding(std::string_view bytes, TextEncoding encoding) noexcept;
// What `bytes` are when they cannot be MuseData text at all, as a message
// names them ("UTF-16 text; MuseData files are ...", "MusicXML, not MuseData
// text", ...): text with a UTF-16 or UTF-32 byte-order mark or with NUL bytes,
// a zip container, an XML document. Empty for anything the reader can take.
std::string ForeignTextKind(std::string_view bytes);
// The text of `bytes` as UTF-8; a leading UTF-8 byte-order mark is dropped.
std::string DecodeToUtf8(std::string_view bytes, TextEncoding encoding);

}  // namespace musedata
