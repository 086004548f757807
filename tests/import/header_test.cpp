#include <gtest/gtest.h>

#include "musedata/converter_error.h"
#include "support/test_support.h"

namespace musedata::test {
namespace {

using Lines = std::vector<std::string>;

const Lines kHeader = {"(C) 2026 test",
                       "",
                       "ID: {test/part}",
                       "11/05/26 A. Encoder",
                       "WK#:12 MV#:1",
                       "Source",
                       "Sonata",
                       "Allegro",
                       "Violino I",
                       "0 0",
                       "Group memberships: score",
                       "score: part 1 of 1"};

// The standard header with line `number` (from 1) replaced by `text`.
Lines With(size_t number, const std::string& text, Lines lines = kHeader) {
  lines.at(number - 1) = text;
  return lines;
}

// The standard header ending in other group memberships and group records.
Lines WithGroups(const std::string& memberships, const Lines& records) {
  Lines lines(kHeader.begin(), kHeader.end() - 2);
  lines.push_back(memberships);
  lines.insert(lines.end(), records.begin(), records.end());
  return lines;
}

// A part file: the header, a comment that keeps the first measure, "/END".
std::string File(const Lines& header, const std::string& data = "@ kept") {
  std::string text;
  for (const std::string& line : header) text += line + "\n";
  return text + data + "\n/END\n";
}

// The XML that `xpath` selects after loading `files`, or "(false)" when a load returned false.
std::string Load(const std::vector<std::string>& files, const char* xpath,
                 const std::string& groupType = "") {
  const Imported imported = ImportText(files, groupType);
  return imported.result ? XmlAt(imported.document, xpath) : "(false)";
}

TEST(Header, RecordsBuildIdentificationTitlesAndScorePart) {
  const char* numbers = "//work-number|//movement-number";
  const struct {
    Lines header;
    const char* xpath;
    std::string expected;
  } rows[] = {
      {kHeader, "//rights",
       "<rights>\u00a9 1994 Center for Computer Assisted Research in the Humanities.&#13;\n"
       "Rights to all derivative electronic formats reserved.&#13;\n"
       "Refer to licensing agreement for further details.&#13;\n</rights>"},
      {kHeader, "//identification/comment()", "<!--(C) 2026 test--><!--ID: {test/part}-->"},
      {With(5, "WK#: 9 MV#:2 "), numbers,
       "<work-number>9</work-number><movement-number>2</movement-number>"},
      {With(5, "MV#:3"), numbers, "<movement-number>3</movement-number>"},
      {With(6, "   "), "//source", "<source/>"},
      {With(7, "  "), "//work-title", ""},
      {With(8, "Adagio  "), "//movement-title", "<movement-title>Adagio</movement-title>"},
      {With(9, ""), "//part-name", "<part-name/>"},
      {With(10, " a  b "), "//miscellaneous-field/@name|//miscellaneous-field/text()",
       " name=\"1\"a name=\"2\" name=\"3\"b"},
      {WithGroups("Group memberships: score sound", {"score: part 1 of 1", "sound:  part 1 of 4"}),
       "//score-part/group|//score-part/@id|//part/@id",
       " id=\"P1\"<group>score</group><group>sound</group> id=\"P1\""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.xpath);
    EXPECT_EQ(Load({File(row.header)}, row.xpath), row.expected);
  }
}

TEST(Header, EncodingDateIsMonthDayYear) {
  const struct {
    const char* record;
    const char* expected;
  } rows[] = {
      {"04/12/95 X Y", "<encoding-date>1995-04-12</encoding-date><encoder>X Y</encoder>"},
      {"4/1/2003", "<encoding-date>2003-04-01</encoding-date>"},
      {"04/12/95   ", "<encoding-date>1995-04-12</encoding-date>"},
      {"1/1/29 X", "<encoding-date>2029-01-01</encoding-date><encoder>X</encoder>"},
      {"12/31/30 X", "<encoding-date>1930-12-31</encoding-date><encoder>X</encoder>"},
      {"2/29/00 X", "<encoding-date>2000-02-29</encoding-date><encoder>X</encoder>"},
      {"2/29/1900 X", "<encoder>2/29/1900 X</encoder>"},
      {"13/1/95 X", "<encoder>13/1/95 X</encoder>"},
      {"4/12/995 X", "<encoder>4/12/995 X</encoder>"},
      {"X Y", "<encoder>X Y</encoder>"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.record);
    EXPECT_EQ(Load({File(With(4, row.record))}, "//encoding/*"), row.expected);
  }
}

TEST(Header, GroupTypeDecidesMembershipAndPlace) {
  const std::string scoreOnly = File(kHeader);
  const std::string both = File(
      WithGroups("Group memberships: SCORE parts", {"score: part 2 of 2", "parts: part 1 of 1"}));
  EXPECT_EQ(Load({scoreOnly}, "//part|//score-part", "parts"), "");
  EXPECT_EQ(Load({scoreOnly, both}, "//score-part/@id|//part/@id", "Parts"),
            " id=\"P1\" id=\"P1\"");

  std::vector<std::string> files;
  for (const std::string position : {"3", "1", "2"})
    files.push_back(File(With(12, "score: part " + position + " of 3", With(9, "Part " + position)),
                         "@ part " + position));
  EXPECT_EQ(Load(files, "//score-part/@id|//score-part/part-name/text()", "score"),
            " id=\"P1\"Part 1 id=\"P2\"Part 2 id=\"P3\"Part 3");
  EXPECT_EQ(Load(files, "//part/@id|//part/measure/comment()", "score"),
            " id=\"P1\"<!-- part 1--> id=\"P2\"<!-- part 2--> id=\"P3\"<!-- part 3-->");
}

TEST(Header, LaterPartsShareWorkAndMovement) {
  const Lines second = With(5, "WK#:99 MV#:7", With(7, "Other", With(8, "Other")));
  EXPECT_EQ(
      Load({File(kHeader), File(second)}, "//work/*|//movement-number|//movement-title|//part/@id"),
      "<work-number>12</work-number><work-title>Sonata</work-title><movement-number>1"
      "</movement-number><movement-title>Allegro</movement-title> id=\"P1\" id=\"P2\"");
}

TEST(Header, CommentsLengthenTheHeader) {
  Lines header = kHeader;
  header.insert(header.begin() + 6, {"&", "inner", "&"});
  header.insert(header.begin() + 3, "@ about the encoding");
  EXPECT_EQ(Load({File(header)}, "/score-partwise/comment()|//encoder|//source|//group"),
            "<!-- about the encoding--><!--\r\ninner\r\n--><encoder>A. Encoder</encoder>"
            "<source>Source</source><group>score</group>");
}

TEST(Header, ErrorsNameTheRecord) {
  const Lines xml = With(1, "<?xml version=\"1.0\"?>");
  const struct {
    Lines header;
    int32_t number;
    const char* description;
  } rows[] = {
      {With(5, "12 1"), 6032, "MuseData Line 5 not understood: WK#: or MV#: not found"},
      {With(5, "<score-partwise>", xml), 6082,
       "MuseData line 5 not understood; file may be in XML format"},
      {With(12, "score: part 1", xml), 6082,
       "MuseData line 12 not understood; \r\nfile may be in XML format"},
      {WithGroups("Group memberships: score parts",
                  {"score: part 1 of 1", "@ note", "parts: part  1 of 1"}),
       6033, "MuseData line 13 not understood: 6 group tokens found instead of 5"},
      {With(12, "score: part one of 1"), 6030,
       "MuseData ParseInitialLine error 13 at line 12: Type mismatch"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.description);
    try {
      ImportText(File(row.header));
      ADD_FAILURE() << "no error raised";
    } catch (const ConverterError& error) {
      EXPECT_EQ(error.Number(), kErrorBase + row.number);
      EXPECT_EQ(error.Source(), "Verdantix");
      EXPECT_EQ(error.Description(), row.description);
    }
  }
}

}  // namespace
}  // namespace musedata::test
