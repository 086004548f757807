#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "encoding/record_view.h"
#include "support/test_support.h"
#include "xml/xpath.h"

namespace musedata::test {
namespace {

// A quarter note of `pitch` with its stem up, its sounding tie (column 9),
// track (15) and `codes` from the first notation column (32).
std::string Note(std::string_view pitch, std::string_view codes, std::string_view track = "1",
                 std::string_view soundingTie = " ") {
  LineBuilder record;
  record.Put(1, pitch).Put(8, "4").Put(9, soundingTie).Put(15, track).Put(17, "q     u");
  return record.Put(32, codes).Finish();
}

// Each row: the codes from column 32 of a C4 quarter note, and the children
// of its notations (several notations elements are separated by "|").
TEST(Notations, EachCodeMakesItsNotation) {
  const std::string slurs =
      "<slur type=\"start\" number=\"1\"/><slur type=\"start\" number=\"2\"/>"
      "<slur type=\"start\" number=\"3\"/><slur type=\"start\" number=\"4\"/>"
      "<slur type=\"stop\" number=\"1\"/><slur type=\"stop\" number=\"2\"/>"
      "<slur type=\"stop\" number=\"3\"/><slur type=\"stop\" number=\"4\"/>";
  const auto below = [](const char* accidental) {
    return "<accidental-mark placement=\"below\">" + std::string(accidental) + "</accidental-mark>";
  };
  // clang-format off
  const std::pair<std::string, std::string> rows[] = {
      {"", ""},
      {"([{z)]}x", slurs},
      {"*SFE!", "<tuplet type=\"start\"/><arpeggiate/><fermata/><fermata type=\"inverted\"/>"
                "<tuplet type=\"stop\"/>"},
      {"trkw~cMj", "<ornaments><trill-mark/><turn/><delayed-turn/><inverted-mordent/>"
                   "<wavy-line type=\"start\"/><wavy-line type=\"continue\"/><mordent/>"
                   "<schleifer/></ornaments>"},
      // Technical marks and fingerings, one substituted.
      {"vno0Q12:345", "<technical><up-bow/><down-bow/><harmonic/><open-string/><thumb-position/>"
                      "<fingering>1</fingering><fingering>2</fingering><fingering substitution="
                      "\"yes\">3</fingering><fingering>4</fingering><fingering>5</fingering>"
                      "</technical>"},
      {"AV>._=i'", "<articulations><strong-accent type=\"up\"/><strong-accent type=\"down\"/>"
                   "<accent/><staccato/><tenuto/><detached-legato/><spiccato/><breath-mark/>"
                   "</articulations>"},
      // Adjacent dynamic letters make one dynamic; another code splits them.
      {"ff Zp", "<dynamics><ff/><sfp/></dynamics>"},
      {"f.f", "<dynamics><f/><f/></dynamics><articulations><staccato/></articulations>"},
      {"          mf", "<dynamics><mf/></dynamics>"},  // the last two columns
      // An editorial level starts new containers; a level sign without a digit
      // code is no level, and a dynamic before the level stays outside.
      {"&(&1)", "<slur type=\"start\" number=\"1\"/>|"
                "<level>1</level><slur type=\"stop\" number=\"1\"/>"},
      {"p.&A.", "<dynamics><p/></dynamics><articulations><staccato/></articulations>|"
                "<level>10</level><articulations><staccato/></articulations>"},
      // The accidental of an ornament's auxiliary note, above or below ("u").
      {"tsrssMhkbwbb", "<ornaments><trill-mark/><accidental-mark>sharp</accidental-mark><turn/>"
                       "<accidental-mark>double-sharp</accidental-mark><mordent/><accidental-mark>"
                       "natural</accidental-mark><delayed-turn/><accidental-mark>flat-flat"
                       "</accidental-mark><inverted-mordent/><accidental-mark>flat-flat"
                       "</accidental-mark></ornaments>"},
      {"tusruss.ju.", "<ornaments><trill-mark/>" + below("sharp") + "<turn/>" +
                      below("double-sharp") + "<schleifer/></ornaments><articulations><staccato/>"
                      "<staccato/></articulations>"},
      {"tubrubbkuh", "<ornaments><trill-mark/><accidental-mark>flat</accidental-mark><turn/>"
                     "<accidental-mark>flat-flat</accidental-mark><delayed-turn/>"
                     "<accidental-mark>natural</accidental-mark></ornaments>"},
      {"           ts", "<ornaments><trill-mark/></ornaments>"},  // no lyric in the last column
  };
  // clang-format on
  for (const auto& [codes, expected] : rows) {
    std::string notations;
    const Imported imported = ImportText(Part({Note("C4", codes)}));
    for (const xml::Node node :
         xml::XPath("//note/notations").Select(xml::Root(imported.document))) {
      if (!notations.empty()) notations += "|";
      for (const xml::Node child : node.Children()) notations += xml::NodeToString(child);
    }
    EXPECT_EQ(notations, expected) << codes;
  }
}

// Sounding ties (column 9) and printed ties (notation "-") are followed apart,
// each per track; the voice element marks where each note's fields begin.
TEST(Notations, PrintedTiesEndAtTheNextNoteOfTheirPitchAndTrack) {
  const char* ties = "//note/tie | //note/voice | //note/notations";
  // clang-format off
  EXPECT_EQ(PartXml({Note("G4", "-", "1", "-"), Note("G4", "-.", "1", "-"), Note("G4", "")}, ties),
            "<tie type=\"start\"/><voice>1</voice><notations><tied type=\"start\"/></notations>"
            "<tie type=\"stop\"/><tie type=\"start\"/><voice>1</voice><notations>"
            "<tied type=\"stop\"/><tied type=\"start\"/><articulations><staccato/></articulations>"
            "</notations>"
            "<tie type=\"stop\"/><voice>1</voice><notations><tied type=\"stop\"/></notations>");
  EXPECT_EQ(PartXml({Note("C4", "-"), Note("C4", "", "2"), Note("D4", ""), Note("C4", "")}, ties),
            "<voice>1</voice><notations><tied type=\"start\"/></notations><voice>2</voice>"
            "<voice>1</voice><voice>1</voice><notations><tied type=\"stop\"/></notations>");
  // clang-format on
}

// An editorial or cautionary mark qualifies the note's accidental, or adds a
// natural before the next printed field: the tuplet ratio or the stem.
TEST(Notations, EditorialAndCautionaryAccidentals) {
  const char* accidental = "//accidental | //accidental/following-sibling::*[1]";
  // clang-format off
  const std::pair<std::string, std::string> rows[] = {
      {LineBuilder().Put(1, "C#4").Put(8, "4").Put(19, "#").Put(23, "u").Put(32, "^").Finish(),
       "<accidental editorial=\"yes\">sharp</accidental><stem>up</stem>"},
      {LineBuilder().Put(1, "C4").Put(8, "4").Put(20, "3").Put(23, "u").Put(32, "+").Finish(),
       "<accidental cautionary=\"yes\">natural</accidental><time-modification><actual-notes>3"
       "</actual-notes><normal-notes>2</normal-notes></time-modification>"},
      {LineBuilder().Put(1, "B3").Put(8, "4").Put(23, "d").Put(32, "^(+").Finish(),
       "<accidental editorial=\"yes\" cautionary=\"yes\">natural</accidental><stem>down</stem>"},
  };
  // clang-format on
  for (const auto& [record, expected] : rows) EXPECT_EQ(PartXml({record}, accidental), expected);
}

// A rest has no stem, and this one neither staff, beam nor tuplet ratio.
TEST(Notations, NaturalWithNowhereToStandEndsTheConversion) {
  const auto rest = [](const char* code) {
    return Part({LineBuilder().Put(1, "r").Put(8, "4").Put(32, code).Finish()});
  };
  EXPECT_EQ(ErrorOf([&] { ImportText(rest("^")); }),
            "6042 Verdantix: Cannot find placeholder for editorial natural");
  EXPECT_EQ(ErrorOf([&] { ImportText(rest("+")); }),
            "6043 Verdantix: Cannot find placeholder for cautionary natural");
}

}  // namespace
}  // namespace musedata::test
