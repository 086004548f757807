#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "export/canonical_xml.h"
#include "export/writer_harness.h"
#include "support/test_support.h"
#include "xml/node.h"

namespace musedata::test {
namespace {

// Writes the children of `measureXml` as MuseData records and imports them
// again as one part; gives the canonical text of the first measure's children.
std::string WriteAndReadBack(WriterHarness& harness, const std::string& measureXml) {
  std::vector<std::string> records;
  std::istringstream lines(harness.Write(measureXml).lines);
  for (std::string line; std::getline(lines, line);) records.push_back(line);
  const Imported imported = ImportText(Part(records));
  if (!imported.result) return "(the import stopped)";
  return CanonicalChildren(xml::Root(imported.document).Child("part").Child("measure"));
}

std::string CanonicalOf(const std::string& measureXml) {
  const Document doc = xml::ParseMemory(measureXml, "expected.xml", 0);
  return CanonicalChildren(xml::Root(doc));
}

struct Row {
  const char* name;
  std::string written;   // measure children, in the order the import makes them
  std::string readBack;  // "" : the same as written
};

std::string C4(const std::string& after, const std::string& attributes = "") {
  return "<note" + attributes + "><pitch><step>C</step><octave>4</octave></pitch>" +
         "<duration>2</duration>" + after + "</note>";
}

// Every code the writers make is read back by the import to what it was
// made from, except where MuseData cannot say it (the reason stands by the row).
TEST(WriterReadBack, ImportReadsBackWhatTheWritersWrite) {
  // clang-format off
  const Row rows[] = {
      {"note columns",
       "<note><pitch><step>F</step><alter>1</alter><octave>4</octave></pitch><duration>3</duration>"
       "<tie type=\"start\"/><type>quarter</type><dot/><accidental>sharp</accidental>"
       "<time-modification><actual-notes>5</actual-notes><normal-notes>4</normal-notes></time-modification>"
       "<stem>down</stem><staff>2</staff><beam number=\"1\">begin</beam><beam number=\"2\">forward hook</beam></note>"
       "<note><chord/><pitch><step>A</step><octave>4</octave></pitch><duration>3</duration><type>quarter</type>"
       "<dot/><stem>down</stem></note>",
       ""},
      {"rest and a cue note",
       "<note><rest/><duration>4</duration><type>half</type></note>"
       "<note><cue/><pitch><step>B</step><alter>-1</alter><octave>3</octave></pitch><type>quarter</type><stem>up</stem></note>",
       // A cue record has no duration.
       ""},
      {"grace notes with their timing",
       "<note><grace slash=\"yes\" steal-time-previous=\"20\"/><pitch><step>D</step><octave>5</octave></pitch>"
       "<type>eighth</type><stem>up</stem></note>"
       "<note><grace make-time=\"4\"/><pitch><step>D</step><octave>5</octave></pitch><type>32nd</type><stem>up</stem></note>",
       ""},
      {"positions, visibility, pizzicato and beam repeaters",
       C4("<type>eighth</type><stem>up</stem><beam number=\"1\" repeater=\"yes\">begin</beam>",
          R"( default-x="12" default-y="-30" print-object="no" print-dot="yes" pizzicato="yes")"),
       ""},
      {"notations with their positions",
       C4("<type>quarter</type><stem>up</stem><notations><slur type=\"start\" number=\"1\" placement=\"above\" default-y=\"10\"/>"
          "<tuplet type=\"start\" placement=\"below\"/><fermata type=\"inverted\"/>"
          "<ornaments><trill-mark trill-step=\"half\" placement=\"above\" beats=\"4\"/><turn/></ornaments>"
          "<technical><up-bow/><fingering substitution=\"yes\">3</fingering></technical>"
          "<articulations><strong-accent type=\"up\"/><staccato/></articulations>"
          "<dynamics><sfp/></dynamics></notations>"),
       ""},
      {"lyrics of three verses",
       C4("<type>quarter</type><stem>up</stem><lyric number=\"1\"><syllabic>begin</syllabic><text>Ky</text></lyric>"
          "<lyric number=\"2\"><syllabic>single</syllabic><text>lux</text></lyric>"
          "<lyric number=\"3\"><syllabic>single</syllabic><text>et</text><extend/></lyric>"),
       ""},
      {"directions",
       R"(<direction><direction-type><words font-family="serif" font-style="italic">dolce</words></direction-type></direction>)"
       R"(<direction><direction-type><wedge type="crescendo" spread="0"/></direction-type></direction>)"
       R"(<direction><direction-type><dynamics><ff/></dynamics></direction-type></direction>)"
       R"(<direction><direction-type><octave-shift type="down" size="8"/></direction-type></direction>)"
       R"(<direction><direction-type><pedal type="start"/></direction-type></direction>)",
       ""},
      {"a direction below the staff comes back above it",
       R"(<direction placement="below"><direction-type><words>p subito</words></direction-type></direction>)",
       R"(<direction placement="above"><direction-type><words>p subito</words></direction-type></direction>)"},
      {"figured bass",
       "<figured-bass><figure><prefix>#</prefix><figure-number>6</figure-number><suffix>+</suffix></figure>"
       "<figure><figure-number>4</figure-number></figure><duration>4</duration></figured-bass>",
       ""},
      {"sound: one element per suggestion column",
       R"(<sound tempo="96" dynamics="80" fine="yes"/>)",
       R"(<sound tempo="96" dynamics="80"/><sound fine="yes"/>)"},
  };
  // clang-format on
  WriterHarness harness;
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const std::string measure = "<measure>" + row.written + "</measure>";
    const std::string expected =
        row.readBack.empty() ? measure : "<measure>" + row.readBack + "</measure>";
    EXPECT_EQ(WriteAndReadBack(harness, measure), CanonicalOf(expected));
  }
}

}  // namespace
}  // namespace musedata::test
