#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "support/test_support.h"

namespace musedata::test {

// Each row: an attributes record and the children of its attributes element.
TEST(Attributes, BuildsOneAttributesElementInMusicXmlOrder) {
  const std::string bass = R"(<clef number="2"><sign>F</sign><line>4</line></clef>)";
  const auto octave = [](const char* change) {
    return std::string("<clef-octave-change>") + change + "</clef-octave-change>";
  };
  // clang-format off
  const std::pair<std::string, std::string> rows[] = {
      // Every code, written in reverse order.
      {"$ X:-6 I:2 S:1 C:13 T:1/1 K:2 Q:8 D:Adagio",
       R"(<divisions>8</divisions><key><fifths>2</fifths></key><time symbol="common"><beats>4)"
       R"(</beats><beat-type>4</beat-type></time><staves>1</staves><instruments>2</instruments>)"
       R"(<clef><sign>C</sign><line>3</line></clef><transpose><diatonic>-1</diatonic>)"
       R"(<chromatic>-2</chromatic></transpose><directive>Adagio</directive>)"},
      {"$ T:0/0", R"(<time symbol="cut"><beats>2</beats><beat-type>2</beat-type></time>)"},
      // A later code of a kind replaces the earlier one; doubled blanks are skipped.
      {"$ K:1 Q:2  K:-2 Q:12", "<divisions>12</divisions><key><fifths>-2</fifths></key>"},
      {"$ ", ""},
      {"$ C:5", "<clef><sign>G</sign><line>1</line></clef>"},  // a one-digit code
      {"$ C:34", "<clef><sign>G</sign><line>2</line>" + octave("-1") + "</clef>"},
      {"$ C:71", "<clef><sign>C</sign><line>5</line>" + octave("1") + "</clef>"},
      {"$ C:93", "<clef><sign/><line>3</line></clef>"},  // a first digit that names no sign
      // A clef drops those numbered above it; the highest number left implies the staves.
      {"$ C:4 C3:13 C2:22", "<staves>2</staves><clef><sign>G</sign><line>2</line></clef>" + bass},
      {"$ C2:22 C1:4", R"(<clef number="1"><sign>G</sign><line>2</line></clef>)"},
      {"$ S:3 C2:22", "<staves>3</staves>" + bass},
      {"$ X:-1006",
       "<transpose><diatonic>-1</diatonic><chromatic>-2</chromatic><double/></transpose>"},
      {"$ X:1040", "<transpose><diatonic>0</diatonic><chromatic>0</chromatic><octave-change>1"
                   "</octave-change><double/></transpose>"},
      {"$ X:2", "<transpose><diatonic>0</diatonic><chromatic>0</chromatic></transpose>"},
      // A directive takes the rest of the record, blanks and all, as MuseData text.
      {"$ Q:4 D:No. 4  Andante K:1",
       "<divisions>4</divisions><directive>No. 4  Andante K:1</directive>"},
      {"$ D:M\\3a\\2sig & ruhig", "<directive>M\xC3\xA4\xC3\x9Fig &amp; ruhig</directive>"},
      {"$ D2:Allegro", R"(<staves>2</staves><directive number="2">Allegro</directive>)"},
  };
  // clang-format on
  for (const auto& [record, inner] : rows) {
    EXPECT_EQ(PartXml({record}, "//attributes"),
              inner.empty() ? "<attributes/>" : "<attributes>" + inner + "</attributes>")
        << record;
  }
}

TEST(Attributes, WarnsOnceForUnknownCodes) {
  const auto warning = [](const std::string& code, const std::string& where) {
    return "Unrecognized attribute code " + code + " at File " + where +
           ".\nThis may occur more than once.";
  };
  const std::pair<std::vector<std::string>, std::vector<std::string>> rows[] = {
      // Two unknown codes in a record and another later: one warning per load.
      {{Part({"$ Q:4 Z:1 Y:2 K:0", "measure 5", "@ a", "$ X:1 W:2"})},
       {warning("Z", "part1.md, measure X1")}},
      {{Part({"measure 5", "@ a", "$ junk Q:4"})}, {warning("j", "part1.md, measure 5")}},
      {{Part({"$ Q:4 k:1"})}, {warning("k", "part1.md, measure X1")}},  // case-sensitive
      {{Part({"$ Q:4 junk"})}, {}},  // a trailing word without a colon is no code
      {{Part({"$ Z:1"}), Part({"$ Y:1"})},
       {warning("Z", "part1.md, measure X1"), warning("Y", "part2.md, measure X1")}},
  };
  for (const auto& [parts, expected] : rows) {
    const Imported imported = ImportText(parts);
    EXPECT_TRUE(imported.result);
    EXPECT_EQ(imported.warnings, expected);
  }
}

TEST(Attributes, CodesThatCannotBeReadRaiseTheProcedureError) {
  const std::string error = "6019 Verdantix: MuseData ParseAttributes error ";
  for (const char* record : {"$ C:x", "$ C:", "$ X:up", "$ Cx:4"})
    EXPECT_EQ(ErrorOf([&] { ImportText(Part({record})); }), error + "13: Type mismatch") << record;
  for (const char* record : {"$ C0:4", "$ D0:Largo"}) {
    EXPECT_EQ(ErrorOf([&] { ImportText(Part({record})); }), error + "9: Subscript out of range")
        << record;
  }
}

}  // namespace musedata::test
