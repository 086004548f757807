#include "component/set_file.h"

#include <gtest/gtest.h>

namespace musedata {
namespace {

struct SplitPart {
  std::string name;
  int32_t firstLine;
  std::string firstRecord;
  std::string lastRecord;
};

std::vector<SplitPart> Split(const std::string& bytes) {
  std::vector<SplitPart> result;
  for (const auto& source : SplitSetFile("set.msd", bytes, TextEncoding::Auto)) {
    SplitPart part{source->Name(), source->FirstLineInFile(), std::string(source->ReadLine()), {}};
    part.lastRecord = part.firstRecord;
    while (!source->AtEnd()) part.lastRecord = source->ReadLine();
    result.push_back(part);
  }
  return result;
}

TEST(SetFile, RecognisedByItsEndOfPartLines) {
  EXPECT_TRUE(IsSetFile("a\n/END\n/eof\n//\n"));
  EXPECT_TRUE(IsSetFile("a\r\n/END\r\n/eof  \r\n"));
  EXPECT_FALSE(IsSetFile("a\n/END\n"));
  EXPECT_FALSE(IsSetFile("a\n/eofx\n/EOF\n"));
}

TEST(SetFile, SplitsPartsWithTheirLinePositions) {
  struct Case {
    const char* name;
    std::string bytes;
    std::vector<SplitPart> expected;
  };
  const std::vector<Case> cases = {
      {"two parts and the set end",
       "one\n/END\n/eof\ntwo\n/END\n/eof\n//\n",
       {{"set.msd part 1", 1, "one", "/END"}, {"set.msd part 2", 4, "two", "/END"}}},
      {"references before the first part are dropped",
       "@@@ set reference\n@@@ another\none\n/END\n/eof\n//\n",
       {{"set.msd part 1", 3, "one", "/END"}}},
      {"a comment block naming the part stays with it",
       "&\nFILENAME = 01\n&\none\n/END\n/eof\n",
       {{"set.msd part 1", 1, "&", "/END"}}},
      {"blank lines between parts are not part of either",
       "one\n/END\n/eof\n\n   \ntwo\n/END\n/eof\n",
       {{"set.msd part 1", 1, "one", "/END"}, {"set.msd part 2", 6, "two", "/END"}}},
      {"a last part without its end-of-part line is kept",
       "one\n/END\n/eof\ntwo\n/END\n",
       {{"set.msd part 1", 1, "one", "/END"}, {"set.msd part 2", 4, "two", "/END"}}},
      {"nothing after the set end is read",
       "one\n/END\n/eof\n//\nthree\n/END\n/eof\n",
       {{"set.msd part 1", 1, "one", "/END"}}},
      {"CR LF line ends", "one\r\n/END\r\n/eof\r\n", {{"set.msd part 1", 1, "one", "/END"}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const std::vector<SplitPart> parts = Split(c.bytes);
    ASSERT_EQ(parts.size(), c.expected.size());
    for (size_t i = 0; i < parts.size(); ++i) {
      EXPECT_EQ(parts[i].name, c.expected[i].name);
      EXPECT_EQ(parts[i].firstLine, c.expected[i].firstLine);
      EXPECT_EQ(parts[i].firstRecord, c.expected[i].firstRecord);
      EXPECT_EQ(parts[i].lastRecord, c.expected[i].lastRecord);
    }
  }
}

TEST(SetFile, EncodingIsDecidedForTheWholeFile) {
  // The first part alone is valid UTF-8; the second has a code page 437 byte.
  // Both must be read as code page 437, so the first part's "\xC3\xA4" is two
  // characters, not one.
  const std::string bytes = "A \xC3\xA4\n/END\n/eof\nH\x84rtel\n/END\n/eof\n";
  const auto parts = SplitSetFile("set.msd", bytes, TextEncoding::Auto);
  ASSERT_EQ(parts.size(), 2u);
  EXPECT_EQ(parts[0]->ReadLine(), "A \u251C\u00F1");
  EXPECT_EQ(parts[1]->ReadLine(), "H\u00E4rtel");
}

}  // namespace
}  // namespace musedata
