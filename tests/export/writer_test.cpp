#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "export/writer_harness.h"
#include "support/test_support.h"

namespace musedata::test {
namespace {

const std::string kGolden = MUSEDATA_TEST_DATA "/export/";

// Each file NAME.xml holds one measure of MusicXML elements, each case under a
// comment; NAME.md holds the MuseData lines the writers make of them.
TEST(Writers, WriteTheirGoldenLines) {
  for (const char* name : {"notes-columns", "notes-lyrics", "notations-codes",
                           "notations-positions", "directions-types", "figures-signs", "sounds"}) {
    SCOPED_TRACE(name);
    WriterHarness harness;
    EXPECT_EQ(harness.LinesOrError(ReadFile(kGolden + name + ".xml")),
              ReadFile(kGolden + name + ".md"));
  }
}

const std::string kC4 = "<pitch><step>C</step><octave>4</octave></pitch>";

TEST(Writers, ClampLongDurationsWithOneWarningPerConversion) {
  WriterHarness harness;
  const std::string longNote = "<note>" + kC4 + "<duration>1000</duration></note>";
  const Written first = harness.Write("<measure>" + longNote + longNote + "</measure>");
  EXPECT_EQ(first.lines, "C4   999\nC4   999\n");
  ASSERT_EQ(first.warnings.size(), 1u);
  EXPECT_EQ(first.warnings[0],
            "Duration of 1000 is too large to fit in 3-digit field.\r\n"
            "Replacing with 999. This may occur more than once.");
  // Later in the same conversion the figured-bass writer clamps without a word.
  const Written later = harness.Write(
      "<measure><figured-bass><figure><figure-number>6</figure-number></figure>"
      "<duration>4000</duration></figured-bass><print/></measure>");
  EXPECT_EQ(later.lines, "f1   999        6\n");
  EXPECT_TRUE(later.warnings.empty());
}

TEST(Writers, RefuseNotesTheyCannotWrite) {
  const std::string notSet = "Object variable or With block variable not set";
  const std::pair<std::string, std::string> rows[] = {
      {"<note>" + kC4 + "</note>", "6062 Verdantix: MuseData SaveNote error 91: " + notSet},
      {"<note><pitch><step>C</step></pitch><duration>1</duration></note>",
       "6062 Verdantix: MuseData SaveNote error 91: " + notSet},
      {"<note>" + kC4 + R"(<duration>1</duration><beam number="7">begin</beam></note>)",
       "6062 Verdantix: MuseData SaveNote error 9: Subscript out of range"},
      {"<note>" + kC4 + R"(<duration>1</duration><beam number="x">begin</beam></note>)",
       "6062 Verdantix: MuseData SaveNote error 9: Subscript out of range"},
      {"<note>" + kC4 +
           R"(<duration>1</duration><notations><slur number="one"/></notations></note>)",
       "6070 Verdantix: MuseData SaveNotations error 13: Type mismatch"},
  };
  WriterHarness harness;
  for (const auto& [note, error] : rows) {
    SCOPED_TRACE(note);
    EXPECT_EQ(harness.LinesOrError("<measure>" + note + "</measure>"), error);
  }
}

}  // namespace
}  // namespace musedata::test
