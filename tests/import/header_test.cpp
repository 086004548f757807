#include <gtest/gtest.h>

#include <sstream>

#include "support/test_support.h"

namespace musedata::test {
namespace {

using Lines = std::vector<std::string>;

// The standard header of the test support, one line each.
const Lines kHeader = [] {
  Lines lines;
  std::istringstream header(Header());
  for (std::string line; std::getline(header, line);) lines.push_back(line);
  return lines;
}();

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
      // A blank second record makes no comment.
      {kHeader, "//identification/comment()",
       "<!--(C) 2026 musedata test suite--><!--ID: {test/part} [1]-->"},
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

// Two-digit years up to 29 are this century's; anything not a real date is the encoder's name.
TEST(Header, EncodingDateIsMonthDayYear) {
  // clang-format off
  const std::pair<const char*, const char*> rows[] = {
      {"4/1/2003", "<encoding-date>2003-04-01</encoding-date>"},
      {"04/12/95   ", "<encoding-date>1995-04-12</encoding-date>"},
      {"1/1/29 X", "<encoding-date>2029-01-01</encoding-date><encoder>X</encoder>"},
      {"12/31/30 X", "<encoding-date>1930-12-31</encoding-date><encoder>X</encoder>"},
      {"2/29/00 X", "<encoding-date>2000-02-29</encoding-date><encoder>X</encoder>"},
      {"2/29/1900 X", "<encoder>2/29/1900 X</encoder>"},
      {"13/1/95 X", "<encoder>13/1/95 X</encoder>"},
      {"4/12/995 X", "<encoder>4/12/995 X</encoder>"}, {"X Y", "<encoder>X Y</encoder>"},
  };
  // clang-format on
  for (const auto& [record, expected] : rows)
    EXPECT_EQ(Load({File(With(4, record))}, "//encoding/*"), expected) << record;
}

// Group names match without regard to case; a part outside the group is
// skipped.
TEST(Header, GroupTypeDecidesMembership) {
  const std::string scoreOnly = File(kHeader);
  const std::string both = File(
      WithGroups("Group memberships: SCORE parts", {"score: part 2 of 2", "parts: part 1 of 1"}));
  EXPECT_EQ(Load({scoreOnly}, "//part|//score-part", "parts"), "");
  EXPECT_EQ(Load({scoreOnly, both}, "//score-part/@id|//part/@id", "Parts"),
            " id=\"P1\" id=\"P1\"");
}

TEST(Header, ErrorsNameTheRecord) {
  const Lines xml = With(1, "<?xml version=\"1.0\"?>");
  const std::pair<Lines, const char*> rows[] = {
      {With(5, "12 1"), "6032 Verdantix: MuseData Line 5 not understood: WK#: or MV#: not found"},
      {With(5, "<score-partwise>", xml),
       "6082 Verdantix: MuseData line 5 not understood; file may be in XML format"},
      {With(12, "score: part 1", xml),
       "6082 Verdantix: MuseData line 12 not understood; \r\nfile may be in XML format"},
      {WithGroups("Group memberships: score parts",
                  {"score: part 1 of 1", "@ note", "parts: part  1 of 1"}),
       "6033 Verdantix: MuseData line 13 not understood: 6 group tokens found instead of 5"},
      {With(12, "score: part one of 1"),
       "6030 Verdantix: MuseData ParseInitialLine error 13 at line 12: Type mismatch"},
  };
  for (const auto& [header, error] : rows)
    EXPECT_EQ(ErrorOf([&] { ImportText(File(header)); }), error);
}

}  // namespace
}  // namespace musedata::test
