#include <gtest/gtest.h>

#include <string>

#include "export/export_support.h"

namespace musedata::test {
namespace {

std::string Bar(const std::string& location, const std::string& children) {
  return "<barline location=\"" + location + "\">" + children + "</barline>";
}

// A measure whose content is `children`, by default an element the export
// passes over (a measure without elements gets no bar record).
std::string Measure(const std::string& attributes, const std::string& children = "<bookmark/>") {
  return "<measure " + attributes + ">" + children + "</measure>";
}

TEST(MeasureWriter, BarRecordsFromPendingAndLeftBarLines) {
  const std::string first = Measure("number=\"1\"");
  const struct {
    std::string measures;
    std::string expected;
  } rows[] = {
      {first + Measure("number=\"2\"") + Measure("number=\"3\" implicit=\"yes\""),
       "measure 2\nmeasure\n"},
      {Measure("number=\"1\"", Bar("left", "<repeat direction=\"forward\"/>")),
       "measure 1        |:\n"},
      {first + Measure("number=\"12345\""),
       "(false) 6061 Verdantix: MuseData SaveMeasure error 5: Invalid procedure call or argument"},
      {Measure("", Bar("right", "<repeat direction=\"backward\"/>")) +
           Measure("number=\"2\"", Bar("left", "<repeat direction=\"forward\"/>")),
       "measure 2        |: :|\n"},
      // The pending bar line's marks first, the left one's where it has none.
      {Measure("", "<forward><duration>1</duration><voice>5</voice></forward>" +
                       Bar("right", "<footnote>f</footnote><segno/>")) +
           Measure("number=\"2\"", Bar("left",
                                       "<footnote>g</footnote><level> 2</level><voice>5"
                                       "</voice><wavy-line/><fermata type=\"inverted\"/>")),
       "irest1        1\nmeasure 2   f21  ~ A E\n"},
      // A first bar line without a location: no record, and nothing pending.
      {first + Measure("number=\"2\"", "<barline><bar-style>dotted</bar-style></barline>") +
           Measure("number=\"3\""),
       "measure 3\n"},
      // A bar line inside a measure waits for the next record.
      {Measure("", "<forward><duration>1</duration></forward>" +
                       Bar("left", "<ending number=\"3\" type=\"start\"/>")) +
           Measure("number=\"2\" non-controlling=\"yes\"") + "<measure number=\"3\"/>",
       "irest1\nmeasure 2       * start-end3\n"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.measures);
    EXPECT_EQ(DataRecords(row.measures), row.expected);
  }
}

TEST(MeasureWriter, BackAndIrestRecords) {
  const struct {
    std::string elements;
    std::string expected;
  } rows[] = {
      {"<backup><duration>8</duration><staff>2</staff></backup>", "back 8                 2\n"},
      {"<forward><duration>12</duration><footnote>*</footnote><level>3</level><pass-number>2"
       "</pass-number></forward>",
       "irest12     *3  2\n"},
      {"<backup/>",
       "(false) 6057 Verdantix: MuseData SaveBackupForward error 91: Object variable or With "
       "block variable not set"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.elements);
    EXPECT_EQ(DataRecords(Measure("", row.elements)), row.expected);
  }
}

}  // namespace
}  // namespace musedata::test
