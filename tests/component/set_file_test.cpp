#include "component/set_file.h"

#include <gtest/gtest.h>

namespace musedata {
namespace {

// Each part as "<name> @<first line>: <first record>..<last record>", joined by " | ".
std::string Split(const std::string& bytes) {
  std::string text;
  for (const auto& source : SplitSetFile("set.msd", bytes, TextEncoding::Auto)) {
    text += (text.empty() ? "" : " | ") + source->Name() + " @" +
            std::to_string(source->FirstLineInFile()) + ": " + std::string(source->ReadLine());
    std::string last;
    while (!source->AtEnd()) last = source->ReadLine();
    text += ".." + last;
  }
  return text;
}

TEST(SetFile, RecognisedByItsEndOfPartLines) {
  EXPECT_TRUE(IsSetFile("a\n/END\n/eof\n//\n"));
  EXPECT_TRUE(IsSetFile("a\r\n/END\r\n/eof  \r\n"));
  EXPECT_FALSE(IsSetFile("a\n/END\n"));
  EXPECT_FALSE(IsSetFile("a\n/eofx\n/EOF\n"));
}

TEST(SetFile, SplitsPartsWithTheirLinePositions) {
  const std::string one = "set.msd part 1 @1: one../END";
  const std::string two = "set.msd part 2 @4: two../END";
  const std::pair<std::string, std::string> rows[] = {
      {"one\n/END\n/eof\ntwo\n/END\n/eof\n//\n", one + " | " + two},
      // References before the first part are dropped.
      {"@@@ set reference\n@@@ another\none\n/END\n/eof\n//\n", "set.msd part 1 @3: one../END"},
      // A comment block naming the part stays with it.
      {"&\nFILENAME = 01\n&\none\n/END\n/eof\n", "set.msd part 1 @1: &../END"},
      // Blank lines between parts belong to neither.
      {"one\n/END\n/eof\n\n   \ntwo\n/END\n/eof\n", one + " | set.msd part 2 @6: two../END"},
      // A last part without its end-of-part line is kept.
      {"one\n/END\n/eof\ntwo\n/END\n", one + " | " + two},
      // Nothing after the set end is read.
      {"one\n/END\n/eof\n//\nthree\n/END\n/eof\n", one},
      {"one\r\n/END\r\n/eof\r\n", one},
  };
  for (const auto& [bytes, parts] : rows) EXPECT_EQ(Split(bytes), parts) << bytes;
}

TEST(SetFile, EncodingIsDecidedForTheWholeFile) {
  // The first part alone is valid UTF-8; the second has a code page 437 byte.
  // Both must be read as code page 437, so the first part's "\xC3\xA4" is two
  // characters, not one.
  const std::string bytes = "A \xC3\xA4\n/END\n/eof\nH\x84rtel\n/END\n/eof\n";
  EXPECT_EQ(Split(bytes),
            "set.msd part 1 @1: A \u251C\u00F1../END | set.msd part 2 @4: H\u00E4rtel../END");
}

}  // namespace
}  // namespace musedata
