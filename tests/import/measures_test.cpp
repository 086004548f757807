#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "support/test_support.h"

namespace musedata::test {

// Bar records carry the measure number in columns 9-12, a footnote in 13, a
// level in 14 and flags from column 17. Each measure shows as its attributes
// and the comments it holds.
TEST(BarLine, NumbersMeasuresFromTheFirstBarLine) {
  // clang-format off
  const std::pair<std::vector<std::string>, std::string> rows[] = {
      // Bar 2 closes a full first measure; "*" makes it non-controlling.
      {{"@ a", "measure 2       *", "@ b", "measure 3", "@ c"},
       R"( number="1" non-controlling="yes"<!-- a--> number="2"<!-- b--> number="3"<!-- c-->)"},
      // Unnumbered bars count on from the first measure, which becomes implicit.
      {{"@ a", "measure", "@ b", "measure", "@ c"},
       R"( number="X1" implicit="yes"<!-- a--> number="X2"<!-- b--> number="X3"<!-- c-->)"},
      // A numbered first bar takes the first measure out of the count.
      {{"@ a", "measure 1", "@ b", "measure", "@ c"},
       R"( number="0" implicit="yes"<!-- a--> number="1"<!-- b--> number="X1"<!-- c-->)"},
      {{"@ a", "measure 12a", "@ b"},
       R"( number="X1" implicit="yes"<!-- a--> number="12a"<!-- b-->)"},
      // A measure that holds only its left bar line is kept at the end.
      {{"@ a", "measure 2       |:"}, R"( number="1"<!-- a--> number="2")"},
  };
  // clang-format on
  for (const auto& [records, expected] : rows)
    EXPECT_EQ(PartXml(records, "//measure/@*|//measure/comment()"), expected) << records[1];
}

// Each row: the bar record closing measure 1, and the bar lines of the closed
// measure (right, with the bar style) and of the new one (left).
TEST(BarLine, PutsStyleAndFlagsOnTheRightOrLeftBarLine) {
  const std::string fl = "<footnote>f</footnote><level>1</level>";
  const std::string right = R"(<barline location="right">)";
  const std::string left = R"(<barline location="left">)";
  const std::string forward = R"(<repeat direction="forward"/></barline>)";
  const std::string backward = R"(<repeat direction="backward"/></barline>)";
  // clang-format off
  const std::pair<std::string, std::string> rows[] = {
      {"mdotted 2", right + "<bar-style>dotted</bar-style></barline>"},
      {"mdouble 2", right + "<bar-style>light-light</bar-style></barline>"},
      {"mheavy1 2", right + "<bar-style>heavy</bar-style></barline>"},
      {"mheavy4 2", right + "<bar-style>heavy-heavy</bar-style></barline>"},
      {"mheavy5 2", ""},  // no such style
      {"measure 2       :|:", right + backward + left + forward},
      // The later ending flag wins.
      {"measure 2       stop-end1disc-end2",
       right + R"(<ending number="2" type="discontinue"/></barline>)"},
      // Marks in their fixed order; unknown flags are ignored.
      {"measure 2       E:|xF A~", right + R"(<wavy-line type="continue"/><segno/><fermata/>)"
                                           R"(<fermata type="inverted"/>)" + backward},
      {"measure 2       %", right + "<segno/></barline>"},
      // Footnote and level go on the right bar line, and again on an opening left one.
      {"measure 2   f1", right + fl + "</barline>"},
      {"measure 2   f1  |:", right + fl + "</barline>" + left + fl + forward},
      {"measure 2     :|", ""},  // flags are read only from column 17
  };
  // clang-format on
  for (const auto& [bar, barlines] : rows)
    EXPECT_EQ(PartXml({"measure 1", "@ a", bar, "@ b"}, "//barline"), barlines) << bar;
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

// "/END" ends the part whatever follows it.
TEST(EndRecord, EndWithTrailingText) {
  const Imported ended = ImportText(Header() + "@ a\n/END of the part\nnot read\n");
  ASSERT_TRUE(ended.result);
  EXPECT_EQ(XmlAt(ended.document, "/score-partwise/part/measure"),
            R"(<measure number="X1"><!-- a--></measure>)");
}

}  // namespace musedata::test
