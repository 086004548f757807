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

// A C4 of two divisions with `fields` from column 9 on.
std::string C4(std::initializer_list<std::pair<size_t, std::string_view>> fields) {
  return "C4     2" + Columns(fields).substr(std::min<size_t>(8, Columns(fields).size()));
}

// Pitch, rest, chord, cue and grace markers, duration and sounding ties.
TEST(NoteRecord, BuildsTheNoteItsRecordsDescribe) {
  ExpectPartXml({
      {{Columns({{1, "Bff3"}, {8, "2"}, {17, "e"}, {23, "d"}})},
       "//note",
       "<note><pitch><step>B</step><alter>-2</alter><octave>3</octave></pitch>"
       "<duration>2</duration><type>eighth</type><stem>down</stem></note>"},
      // A chord tone; records too short for the data fields.
      {{Columns({{1, "C4"}, {8, "4"}}), Columns({{2, "Ef4"}, {8, "4"}})},
       "//note",
       "<note><pitch><step>C</step><octave>4</octave></pitch><duration>4</duration></note>"
       "<note><chord/><pitch><step>E</step><alter>-1</alter><octave>4</octave></pitch>"
       "<duration>4</duration></note>"},
      // A cue note printed at full size, a regular one at cue size.
      {{Columns({{1, "cG4"}, {17, "q"}, {23, "u"}}), Columns({{1, "D5"}, {8, "1"}, {17, "7"}})},
       "//note/cue|//note/type",
       "<cue/><type size=\"full\">quarter</type><type size=\"cue\">quarter</type>"},
      // A slashed grace note: its type follows the footnote and voice.
      {{Columns({{1, "gF#5"}, {8, "0"}, {13, "*"}, {15, "2"}, {17, "q"}})},
       "//note/*[not(self::pitch)]",
       "<grace slash=\"yes\"/><footnote>*</footnote><voice>2</voice><type>eighth</type>"},
      // Grace chord tones: a known and a blank type code.
      {{Columns({{1, "g A4"}, {8, "8"}}), Columns({{1, "g B4"}, {15, "1"}})},
       "//note/*[not(self::pitch)]",
       "<grace/><chord/><type>half</type><grace/><chord/><voice>1</voice>"},
      // A blank duration repeats the last one.
      {{Columns({{1, "G4"}, {7, "12"}}), Columns({{1, "A4"}})},
       "//duration",
       "<duration>12</duration><duration>12</duration>"},
      // A sounding tie is closed only in its own track and by the same pitch field.
      {{Columns({{1, "A4"}, {8, "4"}, {9, "-"}, {15, "1"}}),
        Columns({{1, "A4"}, {8, "4"}, {15, "2"}}), Columns({{1, "A#4"}, {8, "4"}, {15, "1"}}),
        Columns({{2, "A4"}, {8, "4"}, {15, "1"}})},
       "//note/tie|//note/voice",
       "<tie type=\"start\"/><voice>1</voice><voice>2</voice><voice>1</voice>"
       "<tie type=\"stop\"/><voice>1</voice>"},
      // Malformed pitch fields give partial pitches.
      {{Columns({{1, "Cx4"}, {8, "1"}}), Columns({{1, "C#x"}, {8, "1"}}), Columns({{1, "cC#x"}}),
        "F#"},
       "//pitch",
       "<pitch><step>C</step></pitch><pitch><step>C</step><alter>1</alter><octave> </octave>"
       "</pitch><pitch><step>C</step><alter>1</alter><octave>x</octave></pitch>"
       "<pitch><step>F</step><alter>1</alter><octave/></pitch>"},
  });
}

// Columns 13 on: dots, tuplets, stems, staff, beams and lyrics.
TEST(NoteRecord, CompletesTheNoteFromItsDataFields) {
  const std::string sixEmptyVerses =
      "<lyric number=\"1\"/><lyric number=\"2\"/><lyric number=\"3\"/><lyric number=\"4\"/>"
      "<lyric number=\"5\"/><lyric number=\"6\"/>";
  const char* fields = "//note/*[not(self::pitch or self::duration)]";
  // A record that reaches past column 23 with a blank there is printed stemless.
  const std::string none = "<stem>none</stem>";
  ExpectPartXml({
      {{C4({{17, "q"}, {18, "."}}), C4({{17, "h"}, {18, ":"}})},
       fields,
       "<type>quarter</type><dot/><type>half</type><dot/><dot/>"},
      // Tuplet ratios, given and derived; a ratio alone in column 22 is none.
      {{C4({{20, "3"}}), C4({{20, "C 8"}}), C4({{20, "7"}}), C4({{22, "4"}})},
       "//time-modification",
       "<time-modification><actual-notes>3</actual-notes><normal-notes>2</normal-notes>"
       "</time-modification><time-modification><actual-notes>12</actual-notes>"
       "<normal-notes>8</normal-notes></time-modification>"},
      // Stems: a blank column is none, a record ending before it has none.
      {{C4({{23, " "}}), C4({{17, "w"}}), C4({{23, "x"}})}, fields, none + "<type>whole</type>"},
      {{C4({{24, "2"}, {26, "[/"}}), C4({{26, "]\\ ="}})},
       fields,
       none +
           "<staff>2</staff><beam number=\"1\">begin</beam><beam number=\"2\">forward hook"
           "</beam>" +
           none +
           "<beam number=\"1\">end</beam><beam number=\"2\">backward hook"
           "</beam><beam number=\"4\">continue</beam>"},
      // Two verses: words across notes, extensions.
      {{C4({{44, "Glo-|Ky-"}}), C4({{44, "ri-"}}), C4({{44, "a_|ri\\7e"}}), C4({{44, "-|b_-   "}})},
       "//lyric",
       "<lyric number=\"1\"><syllabic>begin</syllabic><text>Glo</text></lyric>"
       "<lyric number=\"2\"><syllabic>begin</syllabic><text>Ky</text></lyric>"
       "<lyric number=\"1\"><syllabic>middle</syllabic><text>ri</text></lyric>"
       "<lyric number=\"1\"><syllabic>end</syllabic><text>a</text><extend/></lyric>"
       "<lyric number=\"2\"><syllabic>end</syllabic><text>rié</text></lyric>"
       "<lyric number=\"1\"><extend/></lyric>"
       "<lyric number=\"2\"><syllabic>begin</syllabic><text>b</text><extend/></lyric>"},
      // A seventh verse keeps its own word.
      {{C4({{44, "||||||Hal-"}}), C4({{44, "||||||le"}})},
       "//lyric",
       sixEmptyVerses + "<lyric number=\"7\"><syllabic>begin</syllabic><text>Hal</text></lyric>" +
           sixEmptyVerses + "<lyric number=\"7\"><syllabic>end</syllabic><text>le</text></lyric>"},
  });
}

}  // namespace
}  // namespace musedata::test
