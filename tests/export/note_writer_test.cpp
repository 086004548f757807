#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "export/writer_harness.h"
#include "support/test_support.h"

namespace musedata::test {
namespace {

// A MuseData line with each text at its column, blanks between.
std::string Line(const std::vector<std::pair<int, std::string>>& fields) {
  std::string line;
  for (const auto& [column, text] : fields) {
    if (line.size() < static_cast<size_t>(column - 1)) line.resize(column - 1, ' ');
    line.replace(column - 1, text.size(), text);
  }
  return line + "\n";
}

std::string Measure(const std::string& children) {
  return "<measure>" + children + "</measure>";
}

std::string Pitch(const char* step, const char* octave, const char* alter = nullptr) {
  std::string pitch = std::string("<pitch><step>") + step + "</step>";
  if (alter) pitch += std::string("<alter>") + alter + "</alter>";
  return pitch + "<octave>" + octave + "</octave></pitch>";
}

// A C4 of one division with the given children after its duration.
std::string C4(const std::string& children, const std::string& attributes = "") {
  return "<note" + attributes + ">" + Pitch("C", "4") + "<duration>1</duration>" + children +
         "</note>";
}

struct Row {
  const char* name;
  std::string note;
  std::string lines;
};

TEST(NoteWriter, WritesEveryColumnOfNoteRestChordCueAndGraceRecords) {
  const std::string grace = "<grace/>" + Pitch("C", "5");
  // clang-format off
  const Row rows[] = {
      {"quarter F sharp on staff 1",
       "<note>" + Pitch("F", "4", "1") + "<duration>2</duration><type>quarter</type>"
       "<accidental>sharp</accidental><stem>up</stem><staff>1</staff></note>",
       Line({{1, "F#4"}, {6, "2"}, {17, "q"}, {19, "#"}, {23, "u"}, {24, "1"}})},
      {"alteration without a printed accidental",
       "<note>" + Pitch("B", "3", "-1") + "<duration>12</duration><type>half</type></note>",
       Line({{1, "Bf3"}, {6, "12"}, {17, "h"}})},
      {"double alterations and a plus sign",
       "<note>" + Pitch("G", "5", "+2") + "<duration>1</duration></note><note>" +
       Pitch("E", "2", "-2") + "<duration>1</duration></note><note>" + Pitch("D", "4", "+1") +
       "<duration>1</duration></note><note>" + Pitch("D", "4", "0.5") + "<duration>1</duration></note>",
       Line({{1, "G##5"}, {6, "1"}}) + Line({{1, "Eff2"}, {6, "1"}}) + Line({{1, "D#4"}, {6, "1"}}) +
       Line({{1, "D4"}, {6, "1"}})},
      {"chord tone", "<note><chord/>" + Pitch("E", "4") + "<duration>4</duration></note>",
       Line({{2, "E4"}, {6, "4"}})},
      {"rest", "<note><rest/><duration>4</duration><type>half</type></note>",
       Line({{1, "rest"}, {6, "4"}, {17, "h"}})},
      {"tie start and stop", C4("<tie type=\"stop\"/><tie type=\"start\"/>") + C4("<tie type=\"stop\"/>"),
       Line({{1, "C4"}, {6, "1"}, {9, "-"}}) + Line({{1, "C4"}, {6, "1"}})},
      {"slashed grace eighth", "<note><grace slash=\"yes\"/>" + Pitch("C", "5") + "<type>eighth</type></note>",
       Line({{1, "gC5"}, {8, "0"}, {17, "6"}})},
      {"grace eighth without slash", "<note>" + grace + "<type>eighth</type></note>",
       Line({{1, "gC5"}, {8, "6"}, {17, "6"}})},
      {"grace sixteenth leaves column 8 blank", "<note>" + grace + "<type>16th</type></note>",
       Line({{1, "gC5"}, {17, "5"}})},
      {"grace chord tone", "<note><grace/><chord/>" + Pitch("E", "5") + "<type>quarter</type></note>",
       Line({{1, "g E5"}, {8, "7"}, {17, "7"}})},
      {"cue note at cue and at full size",
       "<note><cue/>" + Pitch("A", "4") + "<duration>2</duration><type>quarter</type></note>"
       "<note><cue/>" + Pitch("A", "4") + "<duration>2</duration><type size=\"full\">breve</type></note>",
       Line({{1, "cA4"}, {8, "7"}, {17, "7"}}) + Line({{1, "cA4"}, {8, "A"}, {17, "b"}})},
      {"regular note printed at cue size", C4("<type size=\"cue\">32nd</type>"),
       Line({{1, "C4"}, {6, "1"}, {17, "4"}})},
      {"long, 256th and unknown types", C4("<type>long</type>") + C4("<type>256th</type>") +
       C4("<type>1024th</type>"),
       Line({{1, "C4"}, {6, "1"}, {17, "L"}}) + Line({{1, "C4"}, {6, "1"}, {17, "z"}}) +
       Line({{1, "C4"}, {6, "1"}})},
      {"one, two and three dots", C4("<dot/>") + C4("<dot/><dot/>") + C4("<dot/><dot/><dot/>"),
       Line({{1, "C4"}, {6, "1"}, {18, "."}}) + Line({{1, "C4"}, {6, "1"}, {18, ":"}}) +
       Line({{1, "C4"}, {6, "1"}, {18, ":"}})},
      {"accidentals", C4("<accidental>flat-flat</accidental>") + C4("<accidental>natural-sharp</accidental>") +
       C4("<accidental>quarter-flat</accidental>"),
       Line({{1, "C4"}, {6, "1"}, {19, "&"}}) + Line({{1, "C4"}, {6, "1"}, {19, "S"}}) +
       Line({{1, "C4"}, {6, "1"}})},
      {"triplet, quintuplet and a tuplet of twelve",
       C4("<time-modification><actual-notes>3</actual-notes><normal-notes>2</normal-notes></time-modification>") +
       C4("<time-modification><actual-notes>5</actual-notes><normal-notes>4</normal-notes></time-modification>") +
       C4("<time-modification><actual-notes>12</actual-notes><normal-notes>8</normal-notes></time-modification>") +
       C4("<time-modification><actual-notes>7</actual-notes></time-modification>"),
       Line({{1, "C4"}, {6, "1"}, {20, "3"}}) + Line({{1, "C4"}, {6, "1"}, {20, "5:4"}}) +
       Line({{1, "C4"}, {6, "1"}, {20, "C:8"}}) + Line({{1, "C4"}, {6, "1"}, {20, "7"}})},
      {"stems", C4("<stem>down</stem>") + C4("<stem>double</stem>") + C4("<stem>none</stem><staff>2</staff>"),
       Line({{1, "C4"}, {6, "1"}, {23, "d"}}) + Line({{1, "C4"}, {6, "1"}, {23, "u"}}) +
       Line({{1, "C4"}, {6, "1"}, {24, "2"}})},
      {"beams by level",
       C4(R"(<beam number="1">begin</beam><beam number="2">begin</beam>)") +
       C4(R"(<beam number="1">continue</beam><beam number="3">forward hook</beam>)") +
       C4(R"(<beam number="1">end</beam><beam number="6">backward hook</beam>)") +
       C4(R"(<beam>end</beam>)"),
       Line({{1, "C4"}, {6, "1"}, {26, "[["}}) + Line({{1, "C4"}, {6, "1"}, {26, "= /"}}) +
       Line({{1, "C4"}, {6, "1"}, {26, "]    \\"}}) + Line({{1, "C4"}, {6, "1"}, {26, "]"}})},
      {"beam repeaters from level 1 and from level 2",
       C4(R"(<beam number="1" repeater="yes">begin</beam>)") +
       C4(R"(<beam number="1">end</beam><beam number="2" repeater="yes">end</beam>)"),
       Line({{1, "C4"}, {6, "1"}, {26, "["}}) + "P C26:a\n" +
       Line({{1, "C4"}, {6, "1"}, {26, "]]"}}) + "P C27:a\n"},
      {"cautionary and editorial accidentals",
       C4(R"(<accidental cautionary="yes">natural</accidental>)") +
       C4(R"(<accidental editorial="yes">sharp</accidental><notations><articulations><staccato/></articulations></notations>)"),
       Line({{1, "C4"}, {6, "1"}, {19, "n"}, {32, "+"}}) + Line({{1, "C4"}, {6, "1"}, {19, "#"}, {32, ".^"}})},
      {"the note's own position and visibility",
       C4("", R"( default-x="12" default-y="-30.00" print-object="no" relative-x="-4" relative-y="2.5")") +
       C4("", R"( print-dot="no")") + C4("", R"( print-dot="yes" print-object="no")") +
       C4("", R"( print-object="yes" print-dot="yes" default-y="above")") +
       C4("", R"( print-object="no" print-dot="no")"),
       Line({{1, "C4"}, {6, "1"}}) + "P C1:X12Y30p2x-4y-2.5\n" + Line({{1, "C4"}, {6, "1"}}) +
       "P C1:p3\n" + Line({{1, "C4"}, {6, "1"}}) + "P C1:p2\n" + Line({{1, "C4"}, {6, "1"}}) +
       "P C1:p0Yabove\n" + Line({{1, "C4"}, {6, "1"}}) + "P C1:p1\n"},
      {"pizzicato and grace timing go to the sound line",
       C4("", R"( pizzicato="yes")") + C4("", R"( pizzicato="no")") +
       "<note><grace steal-time-previous=\"20\" slash=\"yes\" make-time=\"\"/>" + Pitch("D", "5") +
       "<type>eighth</type></note>"
       "<note><grace steal-time-following=\"\"/>" + Pitch("D", "5") + "<type>eighth</type></note>"
       "<note><grace slash=\"no\"/>" + Pitch("D", "5") + "<type>eighth</type></note>",
       Line({{1, "C4"}, {6, "1"}}) + "S C2:a\n" + Line({{1, "C4"}, {6, "1"}}) +
       Line({{1, "gD5"}, {8, "0"}, {17, "6"}}) + "S C1:pt20m\n" +
       Line({{1, "gD5"}, {8, "6"}, {17, "6"}}) + "S C1:f\n" + Line({{1, "gD5"}, {8, "6"}, {17, "6"}})},
      {"print line before sound line",
       C4("<notations><ornaments><trill-mark placement=\"below\" trill-step=\"unison\"/></ornaments></notations>",
          R"( default-x="3")"),
       Line({{1, "C4"}, {6, "1"}, {32, "t"}}) + "P C32:b C1:X3\nS C32:j\n"},
  };
  // clang-format on
  WriterHarness harness;
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(harness.LinesOrError(Measure(row.note)), row.lines);
  }
}

TEST(NoteWriter, WritesVersesSyllablesExtensionsAndElisions) {
  const auto lyric = [](int number, const std::string& inside) {
    return "<lyric number=\"" + std::to_string(number) + "\">" + inside + "</lyric>";
  };
  // clang-format off
  const Row rows[] = {
      {"three verses, syllabic and extension",
       lyric(1, "<syllabic>begin</syllabic><text>Ky</text>") +
       lyric(2, "<syllabic>single</syllabic><text>et</text>") +
       lyric(3, "<syllabic>end</syllabic><text>lux</text><extend/>") +
       lyric(4, "<syllabic>middle</syllabic><text>ri</text>"),
       "Ky-|et|lux_|ri-"},
      {"an elision joins the syllables with a blank",
       lyric(1, "<syllabic>single</syllabic><text>ma</text><elision/><syllabic>single</syllabic><text>in</text>"),
       "ma in"},
      {"an empty verse keeps its place", lyric(1, "<text/>") + lyric(2, "<text>la</text>"), "|la"},
      {"accented letters, specials and a line end",
       lyric(1, "<text>f&#xE9;e &amp;\nc\\d</text>"), "f\\7ee & c\\\\d"},
      {"37 characters are the most that fit",
       lyric(1, "<text>" + std::string(30, 'a') + "</text>") + lyric(2, "<text>bbbbbbbbbb</text>"),
       std::string(30, 'a') + "|bbbbbb"},
  };
  // clang-format on
  WriterHarness harness;
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(harness.LinesOrError(Measure(C4(row.note))),
              Line({{1, "C4"}, {6, "1"}, {44, row.lines}}));
  }
}

TEST(NoteWriter, ClampsLongDurationsWithOneWarningPerConversion) {
  WriterHarness harness;
  const std::string longNote = "<note>" + Pitch("C", "4") + "<duration>1000</duration></note>";
  const Written first = harness.Write(Measure(longNote + longNote));
  EXPECT_EQ(first.lines, Line({{1, "C4"}, {6, "999"}}) + Line({{1, "C4"}, {6, "999"}}));
  ASSERT_EQ(first.warnings.size(), 1u);
  EXPECT_EQ(first.warnings[0],
            "Duration of 1000 is too large to fit in 3-digit field.\r\n"
            "Replacing with 999. This may occur more than once.");
  // The same conversion, later figures: the warning was already shown.
  EXPECT_TRUE(harness
                  .Write(Measure("<figured-bass><figure><figure-number>6</figure-number></figure>"
                                 "<duration>4000</duration></figured-bass>"))
                  .warnings.empty());
}

TEST(NoteWriter, RefusesNotesItCannotWrite) {
  const std::pair<std::string, std::string> rows[] = {
      {"<note>" + Pitch("C", "4") + "</note>",
       "6062 Verdantix: MuseData SaveNote error 91: Object variable or With block variable not "
       "set"},
      {"<note><pitch><step>C</step></pitch><duration>1</duration></note>",
       "6062 Verdantix: MuseData SaveNote error 91: Object variable or With block variable not "
       "set"},
      {C4(R"(<beam number="7">begin</beam>)"),
       "6062 Verdantix: MuseData SaveNote error 9: Subscript out of range"},
      {C4(R"(<beam number="x">begin</beam>)"),
       "6062 Verdantix: MuseData SaveNote error 9: Subscript out of range"},
  };
  WriterHarness harness;
  for (const auto& [note, error] : rows) {
    SCOPED_TRACE(note);
    EXPECT_EQ(harness.LinesOrError(Measure(note)), error);
  }
}

}  // namespace
}  // namespace musedata::test
