// The finishing step for MuseData, end to end through the tool: scores in
// the shapes other notation programs write, exported part by part, must give
// MuseData that other readers take (every "$" says something, the first says
// everything, every part closes on a bar record) and that our own import
// reads back with every note.

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "support/test_support.h"

namespace musedata::test {
namespace {

// A one-part score around the measures `body`; `partList` replaces the
// part-list when given.
std::string Score(const std::string& body, const std::string& partList = "") {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<score-partwise version=\"3.1\">\n" +
         (partList.empty() ? std::string("<part-list><score-part id=\"P1\"><part-name>Flute"
                                         "</part-name></score-part></part-list>\n")
                           : partList) +
         "<part id=\"P1\">\n" + body + "</part>\n</score-partwise>\n";
}

std::string Note(const std::string& pitch, int duration, const std::string& more = "") {
  return "<note><pitch><step>" + pitch.substr(0, 1) + "</step><octave>" + pitch.substr(1) +
         "</octave></pitch><duration>" + std::to_string(duration) + "</duration>" + more +
         "</note>";
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

size_t Count(const std::string& text, const std::string& what) {
  size_t count = 0;
  for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++count;
  return count;
}

// What every exported part must be, whatever the score: no "$" without a
// code or with a code over column 15, a first "$" with key, divisions, time
// and clef, a bar record right before "/END".
void ExpectReadableMuseData(const std::string& part) {
  const std::vector<std::string> lines = Lines(part);
  ASSERT_GE(lines.size(), 13u) << part;
  bool first = true;
  for (const std::string& line : lines) {
    if (line.empty() || line[0] != '$') continue;
    EXPECT_GT(line.find_first_not_of(' ', 1), 1u) << "a bare $ record:\n" << part;
    EXPECT_NE(line.find_first_not_of(' ', 1), std::string::npos) << part;
    // Column 15, a note's track, is read on every record by some readers.
    if (line.size() >= 15) {
      EXPECT_EQ(line[14], ' ') << "column 15 taken in " << line;
    }
    if (!first) continue;
    first = false;
    for (const char* code : {" K:", " Q:", " T:", " C"})
      EXPECT_NE(line.find(code), std::string::npos) << code << " missing in " << line;
  }
  EXPECT_FALSE(first) << "no $ record:\n" << part;
  EXPECT_EQ(lines.back(), "/END");
  EXPECT_EQ(lines[lines.size() - 2][0], 'm') << "no closing bar record:\n" << part;
}

struct Case {
  const char* name;
  std::string score;
  std::vector<std::string> lines;  // each stands as a line of the part
  const char* warning;             // a text the warnings hold, or ""
};

TEST(ExportFinish, GivesMuseDataThatReadersTakeAndThatImportsBack) {
  const std::string opening =
      "<attributes><divisions>1</divisions><key><fifths>0</fifths></key><time><beats>4</beats>"
      "<beat-type>4</beat-type></time><clef><sign>G</sign><line>2</line></clef></attributes>";
  const Case cases[] = {
      {"a lone measure without attributes",
       Score("<measure number=\"1\">" + Note("C5", 4, "<type>whole</type>") + "</measure>"),
       {"$   Q:1 K:0    T:4/4 C:4", "C5   4          w", "measure"},
       "4/4 from the length of measure 1"},
      {"attributes with nothing MuseData holds",
       Score("<measure number=\"1\">" + opening + Note("C5", 4) +
             "</measure><measure number=\"2\"><attributes><staff-details><staff-lines>4"
             "</staff-lines></staff-details></attributes>" +
             Note("D5", 4) + "</measure>"),
       {"measure 2", "D5   4"},
       ""},
      {"tempo, rehearsal, segno and coda as words",
       Score("<measure number=\"1\">" + opening +
             "<direction><direction-type><metronome parentheses=\"yes\"><beat-unit>quarter"
             "</beat-unit><beat-unit-dot/><per-minute>60</per-minute></metronome>"
             "</direction-type></direction><direction><direction-type><rehearsal>B"
             "</rehearsal></direction-type></direction><direction><direction-type><segno/>"
             "</direction-type></direction><direction><direction-type><coda/></direction-type>"
             "</direction><direction><direction-type><bracket type=\"start\" line-end=\"none\"/>"
             "</direction-type></direction>" +
             Note("C5", 4) + "</measure>"),
       {"*               D       (q. = 60)", "*               D       B",
        "*               D       Segno", "*               D       Coda"},
       "a direction (bracket) has no MuseData record and no text; left out"},
      {"an offset that does not share the durations' divisor",
       Score("<measure number=\"1\"><attributes><divisions>480</divisions></attributes>"
             "<direction><direction-type><words>dolce</words></direction-type><offset>-1095"
             "</offset></direction>" +
             Note("C5", 1920) + "</measure>"),
       {"$   Q:1 K:0    T:4/4 C:4", "*    -2         D       dolce", "C5   4"},
       "4/4 from the length of measure 1"},
      {"a cue note that takes time",
       Score("<measure number=\"1\">" + opening + Note("C5", 2, "<voice>1</voice>") +
             "<note><cue/><pitch><step>E</step><octave>5</octave></pitch><duration>1"
             "</duration><voice>1</voice><type size=\"cue\">quarter</type></note>" +
             Note("F5", 1, "<voice>1</voice>") + "</measure>"),
       {"cE5    7      1 7", "irest1        1", "F5   1        1"},
       ""},
      {"unpitched notes, placed or on the middle line",
       Score("<measure number=\"1\"><attributes><divisions>1</divisions><clef><sign>F</sign>"
             "<line>4</line></clef></attributes><note><unpitched><display-step>F"
             "</display-step><display-octave>5</display-octave></unpitched><duration>2"
             "</duration></note><note><unpitched/><duration>2</duration></note></measure>"),
       {"F5   2", "D3   2"},
       "4/4 from the length of measure 1"},
      {"a voice that is no number, a part missing from the part-list",
       Score("<measure number=\"1\">" + opening + Note("C5", 4, "<voice>X</voice>") + "</measure>",
             "<part-list/>"),
       {"Part 1", "C5   4        1"},
       "voice \"X\" is no number; written as voice 1"},
      {"no metre, invented measure numbers, a sum of beats",
       Score("<measure number=\"X1\"><attributes><divisions>2</divisions><time><senza-misura/>"
             "</time></attributes>" +
             Note("C5", 6) + "</measure><measure number=\"12a\">" +
             "<attributes><time><beats>3+2</beats><beat-type>8</beat-type></time></attributes>" +
             Note("D5", 5) + "</measure>"),
       {"$   Q:2 K:0    T:3/4 C:4", "measure", "$   T:5/8"},
       "a time without metre (senza misura) has no MuseData time; left out"},
      {"computed positions, the slur side drawn with them, a note without duration",
       Score("<measure number=\"1\">" + opening +
             "<note default-x=\"80\" default-y=\"-10\"><pitch><step>C</step><octave>5</octave>"
             "</pitch><type>quarter</type><notations><slur type=\"start\" placement=\"above\" "
             "default-y=\"20\"/></notations></note>" +
             Note("D5", 1, "<notations><slur type=\"stop\"/></notations>") +
             Note("E5", 1, "<notations><slur type=\"start\" placement=\"below\"/></notations>") +
             Note("F5", 1, "<notations><slur type=\"stop\"/></notations>") + "</measure>"),
       {"C5   1          q              (", "E5   1                         (", "P C32:u"},
       "a C5 without a duration is given the one its type says"},
      {"a backup before the measure's start",
       Score("<measure number=\"1\">" + opening + Note("C5", 4, "<voice>1</voice>") +
             "<backup><duration>8</duration></backup>" + Note("E4", 4, "<voice>2</voice>") +
             "</measure>"),
       {"back 4", "E4   4        2"},
       "a backup of 8 reaches before the measure's start; 4 written"},
      {"a key for the second staff alone, a figured bass without figures",
       Score("<measure number=\"1\"><attributes><divisions>1</divisions><key number=\"1\">"
             "<fifths>0</fifths></key><time><beats>4</beats><beat-type>4</beat-type></time>"
             "<staves>2</staves></attributes>" +
             Note("C5", 4, "<voice>1</voice><staff>1</staff>") +
             "<backup><duration>4</duration></backup><attributes><key number=\"2\"><fifths>2"
             "</fifths></key></attributes><figured-bass><duration>4</duration></figured-bass>" +
             Note("D3", 4, "<voice>2</voice><staff>2</staff>") + "</measure>"),
       {"$   Q:1 K:0    T:4/4 S:2 C1:4 C2:22", "back 4", "D3   4        2        2"},
       "a key signature for staff 2 alone has no MuseData key; left out"},
      {"pitches MuseData cannot write",
       Score("<measure number=\"1\">" + opening +
             Note("h4", 1, "<accidental editorial=\"yes\">natural</accidental>") + Note("e5", 1) +
             Note("C5", 1, "") + Note("Cx", 1) + "</measure>"),
       {"rest 1", "E5   1", "C5   1"},
       "a note whose pitch (step \"h\", octave \"4\") MuseData cannot write is written as a rest"},
      {"a microtonal alteration",
       Score("<measure number=\"1\">" + opening +
             "<note><pitch><step>C</step><alter>-1.5</alter><octave>5</octave></pitch><duration>"
             "4</duration></note></measure>"),
       {"Cf5  4"},
       "a microtonal alteration (alter \"-1.5\") of a C has no MuseData sign; written as alter -1"},
      {"an invisible rest",
       Score("<measure number=\"1\">" + opening + Note("C5", 2, "<voice>1</voice>") +
             "<note print-object=\"no\"><rest/><duration>2</duration><voice>1</voice></note>"
             "</measure>"),
       {"irest2        1"},
       ""},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(row.name);
    const TempDir folder;
    folder.Write("score.musicxml", row.score);
    const ToolRun exported = RunTool(folder.Path(), "export -o part.md score.musicxml");
    ASSERT_EQ(exported.status, 0) << exported.err;
    if (*row.warning) {
      EXPECT_NE(exported.err.find(row.warning), std::string::npos) << exported.err;
    } else {
      EXPECT_EQ(exported.err, "");
    }
    const std::string part = ReadFile(folder.Path() + "/part.md");
    ExpectReadableMuseData(part);
    const std::vector<std::string> lines = Lines(part);
    for (const std::string& line : row.lines)
      EXPECT_NE(std::find(lines.begin(), lines.end(), line), lines.end())
          << "no line \"" << line << "\" in\n"
          << part;
    EXPECT_EQ(part.find("X"), part.find("X:")) << "a position or invented number\n" << part;

    const ToolRun back = RunTool(folder.Path(), "import --literal part.md");
    ASSERT_EQ(back.status, 0) << back.err << part;
    // An invisible rest comes back as the forward it is written as.
    EXPECT_EQ(Count(back.out, "<note"),
              Count(row.score, "<note") - Count(row.score, "<note print-object=\"no\"><rest/>"))
        << back.out;
    EXPECT_EQ(Count(part, "P C32:o"), 0u) << "a slur side from the layout\n" << part;
  }
}

// Positions are an editor's suggestion only when asked for; --literal writes
// the part as the converter does, bare "$" and all.
TEST(ExportFinish, OptionsKeepPositionsOrTheLiteralPart) {
  const TempDir folder;
  folder.Write("score.musicxml",
               Score("<measure number=\"1\"><attributes><divisions>1</divisions></attributes>"
                     "<note default-x=\"80\" default-y=\"-10\"><pitch><step>C</step><octave>5"
                     "</octave></pitch><duration>4</duration></note></measure><measure "
                     "number=\"2\"><attributes><staff-details/></attributes>" +
                     Note("D5", 4) + "</measure>"));
  const ToolRun positions = RunTool(folder.Path(), "export --positions score.musicxml");
  EXPECT_EQ(positions.status, 0) << positions.err;
  EXPECT_NE(positions.out.find("\nC5   4\nP C1:X80Y10\n"), std::string::npos) << positions.out;
  const ToolRun literal = RunTool(folder.Path(), "export --literal score.musicxml");
  EXPECT_EQ(literal.status, 0) << literal.err;
  EXPECT_NE(literal.out.find("\nmeasure 2\n$\nD5   4\n/END\n"), std::string::npos) << literal.out;
  const ToolRun both = RunTool(folder.Path(), "export --literal --positions score.musicxml");
  EXPECT_EQ(both.status, 64) << "--positions without the finishing step changes nothing";
}

}  // namespace
}  // namespace musedata::test
