#include "encoding/code_pages.h"

#include <cstdint>
#include <cstring>

namespace musedata {
namespace {

// The characters of bytes 0x80 to 0xFF in the DOS code page 437, in which the
// old MuseData corpora were typed.
constexpr char32_t kCp437[128] = {
    0x00C7, 0x00FC, 0x00E9, 0x00E2, 0x00E4, 0x00E0, 0x00E5, 0x00E7, 0x00EA, 0x00EB, 0x00E8, 0x00EF,
    0x00EE, 0x00EC, 0x00C4, 0x00C5, 0x00C9, 0x00E6, 0x00C6, 0x00F4, 0x00F6, 0x00F2, 0x00FB, 0x00F9,
    0x00FF, 0x00D6, 0x00DC, 0x00A2, 0x00A3, 0x00A5, 0x20A7, 0x0192, 0x00E1, 0x00ED, 0x00F3, 0x00FA,
    0x00F1, 0x00D1, 0x00AA, 0x00BA, 0x00BF, 0x2310, 0x00AC, 0x00BD, 0x00BC, 0x00A1, 0x00AB, 0x00BB,
    0x2591, 0x2592, 0x2593, 0x2502, 0x2524, 0x2561, 0x2562, 0x2556, 0x2555, 0x2563, 0x2551, 0x2557,
    0x255D, 0x255C, 0x255B, 0x2510, 0x2514, 0x2534, 0x252C, 0x251C, 0x2500, 0x253C, 0x255E, 0x255F,
    0x255A, 0x2554, 0x2569, 0x2566, 0x2560, 0x2550, 0x256C, 0x2567, 0x2568, 0x2564, 0x2565, 0x2559,
    0x2558, 0x2552, 0x2553, 0x256B, 0x256A, 0x2518, 0x250C, 0x2588, 0x2584, 0x258C, 0x2590, 0x2580,
    0x03B1, 0x00DF, 0x0393, 0x03C0, 0x03A3, 0x03C3, 0x00B5, 0x03C4, 0x03A6, 0x0398, 0x03A9, 0x03B4,
    0x221E, 0x03C6, 0x03B5, 0x2229, 0x2261, 0x00B1, 0x2265, 0x2264, 0x2320, 0x2321, 0x00F7, 0x2248,
    0x00B0, 0x2219, 0x00B7, 0x221A, 0x207F, 0x00B2, 0x25A0, 0x00A0,
};

// The same for Windows-1252 (bytes without a character keep their C1 code).
constexpr char32_t kCp1252[128] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160, 0x2039,
    0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178, 0x00A0, 0x00A1, 0x00A2, 0x00A3,
    0x00A4, 0x00A5, 0x00A6, 0x00A7, 0x00A8, 0x00A9, 0x00AA, 0x00AB, 0x00AC, 0x00AD, 0x00AE, 0x00AF,
    0x00B0, 0x00B1, 0x00B2, 0x00B3, 0x00B4, 0x00B5, 0x00B6, 0x00B7, 0x00B8, 0x00B9, 0x00BA, 0x00BB,
    0x00BC, 0x00BD, 0x00BE, 0x00BF, 0x00C0, 0x00C1, 0x00C2, 0x00C3, 0x00C4, 0x00C5, 0x00C6, 0x00C7,
    0x00C8, 0x00C9, 0x00CA, 0x00CB, 0x00CC, 0x00CD, 0x00CE, 0x00CF, 0x00D0, 0x00D1, 0x00D2, 0x00D3,
    0x00D4, 0x00D5, 0x00D6, 0x00D7, 0x00D8, 0x00D9, 0x00DA, 0x00DB, 0x00DC, 0x00DD, 0x00DE, 0x00DF,
    0x00E0, 0x00E1, 0x00E2, 0x00E3, 0x00E4, 0x00E5, 0x00E6, 0x00E7, 0x00E8, 0x00E9, 0x00EA, 0x00EB,
    0x00EC, 0x00ED, 0x00EE, 0x00EF, 0x00F0, 0x00F1, 0x00F2, 0x00F3, 0x00F4, 0x00F5, 0x00F6, 0x00F7,
    0x00F8, 0x00F9, 0x00FA, 0x00FB, 0x00FC, 0x00FD, 0x00FE, 0x00FF,
};

void AppendUtf8(std::string& out, char32_t c) {
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (c >> 18));
    out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
}

// The length of the valid UTF-8 sequence that starts at `i`, or 0.
size_t Utf8SequenceLength(std::string_view bytes, size_t i) {
  const auto at = [&](size_t k) { return static_cast<unsigned char>(bytes[k]); };
  const unsigned char lead = at(i);
  if (lead < 0x80) return 1;
  size_t length = 0;
  char32_t minimum = 0;
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
    minimum = 0x80;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    minimum = 0x800;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    minimum = 0x10000;
  } else {
    return 0;
  }
  if (i + length > bytes.size()) return 0;
  char32_t c = lead & (0x7F >> length);
  for (size_t k = 1; k < length; ++k) {
    if ((at(i + k) & 0xC0) != 0x80) return 0;
    c = (c << 6) | (at(i + k) & 0x3F);
  }
  if (c < minimum || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) return 0;
  return length;
}

std::string DecodeSingleByte(std::string_view bytes, const char32_t* high) {
  std::string out;
  out.reserve(bytes.size() + bytes.size() / 8);
  for (const char byte : bytes) {
    const auto b = static_cast<unsigned char>(byte);
    if (b < 0x80)
      out += byte;
    else
      AppendUtf8(out, high ? high[b - 0x80] : static_cast<char32_t>(b));
  }
  return out;
}

}  // namespace

size_t AsciiRunEnd(std::string_view bytes, size_t from) noexcept {
  uint64_t eight;
  for (; from + sizeof eight <= bytes.size(); from += sizeof eight) {
    std::memcpy(&eight, bytes.data() + from, sizeof eight);
    if ((eight & 0x8080808080808080u) != 0) break;
  }
  while (from < bytes.size() && static_cast<unsigned char>(bytes[from]) < 0x80) ++from;
  return from;
}

bool IsValidUtf8(std::string_view bytes) noexcept {
  for (size_t i = AsciiRunEnd(bytes, 0); i < bytes.size(); i = AsciiRunEnd(bytes, i)) {
    const size_t length = Utf8SequenceLength(bytes, i);
    if (length == 0) return false;
    i += length;
  }
  return true;
}

TextEncoding ResolveEncoding(std::string_view bytes, TextEncoding encoding) noexcept {
  if (encoding != TextEncoding::Auto) return encoding;
  return IsValidUtf8(bytes) ? TextEncoding::Utf8 : TextEncoding::Cp437;
}

std::string DecodeToUtf8(std::string_view bytes, TextEncoding encoding) {
  if (bytes.size() >= 3 && bytes.substr(0, 3) == "\xEF\xBB\xBF" &&
      (encoding == TextEncoding::Auto || encoding == TextEncoding::Utf8))
    bytes.remove_prefix(3);
  switch (encoding) {
    case TextEncoding::Auto:
      if (IsValidUtf8(bytes)) return std::string(bytes);
      return DecodeSingleByte(bytes, kCp437);
    case TextEncoding::Cp437: return DecodeSingleByte(bytes, kCp437);
    case TextEncoding::Cp1252: return DecodeSingleByte(bytes, kCp1252);
    case TextEncoding::Latin1: return DecodeSingleByte(bytes, nullptr);
    case TextEncoding::Utf8:
      if (IsValidUtf8(bytes)) return std::string(bytes);
      break;
  }
  // Forced UTF-8: a byte that starts no valid sequence becomes U+FFFD.
  std::string out;
  out.reserve(bytes.size());
  for (size_t i = 0; i < bytes.size();) {
    const size_t length = Utf8SequenceLength(bytes, i);
    if (length == 0) {
      AppendUtf8(out, 0xFFFD);
      ++i;
    } else {
      out.append(bytes.substr(i, length));
      i += length;
    }
  }
  return out;
}

std::optional<TextEncoding> ParseTextEncoding(std::string_view name) noexcept {
  if (name == "auto") return TextEncoding::Auto;
  if (name == "utf-8" || name == "utf8") return TextEncoding::Utf8;
  if (name == "cp437") return TextEncoding::Cp437;
  if (name == "cp1252") return TextEncoding::Cp1252;
  if (name == "latin1" || name == "iso-8859-1") return TextEncoding::Latin1;
  return std::nullopt;
}

std::string ForeignTextKind(std::string_view bytes) {
  constexpr std::string_view kTextEncodings = "; MuseData files are ASCII, CP437, Latin-1 or UTF-8";
  // UTF-32's byte-order marks begin as UTF-16's little-endian one does.
  if (bytes.starts_with(std::string_view("\xFF\xFE\0\0", 4)) ||
      bytes.starts_with(std::string_view("\0\0\xFE\xFF", 4)))
    return "UTF-32 text" + std::string(kTextEncodings);
  if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF"))
    return "UTF-16 text" + std::string(kTextEncodings);
  if (bytes.starts_with("PK\x03\x04")) return "a zip container, not MuseData text";
  // Wide text without a byte-order mark shows as NUL bytes between the letters.
  const std::string_view start = bytes.substr(0, 4096);
  const size_t nul = start.find('\0');
  if (nul != std::string_view::npos) {
    size_t evenNuls = 0;
    size_t oddNuls = 0;
    for (size_t at = 0; at < start.size(); ++at)
      if (start[at] == '\0') ++(at % 2 == 0 ? evenNuls : oddNuls);
    const size_t half = start.size() / 2;
    if (half > 0 && (evenNuls * 10 >= half * 9 || oddNuls * 10 >= half * 9))
      return "UTF-16 text" + std::string(kTextEncodings);
    return "binary data (NUL bytes), not MuseData text";
  }
  std::string_view text = bytes;
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  const size_t first = text.find_first_not_of(" \t\r\n");
  if (first != std::string_view::npos) {
    text.remove_prefix(first);
    if (text.starts_with("<?xml") || text.starts_with("<score-partwise") ||
        text.starts_with("<score-timewise") || text.starts_with("<!DOCTYPE score-"))
      return "MusicXML, not MuseData text";
  }
  return {};
}

}  // namespace musedata
