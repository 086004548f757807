// The import end to end: a short aria in G minor with a major second half, for
// soprano, violin and organ (right hand and figured bass on two staves), read
// from tests/data/movement as one score. The whole score must equal the
// golden MusicXML; the musical facts below say what is wrong when it does not.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "musedata/score.h"
#include "support/test_support.h"
#include "xml/node.h"
#include "xml/xpath.h"

namespace musedata::test {
namespace {

const std::string kMovement = std::string(MUSEDATA_TEST_DATA) + "/movement/";

class Movement : public ::testing::Test {
 protected:
  void SetUp() override {
    const ImportResult result = ImportScore(
        {kMovement + "01-soprano.md", kMovement + "02-violino.md", kMovement + "03-organo.md"});
    ASSERT_TRUE(result.complete) << result.stoppedAt;
    m_score = result.document;
  }

  std::vector<xml::Node> Select(const char* expression) const {
    return xml::XPath(expression).Select(xml::Root(m_score));
  }

  Document m_score;
};

// "B-flat4", "F#4", "G5": the note's pitch as a musician names it.
std::string PitchName(xml::Node note) {
  const xml::Node pitch = note.Child("pitch");
  if (!pitch) return "rest";
  const std::string alter = pitch.Child("alter").Text();
  const char* sign = alter == "-1" ? "-flat" : alter == "1" ? "#" : "";
  return pitch.Child("step").Text() + sign + pitch.Child("octave").Text();
}

std::string MeasureOf(xml::Node node) {
  return std::string(node.Parent().Attr("number"));
}

std::string Join(const std::vector<std::string>& items) {
  std::string text;
  for (const std::string& item : items) text += (text.empty() ? "" : " | ") + item;
  return text;
}

TEST_F(Movement, EqualsTheGoldenScore) {
  const std::string expected = ReadFile(kMovement + "movement.musicxml");
  const std::string actual = ToMusicXmlText(m_score);
  if (actual == expected) return;
  // Name the first line that differs rather than print two whole scores.
  size_t line = 1;
  size_t at = 0;
  while (at < actual.size() && at < expected.size() && actual[at] == expected[at]) {
    if (actual[at] == '\n') ++line;
    ++at;
  }
  const auto lineAt = [&](const std::string& text) {
    const size_t begin = text.rfind('\n', at == 0 ? 0 : at - 1);
    const size_t start = begin == std::string::npos || at == 0 ? 0 : begin + 1;
    return text.substr(start, text.find('\n', at) - start);
  };
  ADD_FAILURE() << "the score differs from movement.musicxml at line " << line
                << "\n  expected: " << lineAt(expected) << "\n  actual:   " << lineAt(actual);
}

TEST_F(Movement, PartsKeepTheirScoreOrder) {
  std::vector<std::string> listed;
  for (const xml::Node scorePart : Select("/score-partwise/part-list/score-part"))
    listed.push_back(std::string(scorePart.Attr("id")) + " " + scorePart.Child("part-name").Text());
  EXPECT_EQ(Join(listed), "P1 Soprano | P2 Violino | P3 Organo");

  std::vector<std::string> parts;
  for (const xml::Node part : Select("/score-partwise/part")) parts.emplace_back(part.Attr("id"));
  EXPECT_EQ(Join(parts), "P1 | P2 | P3") << "the parts stand in another order than the part list";
}

// Every part opens with a one-beat upbeat, measure 0, and numbers on as its
// bar lines say; the measure that the closing bar line opened is dropped.
TEST_F(Movement, MeasuresAreNumberedFromTheUpbeat) {
  for (const xml::Node part : Select("/score-partwise/part")) {
    SCOPED_TRACE(std::string(part.Attr("id")));
    std::string numbers;
    std::string implicit;
    for (const xml::Node measure : part.Children("measure")) {
      numbers += std::string(measure.Attr("number")) + " ";
      if (measure.HasAttr("implicit")) implicit += std::string(measure.Attr("number")) + " ";
    }
    EXPECT_EQ(numbers, "0 1 2 3 4 5 6 7 8 ");
    EXPECT_EQ(implicit, "0 ") << "only the upbeat is an incomplete measure";
  }
}

// A figured-bass element stands before the bass note it belongs to; figures
// that change under one note carry their durations.
TEST_F(Movement, FiguresStandUnderTheirBassNotes) {
  const xml::XPath nextNote("following-sibling::note[1]");
  std::vector<std::string> figures;
  for (const xml::Node figuredBass : Select("/score-partwise/part[@id='P3']//figured-bass")) {
    std::string text = "m" + MeasureOf(figuredBass) + " ";
    for (const xml::Node figure : figuredBass.Children("figure"))
      text += figure.Child("prefix").Text() + figure.Child("figure-number").Text() +
              figure.Child("suffix").Text() + " ";
    if (const xml::Node duration = figuredBass.Child("duration"))
      text += "(" + duration.Text() + ") ";
    const xml::Node note = nextNote.SelectFirst(figuredBass);
    text += "over " + PitchName(note) + " staff " + note.Child("staff").Text();
    figures.push_back(text);
  }
  EXPECT_EQ(Join(figures),
            "m1 # over D3 staff 2 | m2 6 over B-flat2 staff 2 | m2 7 over C3 staff 2 | "
            "m2 7 over F2 staff 2 | m3 #6 over E-flat3 staff 2 | m3 4 (12) over D3 staff 2 | "
            "m3 # (12) over D3 staff 2 | m4 6 over B-flat2 staff 2 | m4 # over D3 staff 2 | "
            "m5 # over D3 staff 2 | m6 6 over C3 staff 2 | m6 7 over D3 staff 2 | "
            "m7 6 4 (12) over D3 staff 2 | m7 5 3 (12) over D3 staff 2");
}

// The organ's right hand holds a D across the first bar line and prepares the
// suspension of measure 3 with a tied G; the sounding tie and the printed
// tie mark the same notes.
TEST_F(Movement, TiesJoinTheSamePitch) {
  std::vector<std::string> ties;
  for (const xml::Node tie : Select("//note/tie"))
    ties.push_back("m" + MeasureOf(tie.Parent()) + " " + PitchName(tie.Parent()) + " " +
                   std::string(tie.Attr("type")));
  EXPECT_EQ(Join(ties), "m1 D4 start | m2 D4 stop | m3 G4 start | m3 G4 stop");

  std::vector<std::string> tied;
  for (const xml::Node mark : Select("//note/notations/tied"))
    tied.push_back("m" + MeasureOf(mark.Parent().Parent()) + " " +
                   PitchName(mark.Parent().Parent()) + " " + std::string(mark.Attr("type")));
  EXPECT_EQ(Join(tied), Join(ties)) << "printed ties differ from sounding ties";
}

// Slurs open and close in pairs, also across bar lines (the soprano's melisma
// into measure 4, the violin's turn into measure 2).
TEST_F(Movement, SlursOpenAndCloseInPairs) {
  const struct {
    const char* part;
    const char* slurs;
  } rows[] = {
      {"P1", "m2 E-flat5 start | m2 C5 stop | m3 F#4 start | m4 G4 stop"},
      {"P2",
       "m1 A5 start | m1 B-flat5 stop | m1 A5 start | m2 B-flat5 stop | m2 G5 start | "
       "m2 E-flat5 stop"},
      {"P3", ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.part);
    const std::string expression =
        std::string("/score-partwise/part[@id='") + row.part + "']//notations/slur";
    std::vector<std::string> slurs;
    for (const xml::Node slur : Select(expression.c_str())) {
      const xml::Node note = slur.Parent().Parent();
      slurs.push_back("m" + MeasureOf(note) + " " + PitchName(note) + " " +
                      std::string(slur.Attr("type")));
    }
    EXPECT_EQ(Join(slurs), row.slurs);
  }
}

// The soprano's words read back from the syllables: a hyphen joins the
// syllables of a word, an extension holds the syllable over the melisma.
TEST_F(Movement, TheSopranoSingsWholeWords) {
  std::string words;
  for (const xml::Node lyric : Select("/score-partwise/part[@id='P1']//note/lyric")) {
    const std::string syllabic = lyric.Child("syllabic").Text();
    words += lyric.Child("text").Text();
    if (lyric.Child("extend")) words += "_";
    words += syllabic == "begin" || syllabic == "middle" ? "-" : " ";
  }
  EXPECT_EQ(words,
            "Dol-ce spe-me del co-re, tor-na a me_ a me. a me. Pie-tà, pie-tà di me, a-mo-re. ");
}

}  // namespace
}  // namespace musedata::test
