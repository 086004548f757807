#include <gtest/gtest.h>

#include <string>

#include "export/export_support.h"

namespace musedata::test {
namespace {

std::string AttributesRecord(const std::string& children) {
  return DataRecords("<measure><attributes>" + children + "</attributes></measure>");
}

const char* const kNotSet =
    "(false) 6056 Verdantix: MuseData SaveAttributes error 91: Object variable or With block "
    "variable not set";

TEST(AttributesWriter, CodesInTheOrderOfTheChildren) {
  const struct {
    std::string children;
    std::string expected;
  } rows[] = {
      {"<time symbol=\"common\"/><time symbol=\"cut\"/><time><beats>3</beats><beat-type>8"
       "</beat-type><beats>2</beats><beat-type>4</beat-type></time>",
       "$   T:1/1 T:0/0 T:3/8\n"},
      {"<time><beat-type>4</beat-type></time>", kNotSet},
      {"<key><key-step>C</key-step></key><measure-style/><instruments>3</instruments>",
       "$   I:3\n"},
      {"<transpose><chromatic>2</chromatic><diatonic>1</diatonic><octave-change>1</octave-change>"
       "</transpose><transpose><chromatic>-12</chromatic><diatonic>-7</diatonic><double/>"
       "</transpose>",
       "$   X:46 X:960\n"},
      {"<transpose><diatonic>1</diatonic></transpose>", kNotSet},
      {"<directive>Allegro &amp;\nvivace</directive>", "$   D:Allegro & vivace\n"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.children);
    EXPECT_EQ(AttributesRecord(row.children), row.expected);
  }
}

// Tens for sign and octave, units for the line from the top of the staff; a
// sign without a code builds on the clef before it in the record.
TEST(AttributesWriter, ClefCodes) {
  const struct {
    std::string clefs;
    std::string codes;
  } rows[] = {
      {"<clef><sign>C</sign><line>3</line></clef><clef><sign>C</sign></clef>", "C:13 C:13"},
      {"<clef><sign>G</sign><clef-octave-change>-1</clef-octave-change></clef>", "C:34"},
      {"<clef><sign>G</sign><line>2</line><clef-octave-change>1</clef-octave-change></clef>",
       "C:64"},
      {"<clef><sign>F</sign><line>4</line></clef><clef number=\"2\"><sign>TAB</sign><line>3"
       "</line></clef>",
       "C:22 C2:25"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.clefs);
    EXPECT_EQ(AttributesRecord(row.clefs), "$   " + row.codes + "\n");
  }
}

}  // namespace
}  // namespace musedata::test
