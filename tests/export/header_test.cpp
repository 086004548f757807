#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "export/export_support.h"

namespace musedata::test {
namespace {

// Header lines 1 to 8 of a one-part score, each followed by "|".
std::string HeaderOf(const std::string& prelude) {
  std::string text = ExportXml(OnePartScore("", "", prelude)).text;
  for (char& c : text) c = c == '\n' ? '|' : c;
  return text.substr(0, text.find("Oboe|"));
}

// The usual header lines (rights cut to 75 characters, the score-part's own
// identification, dates, numbers, a source cut after its first sentence) are
// the sonatina's golden files; these are the cases they do not reach.
TEST(HeaderWriter, LinesFromTheScoresTexts) {
  const std::string id = "<identification>", di = "</identification>";
  const std::pair<std::string, std::string> rows[] = {
      {"", "||||||||"},
      {id + "<encoding><encoding-date>2003-02-29</encoding-date></encoding>" + di,
       "|||2003-02-29|||||"},
      {id + "<source>" + std::string(74, 's') + " first. second</source>" + di,
       "|||||" + std::string(74, 's') + " |||"},
  };
  for (const auto& [prelude, expected] : rows) EXPECT_EQ(HeaderOf(prelude), expected) << expected;
}

TEST(HeaderWriter, CommentsBecomeOneLineOrABlock) {
  const struct {
    std::string comment;
    std::string expected;
  } rows[] = {
      {std::string(78, 'c'), "@" + std::string(78, 'c') + "\n"},
      {std::string(79, 'c'), "&\n" + std::string(79, 'c') + "\n&\n"},
      // Empty lines at the start of a block are dropped, later ones kept.
      {"\n\nfirst\n\nsecond\n", "&\nfirst\n\nsecond\n&\n"},
      // The rest of a long line starts the next one.
      {std::string(170, 'a') + "\nend",
       "&\n" + std::string(80, 'a') + "\n" + std::string(80, 'a') + "\naaaaaaaaaa\nend\n&\n"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.expected);
    EXPECT_EQ(DataRecords("<!--" + row.comment + "-->"), row.expected);
  }
}

}  // namespace
}  // namespace musedata::test
