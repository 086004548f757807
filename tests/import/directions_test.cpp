#include <gtest/gtest.h>

#include "component/error_codes.h"
#include "encoding/record_view.h"
#include "musedata/converter_error.h"
#include "support/test_support.h"

namespace musedata::test {
namespace {

// A direction record with its type letters from column 17, the parameter
// ending in column 23 and the text from column 25.
std::string Direction(const std::string& types, const std::string& text = "",
                      const std::string& parameter = "") {
  return LineBuilder().Put(1, "*").Put(17, types).PutRight(23, parameter).Put(25, text).Finish();
}

Imported ImportDirection(const std::string& record) {
  return ImportText(Part({"$ K:0 Q:4 T:4/4 C:4", record}));
}

std::string DirectionXml(const std::string& record) {
  const Imported imported = ImportDirection(record);
  EXPECT_TRUE(imported.result);
  return XmlAt(imported.document, "/score-partwise/part/measure/direction");
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
  struct Row {
    const char* name;
    std::string record;
    std::string expected;
  };
  const Row rows[] = {
      {"right-justified words", Direction("B", "Allegro"),
       Expected({"<words justify=\"right\">Allegro</words>"})},
      {"centred words", Direction("C", "Adagio"),
       Expected({"<words justify=\"center\">Adagio</words>"})},
      {"plain words", Direction("D", "dolce"), Expected({"<words>dolce</words>"})},
      {"words keep leading blanks", Direction("D", "  dolce  "),
       Expected({"<words>  dolce</words>"})},
      {"words without text", Direction("D"), Expected({"<words/>"})},
      {"wedge opening from nothing", Direction("E", "", "0"),
       Expected({"<wedge type=\"crescendo\" spread=\"0\"/>"})},
      {"wedge closing from a spread", Direction("E", "", "15"),
       Expected({"<wedge type=\"diminuendo\" spread=\"15\"/>"})},
      {"wedge start without spread", Direction("E"), Expected({"<wedge type=\"start\"/>"})},
      {"wedge stop keeps its type", Direction("F", "", "15"),
       Expected({"<wedge type=\"stop\" spread=\"15\"/>"})},
      {"dashes start", Direction("H"), Expected({"<dashes type=\"start\"/>"})},
      {"dashes stop", Direction("J"), Expected({"<dashes type=\"stop\"/>"})},
      {"pedal down", Direction("P"), Expected({"<pedal type=\"start\"/>"})},
      {"pedal up", Direction("Q"), Expected({"<pedal type=\"stop\"/>"})},
      {"octave up with size", Direction("U", "", "8"),
       Expected({"<octave-shift type=\"up\" size=\"8\"/>"})},
      {"octave down", Direction("V", "", "15"),
       Expected({"<octave-shift type=\"down\" size=\"15\"/>"})},
      {"octave shift ends", Direction("W"), Expected({"<octave-shift type=\"stop\"/>"})},
      {"a type without text drops the text", Direction("P", "Ped."),
       Expected({"<pedal type=\"start\"/>"})},
      {"an unknown letter beside a known one", Direction("XD", "dolce"),
       Expected({"<words>dolce</words>"})},
      {"two types, the text in the second", Direction("FG", "p"),
       Expected({"<wedge type=\"stop\"/>", "<dynamics><p/></dynamics>"})},
      {"a wedge in the second column takes the spread", Direction("GE", "p", "0"),
       Expected({"<dynamics><p/></dynamics>", "<wedge type=\"crescendo\" spread=\"0\"/>"})},
      {"an octave shift takes the parameter before a font", Direction("DU", "8va", "8"),
       Expected({"<words>8va</words>", "<octave-shift type=\"up\" size=\"8\"/>"})},
      {"the parameter as the font of the words", Direction("B", "Allegro", "22"),
       Expected({"<words justify=\"right\" font-family=\"serif\">Allegro</words>"})},
      {"the parameter as the font of the second column", Direction("PD", "Ped.", "32"),
       Expected({"<pedal type=\"start\"/>",
                 "<words font-family=\"serif\" font-weight=\"bold\">Ped.</words>"})},
      {"a font change splits the words", Direction("D", "cresc.!33molto"),
       Expected({"<words>cresc.</words>"
                 "<words font-family=\"serif\" font-style=\"italic\">molto</words>"})},
      {"split words repeat the justification", Direction("B", "Allegro !33ma non troppo", "31"),
       Expected({"<words justify=\"right\" font-family=\"serif\">Allegro </words>"
                 "<words justify=\"right\" font-family=\"serif\" font-style=\"italic\">"
                 "ma non troppo</words>"})},
      {"both columns take text: the first piece goes first", Direction("DG", "dolce!33p"),
       Expected({"<words>dolce</words>",
                 "<dynamics font-family=\"serif\" font-style=\"italic\"><p/></dynamics>"})},
      {"both columns take text: later pieces go second", Direction("DG", "dolce!32sf!33p"),
       Expected({"<words>dolce</words>",
                 "<dynamics font-family=\"serif\" font-weight=\"bold\">"
                 "<other-dynamics>sf</other-dynamics></dynamics>"
                 "<dynamics font-family=\"serif\" font-style=\"italic\"><p/></dynamics>"})},
      {"split dynamics", Direction("G", "f!33p"),
       Expected({"<dynamics><f/></dynamics>"
                 "<dynamics font-family=\"serif\" font-style=\"italic\"><p/></dynamics>"})},
      {"placement above", Direction("D", "dolce").replace(18, 1, "+"),
       Expected({"<words>dolce</words>"}, "", " placement=\"above\"")},
      {"only a plus sets a placement", Direction("D", "dolce").replace(18, 1, "-"),
       Expected({"<words>dolce</words>"})},
      {"offset, footnote, level, voice and staff in order",
       LineBuilder()
           .Put(1, "*")
           .PutRight(8, "-12")
           .Put(13, "f3")
           .Put(15, "2")
           .Put(17, "D")
           .Put(24, "1")
           .Put(25, "dolce")
           .Finish(),
       Expected({"<words>dolce</words>"},
                "<offset>-12</offset><footnote>f</footnote><level>3</level><voice>2</voice>"
                "<staff>1</staff>")},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(DirectionXml(row.record), row.expected);
  }
}

TEST(Directions, DynamicTexts) {
  struct Row {
    const char* text;
    const char* expected;
  };
  const Row rows[] = {
      {"ff", "<ff/>"},
      {"mp", "<mp/>"},
      {"Z", "<sfz/>"},
      {"Zp", "<sfp/>"},
      {"R", "<rfz/>"},
      {"z", "<other-dynamics>z</other-dynamics>"},
      {"sf", "<other-dynamics>sf</other-dynamics>"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(DirectionXml(Direction("G", row.text)),
              Expected({std::string("<dynamics>") + row.expected + "</dynamics>"}));
  }
}

TEST(Directions, RecordWithoutKnownTypeEndsTheLoad) {
  for (const std::string types : {"  ", "XY"}) {
    SCOPED_TRACE("types \"" + types + "\"");
    const Imported imported = ImportText(Part(
        {"$ K:0 Q:4 T:4/4 C:4", Direction(types, "dolce", "22"), Direction("D", "never read")}));
    EXPECT_FALSE(imported.result);
    EXPECT_EQ(XmlAt(imported.document, "//direction"), "");
  }
}

TEST(Directions, RehearsalMarkIsRefusedInEitherColumn) {
  for (const std::string& record : {Direction("A", "B"), Direction("DA", "Trio")}) {
    SCOPED_TRACE(record);
    try {
      ImportDirection(record);
      ADD_FAILURE() << "a rehearsal mark was accepted";
    } catch (const ConverterError& error) {
      EXPECT_EQ(error.Number(), kErrorBase + kErrRehearsalDirection);
      EXPECT_EQ(error.Source(), kErrorSource);
      EXPECT_EQ(error.Description(), "Direction type A found\r\n\"" + record + "\"");
    }
  }
}

}  // namespace
}  // namespace musedata::test
