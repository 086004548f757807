#include <gtest/gtest.h>

#include <string>

#include "export/writer_harness.h"

namespace musedata::test {
namespace {

// A C4 of one division whose notation columns (32 on) hold `field`, followed
// by its suggestion lines.
std::string NoteLine(const std::string& field) {
  std::string line = "C4   1";
  line.resize(31, ' ');
  return line + field + "\n";
}

std::string Write(WriterHarness& harness, const std::string& notations) {
  return harness.LinesOrError(
      "<measure><note><pitch><step>C</step><octave>4</octave></pitch>"
      "<duration>1</duration>" +
      notations + "</note></measure>");
}

struct Row {
  const char* notations;
  std::string lines;
};

TEST(NotationWriter, WritesEveryNotationCode) {
  // clang-format off
  const Row rows[] = {
      {R"(<notations><slur type="start" number="1"/><articulations><staccato/></articulations><ornaments><trill-mark/></ornaments></notations>)",
       NoteLine("(.t")},
      {R"(<notations><slur type="start"/><slur type="stop" number="1"/><slur type="start" number="2"/><slur type="stop" number="2"/>)"
       R"(<slur type="start" number="3"/><slur type="stop" number="3"/><slur type="start" number="4"/><slur type="stop" number="4"/><slur type="start" number="5"/></notations>)",
       NoteLine("()[]{}zx")},
      {R"(<notations><tied type="start"/><tied type="stop"/><tuplet type="start"/><tuplet type="stop"/><arpeggiate/></notations>)",
       NoteLine("-*!S")},
      {R"(<notations><fermata/><fermata type="inverted"/><fermata type="upright"/><glissando type="start"/></notations>)",
       NoteLine("FEF")},
      {R"(<notations><ornaments><turn/><delayed-turn/><shake/><inverted-mordent/><mordent/><schleifer/><tremolo>3</tremolo></ornaments></notations>)",
       NoteLine("rkwwMj")},
      {R"(<notations><ornaments><wavy-line type="start"/><wavy-line type="continue"/><wavy-line type="stop"/></ornaments></notations>)",
       NoteLine("~c~")},
      {R"(<notations><ornaments><accidental-mark>sharp</accidental-mark><accidental-mark>flat</accidental-mark><accidental-mark>natural</accidental-mark>)"
       R"(<accidental-mark placement="below">double-sharp</accidental-mark><accidental-mark>flat-flat</accidental-mark><accidental-mark>three-quarters-flat</accidental-mark></ornaments></notations>)",
       NoteLine("sbhssuff") + "P C37:b\n"},
      {R"(<notations><technical><up-bow/><down-bow/><harmonic/><open-string/><thumb-position/><fingering>3</fingering><fingering substitution="yes">4</fingering><pluck>p</pluck></technical></notations>)",
       NoteLine("vno0Q3:4")},
      {R"(<notations><articulations><accent/><strong-accent type="up"/><strong-accent/><staccato/><tenuto/><detached-legato/><spiccato/><breath-mark/><scoop/></articulations></notations>)",
       NoteLine(">AV._=i'")},
      {R"(<notations><dynamics><sfz/></dynamics><dynamics><sfp/><rfz/></dynamics><dynamics><mp/><other-dynamics>sempre</other-dynamics></dynamics></notations>)",
       NoteLine("ZZpRmp")},
      {R"(<notations><level>2</level><slur type="start"/></notations><notations><level>x</level><tied type="start"/></notations>)",
       NoteLine("&2(-")},
      {R"(<notations><articulations><accent/><accent/><accent/><accent/><accent/><accent/><accent/><accent/><accent/><accent/><accent/><accent/><staccato/></articulations></notations>)",
       NoteLine(">>>>>>>>>>>>")},
  };
  // clang-format on
  WriterHarness harness;
  for (const Row& row : rows) {
    SCOPED_TRACE(row.notations);
    EXPECT_EQ(Write(harness, row.notations), row.lines);
  }
}

TEST(NotationWriter, WritesPositionsAndOrnamentPlaybackAsSuggestions) {
  // clang-format off
  const Row rows[] = {
      {R"(<notations><slur type="start" default-y="10" placement="above"/></notations>)",
       NoteLine("(") + "P C32:Y-10o\n"},
      {R"(<notations><articulations><staccato/></articulations><ornaments><trill-mark trill-step="half" placement="above"/></ornaments></notations>)",
       NoteLine(".t") + "P C33:a\nS C33:h\n"},
      {R"(<notations><tied type="start" orientation="under" placement="above"/><tuplet type="start" placement="below" bracket="yes"/><fermata default-x="4" placement="above"/></notations>)",
       NoteLine("-*F") + "P C32:uo C33:b C34:X4\n"},
      {R"(<notations><technical><fingering default-x="-2" relative-y="-3" placement="above">12</fingering></technical><articulations><tenuto relative-x="1" relative-y="high"/></articulations></notations>)",
       NoteLine("12_") + "P C33:X-2y3 C34:x1yhigh\n"},
      {R"(<notations><dynamics default-y="-80"><ff/></dynamics><articulations><accent/></articulations></notations>)",
       NoteLine("ff>") + "P C32:Y80\n"},
      {R"(<notations><ornaments><turn start-note="main" two-note-turn="half" accelerate="yes" beats="4" second-beat="25" last-beat="75" relative-y="low" default-x="2"/>)"
       R"(<inverted-mordent start-note="upper" trill-step="whole" two-note-turn="none" accelerate="no" placement="below"/></ornaments></notations>)",
       NoteLine("rw") + "P C32:YlowX2 C33:b\nS C32:mfan4s25t75 C33:uw\n"},
      {R"(<notations><tied type="stop" default-y="5"/><glissando default-y="5"/></notations>)", NoteLine("")},
  };
  // clang-format on
  WriterHarness harness;
  for (const Row& row : rows) {
    SCOPED_TRACE(row.notations);
    std::string expected = row.lines;
    // A note line whose notation field is blank ends before it.
    if (expected == NoteLine("")) expected = "C4   1\n";
    EXPECT_EQ(Write(harness, row.notations), expected);
  }
}

TEST(NotationWriter, SlurLevelMustBeAWholeNumber) {
  WriterHarness harness;
  EXPECT_EQ(Write(harness, R"(<notations><slur type="stop" number="02"/></notations>)"),
            NoteLine("]"));
  EXPECT_EQ(Write(harness, R"(<notations><slur type="start" number="one"/></notations>)"),
            "6070 Verdantix: MuseData SaveNotations error 13: Type mismatch");
}

}  // namespace
}  // namespace musedata::test
