#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support/test_support.h"

namespace musedata::test {
namespace {

// A record with each text written from its column (counted from 1); the
// record ends where the last text ends, trailing blanks included.
std::string Columns(std::initializer_list<std::pair<size_t, std::string_view>> fields) {
  std::string record;
  for (const auto& [column, text] : fields) {
    if (record.size() < column - 1 + text.size()) record.resize(column - 1 + text.size(), ' ');
    record.replace(column - 1, text.size(), text);
  }
  return record;
}

struct Row {
  const char* name;
  std::vector<std::string> records;
  std::string expected;  // every note of the part, as XML
};

void ExpectNotes(const std::vector<Row>& rows) {
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const Imported imported = ImportText(Part(row.records));
    EXPECT_TRUE(imported.result);
    EXPECT_EQ(XmlAt(imported.document, "//note"), row.expected);
  }
}

// Pitch, rest, chord, cue and grace markers, duration and sounding ties.
TEST(NoteRecord, BuildsTheNoteItsRecordsDescribe) {
  ExpectNotes({
      {"sharp with octave",
       {Columns({{1, "C#4"}, {8, "4"}, {17, "q"}, {19, "#"}, {23, "u"}})},
       "<note><pitch><step>C</step><alter>1</alter><octave>4</octave></pitch>"
       "<duration>4</duration><type>quarter</type><accidental>sharp</accidental>"
       "<stem>up</stem></note>"},
      {"double flat",
       {Columns({{1, "Bff3"}, {8, "2"}, {17, "e"}, {23, "d"}})},
       "<note><pitch><step>B</step><alter>-2</alter><octave>3</octave></pitch>"
       "<duration>2</duration><type>eighth</type><stem>down</stem></note>"},
      {"chord tone, records too short for data fields",
       {Columns({{1, "C4"}, {8, "4"}}), Columns({{2, "Ef4"}, {8, "4"}})},
       "<note><pitch><step>C</step><octave>4</octave></pitch><duration>4</duration></note>"
       "<note><chord/><pitch><step>E</step><alter>-1</alter><octave>4</octave></pitch>"
       "<duration>4</duration></note>"},
      {"rest gets no stem",
       {Columns({{1, "r"}, {8, "4"}, {17, "q"}, {23, " "}, {24, "1"}})},
       "<note><rest/><duration>4</duration><type>quarter</type><staff>1</staff></note>"},
      {"cue note printed at full size",
       {Columns({{1, "cG4"}, {17, "q"}, {23, "u"}})},
       "<note><cue/><pitch><step>G</step><octave>4</octave></pitch>"
       "<type size=\"full\">quarter</type><stem>up</stem></note>"},
      {"regular note printed at cue size",
       {Columns({{1, "D5"}, {8, "1"}, {17, "7"}})},
       "<note><pitch><step>D</step><octave>5</octave></pitch><duration>1</duration>"
       "<type size=\"cue\">quarter</type></note>"},
      {"slashed grace note, voice before its type",
       {Columns({{1, "gF#5"}, {8, "0"}, {13, "*"}, {15, "2"}, {17, "q"}})},
       "<note><grace slash=\"yes\"/><pitch><step>F</step><alter>1</alter><octave>5</octave>"
       "</pitch><footnote>*</footnote><voice>2</voice><type>eighth</type></note>"},
      {"grace chord tones: known and blank type codes",
       {Columns({{1, "g A4"}, {8, "8"}}), Columns({{1, "g B4"}, {15, "1"}})},
       "<note><grace/><chord/><pitch><step>A</step><octave>4</octave></pitch><type>half</type>"
       "</note><note><grace/><chord/><pitch><step>B</step><octave>4</octave></pitch>"
       "<voice>1</voice></note>"},
      {"blank duration repeats the last one",
       {Columns({{1, "G4"}, {7, "12"}}), Columns({{1, "A4"}})},
       "<note><pitch><step>G</step><octave>4</octave></pitch><duration>12</duration></note>"
       "<note><pitch><step>A</step><octave>4</octave></pitch><duration>12</duration></note>"},
      {"tie chain in one track",
       {Columns({{1, "C4"}, {8, "4"}, {9, "-"}}), Columns({{1, "C4"}, {8, "4"}, {9, "-"}}),
        Columns({{1, "C4"}, {8, "4"}})},
       "<note><pitch><step>C</step><octave>4</octave></pitch><duration>4</duration>"
       "<tie type=\"start\"/></note>"
       "<note><pitch><step>C</step><octave>4</octave></pitch><duration>4</duration>"
       "<tie type=\"stop\"/><tie type=\"start\"/></note>"
       "<note><pitch><step>C</step><octave>4</octave></pitch><duration>4</duration>"
       "<tie type=\"stop\"/></note>"},
      {"a tie is closed only in its own track and by the same pitch field",
       {Columns({{1, "A4"}, {8, "4"}, {9, "-"}, {15, "1"}}),
        Columns({{1, "A4"}, {8, "4"}, {15, "2"}}), Columns({{1, "A#4"}, {8, "4"}, {15, "1"}}),
        Columns({{2, "A4"}, {8, "4"}, {15, "1"}})},
       "<note><pitch><step>A</step><octave>4</octave></pitch><duration>4</duration>"
       "<tie type=\"start\"/><voice>1</voice></note>"
       "<note><pitch><step>A</step><octave>4</octave></pitch><duration>4</duration>"
       "<voice>2</voice></note>"
       "<note><pitch><step>A</step><alter>1</alter><octave>4</octave></pitch>"
       "<duration>4</duration><voice>1</voice></note>"
       "<note><chord/><pitch><step>A</step><octave>4</octave></pitch><duration>4</duration>"
       "<tie type=\"stop\"/><voice>1</voice></note>"},
      {"malformed pitch fields give partial pitches",
       {Columns({{1, "Cx4"}, {8, "1"}}), Columns({{1, "C#x"}, {8, "1"}}), Columns({{1, "cC#x"}}),
        "F#"},
       "<note><pitch><step>C</step></pitch><duration>1</duration></note>"
       "<note><pitch><step>C</step><alter>1</alter><octave> </octave></pitch>"
       "<duration>1</duration></note>"
       "<note><cue/><pitch><step>C</step><alter>1</alter><octave>x</octave></pitch></note>"
       "<note><pitch><step>F</step><alter>1</alter><octave/></pitch><duration>1</duration>"
       "</note>"},
  });
}

// Columns 13 on: dots, tuplets, stems, staff, beams and lyrics.
TEST(NoteRecord, CompletesTheNoteFromItsDataFields) {
  const auto note = [](std::initializer_list<std::pair<size_t, std::string_view>> fields) {
    std::string record = Columns(fields);
    record.replace(0, 8, "C4     2");
    return record;
  };
  const std::string sixEmptyVerses =
      "<lyric number=\"1\"/><lyric number=\"2\"/><lyric number=\"3\"/><lyric number=\"4\"/>"
      "<lyric number=\"5\"/><lyric number=\"6\"/>";
  const std::string head =
      "<note><pitch><step>C</step><octave>4</octave></pitch><duration>2</duration>";
  // A record that reaches past column 23 with a blank there is printed stemless.
  const std::string unstemmed = head + "<stem>none</stem>";
  ExpectNotes({
      {"one and two dots",
       {note({{17, "q"}, {18, "."}}), note({{17, "h"}, {18, ":"}})},
       head + "<type>quarter</type><dot/></note>" + head + "<type>half</type><dot/><dot/></note>"},
      {"tuplet ratios, given and derived",
       {note({{20, "3"}, {23, "d"}}), note({{20, "C 8"}}), note({{20, "7"}}), note({{22, "4"}})},
       head +
           "<time-modification><actual-notes>3</actual-notes><normal-notes>2</normal-notes>"
           "</time-modification><stem>down</stem></note>" +
           head +
           "<time-modification><actual-notes>12</actual-notes><normal-notes>8</normal-notes>"
           "</time-modification></note>" +
           head + "</note>" + head + "</note>"},
      {"stems: blank column is none, a record ending before it has none",
       {note({{23, " "}}), note({{17, "w"}}), note({{23, "x"}})},
       head + "<stem>none</stem></note>" + head + "<type>whole</type></note>" + head + "</note>"},
      {"staff and beams with hooks",
       {note({{24, "2"}, {26, "[/"}}), note({{26, "]\\ ="}})},
       unstemmed +
           "<staff>2</staff><beam number=\"1\">begin</beam><beam number=\"2\">forward hook</beam>"
           "</note>" +
           unstemmed +
           "<beam number=\"1\">end</beam><beam number=\"2\">backward hook</beam>"
           "<beam number=\"4\">continue</beam></note>"},
      {"two verses: words across notes, extensions",
       {note({{44, "Glo-|Ky-"}}), note({{44, "ri-"}}), note({{44, "a_|ri\\7e"}}),
        note({{44, "-|b_-   "}})},
       unstemmed +
           "<lyric number=\"1\"><syllabic>begin</syllabic><text>Glo</text></lyric>"
           "<lyric number=\"2\"><syllabic>begin</syllabic><text>Ky</text></lyric></note>" +
           unstemmed +
           "<lyric number=\"1\"><syllabic>middle</syllabic><text>ri</text></lyric></note>" +
           unstemmed +
           "<lyric number=\"1\"><syllabic>end</syllabic><text>a</text><extend/></lyric>"
           "<lyric number=\"2\"><syllabic>end</syllabic><text>rié</text></lyric></note>" +
           unstemmed +
           "<lyric number=\"1\"><extend/></lyric>"
           "<lyric number=\"2\"><syllabic>begin</syllabic><text>b</text><extend/></lyric></note>"},
      {"a seventh verse keeps its own word",
       {note({{44, "||||||Hal-"}}), note({{44, "||||||le"}})},
       unstemmed + sixEmptyVerses +
           "<lyric number=\"7\"><syllabic>begin</syllabic><text>Hal</text></lyric></note>" +
           unstemmed + sixEmptyVerses +
           "<lyric number=\"7\"><syllabic>end</syllabic><text>le</text></lyric></note>"},
  });
}

}  // namespace
}  // namespace musedata::test
