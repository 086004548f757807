#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "encoding/record_view.h"
#include "support/test_support.h"

namespace musedata::test {
namespace {

// An eighth note of `step` in octave 4 in track 1, stem up, with its beam
// codes from column 26 and notation codes from column 32.
std::string Note(std::string_view step, std::string_view beams = "",
                 std::string_view notations = "") {
  const std::string record = std::string(step) + "4     1      1 e     u";
  return LineBuilder().Put(1, record).Put(26, beams).Put(32, notations).Finish();
}

// A direction with type letters from column 17 and text from column 25.
std::string Direction(std::string_view types, std::string_view text = "") {
  return LineBuilder().Put(1, "*").Put(17, types).Put(25, text).Finish();
}

const std::string kC = Note("C");
const std::string kRest = LineBuilder().Put(1, "rest").Put(8, "1").Put(17, "e").Finish();
const std::string kGrace = LineBuilder().Put(1, "gC4").Put(8, "6").Put(17, "e").Finish();
const std::string kFigures = LineBuilder().Put(1, "f").Put(8, "1").Put(17, "6 4").Finish();
// A slur, a tie, a tuplet, a trill, a staccato, an up-bow and a dynamic, from column 32 on.
const std::string kMarkedNote = Note("C", "", "(-*t.vff");
const std::string kTrill = Note("C", "", "t");
// Words in two fonts: the first piece from column 25, the second from column 34.
const std::string kPieces = Direction("D", "cresc.!21molto");

// Print suggestions: positions (y counted upwards in MusicXML), print-object
// and print-dot, placements, fonts, on each kind of record they can follow.
TEST(Suggestions, PrintCodesReachTheirTargets) {
  const char* note = "//note/@*";
  const char* words = "//words/@*";
  const std::string serif = " font-family=\"serif\"";
  // clang-format off
  ExpectPartXml({
      {{kC, "P C1:X12x-4Y10y-6"}, note,
       " default-x=\"12\" relative-x=\"-4\" default-y=\"-10\" relative-y=\"6\""},
      {{kC, "P C1:p1"}, note, " print-object=\"no\" print-dot=\"no\""},
      {{kC, "P C1:p2"}, note, " print-object=\"no\" print-dot=\"yes\""},
      {{kC, "P C1:p3"}, note, " print-dot=\"no\""},
      {{kC, "P C1:p0"}, note, ""},
      {{kRest, "P C1:X3"}, note, " default-x=\"3\""},
      {{kGrace, "P C1:p1"}, note, " print-object=\"no\" print-dot=\"no\""},
      {{kC, " E4", "P C1:X7"}, "//note[2]/@*", " default-x=\"7\""},
      {{kFigures, "P C1:x2p1"}, "//figured-bass/@*",
       " relative-x=\"2\" print-object=\"no\" print-dot=\"no\""},
      {{Direction("D", "dolce"), "P C17:X5y3"}, words, " default-x=\"5\" relative-y=\"-3\""},
      {{Direction("ED", "dolce"), "P C18:Y20"}, words, " default-y=\"-20\""},
      {{Direction(" G", "ff"), "P C18:x1"}, "//dynamics/@*", " relative-x=\"1\""},
      {{Direction("D", "dolce"), "P C17:f33"}, words, serif + " font-style=\"italic\""},
      // A wedge lends its font code to the words.
      {{Direction("DE", "cresc."), "P C18:f32"}, words, serif + " font-weight=\"bold\""},
      // Columns from 25 on are the pieces of the text.
      {{kPieces, "P C25:f33"}, "//words[1]/@*", serif + " font-style=\"italic\""},
      {{kPieces, "P C34:f32"}, "//words[2]/@*", serif + " font-weight=\"bold\""},
      {{kMarkedNote, "P C32:o"}, "//slur/@placement", " placement=\"above\""},
      {{kMarkedNote, "P C32:uX5Y-8x1y2"}, "//slur/@*",
       " type=\"start\" number=\"1\" default-x=\"5\" default-y=\"8\" relative-x=\"1\""
       " relative-y=\"-2\" placement=\"below\""},
      {{kMarkedNote, "P C33:o"}, "//tied/@orientation", " orientation=\"over\""},
      {{kMarkedNote, "P C33:u"}, "//tied/@orientation", " orientation=\"under\""},
      {{kMarkedNote, "P C34:a C35:b C36:a C37:b"},
       "//tuplet/@placement|//trill-mark/@*|//staccato/@*|//up-bow/@*",
       " placement=\"above\" placement=\"below\" placement=\"above\" placement=\"below\""},
      {{kMarkedNote, "P C38:aY4"}, "//notations/dynamics/@*",
       " default-y=\"-4\" placement=\"above\""},
      // Placement codes that do not fit change nothing.
      {{kMarkedNote, "P C32:ab C34:ou"}, "//slur/@placement | //tuplet/@placement", ""},
  });
  // clang-format on
}

// Sound suggestions: a measure's sound after the note, pizzicato, grace-note
// timing and how an ornament is played.
TEST(Suggestions, SoundCodesReachTheirTargets) {
  const char* sound = "//measure/*[last()]";
  const char* grace = "//grace/@*";
  const char* trill = "//trill-mark/@*";
  // clang-format off
  ExpectPartXml({
      {{kC, "S C0:W120 V80 d S2 |>"}, sound,
       "<sound tempo=\"120\" dynamics=\"80\" dacapo=\"yes\" segno=\"2\" forward-repeat=\"yes\"/>"},
      {{kC, "S C8:Fyes"}, sound, "<sound fine=\"yes\"/>"},
      {{kC, "S C2:A"}, sound, "<sound pizzicato=\"yes\"/>"},
      {{kC, "S C2:B"}, sound, "<sound pizzicato=\"no\"/>"},
      {{kC, "S C2:b"}, sound, "<sound pizzicato=\"no\"/>"},
      {{kC, "S C2:a"}, "//note/@* | //sound", " pizzicato=\"yes\""},
      {{kGrace, "S C1:pt20"}, grace, " steal-time-previous=\"20\""},
      {{kGrace, "S C1:f10"}, grace, " steal-time-following=\"10\""},
      {{kGrace, "S C1:m"}, grace, " make-time=\"\""},
      {{kTrill, "S C32:mwean4s25t75"}, trill,
       " start-note=\"main\" trill-step=\"whole\" two-note-turn=\"whole\" accelerate=\"yes\""
       " beats=\"4\" second-beat=\"25\" last-beat=\"75\""},
      {{kTrill, "S C32:uhf"}, trill,
       " start-note=\"upper\" trill-step=\"half\" two-note-turn=\"half\""},
      {{kTrill, "S C32:bj"}, trill, " start-note=\"below\" trill-step=\"unison\""},
  });
  // clang-format on
}

TEST(Suggestions, WhatIsNotUnderstoodChangesNothing) {
  const char* note = "//note/@* | //measure/sound";
  // clang-format off
  ExpectPartXml({
      {{kC, "Pp C1:X12", "Sp C0:W96"}, note, ""},  // meant for parts
      {{kC, "P C1: X 1 2"}, note, " default-x=\"12\""},
      {{kMarkedNote, "P C1:X12 C32:o"}, "//note/@* | //slur/@placement",
       " default-x=\"12\" placement=\"above\""},
      {{kC, "P C1:Qz%X5!"}, note, " default-x=\"5\""},
      {{kC, "P C1:X X- Y--3 x99999999999999999999"}, note, ""},
      {{kC, "P C0:X5 C19:x5 C44:X1", "S C9:W5 C3:A"}, note, ""},  // columns without a meaning
      {{kC, "P junk", "S", "P"}, note, ""},
      {{kC, "S C0:WVS C8:F"}, note, ""},  // codes that need a number
      {{kC, "measure 2", "P C1:X5"}, note, ""},
      {{kC, "@ remark", "P C1:X5"}, note, " default-x=\"5\""},
      {{"P C1:X5 C32:o", kC}, note, ""},
  });
  // clang-format on
}

TEST(Suggestions, MissingTargetsWarnOncePerKind) {
  const auto warning = [](std::string_view text) {
    return " [warning: " + std::string(text) + ": File part1.md, measure X1]";
  };
  const std::string notation = warning("Print suggestion to non-existent notation");
  const std::string direction = warning("Print direction to non-existent direction");
  const std::string ornament = warning("Sound suggestion to non-existent ornament");
  // clang-format off
  ExpectPartXml({
      {{kC, "P C32:o", "P C33:o"}, "/x", notation},
      {{Direction("D", "dolce"), "P C18:X5"}, "/x", direction},  // a type column that makes nothing
      {{Direction("D", "dolce"), "P C40:f31", "P C17:X1"}, "/x", direction},  // past the text
      {{kC, "S C1:p"}, "/x", warning("Sound suggestion to non-existent grace note")},
      {{Direction("D", "pizz."), "S C2:a"}, "/x", warning("Sound suggestion to non-existent note")},
      {{kMarkedNote, "S C32:m", "S C33:m"}, "/x", ornament},
      {{kC, "P C32:o", "S C32:m", "P C33:u"}, "/x", notation + ornament},  // kinds counted apart
  });
  // clang-format on
}

// Beam repeaters: the steps of the notes whose beams are marked, and the
// levels marked.
TEST(Suggestions, BeamRepeatersLastForTheirGroup) {
  const char* repeaters =
      "//note[beam/@repeater='yes']/pitch/step/text()|//beam[@repeater='yes']/@number";
  // clang-format off
  ExpectPartXml({
      // a: every level to the end of the group
      {{Note("C", "[["), "P C26:a", Note("D", "=="), Note("E", "]]"), Note("F", "[["),
        Note("G", "]]")},
       repeaters, "C number=\"1\" number=\"2\"D number=\"1\" number=\"2\"E number=\"1\""
       " number=\"2\""},
      // a from the second column: upper levels only
      {{Note("C", "[["), "P C27:a", Note("D", "]]"), Note("E", "[["), Note("F", "]]")},
       repeaters, "C number=\"2\"D number=\"2\""},
      // c after the closing note marks that note alone
      {{Note("C", "["), Note("D", "]"), "P C26:c", Note("E", "["), Note("F", "]")},
       repeaters, "D number=\"1\""},
      // A across groups until b
      {{Note("C", "["), "P C26:A", Note("D", "]"), Note("E", "["), "P C26:b", Note("F", "]")},
       repeaters, "C number=\"1\"D number=\"1\"E number=\"1\""},
  });
  // clang-format on
}

}  // namespace
}  // namespace musedata::test
