#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "encoding/record_view.h"
#include "support/test_support.h"

namespace musedata::test {
namespace {

// An eighth note of `step` in octave 4 with its beam codes from column 26 and
// notation codes from column 32.
std::string Note(std::string_view step, std::string_view beams = "",
                 std::string_view notations = "") {
  return LineBuilder()
      .Put(1, step)
      .Put(2, "4")
      .Put(8, "1")
      .Put(15, "1")
      .Put(17, "e")
      .Put(23, "u")
      .Put(26, beams)
      .Put(32, notations)
      .Finish();
}

// A direction with type letters from column 17 and text from column 25.
std::string Direction(std::string_view types, std::string_view text = "") {
  return LineBuilder().Put(1, "*").Put(17, types).Put(25, text).Finish();
}

const std::string kRest = LineBuilder().Put(1, "rest").Put(8, "1").Put(17, "e").Finish();
const std::string kGrace = LineBuilder().Put(1, "gC4").Put(8, "6").Put(17, "e").Finish();
const std::string kFigures = LineBuilder().Put(1, "f").Put(8, "1").Put(17, "6 4").Finish();
// A slur, a tie, a tuplet, a trill, a staccato, an up-bow and a dynamic, from column 32 on.
const std::string kMarkedNote = Note("C", "", "(-*t.vff");
const std::string kTrill = Note("C", "", "t");

struct Row {
  const char* name;
  std::vector<std::string> records;
  const char* xpath;
  std::string expected;  // what `xpath` selects, as XML
};

void ExpectXml(const std::vector<Row>& rows) {
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const Imported imported = ImportText(Part(row.records));
    EXPECT_TRUE(imported.result);
    EXPECT_TRUE(imported.warnings.empty());
    EXPECT_EQ(XmlAt(imported.document, row.xpath), row.expected);
  }
}

TEST(Suggestions, PrintCodesReachTheirTargets) {
  const char* note = "//note/@*";
  const char* words = "//words/@*";
  ExpectXml({
      {"note default-x", {Note("C"), "P C1:X12"}, note, " default-x=\"12\""},
      {"note relative-x", {Note("C"), "P C1:x-4"}, note, " relative-x=\"-4\""},
      {"note default-y counts up", {Note("C"), "P C1:Y10"}, note, " default-y=\"-10\""},
      {"note relative-y counts up", {Note("C"), "P C1:y-6"}, note, " relative-y=\"6\""},
      {"p1 hides note and dot",
       {Note("C"), "P C1:p1"},
       note,
       " print-object=\"no\" print-dot=\"no\""},
      {"p2 hides the note only",
       {Note("C"), "P C1:p2"},
       note,
       " print-object=\"no\" print-dot=\"yes\""},
      {"p3 hides the dot", {Note("C"), "P C1:p3"}, note, " print-dot=\"no\""},
      {"p0 changes nothing", {Note("C"), "P C1:p0"}, note, ""},
      {"rest", {kRest, "P C1:X3"}, note, " default-x=\"3\""},
      {"grace note", {kGrace, "P C1:p1"}, note, " print-object=\"no\" print-dot=\"no\""},
      {"chord tone", {Note("C"), " E4", "P C1:X7"}, "//note[2]/@*", " default-x=\"7\""},
      {"figured bass",
       {kFigures, "P C1:x2p1"},
       "//figured-bass/@*",
       " relative-x=\"2\" print-object=\"no\" print-dot=\"no\""},
      {"first type column",
       {Direction("D", "dolce"), "P C17:X5y3"},
       words,
       " default-x=\"5\" relative-y=\"-3\""},
      {"second type column", {Direction("ED", "dolce"), "P C18:Y20"}, words, " default-y=\"-20\""},
      {"second type column alone",
       {Direction(" G", "ff"), "P C18:x1"},
       "//dynamics/@*",
       " relative-x=\"1\""},
      {"font of a type column",
       {Direction("D", "dolce"), "P C17:f33"},
       words,
       " font-family=\"serif\" font-style=\"italic\""},
      {"a wedge lends its font code to the words",
       {Direction("DE", "cresc."), "P C18:f32"},
       words,
       " font-family=\"serif\" font-weight=\"bold\""},
      {"font of the first piece of text",
       {Direction("D", "cresc.!21molto"), "P C25:f33"},
       "//words[1]/@*",
       " font-family=\"serif\" font-style=\"italic\""},
      {"font of a later piece of text",
       {Direction("D", "cresc.!21molto"), "P C34:f32"},
       "//words[2]/@*",
       " font-family=\"serif\" font-weight=\"bold\""},
      {"slur above", {kMarkedNote, "P C32:o"}, "//slur/@placement", " placement=\"above\""},
      {"slur below", {kMarkedNote, "P C32:u"}, "//slur/@placement", " placement=\"below\""},
      {"slur position",
       {kMarkedNote, "P C32:X5Y-8x1y2"},
       "//slur/@*",
       " type=\"start\" number=\"1\" default-x=\"5\" default-y=\"8\" relative-x=\"1\""
       " relative-y=\"-2\""},
      {"tie over", {kMarkedNote, "P C33:o"}, "//tied/@*", " type=\"start\" orientation=\"over\""},
      {"tie under", {kMarkedNote, "P C33:u"}, "//tied/@*", " type=\"start\" orientation=\"under\""},
      {"tuplet above",
       {kMarkedNote, "P C34:a"},
       "//tuplet/@*",
       " type=\"start\" placement=\"above\""},
      {"ornament below", {kMarkedNote, "P C35:b"}, "//trill-mark/@*", " placement=\"below\""},
      {"articulation above", {kMarkedNote, "P C36:a"}, "//staccato/@*", " placement=\"above\""},
      {"technical below", {kMarkedNote, "P C37:b"}, "//up-bow/@*", " placement=\"below\""},
      {"dynamics placed and positioned as a whole",
       {kMarkedNote, "P C38:aY4"},
       "//notations/dynamics/@*",
       " default-y=\"-4\" placement=\"above\""},
      {"placement codes that do not fit change nothing",
       {kMarkedNote, "P C32:ab C34:ou"},
       "//slur/@placement | //tuplet/@placement",
       ""},
  });
}

TEST(Suggestions, SoundCodesReachTheirTargets) {
  const char* sound = "//measure/sound";
  const char* grace = "//grace/@*";
  const char* trill = "//trill-mark/@*";
  ExpectXml({
      {"tempo", {Note("C"), "S C0:W96"}, sound, "<sound tempo=\"96\"/>"},
      {"dynamics", {Note("C"), "S C0:V80"}, sound, "<sound dynamics=\"80\"/>"},
      {"da capo", {Note("C"), "S C0:d"}, sound, "<sound dacapo=\"yes\"/>"},
      {"segno", {Note("C"), "S C0:S2"}, sound, "<sound segno=\"2\"/>"},
      {"forward repeat", {Note("C"), "S C0:|>"}, sound, "<sound forward-repeat=\"yes\"/>"},
      {"codes of one field share one sound",
       {Note("C"), "S C0:W120 V80"},
       sound,
       "<sound tempo=\"120\" dynamics=\"80\"/>"},
      {"a sound follows the note",
       {Note("C"), "S C0:W96"},
       "//measure/*[last()]",
       "<sound tempo=\"96\"/>"},
      {"fine", {Note("C"), "S C8:Fyes"}, sound, "<sound fine=\"yes\"/>"},
      {"pizzicato", {Note("C"), "S C2:A"}, sound, "<sound pizzicato=\"yes\"/>"},
      {"arco", {Note("C"), "S C2:B"}, sound, "<sound pizzicato=\"no\"/>"},
      {"arco written b", {Note("C"), "S C2:b"}, sound, "<sound pizzicato=\"no\"/>"},
      {"pizzicato for one note",
       {Note("C"), "S C2:a"},
       "//note/@* | //sound",
       " pizzicato=\"yes\""},
      {"steal from the previous note", {kGrace, "S C1:pt20"}, grace, " steal-time-previous=\"20\""},
      {"steal from the following note",
       {kGrace, "S C1:f10"},
       grace,
       " steal-time-following=\"10\""},
      {"make time without a value", {kGrace, "S C1:m"}, grace, " make-time=\"\""},
      {"start on the main note", {kTrill, "S C32:m"}, trill, " start-note=\"main\""},
      {"start on the upper note", {kTrill, "S C32:u"}, trill, " start-note=\"upper\""},
      {"start below", {kTrill, "S C32:b"}, trill, " start-note=\"below\""},
      {"trill by a whole step", {kTrill, "S C32:w"}, trill, " trill-step=\"whole\""},
      {"trill by a half step", {kTrill, "S C32:h"}, trill, " trill-step=\"half\""},
      {"trill in unison", {kTrill, "S C32:j"}, trill, " trill-step=\"unison\""},
      {"turn by a whole step", {kTrill, "S C32:e"}, trill, " two-note-turn=\"whole\""},
      {"turn by a half step", {kTrill, "S C32:f"}, trill, " two-note-turn=\"half\""},
      {"accelerating", {kTrill, "S C32:a"}, trill, " accelerate=\"yes\""},
      {"beats", {kTrill, "S C32:n4"}, trill, " beats=\"4\""},
      {"second beat", {kTrill, "S C32:s25"}, trill, " second-beat=\"25\""},
      {"last beat", {kTrill, "S C32:t75"}, trill, " last-beat=\"75\""},
  });
}

TEST(Suggestions, WhatIsNotUnderstoodChangesNothing) {
  const char* note = "//note/@* | //measure/sound";
  ExpectXml({
      {"meant for parts", {Note("C"), "Pp C1:X12", "Sp C0:W96"}, note, ""},
      {"blanks inside a field", {Note("C"), "P C1: X 1 2"}, note, " default-x=\"12\""},
      {"several fields",
       {kMarkedNote, "P C1:X12 C32:o"},
       "//note/@* | //slur/@placement",
       " default-x=\"12\" placement=\"above\""},
      {"unknown codes around a known one", {Note("C"), "P C1:Qz%X5!"}, note, " default-x=\"5\""},
      {"numbers that cannot be used",
       {Note("C"), "P C1:X X- Y--3 x99999999999999999999"},
       note,
       ""},
      {"columns without a meaning", {Note("C"), "P C0:X5 C19:x5 C44:X1", "S C9:W5 C3:A"}, note, ""},
      {"no fields", {Note("C"), "P junk", "S", "P"}, note, ""},
      {"codes that need a number", {Note("C"), "S C0:WVS C8:F"}, note, ""},
      {"after a bar line", {Note("C"), "measure 2", "P C1:X5"}, note, ""},
      {"comments between", {Note("C"), "@ remark", "P C1:X5"}, note, " default-x=\"5\""},
      {"as the first record", {"P C1:X5 C32:o", Note("C")}, note, ""},
  });
}

TEST(Suggestions, MissingTargetsWarnOncePerKind) {
  auto warning = [](std::string_view text) {
    return std::string(text) + ": File part1.md, measure X1";
  };
  struct WarningRow {
    const char* name;
    std::vector<std::string> records;
    std::vector<std::string> expected;
  };
  const std::vector<WarningRow> rows = {
      {"notation column without a mark",
       {Note("C"), "P C32:o", "P C33:o"},
       {warning("Print suggestion to non-existent notation")}},
      {"type column that makes nothing",
       {Direction("D", "dolce"), "P C18:X5"},
       {warning("Print direction to non-existent direction")}},
      {"text column past the text",
       {Direction("D", "dolce"), "P C40:f31", "P C17:X1"},
       {warning("Print direction to non-existent direction")}},
      {"grace timing after a regular note",
       {Note("C"), "S C1:p"},
       {warning("Sound suggestion to non-existent grace note")}},
      {"pizzicato after a direction",
       {Direction("D", "pizz."), "S C2:a"},
       {warning("Sound suggestion to non-existent note")}},
      {"ornament sound on a slur",
       {kMarkedNote, "S C32:m", "S C33:m"},
       {warning("Sound suggestion to non-existent ornament")}},
      {"kinds are counted apart",
       {Note("C"), "P C32:o", "S C32:m", "P C33:u"},
       {warning("Print suggestion to non-existent notation"),
        warning("Sound suggestion to non-existent ornament")}},
  };
  for (const WarningRow& row : rows) {
    SCOPED_TRACE(row.name);
    const Imported imported = ImportText(Part(row.records));
    EXPECT_TRUE(imported.result);
    EXPECT_EQ(imported.warnings, row.expected);
  }
}

// Beam repeaters: the steps of the notes whose beams are marked, and the
// levels marked.
TEST(Suggestions, BeamRepeatersLastForTheirGroup) {
  struct RepeaterRow {
    const char* name;
    std::vector<std::string> records;
    std::string steps;
    std::string levels;
  };
  const std::vector<RepeaterRow> rows = {
      {"a: every level to the end of the group",
       {Note("C", "[["), "P C26:a", Note("D", "=="), Note("E", "]]"), Note("F", "[["),
        Note("G", "]]")},
       "CDE",
       "121212"},
      {"a from the second column: upper levels only",
       {Note("C", "[["), "P C27:a", Note("D", "]]"), Note("E", "[["), Note("F", "]]")},
       "CD",
       "22"},
      {"c after the closing note marks that note alone",
       {Note("C", "["), Note("D", "]"), "P C26:c", Note("E", "["), Note("F", "]")},
       "D",
       "1"},
      {"A across groups until b",
       {Note("C", "["), "P C26:A", Note("D", "]"), Note("E", "["), "P C26:b", Note("F", "]")},
       "CDE",
       "111"},
  };
  for (const RepeaterRow& row : rows) {
    SCOPED_TRACE(row.name);
    const Imported imported = ImportText(Part(row.records));
    ASSERT_TRUE(imported.result);
    std::string steps;
    for (const char step : row.steps) steps += std::string("<step>") + step + "</step>";
    EXPECT_EQ(XmlAt(imported.document, "//note[beam/@repeater='yes']/pitch/step"), steps);
    std::string levels;
    for (const char level : row.levels) levels += std::string(" number=\"") + level + "\"";
    EXPECT_EQ(XmlAt(imported.document, "//beam[@repeater='yes']/@number"), levels);
  }
}

}  // namespace
}  // namespace musedata::test
