#include <gtest/gtest.h>

#include "encoding/record_view.h"
#include "support/test_support.h"

namespace musedata::test {
namespace {

// A direction record with its type letters from column 17, the parameter
// ending in column 23 and the text from column 25.
std::string Direction(const std::string& types, const std::string& text = "",
                      const std::string& parameter = "") {
  return LineBuilder().Put(1, "*").Put(17, types).PutRight(23, parameter).Put(25, text).Finish();
}

std::string DirectionXml(const std::string& record) {
  return PartXml({"$ K:0 Q:4 T:4/4 C:4", record}, "/score-partwise/part/measure/direction");
}

// One direction holding one direction-type per element given.
std::string Expected(const std::vector<std::string>& directionTypes,
                     const std::string& details = "", const std::string& attributes = "") {
  std::string xml = "<direction" + attributes + ">";
  for (const std::string& content : directionTypes)
    xml += "<direction-type>" + content + "</direction-type>";
  return xml + details + "</direction>";
}

TEST(Directions, RecordBecomesOneDirection) {
  const std::string serif = " font-family=\"serif\"";
  const std::string bold = serif + " font-weight=\"bold\"";
  const std::string italic = serif + " font-style=\"italic\"";
  // Offset (columns 6-8), footnote, level, voice, type, staff (24) and text.
  const std::string details = "*    -12    f32 D      1dolce";
  // clang-format off
  const std::pair<std::string, std::string> rows[] = {
      // The parameter is the font of the words.
      {Direction("B", "Allegro", "22"),
       Expected({"<words justify=\"right\"" + serif + ">Allegro</words>"})},
      {Direction("D", "  dolce  "), Expected({"<words>  dolce</words>"})},
      {Direction("D"), Expected({"<words/>"})},
      {Direction("E", "", "15"), Expected({"<wedge type=\"diminuendo\" spread=\"15\"/>"})},
      {Direction("E"), Expected({"<wedge type=\"start\"/>"})},
      {Direction("H"), Expected({"<dashes type=\"start\"/>"})},
      {Direction("J"), Expected({"<dashes type=\"stop\"/>"})},
      {Direction("P", "Ped."), Expected({"<pedal type=\"start\"/>"})},  // a type without text
      {Direction("Q"), Expected({"<pedal type=\"stop\"/>"})},
      {Direction("U", "", "8"), Expected({"<octave-shift type=\"up\" size=\"8\"/>"})},
      {Direction("V", "", "15"), Expected({"<octave-shift type=\"down\" size=\"15\"/>"})},
      {Direction("W"), Expected({"<octave-shift type=\"stop\"/>"})},
      {Direction("XD", "dolce"), Expected({"<words>dolce</words>"})},  // an unknown letter
      // A wedge or an octave shift in the second column takes the parameter.
      {Direction("GE", "p", "0"),
       Expected({"<dynamics><p/></dynamics>", "<wedge type=\"crescendo\" spread=\"0\"/>"})},
      {Direction("DU", "8va", "8"),
       Expected({"<words>8va</words>", "<octave-shift type=\"up\" size=\"8\"/>"})},
      {Direction("PD", "Ped.", "32"),
       Expected({"<pedal type=\"start\"/>", "<words" + bold + ">Ped.</words>"})},
      // When both columns take text, pieces after the first go to the second.
      {Direction("DG", "dolce!32sf!33p"),
       Expected({"<words>dolce</words>", "<dynamics" + bold + "><other-dynamics>sf</other-dynamics>"
                 "</dynamics><dynamics" + italic + "><p/></dynamics>"})},
      {Direction("G", "f!33p"),
       Expected({"<dynamics><f/></dynamics><dynamics" + italic + "><p/></dynamics>"})},
      // Each piece of a dynamic text is one dynamic; letters without an element are other dynamics.
      {Direction("G", "mp!1Z!1Zp!1R!1z!1sf"),
       Expected({"<dynamics><mp/></dynamics><dynamics font-family=\"music\"><sfz/></dynamics>"
                 "<dynamics font-family=\"music\"><sfp/></dynamics><dynamics font-family=\"music\">"
                 "<rfz/></dynamics><dynamics font-family=\"music\"><other-dynamics>z"
                 "</other-dynamics></dynamics><dynamics font-family=\"music\"><other-dynamics>sf"
                 "</other-dynamics></dynamics>"})},
      // Only a plus in column 19 sets a placement.
      {Direction("D", "dolce").replace(18, 1, "-"), Expected({"<words>dolce</words>"})},
      {details, Expected({"<words>dolce</words>"}, "<offset>-12</offset><footnote>f</footnote>"
                         "<level>3</level><voice>2</voice><staff>1</staff>")},
  };
  // clang-format on
  for (const auto& [record, expected] : rows) EXPECT_EQ(DirectionXml(record), expected) << record;
}

TEST(Directions, RecordWithoutKnownTypeEndsTheLoad) {
  for (const std::string types : {"  ", "XY"}) {
    EXPECT_EQ(DirectionXml(Direction(types, "dolce", "22")), "(false)") << types;
  }
}

TEST(Directions, RehearsalMarkIsRefusedInEitherColumn) {
  for (const std::string& record : {Direction("A", "B"), Direction("DA", "Trio")}) {
    EXPECT_EQ(ErrorOf([&] { DirectionXml(record); }),
              "6045 Verdantix: Direction type A found\r\n\"" + record + "\"");
  }
}

}  // namespace
}  // namespace musedata::test
