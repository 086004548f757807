#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "musedata/converter_error.h"
#include "support/test_support.h"

namespace musedata::test {

TEST(Attributes, BuildsOneAttributesElementInMusicXmlOrder) {
  struct Row {
    const char* name;
    std::string record;
    std::string inner;  // the children of the attributes element
  };
  const std::vector<Row> rows = {
      {"key, divisions, time and treble clef", "$ K:-3 Q:4 T:3/4 C:4",
       "<divisions>4</divisions><key><fifths>-3</fifths></key><time><beats>3</beats>"
       "<beat-type>4</beat-type></time><clef><sign>G</sign><line>2</line></clef>"},
      {"every code, written in reverse order", "$ X:-6 I:2 S:1 C:13 T:1/1 K:2 Q:8 D:Adagio",
       R"(<divisions>8</divisions><key><fifths>2</fifths></key><time symbol="common">)"
       R"(<beats>4</beats><beat-type>4</beat-type></time><staves>1</staves>)"
       R"(<instruments>2</instruments><clef><sign>C</sign><line>3</line></clef><transpose>)"
       R"(<diatonic>-1</diatonic><chromatic>-2</chromatic></transpose>)"
       R"(<directive>Adagio</directive>)"},
      {"cut time", "$ T:0/0",
       R"(<time symbol="cut"><beats>2</beats><beat-type>2</beat-type></time>)"},
      {"a later code of a kind replaces the earlier one, doubled blanks are skipped",
       "$ K:1 Q:2  K:-2 Q:12", "<divisions>12</divisions><key><fifths>-2</fifths></key>"},
      {"blank record", "$ ", ""},
      {"bass clef", "$ C:22", "<clef><sign>F</sign><line>4</line></clef>"},
      {"tenor clef", "$ C:12", "<clef><sign>C</sign><line>4</line></clef>"},
      {"one-digit code: French violin clef", "$ C:5", "<clef><sign>G</sign><line>1</line></clef>"},
      {"treble clef an octave down", "$ C:34",
       "<clef><sign>G</sign><line>2</line><clef-octave-change>-1</clef-octave-change></clef>"},
      {"C clef an octave up", "$ C:71",
       "<clef><sign>C</sign><line>5</line><clef-octave-change>1</clef-octave-change></clef>"},
      {"a first digit that names no sign", "$ C:93", "<clef><sign/><line>3</line></clef>"},
      {"numbered clefs on two staves imply two staves", "$ C1:4 C2:22",
       R"(<staves>2</staves><clef number="1"><sign>G</sign><line>2</line></clef>)"
       R"(<clef number="2"><sign>F</sign><line>4</line></clef>)"},
      {"a clef drops those numbered above it", "$ C:4 C3:13 C2:22",
       R"(<staves>2</staves><clef><sign>G</sign><line>2</line></clef>)"
       R"(<clef number="2"><sign>F</sign><line>4</line></clef>)"},
      {"back to clef 1: no staves implied", "$ C2:22 C1:4",
       R"(<clef number="1"><sign>G</sign><line>2</line></clef>)"},
      {"staves given outright win", "$ S:3 C2:22",
       R"(<staves>3</staves><clef number="2"><sign>F</sign><line>4</line></clef>)"},
      {"doubled below", "$ X:-1006",
       "<transpose><diatonic>-1</diatonic><chromatic>-2</chromatic><double/></transpose>"},
      {"doubled above an octave up", "$ X:1040",
       "<transpose><diatonic>0</diatonic><chromatic>0</chromatic><octave-change>1</octave-change>"
       "<double/></transpose>"},
      {"an interval between steps gives no steps", "$ X:2",
       "<transpose><diatonic>0</diatonic><chromatic>0</chromatic></transpose>"},
      {"a directive takes the rest of the record with its blanks", "$ Q:4 D:No. 4  Andante K:1",
       "<divisions>4</divisions><directive>No. 4  Andante K:1</directive>"},
      {"directive text is MuseData text", "$ D:M\\3a\\2sig & ruhig",
       "<directive>M\xC3\xA4\xC3\x9Fig &amp; ruhig</directive>"},
      {"a directive for the second staff implies two staves", "$ D2:Allegro",
       R"(<staves>2</staves><directive number="2">Allegro</directive>)"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const Imported imported = ImportText(Part({row.record}));
    ASSERT_TRUE(imported.result);
    const std::string expected =
        row.inner.empty() ? "<attributes/>" : "<attributes>" + row.inner + "</attributes>";
    EXPECT_EQ(XmlAt(imported.document, "//attributes"), expected);
    EXPECT_TRUE(imported.warnings.empty());
  }
}

TEST(Attributes, WarnsOnceForUnknownCodes) {
  const auto warning = [](const std::string& code, const std::string& where) {
    return "Unrecognized attribute code " + code + " at File " + where +
           ".\nThis may occur more than once.";
  };
  struct Row {
    const char* name;
    std::vector<std::string> parts;
    std::vector<std::string> expected;
  };
  const std::vector<Row> rows = {
      {"two unknown codes warn once",
       {Part({"$ Q:4 Z:1 Y:2 K:0"})},
       {warning("Z", "part1.md, measure X1")}},
      {"once per load, across records",
       {Part({"$ Z:1", "measure 5", "@ a", "$ Y:2 K:0"})},
       {warning("Z", "part1.md, measure X1")}},
      {"the location names the current measure",
       {Part({"measure 5", "@ a", "$ junk Q:4"})},
       {warning("j", "part1.md, measure 5")}},
      {"codes are case-sensitive", {Part({"$ Q:4 k:1"})}, {warning("k", "part1.md, measure X1")}},
      {"a trailing word without a colon is no code", {Part({"$ Q:4 junk"})}, {}},
      {"every load warns again",
       {Part({"$ Z:1"}), Part({"$ Y:1"})},
       {warning("Z", "part1.md, measure X1"), warning("Y", "part2.md, measure X1")}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const Imported imported = ImportText(row.parts);
    ASSERT_TRUE(imported.result);
    EXPECT_EQ(imported.warnings, row.expected);
  }
}

TEST(Attributes, CodesThatCannotBeReadRaiseTheProcedureError) {
  const std::string typeMismatch = "MuseData ParseAttributes error 13: Type mismatch";
  const std::string outOfRange = "MuseData ParseAttributes error 9: Subscript out of range";
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"$ C:x", typeMismatch},  {"$ C:", typeMismatch}, {"$ X:up", typeMismatch},
      {"$ Cx:4", typeMismatch}, {"$ C0:4", outOfRange}, {"$ D0:Largo", outOfRange},
  };
  for (const auto& [record, description] : rows) {
    SCOPED_TRACE(record);
    try {
      ImportText(Part({record}));
      ADD_FAILURE() << "no error raised";
    } catch (const ConverterError& error) {
      EXPECT_EQ(error.Number(), kErrorBase + 6019);
      EXPECT_EQ(error.Source(), "Verdantix");
      EXPECT_EQ(error.Description(), description);
    }
  }
}

}  // namespace musedata::test
