#include <gtest/gtest.h>

#include <string>

#include "export/export_support.h"

namespace musedata::test {
namespace {

// The header lines up to the part name (lines 1 to 9) of a one-part score.
std::string HeaderOf(const std::string& prelude, const std::string& scorePart = "") {
  const Exported exported = ExportXml(OnePartScore("", scorePart, prelude));
  if (!exported.result) return "(false) " + exported.error;
  std::string lines;
  size_t at = 0;
  for (int line = 0; line < 9; ++line) {
    const size_t end = exported.text.find('\n', at);
    lines += exported.text.substr(at, end - at) + "|";
    at = end + 1;
  }
  return lines;
}

TEST(HeaderWriter, LinesFromTheScoresTexts) {
  const std::string longRights = "Copyright " + std::string(20, 'x') + " \u00a9" +
                                 std::string(43, 'y') + " and then some more";
  const struct {
    const char* name;
    std::string prelude;
    std::string scorePart;
    std::string expected;
  } rows[] = {
      {"nothing to say", "", "", "||||||||Oboe|"},
      {"rights cut before the sign is widened",
       "<identification><rights>" + longRights + "</rights></identification>", "",
       "Copyright " + std::string(20, 'x') + " (c)" + std::string(43, 'y') + "||||||||Oboe|"},
      {"rights and encoder of the score-part come first",
       "<identification><rights>score</rights><encoding><encoder>S</encoder></encoding>"
       "</identification>",
       "<identification><rights>part\nline two</rights><encoding><encoder>P</encoder>"
       "</encoding></identification>",
       "part|||P|||||Oboe|"},
      {"rights found under the work last",
       "<work><identification><rights>w</rights></identification></work>", "", "w||||||||Oboe|"},
      {"date and encoder",
       "<identification><encoding><encoding-date>2003-07-15</encoding-date><encoder>Ann "
       "Lee</encoder></encoding></identification>",
       "", "|||07/15/03 Ann Lee|||||Oboe|"},
      {"a day that does not exist stays text",
       "<identification><encoding><encoding-date>2003-02-29</encoding-date></encoding>"
       "</identification>",
       "", "|||2003-02-29|||||Oboe|"},
      {"encoder alone",
       "<identification><encoding><encoder>Ann</encoder></encoding></identification>", "",
       "|||Ann|||||Oboe|"},
      {"work and movement numbers",
       "<work><work-number>7</work-number></work><movement-number>2</movement-number>", "",
       "||||WK#:7 MV#:2||||Oboe|"},
      {"movement number alone", "<movement-number>2</movement-number>", "", "||||MV#:2||||Oboe|"},
      {"a long source without a full stop in time",
       "<identification><source>" + std::string(74, 's') +
           " first. second</source>"
           "</identification>",
       "", "|||||" + std::string(74, 's') + " |||Oboe|"},
      {"a long source cut after its first sentence",
       "<identification><source>First. " + std::string(80, 's') + "</source></identification>", "",
       "|||||First.|||Oboe|"},
      {"titles",
       "<work><work-title>Sonata</work-title></work><movement-title>Adagio</movement-title>", "",
       "||||||Sonata|Adagio|Oboe|"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(HeaderOf(row.prelude, row.scorePart), row.expected);
  }
}

TEST(HeaderWriter, GroupLinesNameThePartsPlaceInEachGroup) {
  const Exported grouped = ExportXml(
      "<score-partwise><part-list><score-part id=\"P1\"><part-name>a</part-name></score-part>"
      "<score-part id=\"P2\"><part-name>b</part-name><group> sound </group><group>parts</group>"
      "</score-part></part-list><part id=\"P1\"/><part id=\"P2\"/></score-partwise>",
      2);
  ASSERT_TRUE(grouped.result) << grouped.error;
  EXPECT_NE(grouped.text.find("\nb\n\nGroup memberships: sound parts\nsound: part 2 of 2\n"
                              "parts: part 2 of 2\n/END\n"),
            std::string::npos)
      << grouped.text;
}

TEST(HeaderWriter, CommentsBecomeOneLineOrABlock) {
  const std::string line78(78, 'c');
  const std::string line79(79, 'c');
  const struct {
    const char* name;
    std::string comment;
    std::string expected;
  } rows[] = {
      {"short", " tutti", "@ tutti\n"},
      {"78 characters", line78, "@" + line78 + "\n"},
      {"79 characters", line79, "&\n" + line79 + "\n&\n"},
      {"leading empty lines dropped, later ones kept", "\n\nfirst\n\nsecond\n",
       "&\nfirst\n\nsecond\n&\n"},
      {"long lines broken at 80", std::string(80, 'a') + std::string(90, 'b') + "\nend",
       "&\n" + std::string(80, 'a') + "\n" + std::string(80, 'b') + "\n" + std::string(10, 'b') +
           "\nend\n&\n"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(DataRecords("<!--" + row.comment + "-->"), row.expected);
  }
}

}  // namespace
}  // namespace musedata::test
