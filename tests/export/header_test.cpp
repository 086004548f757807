#include <gtest/gtest.h>

#include <string>

#include "export/export_support.h"

namespace musedata::test {
namespace {

// Header lines 1 to 8 of a one-part score, each followed by "|".
std::string HeaderOf(const std::string& prelude, const std::string& scorePart = "") {
  std::string text = ExportXml(OnePartScore("", scorePart, prelude)).text;
  for (char& c : text) c = c == '\n' ? '|' : c;
  return text.substr(0, text.find("Oboe|"));
}

TEST(HeaderWriter, LinesFromTheScoresTexts) {
  const std::string id = "<identification>", di = "</identification>";
  const struct {
    std::string prelude;
    std::string scorePart;
    std::string expected;
  } rows[] = {
      {"", "", "||||||||"},
      // Cut to 75 characters first, then the sign widened to "(c)".
      {id + "<rights>" + std::string(20, 'x') + "\u00a9" + std::string(60, 'y') + "</rights>" + di,
       "", std::string(20, 'x') + "(c)" + std::string(54, 'y') + "||||||||"},
      // The score-part's identification first; a line end ends the line.
      {id + "<rights>score</rights><encoding><encoder>S</encoder></encoding>" + di,
       id + "<rights>part\nline two</rights><encoding><encoder>P</encoder></encoding>" + di,
       "part|||P|||||"},
      {id +
           "<encoding><encoding-date>2003-07-15</encoding-date><encoder>Ann Lee</encoder>"
           "</encoding>" +
           di,
       "", "|||07/15/03 Ann Lee|||||"},
      {id + "<encoding><encoding-date>2003-02-29</encoding-date></encoding>" + di, "",
       "|||2003-02-29|||||"},
      {"<work><work-number>7</work-number></work><movement-number>2</movement-number>", "",
       "||||WK#:7 MV#:2||||"},
      {id + "<source>" + std::string(74, 's') + " first. second</source>" + di, "",
       "|||||" + std::string(74, 's') + " |||"},
      {id + "<source>First. " + std::string(80, 's') + "</source>" + di, "", "|||||First.|||"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.expected);
    EXPECT_EQ(HeaderOf(row.prelude, row.scorePart), row.expected);
  }
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
