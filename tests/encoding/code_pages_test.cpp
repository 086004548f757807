#include "encoding/code_pages.h"

#include <gtest/gtest.h>

#include <set>

#include "encoding/record_view.h"

namespace musedata {
namespace {

TEST(CodePages, RecognisesValidUtf8) {
  // Empty, a two-byte letter and a four-byte G clef.
  for (const char* bytes : {"", "H\xC3\xA4rtel", "\xF0\x9D\x84\x9E"})
    EXPECT_TRUE(IsValidUtf8(bytes)) << bytes;
  // clang-format off
  const std::pair<const char*, std::string_view> invalid[] = {
      {"code page 437 letter", "H\x84rtel"}, {"cut-off sequence", "ab\xC3"},
      {"cut-off three-byte", "\xE2\x82"},    {"overlong slash", "\xC0\xAF"},
      {"overlong three-byte", "\xE0\x80\xAF"}, {"surrogate", "\xED\xA0\x80"},
      {"beyond U+10FFFF", "\xF4\x90\x80\x80"}, {"lone continuation", "\x80"},
      {"lead byte then ASCII", "\xC3" "A"},
  };
  // clang-format on
  for (const auto& [name, bytes] : invalid) EXPECT_FALSE(IsValidUtf8(bytes)) << name;
}

TEST(CodePages, DecodesEachEncoding) {
  struct Row {
    const char* name;
    std::string_view bytes;
    TextEncoding encoding;
    std::string_view text;
  };
  constexpr TextEncoding kAuto = TextEncoding::Auto;
  // clang-format off
  for (const Row& row : {
      Row{"old corpus in code page 437", "H\x84rtel", kAuto, "H\xC3\xA4rtel"},
      Row{"valid UTF-8 kept", "H\xC3\xA4rtel", kAuto, "H\xC3\xA4rtel"},
      // One stray byte makes the whole file code page 437, not just that byte.
      Row{"mixed file read as 437", "\xC3\xA4 \x84", kAuto, "\xE2\x94\x9C\xC3\xB1 \xC3\xA4"},
      Row{"byte-order mark dropped", "\xEF\xBB\xBFmeasure", kAuto, "measure"},
      Row{"mark dropped before 437 text", "\xEF\xBB\xBF\x84", kAuto, "\xC3\xA4"},
      Row{"mark dropped when forced UTF-8", "\xEF\xBB\xBFx", TextEncoding::Utf8, "x"},
      Row{"mark is text in 437", "\xEF\xBB\xBFx", TextEncoding::Cp437,
          "\xE2\x88\xA9\xE2\x95\x97\xE2\x94\x90x"},
      Row{"forced 437 on UTF-8 bytes", "\xC3\xA4", TextEncoding::Cp437, "\xE2\x94\x9C\xC3\xB1"},
      Row{"forced UTF-8 replaces bad bytes", "a\x84" "b\xC3", TextEncoding::Utf8,
          "a\xEF\xBF\xBD" "b\xEF\xBF\xBD"},
      Row{"Windows euro and quote", "\x80\x84", TextEncoding::Cp1252, "\xE2\x82\xAC\xE2\x80\x9E"},
      Row{"Windows undefined byte kept", "\x81", TextEncoding::Cp1252, "\xC2\x81"},
      Row{"Latin-1", "\xE4\xDF", TextEncoding::Latin1, "\xC3\xA4\xC3\x9F"},
      Row{"ASCII unchanged", "C4    4", TextEncoding::Cp437, "C4    4"},
  }) {
    // clang-format on
    SCOPED_TRACE(row.name);
    EXPECT_EQ(DecodeToUtf8(row.bytes, row.encoding), row.text);
  }
}

// Each high byte is one character of its own; letters at both ends of the
// accented range pin the table's alignment.
TEST(CodePages, EveryHighByteOfCodePage437IsOneDistinctCharacter) {
  std::set<std::string> seen;
  for (int byte = 0x80; byte <= 0xFF; ++byte) {
    SCOPED_TRACE(byte);
    const std::string text =
        DecodeToUtf8(std::string(1, static_cast<char>(byte)), TextEncoding::Cp437);
    EXPECT_TRUE(IsValidUtf8(text));
    EXPECT_EQ(CharacterCount(text), 1);
    EXPECT_TRUE(seen.insert(text).second) << "decoded twice: " << text;
  }
  EXPECT_EQ(DecodeToUtf8("\x81\x87\x9A\xE1", TextEncoding::Cp437),
            "\xC3\xBC\xC3\xA7\xC3\x9C\xC3\x9F");
}

}  // namespace
}  // namespace musedata
