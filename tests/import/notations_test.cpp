#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "encoding/record_view.h"
#include "musedata/converter_error.h"
#include "support/test_support.h"

namespace musedata::test {
namespace {

// A quarter note of `pitch` with its stem up and `codes` from the first
// notation column (column 32).
std::string Note(std::string_view pitch, std::string_view codes, std::string_view track = "1",
                 std::string_view soundingTie = " ") {
  return LineBuilder()
      .Put(1, pitch)
      .Put(8, "4")
      .Put(9, soundingTie)
      .Put(15, track)
      .Put(17, "q")
      .Put(23, "u")
      .Put(32, codes)
      .Finish();
}

struct Row {
  const char* name;
  std::vector<std::string> records;
  std::string expected;  // what `xpath` selects, as XML
};

void ExpectXml(const std::vector<Row>& rows, const char* xpath) {
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const Imported imported = ImportText(Part(row.records));
    EXPECT_TRUE(imported.result);
    EXPECT_EQ(XmlAt(imported.document, xpath), row.expected);
  }
}

struct CodesRow {
  const char* name;
  std::string codes;     // from the first notation column of a C4 quarter note
  std::string expected;  // its notations, as XML
};

TEST(Notations, EachCodeMakesItsNotation) {
  const std::vector<CodesRow> rows = {
      {"blank columns", "", ""},
      {"slurs on four levels", "([{z)]}x",
       "<notations><slur type=\"start\" number=\"1\"/><slur type=\"start\" number=\"2\"/>"
       "<slur type=\"start\" number=\"3\"/><slur type=\"start\" number=\"4\"/>"
       "<slur type=\"stop\" number=\"1\"/><slur type=\"stop\" number=\"2\"/>"
       "<slur type=\"stop\" number=\"3\"/><slur type=\"stop\" number=\"4\"/></notations>"},
      {"tuplet, arpeggio and fermatas", "*SFE!",
       "<notations><tuplet type=\"start\"/><arpeggiate/><fermata/><fermata type=\"inverted\"/>"
       "<tuplet type=\"stop\"/></notations>"},
      {"ornaments", "trkw~cMj",
       "<notations><ornaments><trill-mark/><turn/><delayed-turn/><inverted-mordent/>"
       "<wavy-line type=\"start\"/><wavy-line type=\"continue\"/><mordent/><schleifer/>"
       "</ornaments></notations>"},
      {"technical marks and fingerings, one substituted", "vno0Q12:345",
       "<notations><technical><up-bow/><down-bow/><harmonic/><open-string/><thumb-position/>"
       "<fingering>1</fingering><fingering>2</fingering>"
       "<fingering substitution=\"yes\">3</fingering><fingering>4</fingering>"
       "<fingering>5</fingering></technical></notations>"},
      {"articulations", "AV>._=i'",
       "<notations><articulations><strong-accent type=\"up\"/><strong-accent type=\"down\"/>"
       "<accent/><staccato/><tenuto/><detached-legato/><spiccato/><breath-mark/>"
       "</articulations></notations>"},
      {"adjacent dynamic letters make one dynamic", "ff Zp",
       "<notations><dynamics><ff/><sfp/></dynamics></notations>"},
      {"dynamics split by another code", "f.f",
       "<notations><dynamics><f/><f/></dynamics><articulations><staccato/></articulations>"
       "</notations>"},
      {"dynamic in the last two columns", "          mf",
       "<notations><dynamics><mf/></dynamics></notations>"},
      {"editorial levels, and a level sign without a digit code", "&(&1)",
       "<notations><slur type=\"start\" number=\"1\"/></notations>"
       "<notations><level>1</level><slur type=\"stop\" number=\"1\"/></notations>"},
      {"a level starts new containers; a dynamic before it stays outside", "p.&A.",
       "<notations><dynamics><p/></dynamics><articulations><staccato/></articulations>"
       "</notations><notations><level>10</level><articulations><staccato/></articulations>"
       "</notations>"},
      // The accidental of an ornament's auxiliary note, above or below ("u").
      {"accidentals above", "tsrssMhkbwbb",
       "<notations><ornaments><trill-mark/><accidental-mark>sharp</accidental-mark><turn/>"
       "<accidental-mark>double-sharp</accidental-mark><mordent/>"
       "<accidental-mark>natural</accidental-mark><delayed-turn/>"
       "<accidental-mark>flat-flat</accidental-mark><inverted-mordent/>"
       "<accidental-mark>flat-flat</accidental-mark></ornaments></notations>"},
      {"sharps below, and below without an accidental", "tusruss.ju.",
       "<notations><ornaments><trill-mark/>"
       "<accidental-mark placement=\"below\">sharp</accidental-mark><turn/>"
       "<accidental-mark placement=\"below\">double-sharp</accidental-mark><schleifer/>"
       "</ornaments><articulations><staccato/><staccato/></articulations></notations>"},
      {"flats and natural below", "tubrubbkuh",
       "<notations><ornaments><trill-mark/><accidental-mark>flat</accidental-mark><turn/>"
       "<accidental-mark>flat-flat</accidental-mark><delayed-turn/>"
       "<accidental-mark>natural</accidental-mark></ornaments></notations>"},
      {"an ornament in the last column reads no lyric", "           ts",
       "<notations><ornaments><trill-mark/></ornaments></notations>"},
  };
  for (const CodesRow& row : rows)
    ExpectXml({{row.name, {Note("C4", row.codes)}, row.expected}}, "//note/notations");
}

// Sounding ties (column 9) and printed ties (notation "-") are followed apart,
// each per track; the voice element marks where each note's fields begin.
TEST(Notations, PrintedTiesEndAtTheNextNoteOfTheirPitchAndTrack) {
  const std::vector<Row> rows = {
      {"sounding and printed tie",
       {Note("C4", "-", "1", "-"), Note("C4", "")},
       "<tie type=\"start\"/><voice>1</voice><notations><tied type=\"start\"/></notations>"
       "<tie type=\"stop\"/><voice>1</voice><notations><tied type=\"stop\"/></notations>"},
      {"middle of a chain",
       {Note("G4", "-", "1", "-"), Note("G4", "-.", "1", "-"), Note("G4", "")},
       "<tie type=\"start\"/><voice>1</voice><notations><tied type=\"start\"/></notations>"
       "<tie type=\"stop\"/><tie type=\"start\"/><voice>1</voice><notations>"
       "<tied type=\"stop\"/><tied type=\"start\"/><articulations><staccato/></articulations>"
       "</notations><tie type=\"stop\"/><voice>1</voice><notations><tied type=\"stop\"/>"
       "</notations>"},
      {"another track or pitch leaves the tie open",
       {Note("C4", "-", "1"), Note("C4", "", "2"), Note("D4", "", "1"), Note("C4", "", "1")},
       "<voice>1</voice><notations><tied type=\"start\"/></notations><voice>2</voice>"
       "<voice>1</voice><voice>1</voice><notations><tied type=\"stop\"/></notations>"},
  };
  ExpectXml(rows, "//note/tie | //note/voice | //note/notations");
}

// An editorial or cautionary mark qualifies the note's accidental, or adds a
// natural where the accidental would stand.
TEST(Notations, EditorialAndCautionaryAccidentals) {
  const std::vector<Row> rows = {
      {"editorial sharp",
       {LineBuilder().Put(1, "C#4").Put(8, "4").Put(19, "#").Put(23, "u").Put(32, "^").Finish()},
       "<note><pitch><step>C</step><alter>1</alter><octave>4</octave></pitch>"
       "<duration>4</duration><accidental editorial=\"yes\">sharp</accidental><stem>up</stem>"
       "<notations/></note>"},
      {"cautionary natural before the tuplet ratio",
       {LineBuilder().Put(1, "C4").Put(8, "4").Put(20, "3").Put(23, "u").Put(32, "+").Finish()},
       "<note><pitch><step>C</step><octave>4</octave></pitch><duration>4</duration>"
       "<accidental cautionary=\"yes\">natural</accidental><time-modification>"
       "<actual-notes>3</actual-notes><normal-notes>2</normal-notes></time-modification>"
       "<stem>up</stem><notations/></note>"},
      {"both marks on one natural, before the stem",
       {LineBuilder().Put(1, "B3").Put(8, "4").Put(23, "d").Put(32, "^(+").Finish()},
       "<note><pitch><step>B</step><octave>3</octave></pitch><duration>4</duration>"
       "<accidental editorial=\"yes\" cautionary=\"yes\">natural</accidental><stem>down</stem>"
       "<notations><slur type=\"start\" number=\"1\"/></notations></note>"},
  };
  ExpectXml(rows, "//note");
}

TEST(Notations, NaturalWithNowhereToStandEndsTheConversion) {
  struct Row {
    const char* code;
    int32_t number;
    const char* description;
  };
  const Row rows[] = {
      {"^", 6042, "Cannot find placeholder for editorial natural"},
      {"+", 6043, "Cannot find placeholder for cautionary natural"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.code);
    // A rest has no stem, and this one neither staff, beam nor tuplet ratio.
    const std::string rest = LineBuilder().Put(1, "r").Put(8, "4").Put(32, row.code).Finish();
    try {
      ImportText(Part({rest}));
      ADD_FAILURE() << "no error raised";
    } catch (const ConverterError& error) {
      EXPECT_EQ(error.Number(), kErrorBase + row.number);
      EXPECT_EQ(error.Source(), "Verdantix");
      EXPECT_EQ(error.Description(), row.description);
    }
  }
}

}  // namespace
}  // namespace musedata::test
