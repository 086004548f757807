#include <gtest/gtest.h>

#include <string>

#include "export/export_support.h"

namespace musedata::test {
namespace {

std::string AttributesRecord(const std::string& children) {
  return DataRecords("<measure number=\"1\"><attributes>" + children + "</attributes></measure>");
}

TEST(AttributesWriter, CodesInTheOrderOfTheChildren) {
  const struct {
    const char* name;
    std::string children;
    std::string expected;
  } rows[] = {
      {"the usual opening",
       "<key><fifths>0</fifths></key><divisions>4</divisions><time><beats>4</beats>"
       "<beat-type>4</beat-type></time><clef><sign>G</sign><line>2</line></clef>",
       "$   K:0 Q:4 T:4/4 C:4\n"},
      {"time signs and the first of joined signatures",
       "<time symbol=\"common\"/><time "
       "symbol=\"cut\"/><time><beats>3</beats><beat-type>8</beat-type>"
       "<beats>2</beats><beat-type>4</beat-type></time>",
       "$   T:1/1 T:0/0 T:3/8\n"},
      {"a time without beats", "<time><beat-type>4</beat-type></time>",
       "(false) 6056 Verdantix: MuseData SaveAttributes error 91: Object variable or With block "
       "variable not set"},
      {"what has no code", "<key><key-step>C</key-step></key><measure-style/>", "$\n"},
      {"staves, instruments, numbered clef",
       "<staves>2</staves><instruments>3</instruments><clef number=\"2\"><sign>F</sign></clef>",
       "$   S:2 I:3 C2:22\n"},
      {"transpositions",
       "<transpose><diatonic>-1</diatonic><chromatic>-2</chromatic></transpose>"
       "<transpose><chromatic>2</chromatic><diatonic>1</diatonic><octave-change>1</octave-change>"
       "</transpose><transpose><diatonic>0</diatonic><chromatic>0</chromatic><octave-change>-1"
       "</octave-change><double/></transpose>",
       "$   X:-6 X:46 X:960\n"},
      {"a transposition without chromatic", "<transpose><diatonic>1</diatonic></transpose>",
       "(false) 6056 Verdantix: MuseData SaveAttributes error 91: Object variable or With block "
       "variable not set"},
      {"a directive on one line", "<directive>Allegro &amp;\nvivace</directive>",
       "$   D:Allegro & vivace\n"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(AttributesRecord(row.children), row.expected);
  }
}

// Tens for sign and octave, units for the line from the top of the staff; a
// sign without a code builds on the clef before it.
TEST(AttributesWriter, ClefCodes) {
  const struct {
    std::string clef;
    std::string code;
  } rows[] = {
      {"<sign>G</sign><line>2</line>", "4"},
      {"<sign>F</sign><line>4</line>", "22"},
      {"<sign>C</sign><line>3</line>", "13"},
      {"<sign>C</sign><line>4</line>", "12"},
      {"<sign>G</sign><line>2</line><clef-octave-change>-1</clef-octave-change>", "34"},
      {"<sign>G</sign><line>2</line><clef-octave-change>1</clef-octave-change>", "64"},
      {"<sign>F</sign><clef-octave-change>2</clef-octave-change>", "22"},
      {"<sign>C</sign>", "13"},
      {"<sign>G</sign>", "4"},
      {"<sign>percussion</sign>", "0"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.clef);
    EXPECT_EQ(AttributesRecord("<clef>" + row.clef + "</clef>"), "$   C:" + row.code + "\n");
  }
  EXPECT_EQ(AttributesRecord("<clef><sign>F</sign><line>4</line></clef><clef number=\"2\"><sign>"
                             "percussion</sign><line>3</line></clef>"),
            "$   C:22 C2:25\n");
}

}  // namespace
}  // namespace musedata::test
