#include <gtest/gtest.h>

#include <string>

#include "export/export_support.h"

namespace musedata::test {
namespace {

std::string Barline(const std::string& location, const std::string& children) {
  return "<barline location=\"" + location + "\">" + children + "</barline>";
}

// A measure with `attributes` whose content is `children`, or an element the
// export passes over: a measure without elements gets no bar record.
std::string Measure(const std::string& attributes, const std::string& children = "<bookmark/>") {
  return "<measure " + attributes + ">" + children + "</measure>";
}

TEST(MeasureWriter, BarRecordsFromPendingAndLeftBarLines) {
  const std::string plain = Measure("number=\"1\"");
  const struct {
    const char* name;
    std::string measures;
    std::string expected;
  } rows[] = {
      {"the first measure opens without a record", plain + Measure("number=\"2\""), "measure 2\n"},
      {"implicit measures have no number",
       plain + Measure("number=\"2\" implicit=\"no\"") + Measure("number=\"3\" implicit=\"yes\""),
       "measure 2\nmeasure\n"},
      {"a first measure that opens with a bar line",
       "<measure number=\"1\">" + Barline("left", "<repeat direction=\"forward\"/>") + "</measure>",
       "measure 1        |:\n"},
      {"a number that fills its columns", plain + Measure("number=\"1234\""), "measure 1234\n"},
      {"a number too long for its columns", plain + Measure("number=\"12345\""),
       "(false) 6061 Verdantix: MuseData SaveMeasure error 5: Invalid procedure call or "
       "argument"},
      {"the closing bar line after the last measure",
       "<measure number=\"1\">" + Barline("right", "<bar-style>light-heavy</bar-style>") +
           "</measure>",
       "mheavy2\n"},
      {"styles",
       plain + "<measure number=\"2\">" + Barline("left", "<bar-style>heavy-heavy</bar-style>") +
           "</measure><measure number=\"3\">" + Barline("left", "<bar-style>dotted</bar-style>") +
           "</measure><measure number=\"4\">" + Barline("left", "<bar-style>tick</bar-style>") +
           "</measure>",
       "mheavy4 2\nmdotted 3\nmeasure 4\n"},
      {"a backward repeat closes before a forward one opens",
       "<measure number=\"1\">" + Barline("right", "<repeat direction=\"backward\"/>") +
           "</measure><measure number=\"2\">" + Barline("left", "<repeat direction=\"forward\"/>") +
           "</measure>",
       "measure 2        |: :|\n"},
      {"the pending bar line's marks first, the left one's where it has none",
       "<measure number=\"1\"><forward><duration>1</duration><voice>5</voice></forward>" +
           Barline("right", "<footnote>f</footnote><segno/>") + "</measure><measure number=\"2\">" +
           Barline("left",
                   "<footnote>g</footnote><level> 2</level><voice>5</voice><wavy-line "
                   "type=\"stop\"/><fermata type=\"inverted\"/>") +
           "</measure>",
       "irest1        1\nmeasure 2   f21  ~ A E\n"},
      {"a bar line with no location gives its measure no record",
       plain + "<measure number=\"2\"><barline><bar-style>dotted</bar-style></barline></measure>" +
           Measure("number=\"3\""),
       "measure 3\n"},
      {"a bar line inside a measure waits for the next record",
       "<measure number=\"1\"><forward><duration>1</duration></forward>" +
           Barline("left", "<ending number=\"3\" type=\"start\"/>") +
           "<forward><duration>2</duration></forward></measure>" +
           Measure("number=\"2\" non-controlling=\"yes\"") + "<measure number=\"3\"/>",
       "irest1\nirest2\nmeasure 2       * start-end3\n"},
      {"a measure without elements gets no record",
       plain + "<measure number=\"2\"><!-- empty --></measure>" + Measure("number=\"3\""),
       "@ empty \nmeasure 3\n"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(DataRecords(row.measures), row.expected);
  }
}

TEST(MeasureWriter, BackAndIrestRecords) {
  const struct {
    const char* name;
    std::string elements;
    std::string expected;
  } rows[] = {
      {"back on staff 2", "<backup><duration>8</duration><staff>2</staff></backup>",
       "back 8                 2\n"},
      {"irest with marks and pass",
       "<forward><duration>12</duration><footnote>*</footnote><level>3</level>"
       "<pass-number>2</pass-number></forward>",
       "irest12     *3  2\n"},
      {"too long twice, one warning",
       "<forward><duration>1234</duration></forward><backup><duration>5000</duration></backup>",
       "irest999\nback 999\n[warning: Duration of 1234 is too large to fit in 3-digit "
       "field.\r\nReplacing with 999. This may occur more than once.]"},
      {"no duration", "<backup/>",
       "(false) 6057 Verdantix: MuseData SaveBackupForward error 91: Object variable or With "
       "block variable not set"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(DataRecords("<measure number=\"1\">" + row.elements + "</measure>"), row.expected);
  }
}

}  // namespace
}  // namespace musedata::test
