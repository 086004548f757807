#include "encoding/record_view.h"

#include <gtest/gtest.h>

#include <limits>

#include "encoding/code_pages.h"

namespace musedata {
namespace {

TEST(Columns, ReadsColumnsAsTheRecordCountsThem) {
  constexpr int32_t kBeyond = std::numeric_limits<int32_t>::max();
  struct Row {
    const char* name;
    std::string_view record;
    int32_t first, last;
    std::string_view raw, field;
  };
  // clang-format off
  for (const Row& row : {
      Row{"inside", "C4    12        q", 6, 8, " 12", "12"},
      Row{"field fills its width exactly", "C4   123-", 6, 8, "123", "123"},
      Row{"field runs past the end", "measure 12", 9, 12, "12", "12"},
      Row{"wholly past the end", "C4    4", 10, 12, "", ""},
      Row{"starts just past the end", "abc", 4, 4, "", ""},
      Row{"last column", "abc", 3, 3, "c", "c"},
      Row{"first column", "abc", 1, 1, "a", "a"},
      Row{"column 0 reads from column 1", "abc", 0, 2, "ab", "ab"},
      Row{"reversed range", "abcdef", 4, 2, "", ""},
      Row{"to the largest column", "D:Allegro ", 3, kBeyond, "Allegro ", "Allegro"},
      Row{"blank field", "r     4   ", 9, 10, "  ", ""},
      Row{"only blanks are trimmed", "x\tq\t ", 2, 5, "\tq\t ", "\tq\t"},
      Row{"empty record", "", 1, 3, "", ""},
      Row{"accented letter is one column", "*     H\xC3\xA4rtel", 7, 9, "H\xC3\xA4r", "H\xC3\xA4r"},
      Row{"columns after an accented letter", "\xC3\xA4 C4", 3, 4, "C4", "C4"},
      Row{"three-byte character", "\xE2\x80\x94" "ab", 2, 2, "a", "a"},
  }) {
    // clang-format on
    SCOPED_TRACE(row.name);
    const RecordView view(row.record);
    EXPECT_EQ(view.Raw(row.first, row.last), row.raw);
    EXPECT_EQ(view.Raw(Span{row.first, row.last}), row.raw);
    EXPECT_EQ(view.Field(row.first, row.last), row.field);
    EXPECT_EQ(view.Has(row.first, row.last), !row.field.empty());
  }
}

TEST(Columns, SingleColumnsAndTheRestOfTheRecord) {
  // "Härtel" typed on a DOS machine: the "ä" is one byte of code page 437.
  const std::string record = DecodeToUtf8("* H\x84rtel", TextEncoding::Auto);
  const RecordView view(record);
  EXPECT_EQ(view.Length(), 8);
  EXPECT_EQ(view.Column(4), "\xC3\xA4");
  EXPECT_EQ(view.Column(8), "l");
  EXPECT_EQ(view.Column(9), "");
  EXPECT_EQ(view.At(3), 'H');
  EXPECT_EQ(view.At(4), static_cast<char>(0x80));
  EXPECT_EQ(view.At(5), 'r');
  EXPECT_EQ(view.At(0), '\0');
  EXPECT_EQ(view.At(9), '\0');
  EXPECT_EQ(view.From(4), "\xC3\xA4rtel");
  EXPECT_EQ(view.From(9), "");
  EXPECT_EQ(view.From(-2), record);
  EXPECT_EQ(view.Text(), record) << "reading never changes the record";
}

TEST(Columns, LineBuilderPadsOverwritesAndTrims) {
  // clang-format off
  const std::pair<std::string, std::string_view> rows[] = {
      {LineBuilder().Put(1, "C4").PutRight(8, "4").Put(17, "q").Finish(), "C4     4        q"},
      {LineBuilder().Put(1, "r").PutRight(8, "123").Finish(), "r    123"},
      {LineBuilder().Put(1, "measure").Put(2, "heavy2").Finish(), "mheavy2"},
      {LineBuilder().Put(1, "$").Put(3, "K:0  ").Put(20, " ").Finish(), "$ K:0"},
      {LineBuilder().Put(4, "   ").Finish(), ""},
      {LineBuilder().Put(1, "H\xC3\xA4").Put(3, "rtel").PutRight(10, "x").Finish(),
       "H\xC3\xA4rtel   x"},
      {LineBuilder().PutRight(3, "\xC3\xA4\xC3\xB6").Finish(), " \xC3\xA4\xC3\xB6"},
      {LineBuilder().Put(-3, "ab").Finish(), "ab"},
  };
  // clang-format on
  for (const auto& [line, expected] : rows) EXPECT_EQ(line, expected);
}

}  // namespace
}  // namespace musedata
