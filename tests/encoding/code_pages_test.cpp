#include "encoding/code_pages.h"

#include <gtest/gtest.h>

#include <set>

#include "encoding/record_view.h"

namespace musedata {
namespace {

TEST(CodePages, RecognisesValidUtf8) {
  struct Row {
    const char* name;
    std::string_view bytes;
    bool valid;
  };
  for (const Row& row :
       {Row{"empty", "", true}, Row{"ASCII", "measure 12", true},
        Row{"two-byte letter", "H\xC3\xA4rtel", true},
        Row{"four-byte G clef", "\xF0\x9D\x84\x9E", true},
        Row{"code page 437 letter", "H\x84rtel", false}, Row{"cut-off sequence", "ab\xC3", false},
        Row{"cut-off three-byte", "\xE2\x82", false}, Row{"overlong slash", "\xC0\xAF", false},
        Row{"overlong three-byte", "\xE0\x80\xAF", false}, Row{"surrogate", "\xED\xA0\x80", false},
        Row{"beyond U+10FFFF", "\xF4\x90\x80\x80", false}, Row{"lone continuation", "\x80", false},
        Row{"lead byte then ASCII",
            "\xC3"
            "A",
            false}}) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(IsValidUtf8(row.bytes), row.valid);
  }
}

TEST(CodePages, DecodesEachEncoding) {
  struct Row {
    const char* name;
    std::string_view bytes;
    TextEncoding encoding;
    std::string_view text;
  };
  for (const Row& row : {
           Row{"old corpus in code page 437", "H\x84rtel", TextEncoding::Auto, "H\xC3\xA4rtel"},
           Row{"valid UTF-8 kept", "H\xC3\xA4rtel", TextEncoding::Auto, "H\xC3\xA4rtel"},
           // One stray byte makes the whole file code page 437, not just that byte.
           Row{"mixed file read as 437", "\xC3\xA4 \x84", TextEncoding::Auto,
               "\xE2\x94\x9C\xC3\xB1 \xC3\xA4"},
           Row{"byte-order mark dropped", "\xEF\xBB\xBFmeasure", TextEncoding::Auto, "measure"},
           Row{"mark dropped before 437 text", "\xEF\xBB\xBF\x84", TextEncoding::Auto, "\xC3\xA4"},
           Row{"mark dropped when forced UTF-8", "\xEF\xBB\xBFx", TextEncoding::Utf8, "x"},
           Row{"mark is text in 437", "\xEF\xBB\xBFx", TextEncoding::Cp437,
               "\xE2\x88\xA9\xE2\x95\x97\xE2\x94\x90x"},
           Row{"forced 437 on UTF-8 bytes", "\xC3\xA4", TextEncoding::Cp437,
               "\xE2\x94\x9C\xC3\xB1"},
           Row{"forced UTF-8 replaces bad bytes",
               "a\x84"
               "b\xC3",
               TextEncoding::Utf8,
               "a\xEF\xBF\xBD"
               "b\xEF\xBF\xBD"},
           Row{"Windows euro and quote", "\x80\x84", TextEncoding::Cp1252,
               "\xE2\x82\xAC\xE2\x80\x9E"},
           Row{"Windows undefined byte kept", "\x81", TextEncoding::Cp1252, "\xC2\x81"},
           Row{"Latin-1", "\xE4\xDF", TextEncoding::Latin1, "\xC3\xA4\xC3\x9F"},
           Row{"ASCII unchanged everywhere", "C4    4", TextEncoding::Cp437, "C4    4"},
       }) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(DecodeToUtf8(row.bytes, row.encoding), row.text);
  }
}

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
  // Letters of the German, French and Italian titles in the old corpora.
  struct Row {
    char byte;
    std::string_view letter;
  };
  for (const Row& row :
       {Row{'\x81', "\xC3\xBC"}, Row{'\x82', "\xC3\xA9"}, Row{'\x85', "\xC3\xA0"},
        Row{'\x8A', "\xC3\xA8"}, Row{'\x94', "\xC3\xB6"}, Row{'\x99', "\xC3\x96"},
        Row{'\x9A', "\xC3\x9C"}, Row{'\xE1', "\xC3\x9F"}, Row{'\x87', "\xC3\xA7"}}) {
    EXPECT_EQ(DecodeToUtf8(std::string(1, row.byte), TextEncoding::Cp437), row.letter);
  }
}

}  // namespace
}  // namespace musedata
