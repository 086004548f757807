#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "support/test_support.h"

namespace musedata::test {
namespace {

// A bar record laid out in its columns: the record name (1-7), the measure
// number (9-12), footnote (13), level (14) and flags (17 on).
std::string Bar(const std::string& name, const std::string& number, const std::string& footnote,
                const std::string& level, const std::string& flags) {
  std::string record = name;
  record.resize(8, ' ');
  record += number;
  record.resize(12, ' ');
  record += footnote.empty() ? " " : footnote;
  record += level.empty() ? " " : level;
  record += "  " + flags;
  return record;
}

}  // namespace

TEST(BarLine, NumbersMeasuresFromTheFirstBarLine) {
  struct Row {
    const char* name;
    std::vector<std::string> records;
    std::string expected;
  };
  const std::vector<Row> rows = {
      {"bar 2 closes a full first measure; * makes it non-controlling",
       {"@ a", Bar("measure", "2", "", "", "*"), "@ b", "measure 3", "@ c"},
       R"(<measure number="1" non-controlling="yes"><!-- a--></measure>)"
       R"(<measure number="2"><!-- b--></measure><measure number="3"><!-- c--></measure>)"},
      {"unnumbered bars count on from the first measure, which becomes implicit",
       {"@ a", "measure", "@ b", "measure", "@ c"},
       R"(<measure number="X1" implicit="yes"><!-- a--></measure><measure number="X2"><!-- b-->)"
       R"(</measure><measure number="X3"><!-- c--></measure>)"},
      {"a numbered first bar takes the first measure out of the count",
       {"@ a", "measure 1", "@ b", "measure", "@ c"},
       R"(<measure number="0" implicit="yes"><!-- a--></measure><measure number="1"><!-- b-->)"
       R"(</measure><measure number="X1"><!-- c--></measure>)"},
      {"a number that is not a whole number is kept as text",
       {"@ a", "measure 12a", "@ b"},
       R"(<measure number="X1" implicit="yes"><!-- a--></measure><measure number="12a"><!-- b-->)"
       R"(</measure>)"},
      {"a measure that holds only its left bar line is kept at the end",
       {"@ a", Bar("measure", "2", "", "", "|:")},
       R"(<measure number="1"><!-- a--></measure><measure number="2"><barline location="left">)"
       R"(<repeat direction="forward"/></barline></measure>)"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(PartXml(row.records, "/score-partwise/part/measure"), row.expected);
  }
}

TEST(BarLine, NamesTheBarStyle) {
  const std::pair<std::string, std::string> rows[] = {{"mdotted 2", "dotted"},
                                                      {"mdouble 2", "light-light"},
                                                      {"mheavy1 2", "heavy"},
                                                      {"mheavy4 2", "heavy-heavy"},
                                                      {"mheavy5 2", ""}};
  for (const auto& [record, style] : rows) {
    EXPECT_EQ(PartXml({"@ a", record, "@ b"}, "//barline"),
              style.empty()
                  ? ""
                  : R"(<barline location="right"><bar-style>)" + style + "</bar-style></barline>")
        << record;
  }
}

TEST(BarLine, PutsFlagsOnTheRightOrLeftBarLine) {
  struct Row {
    const char* name;
    std::string bar;
    std::string barlines;  // the closed measure's, then the new measure's
  };
  const std::vector<Row> rows = {
      {"both repeats", Bar("measure", "2", "", "", ":|:"),
       R"(<barline location="right"><repeat direction="backward"/></barline><barline )"
       R"(location="left"><repeat direction="forward"/></barline>)"},
      {"ending discontinue; the later ending flag wins",
       Bar("measure", "2", "", "", "stop-end1disc-end2"),
       R"(<barline location="right"><ending number="2" type="discontinue"/></barline>)"},
      {"marks in their fixed order, unknown flags ignored", Bar("measure", "2", "", "", "E:|xF A~"),
       R"(<barline location="right"><wavy-line type="continue"/><segno/><fermata/><fermata )"
       R"(type="inverted"/><repeat direction="backward"/></barline>)"},
      {"% is a segno too", Bar("measure", "2", "", "", "%"),
       R"(<barline location="right"><segno/></barline>)"},
      {"footnote and level without flags", Bar("measure", "2", "f", "1", ""),
       R"(<barline location="right"><footnote>f</footnote><level>1</level></barline>)"},
      {"footnote and level again on an opening left bar line", Bar("measure", "2", "f", "1", "|:"),
       R"(<barline location="right"><footnote>f</footnote><level>1</level></barline><barline )"
       R"(location="left"><footnote>f</footnote><level>1</level><repeat direction="forward"/>)"
       R"(</barline>)"},
      {"flags are read only from column 17", "measure 2     :|", ""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(PartXml({"measure 1", "@ a", row.bar, "@ b"}, "//barline"), row.barlines);
  }
}

TEST(BackupForward, MoveTheTimePosition) {
  // Duration in columns 6-8, footnote 13, level 14, voice 15, pass 17, staff 24.
  const std::pair<std::string, std::string> rows[] = {
      {"back  12      ", "<backup><duration>12</duration></backup>"},
      {"irest  4    f12 3      2",
       "<forward><duration>4</duration><footnote>f</footnote><level>1</level><voice>2</voice>"
       "<pass-number>3</pass-number><staff>2</staff></forward>"},
      // A backup has no voice or staff; a pass that is not a digit is dropped.
      {"back  16    f12 3      2",
       "<backup><duration>16</duration><footnote>f</footnote><level>1</level>"
       "<pass-number>3</pass-number></backup>"},
      {"irest  4        x", "<forward><duration>4</duration></forward>"},
  };
  for (const auto& [record, expected] : rows)
    EXPECT_EQ(PartXml({record}, "//backup|//forward"), expected) << record;
}

TEST(BackupForward, OtherRecordsStartingWithBOrIEndTheLoad) {
  for (const char* record : {"bxyz", "back", "back12", "irst  4", "i"})
    EXPECT_EQ(PartXml({"@ a", record, "@ b"}, "/"), "(false)") << record;
}

TEST(EndRecord, UnknownEndRecordsRaiseTheirOwnError) {
  for (const std::string token : {"FIN", "ENDS", "", "end"}) {
    EXPECT_EQ(ErrorOf([&] { ImportText(Header() + "@ a\n/" + token + "\n"); }),
              "6027 Verdantix: Unrecognized end-of-file record \"" + token + "\"");
  }
}

// "/END" ends the part whatever follows it; after "/FINE" every line, blank or
// not, is one comment after the parts.
TEST(EndRecord, EndWithTrailingTextAndFine) {
  const Imported ended = ImportText(Header() + "@ a\n/END of the part\nnot read\n");
  ASSERT_TRUE(ended.result);
  EXPECT_EQ(XmlAt(ended.document, "/score-partwise/part/measure"),
            R"(<measure number="X1"><!-- a--></measure>)");

  const Imported fine = ImportText(
      Header() + "@ a\nmeasure 1\n/FINE\nthe music ends here\n\n$ not an attribute\n/END\n");
  ASSERT_TRUE(fine.result);
  EXPECT_EQ(XmlAt(fine.document, "/score-partwise/part/measure"),
            R"(<measure number="0" implicit="yes"><!-- a--></measure>)");
  EXPECT_EQ(XmlAt(fine.document, "/score-partwise/part/following-sibling::comment()"),
            "<!--the music ends here\r\n\r\n$ not an attribute\r\n-->");
}

}  // namespace musedata::test
