// The finishing step on small MuseData parts of our own: each row is a shape
// that a literal import leaves for notation programs to stumble on, and what
// the finished score holds there instead.

#include "musedata/finish.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "musedata/score.h"
#include "support/test_support.h"
#include "xml/xpath.h"

namespace musedata::test {
namespace {

const std::string kMovement = std::string(MUSEDATA_TEST_DATA) + "/movement/";

// A note record: the pitch field (a leading blank makes a chord tone), the
// duration, and further columns as {column, text}.
std::string Note(const std::string& pitch, const std::string& duration,
                 std::vector<std::pair<size_t, std::string>> columns = {}) {
  std::string line(44, ' ');
  line.replace(0, pitch.size(), pitch);
  line.replace(8 - duration.size(), duration.size(), duration);
  for (const auto& [column, text] : columns) line.replace(column - 1, text.size(), text);
  return line.substr(0, line.find_last_not_of(' ') + 1);
}

std::string Tied(const std::string& pitch) {
  return Note(pitch, "4", {{9, "-"}, {32, "-"}});
}

// Imports the part, finishes it, and gives what `xpath` selects, then
// " [warning: <text>]" for each warning of the finishing step.
std::string Finished(const std::vector<std::string>& records, const char* xpath) {
  const Imported imported = ImportText(Part(records));
  if (!imported.result) return "(false)";
  std::vector<std::string> warnings;
  FinishScore(imported.document, [&](const std::string& text) { warnings.push_back(text); });
  std::string xml = XmlAt(imported.document, xpath);
  for (const std::string& warning : warnings) xml += " [warning: " + warning + "]";
  return xml;
}

const char* const kAttributes = "$ K:0 Q:2 T:2/4 C:4";

struct Row {
  const char* name;
  std::vector<std::string> records;
  const char* xpath;
  std::string expected;
};

TEST(Finish, MendsEachShape) {
  const Row rows[] = {
      {"a tie without a partner is removed, named by part and measure",
       {kAttributes, Tied("C4"), Note("D4", "4"), "measure 2"},
       "//note[1]/tie|//note[1]/notations",
       " [warning: part 1 (Violino I), measure 1: a tie on C4 finds no note of that pitch in "
       "the next chord of its voice; removed]"},
      {"every tone of a chord held over two bar lines is tied through",
       {kAttributes, Tied("C4"), Tied(" E4"), Tied(" G4"), "measure 2", Tied("C4"), Tied(" E4"),
        Tied(" G4"), "measure 3", Note("C4", "4"), Note(" E4", "4"), Note(" G4", "4")},
       "//measure[position() > 1]/note/tie/@type|//measure[3]//tied/@type",
       " type=\"stop\" type=\"start\" type=\"stop\" type=\"start\" type=\"stop\" "
       "type=\"start\" type=\"stop\" type=\"stop\" type=\"stop\" type=\"stop\" "
       "type=\"stop\" type=\"stop\""},
      {"a tie at the end of the part is removed",
       {kAttributes, Note("D4", "4"), Tied("C#4")},
       "//tie",
       " [warning: part 1 (Violino I), measure X1: a tie on C#4 has no note after it to end on; "
       "removed]"},
      {"a tie runs past a grace note to the next chord",
       {kAttributes, Tied("C4"), Note("gD4", "", {{8, "0"}}), Note("C4", "4")},
       "//note[pitch/step='C']/tie/@type",
       " type=\"start\" type=\"stop\""},
      {"the layer after a backup gets the next voice",
       {kAttributes, Note("C5", "8"), "back   8", Note("C4", "8")},
       "//note/voice",
       "<voice>1</voice><voice>2</voice>"},
      {"a layer repeating the first layer's track gets a voice of its own",
       {kAttributes, Note("C5", "8", {{15, "1"}}), "back   8", Note("C4", "8", {{15, "1"}}),
        "measure 2", Note("C5", "8", {{15, "1"}}), "back   8", "irest  4      1", Note("C4", "4")},
       "//note/voice|//forward/voice",
       "<voice>1</voice><voice>2</voice><voice>1</voice><voice>2</voice><voice>2</voice>"},
      {"layers with tracks of their own keep them",
       {kAttributes, Note("C5", "8", {{15, "3"}}), "back   8", Note("C4", "8", {{15, "1"}})},
       "//note/voice",
       "<voice>3</voice><voice>1</voice>"},
      {"a trill line on one note stops on it",
       {kAttributes, Note("C5", "4", {{32, "t~"}}), Note("D5", "4")},
       "//ornaments",
       "<ornaments><trill-mark/><wavy-line type=\"start\"/><wavy-line type=\"stop\"/></ornaments>"},
      {"each tone of a chord stops its own trill line",
       {kAttributes, Note("C5", "4", {{32, "~"}}), Note(" E5", "4", {{32, "~"}})},
       "//wavy-line/@type",
       " type=\"start\" type=\"stop\" type=\"start\" type=\"stop\""},
      {"a continued trill line stops on the last note that continues it",
       {kAttributes, Note("C5", "2", {{32, "t~"}}), Note("C5", "2", {{32, "c"}}), Note("D5", "4")},
       "//note[2]//wavy-line",
       "<wavy-line type=\"continue\"/><wavy-line type=\"stop\"/>"},
      {"a trill line carried over a bar line stops before the next bar line",
       {kAttributes, Note("C5", "4", {{32, "t~"}}), "measure 2       ~", Note("C5", "2"),
        Note("B4", "2"), "measure 3", Note("C5", "4")},
       "//note[wavy-line or notations/ornaments/wavy-line[@type='stop']]/pitch/step",
       "<step>B</step>"},
      {"a grace note's trill line ends where the line running past it stopped",
       {kAttributes, Note("C5", "4", {{32, "t~"}}), Note("gD5", "", {{8, "0"}, {32, "~"}}),
        "measure 2       ~", Note("C5", "2"), Note("B4", "2"), "measure 3", Note("C5", "4")},
       "//note//wavy-line/@type",
       " type=\"start\" type=\"start\" type=\"stop\""},
      {"a trill line stops before the next trill of its voice",
       {kAttributes, Note("C5", "2", {{32, "t~"}}), Note("D5", "2", {{32, "t~"}}),
        "measure 2       ~", Note("E5", "4", {{32, "t"}})},
       "//note[.//wavy-line[@type='stop']]/pitch/step",
       "<step>C</step><step>D</step>"},
      {"ties pair within each voice of a measure with two layers",
       {kAttributes, Tied("C5"), "back   4", Tied("C4"), "measure 2", Note("C5", "4"), "back   4",
        Note("C4", "4")},
       "//measure[2]/note/tie/@type|//measure[2]/note/voice",
       " type=\"stop\"<voice>1</voice> type=\"stop\"<voice>2</voice>"},
      {"three layers without tracks are voices 1, 2 and 3; a layer's own track is shared",
       {kAttributes, Note("C5", "4"), "back   4", Note("C4", "2"), Note("D4", "2", {{15, "4"}}),
        "back   4", Note("C3", "4")},
       "//note/voice",
       "<voice>1</voice><voice>4</voice><voice>4</voice><voice>3</voice>"},
      {"tied tones in unison each end on their own tone",
       {kAttributes, Tied("C4"), Tied(" C4"), "measure 2", Note("C4", "4"), Note(" C4", "4")},
       "//measure[2]/note/tie/@type",
       // The converter pairs the first tie with the tone in unison beside it.
       " type=\"stop\" type=\"stop\" [warning: part 1 (Violino I), measure 1: a tie ends on C4 "
       "without a start; removed]"},
      {"a layer's notes that sound with the first layer's voice take the layer's own",
       {kAttributes, Note("C5", "4", {{15, "1"}}), "back   4", Note("C4", "2", {{15, "2"}}),
        Note("D4", "2", {{15, "1"}})},
       "//note/voice",
       "<voice>1</voice><voice>2</voice><voice>2</voice>"},
      {"a layer hands over to the first voice where that voice is silent",
       {kAttributes, Note("C5", "2", {{15, "1"}}), "back   2", Note("C4", "2", {{15, "2"}}),
        Note("D4", "2", {{15, "1"}})},
       "//note/voice",
       "<voice>1</voice><voice>2</voice><voice>1</voice>"},
      {"cue notes get durations, taken from the invisible rest that follows them",
       {kAttributes, Note("C5", "4", {{15, "1"}}), "back   4",
        Note("cB4", "", {{15, "2"}, {17, "7"}}), Note("cA4", "", {{15, "2"}, {17, "7"}}),
        "irest  4      2"},
       "//note[cue]/duration|//forward",
       "<duration>2</duration><duration>2</duration>"},
      {"cue notes without a rest after them are followed by a backup of their time",
       {kAttributes, Note("cB4", "", {{15, "1"}, {17, "7"}}), Note("C5", "4")},
       "//measure/*/duration",
       "<duration>2</duration><duration>2</duration><duration>4</duration>"},
      {"a directive is also words above its staff, right after its attributes",
       {"$ K:0 Q:2 T:2/4 C1:4 C2:22 D2:Adagio", Note("C4", "4")},
       "//directive|//measure/*[2]",
       "<directive number=\"2\">Adagio</directive><direction placement=\"above\"><direction-type>"
       "<words>Adagio</words></direction-type><staff>2</staff></direction>"},
      {"a key written with its alternative keeps its first number",
       {"$ K:-2(-1) Q:2 T:2/4 C:4", Note("C4", "4")},
       "//fifths",
       "<fifths>-2</fifths> [warning: part 1 (Violino I), measure X1: key \"-2(-1)\" written as "
       "fifths -2]"},
      {"a wedge without a spread is a crescendo",
       {kAttributes, "*               E", Note("C4", "4")},
       "//wedge",
       "<wedge type=\"crescendo\"/> [warning: part 1 (Violino I), measure X1: a wedge without a "
       "spread written as a crescendo]"},
      {"a pass number leaves the backup as a comment",
       {kAttributes, Note("C5", "4"), "back   4        2", Note("C4", "4")},
       "//backup",
       "<backup><duration>4</duration><!--pass-number 2--></backup>"},
      {"a time without a beat type is hidden and keeps the measure's length, in eighths if need be",
       {"$ K:0 Q:2 T:11/0 C:4", Note("C4", "6"), "measure 2", "$ T:3/0", Note("C4", "1"),
        Note("D4", "1"), Note("E4", "1"), "measure 3"},
       "//time",
       "<time print-object=\"no\"><beats>3</beats><beat-type>4</beat-type></time><time "
       "print-object=\"no\"><beats>3</beats><beat-type>8</beat-type></time> [warning: part 1 "
       "(Violino I), measure 1: time \"11/0\" written as a hidden 3/4, the length of the measure] "
       "[warning: part 1 (Violino I), measure 2: time \"3/0\" written as a hidden 3/8, the length "
       "of the measure]"},
      {"figures lose empty signs and name theirs in MusicXML's words",
       {kAttributes, "f     4         6  #6 5+ n", Note("C3", "4")},
       "//figured-bass",
       "<figured-bass><figure><figure-number>6</figure-number></figure><figure><prefix>sharp"
       "</prefix><figure-number>6</figure-number></figure><figure><figure-number>5"
       "</figure-number><suffix>plus</suffix></figure><figure><prefix>natural</prefix></figure>"
       "<duration>4</duration></figured-bass>"},
      {"every figure sign has its word; an unknown one is kept with a warning",
       {kAttributes, "f     4         6b 4x 7/ 5\\ 6f 6?", Note("C3", "4")},
       "//suffix",
       "<suffix>flat</suffix><suffix>double-sharp</suffix><suffix>slash</suffix><suffix>"
       "back-slash</suffix><suffix>flat</suffix><suffix>?</suffix> [warning: part 1 (Violino "
       "I), measure X1: the figure sign \"?\" has no MusicXML name; kept as written]"},
      {"a clef of unknown code is removed",
       {"$ K:0 Q:2 T:2/4 C:94", Note("C4", "4")},
       "//clef",
       " [warning: part 1 (Violino I), measure X1: a clef of unknown sign removed]"},
      {"a tuplet ratio of 0 is removed",
       {kAttributes, Note("C4", "4", {{20, "0 2"}})},
       "//time-modification",
       " [warning: part 1 (Violino I), measure X1: a tuplet ratio without two positive numbers "
       "removed from C4]"},
      {":||: is a light-heavy backward and a heavy-light forward repeat",
       {kAttributes, Note("C4", "4"), "mheavy4 2       :|:", Note("D4", "4")},
       "//barline/bar-style",
       "<bar-style>light-heavy</bar-style><bar-style>heavy-light</bar-style>"},
      {"a courtesy sign shows the note's own accidental, double ones as such",
       {kAttributes, Note("F#4", "4", {{23, "u"}, {32, "+"}}),
        Note("Bf4", "4", {{23, "u"}, {32, "^"}}), Note("C4", "4", {{23, "u"}, {32, "+"}}),
        Note("F##4", "4", {{23, "u"}, {32, "+"}}), Note("Bff4", "4", {{23, "u"}, {32, "+"}})},
       "//accidental",
       "<accidental cautionary=\"yes\">sharp</accidental><accidental editorial=\"yes\">flat"
       "</accidental><accidental cautionary=\"yes\">natural</accidental><accidental cautionary="
       "\"yes\">double-sharp</accidental><accidental cautionary=\"yes\">flat-flat</accidental>"},
      {"the opening measure's bar line opens measure 1, before its attributes",
       {kAttributes, "mdouble 1", Note("C4", "4")},
       "//measure/*[position() <= 2]",
       "<barline location=\"left\"><bar-style>light-light</bar-style></barline><attributes>"
       "<divisions>2</divisions><key><fifths>0</fifths></key><time><beats>2</beats><beat-type>4"
       "</beat-type></time><clef><sign>G</sign><line>2</line></clef></attributes>"},
      {"an opening measure without notes hands its attributes to measure 1",
       {"measure 1", kAttributes, Note("C4", "4"), "measure 2", Note("D4", "4")},
       "//measure/@number|//measure[1]/attributes/divisions",
       " number=\"1\"<divisions>2</divisions> number=\"2\""},
      {"a closing measure without notes hands its attributes to the one before",
       {kAttributes, Note("C4", "4"), "mheavy2", "$ K:1"},
       "//measure/@number|//measure[last()]/*[position() > 1]",
       " number=\"X1\"<note><pitch><step>C</step><octave>4</octave></pitch><duration>4"
       "</duration></note><attributes><key><fifths>1</fifths></key></attributes><barline "
       "location=\"right\"><bar-style>light-heavy</bar-style></barline>"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(Finished(row.records, row.xpath), row.expected);
  }
}

// Common instrument names in the languages of the scores choose a General
// MIDI program; any part gets a score-instrument with its name.
TEST(Finish, NamesTheInstrumentOfEveryPart) {
  const std::pair<std::string, std::string> rows[] = {
      {"Violino I", "41"},    {"Violoncello", "43"}, {"Basson", "71"},        {"Coro", "53"},
      {"Oboe d'amore", "69"}, {"Continuo", "43"},    {"Corno II in F", "61"}, {"Glockenspiel", ""},
  };
  for (const auto& [name, program] : rows) {
    SCOPED_TRACE(name);
    const Imported imported =
        ImportText(Header(name) + kAttributes + "\n" + Note("C4", "4") + "\n/END\n");
    FinishScore(imported.document);
    EXPECT_EQ(XmlAt(imported.document, "//score-instrument"),
              "<score-instrument id=\"P1-I1\"><instrument-name>" + name +
                  "</instrument-name></score-instrument>");
    EXPECT_EQ(XmlAt(imported.document, "//midi-program/text()"), program);
  }
}

// A score-part whose part holds nothing gets its instrument too.
TEST(Finish, NamesTheInstrumentOfAScorePartWithoutItsPart) {
  const Document score = ReadMusicXml(
      "<score-partwise><part-list><score-part id=\"P1\"><part-name>Oboe</part-name></score-part>"
      "<score-part id=\"P2\"><part-name>Viola</part-name></score-part></part-list>"
      "<part id=\"P1\"><measure number=\"1\"/></part></score-partwise>",
      "score.musicxml");
  EXPECT_EQ(FinishScore(score).instrumentsNamed, 2);
  EXPECT_EQ(XmlAt(score, "//midi-program/text()"), "6942");
}

// The golden aria: finishing twice changes nothing the second time, and the
// finished score holds no tie or trill line left open.
TEST(Finish, FinishedScoreIsStableAndClosed) {
  ImportOptions options;
  options.finish = true;
  const ImportResult result = ImportScore(
      {kMovement + "01-soprano.md", kMovement + "02-violino.md", kMovement + "03-organo.md"},
      options);
  ASSERT_TRUE(result.complete);
  EXPECT_EQ(result.finished.instrumentsNamed, 3);
  const std::string once = ToMusicXmlText(result.document);
  for (const auto& [kind, count] : CountsByKind(FinishScore(result.document)))
    EXPECT_EQ(count, 0) << kind;
  EXPECT_EQ(ToMusicXmlText(result.document), once);
  const auto count = [&](const char* xpath) {
    return xml::XPath(xpath).Select(xml::Root(result.document)).size();
  };
  EXPECT_EQ(count("//tie[@type='start']"), count("//tie[@type='stop']"));
  EXPECT_EQ(count("//tied[@type='start']"), count("//tied[@type='stop']"));
  EXPECT_EQ(count("//wavy-line[@type='start']"), count("//wavy-line[@type='stop']"));
}

// A document that is no partwise score is left as it is.
TEST(Finish, LeavesOtherDocumentsAlone) {
  for (const auto& [kind, count] : CountsByKind(FinishScore(Document())))
    EXPECT_EQ(count, 0) << kind;
  const Document timewise = xml::ParseMemory(
      "<score-timewise><part-list><score-part id=\"P1\"><part-name>Violino</part-name>"
      "</score-part></part-list></score-timewise>",
      "timewise.xml", 0);
  const std::string before = ToMusicXmlText(timewise);
  FinishScore(timewise);
  EXPECT_EQ(ToMusicXmlText(timewise), before);
}

// The tool finishes by default; --literal writes what the converter built,
// which is also what hosts get unless they ask for the finishing step.
TEST(Finish, ToolFinishesUnlessLiteral) {
  const TempDir folder;
  // Of a chord tied over the bar line the converter ends only the upper tone's tie, not its
  // notation: both are closed.
  folder.Write("cello.md",
               Part({"$ K:0 Q:2 T:2/4 C:22 D:Grave", Tied("C3"), Note("D3", "4"), Tied("E3"),
                     Tied(" G3"), "measure 2", Note("E3", "4"), Note(" G3", "4")}));
  const ToolRun literal = RunTool(folder.Path(), "import --literal cello.md");
  EXPECT_EQ(literal.status, 0) << literal.err;
  EXPECT_EQ(literal.out, ToMusicXmlText(ImportScore({folder.Path() + "/cello.md"}).document));

  const ToolRun finished = RunTool(folder.Path(), "import --verbose cello.md");
  EXPECT_EQ(finished.status, 0);
  EXPECT_NE(finished.out.find("<words>Grave</words>"), std::string::npos);
  EXPECT_EQ(literal.out.find("<words>"), std::string::npos);
  for (const char* line : {"musedata: warning: part 1 (Violino I), measure 1: a tie on C3",
                           "musedata: finishing step: ties closed: 2\n",
                           "musedata: finishing step: ties removed: 1\n"})
    EXPECT_NE(finished.err.find(line), std::string::npos) << finished.err;
}

}  // namespace
}  // namespace musedata::test
