#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <utility>

#include "export/export_support.h"

namespace musedata::test {
namespace {

const std::string kGolden = MUSEDATA_TEST_DATA "/export/";

// Each file NAME.xml holds one measure of MusicXML elements, each case under a
// comment; NAME.md holds the MuseData lines the writers make of them. The
// comments come out as "@" lines, which the golden lines leave out.
TEST(Writers, WriteTheirGoldenLines) {
  for (const char* name : {"notes-columns", "notes-lyrics", "notations-codes",
                           "notations-positions", "directions-types", "figures-signs", "sounds"}) {
    SCOPED_TRACE(name);
    std::istringstream records(DataRecords(ReadFile(kGolden + name + ".xml")));
    std::string lines;
    for (std::string line; std::getline(records, line);)
      if (!line.starts_with("@")) lines += line + "\n";
    EXPECT_EQ(lines, ReadFile(kGolden + name + ".md"));
  }
}

const std::string kC4 = "<pitch><step>C</step><octave>4</octave></pitch>";

// Every writer of a duration clamps it; the warning comes once per conversion.
TEST(Writers, ClampLongDurationsWithOneWarningPerConversion) {
  const std::string longNote = "<note>" + kC4 + "<duration>1000</duration></note>";
  EXPECT_EQ(DataRecords("<measure>" + longNote + longNote +
                        "<figured-bass><figure><figure-number>6</figure-number></figure>"
                        "<duration>4000</duration></figured-bass><forward><duration>1234"
                        "</duration></forward><backup><duration>5000</duration></backup>"
                        "</measure>"),
            "C4   999\nC4   999\nf1   999        6\nirest999\nback 999\n"
            "[warning: Duration of 1000 is too large to fit in 3-digit field.\r\n"
            "Replacing with 999. This may occur more than once.]");
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
  for (const auto& [note, error] : rows) {
    SCOPED_TRACE(note);
    EXPECT_EQ(DataRecords("<measure>" + note + "</measure>"), "(false) " + error);
  }
}

}  // namespace
}  // namespace musedata::test
