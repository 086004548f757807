#include "import/suggestion_record.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

namespace musedata {
namespace {

// The fields as "column(selector):code number,code number | ...".
std::string Describe(const SuggestionRecord& record) {
  std::string text;
  for (const SuggestionField& field : record.fields) {
    if (!text.empty()) text += " | ";
    text += std::to_string(field.column);
    if (!field.selector.empty()) text += "(" + field.selector + ")";
    text += ":";
    for (size_t i = 0; i < field.codes.size(); ++i)
      text += (i ? "," : "") + field.codes[i].code + field.codes[i].number;
  }
  return text;
}

// Each row: the record, its selector, whether it applies here, and its fields.
TEST(SuggestionRecord, ReadsSelectorFieldsAndCodes) {
  // clang-format off
  const std::tuple<const char*, const char*, bool, const char*> rows[] = {
      {"P C1:X12Y-5", "", true, "1:X12,Y-5"}, {"P C32:Y -1 0 o", "", true, "32:Y-10,o"},
      {"P  C1:x5   C32:o C33:ab", "", true, "1:x5 | 32:o | 33:a,b"}, {"PC1:X5", "", true, "1:X5"},
      {"P junk C1:X5", "", true, "1:X5"}, {"P C32a:o", "", true, "32(a):o"},
      {"P C1:X5C2:a", "", true, "1:X5 | 2:a"}, {"P C1X10 C2:a", "", true, "2:a"},
      {"P C99999999999:X5 C1:x2", "", true, "1:x2"}, {"P C1:X--1Yab", "", true, "1:X-,-1,Y,a,b"},
      {"S C0:|>W120", "", true, "0:|>,W120"}, {"P C:X5 C1:", "", true, "1:"}, {"P", "", true, ""},
      {"Pp C1:X5", "p", false, "1:X5"}, {"Pa C1:X5", "a", true, "1:X5"},
      {"Pps C1:X5", "ps", true, "1:X5"}, {"Pkt C1:X5", "kt", false, "1:X5"},
      {"Pv3 C1:X5", "v3", false, "1:X5"}, {"Px C1:X5", "x", false, "1:X5"},
      {"P#<12 C1:X5", "#<12", true, "1:X5"},
  };
  // clang-format on
  for (const auto& [text, selector, applies, fields] : rows) {
    SCOPED_TRACE(text);
    const SuggestionRecord record = ReadSuggestionRecord(text);
    EXPECT_EQ(record.selector, selector);
    EXPECT_EQ(record.applies, applies);
    EXPECT_EQ(Describe(record), fields);
  }
}

}  // namespace
}  // namespace musedata
