#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "export/writer_harness.h"

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

struct Row {
  const char* name;
  std::string direction;
  std::string lines;
};

std::string Type(const std::string& inside) {
  return "<direction-type>" + inside + "</direction-type>";
}

TEST(DirectionWriter, WritesTypeParameterPlacementStaffAndText) {
  // clang-format off
  const Row rows[] = {
      {"centred words below", R"(<direction placement="below">)" + Type(R"(<words justify="center">dolce</words>)") + "</direction>",
       Line({{1, "*"}, {17, "C"}, {19, "+"}, {25, "dolce"}})},
      {"words above, left and right", R"(<direction placement="above">)" + Type(R"(<words justify="left">a</words>)") +
       "</direction><direction>" + Type(R"(<words justify="right">b</words>)") + "</direction>",
       Line({{1, "*"}, {17, "D"}, {25, "a"}}) + Line({{1, "*"}, {17, "B"}, {25, "b"}})},
      {"a font on the first text is a suggestion on its type column",
       "<direction>" + Type(R"(<words font-family="serif" font-style="italic">Allegro</words>)") + "</direction>",
       Line({{1, "*"}, {17, "D"}, {21, "33"}, {25, "Allegro"}}) + "P C17:f33\n"},
      {"a later font changes inline",
       "<direction>" + Type(R"(<words>poco</words><words font-family="serif" font-weight="bold"> a poco</words>)") + "</direction>",
       Line({{1, "*"}, {17, "D"}, {25, "poco!32 a poco"}})},
      {"wedges", "<direction>" + Type(R"(<wedge type="crescendo"/>)") + "</direction><direction>" +
       Type(R"(<wedge type="diminuendo"/>)") + "</direction><direction>" + Type(R"(<wedge type="stop" spread="20"/>)") +
       "</direction><direction>" + Type(R"(<wedge type="continue"/>)") + "</direction><direction>" +
       Type(R"(<wedge type="diminuendo" spread="1234"/>)") + "</direction>",
       Line({{1, "*"}, {17, "E"}, {21, "0"}}) + Line({{1, "*"}, {17, "E"}, {21, "15"}}) +
       Line({{1, "*"}, {17, "F"}, {21, "20"}}) + Line({{1, "*"}, {17, "E"}}) + Line({{1, "*"}, {17, "E"}, {21, "123"}})},
      {"dynamics", "<direction>" + Type("<dynamics><ff/></dynamics>") + "</direction><direction>" +
       Type("<dynamics><other-dynamics>sfffz</other-dynamics></dynamics>") + "</direction>",
       Line({{1, "*"}, {17, "G"}, {25, "ff"}}) + Line({{1, "*"}, {17, "G"}, {25, "sfffz"}})},
      {"dashes and pedal marks", "<direction>" + Type(R"(<dashes type="start"/>)") + Type(R"(<pedal type="change"/>)") +
       "</direction><direction>" + Type(R"(<dashes type="stop"/>)") + Type(R"(<pedal type="stop"/>)") + "</direction>",
       Line({{1, "*"}, {17, "HP"}}) + Line({{1, "*"}, {17, "JQ"}})},
      {"octave shifts", "<direction>" + Type(R"(<octave-shift type="down" size="15"/>)") + "</direction><direction>" +
       Type(R"(<octave-shift type="up"/>)") + "</direction><direction>" + Type(R"(<octave-shift type="stop"/>)") + "</direction>",
       Line({{1, "*"}, {17, "V"}, {21, "15"}}) + Line({{1, "*"}, {17, "U"}, {21, "8"}}) + Line({{1, "*"}, {17, "W"}, {21, "8"}})},
      {"rehearsal marks and segni share a letter", "<direction>" + Type("<rehearsal>B</rehearsal>") +
       "</direction><direction>" + Type("<segno/>") + "</direction>",
       Line({{1, "*"}, {17, "A"}, {25, "B"}}) + Line({{1, "*"}, {17, "A"}})},
      {"two types: the second's parameter wins, the third has no column",
       "<direction>" + Type(R"(<words font-family="serif">cresc.</words>)") + Type(R"(<wedge type="crescendo"/>)") +
       Type(R"(<octave-shift type="up"/>)") + "</direction>",
       Line({{1, "*"}, {17, "DE"}, {21, "0"}, {25, "cresc."}}) + "P C17:f31\n"},
      {"a font in the second type column", "<direction>" + Type(R"(<wedge type="stop"/>)") +
       Type(R"(<words font-family="sans-serif">dim.</words>)") + "</direction>",
       Line({{1, "*"}, {17, "FD"}, {21, "21"}, {25, "dim."}}) + "P C18:f21\n"},
      {"types MuseData has no letter for", "<direction>" + Type("<metronome><beat-unit>quarter</beat-unit></metronome>") +
       Type("<coda/>") + "</direction>",
       "*\n"},
      {"offset, staff, and a line end in the text",
       "<direction>" + Type("<words>a\r\nb</words>") + "<offset>-120</offset><staff> 2</staff></direction>",
       Line({{1, "*"}, {6, "-12"}, {17, "D"}, {24, "2"}, {25, "a b"}})},
  };
  // clang-format on
  WriterHarness harness;
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(harness.LinesOrError("<measure>" + row.direction + "</measure>"), row.lines);
  }
}

}  // namespace
}  // namespace musedata::test
