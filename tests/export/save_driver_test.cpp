#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "export/export_support.h"

namespace musedata::test {
namespace {

const std::string kData = MUSEDATA_TEST_DATA;

// Our two-part sonatina (pickup, repeats, first and second endings, a key
// change, clefs on two staves, a transposing part, comments, back and irest)
// exported part by part, line for line against files checked by hand.
TEST(SaveDriver, SonatinaPartsMatchTheirGoldenFiles) {
  const std::string score = ReadFile(kData + "/export/sonatina.musicxml");
  for (const auto& [part, golden] : {std::pair{1, "sonatina-01.md"}, {2, "sonatina-02.md"}}) {
    SCOPED_TRACE(golden);
    const Exported out = ExportXml(score, part);
    EXPECT_EQ(out.error, "no error");
    EXPECT_EQ(out.text, ReadFile(kData + "/export/" + golden));
  }
}

TEST(SaveDriver, FailedSavesLeaveNoFile) {
  const std::string measure = "<measure><forward><duration>4</duration></forward></measure>";
  const struct {
    std::string xml;
    int32_t part;
    const char* error;
  } rows[] = {
      {"<score-timewise><part id=\"P1\"/></score-timewise>", 1, "no error"},
      {OnePartScore(measure), 3, "6066 Verdantix: No part number 3 found"},
      {"<score-partwise><part-list/><part id=\"P1\"/></score-partwise>", 1,
       "6067 Verdantix: No score-part number 1 found"},
      {OnePartScore("<measure><forward><voice>x</voice></forward></measure>"), 1,
       "6052 Verdantix: MuseData InitTracks error 13: Type mismatch"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.error);
    const Exported out = ExportXml(row.xml, row.part);
    EXPECT_FALSE(out.result);
    EXPECT_EQ(out.error, row.error);
    EXPECT_EQ(out.text, "");
  }
}

// Saving comes at 3 of (children of the part + 4), after each child, and
// after "/END" at the total. A cancel before that last event leaves no file.
TEST(SaveDriver, SavingCountsThePartsChildrenAndCancelStops) {
  const std::string xml = OnePartScore("<measure/><!-- between --><measure/>");
  const TempDir dir;
  for (int cancelAt = 1; cancelAt <= 5; ++cancelAt) {
    MuseData component;
    component.SetXML(xml::ParseMemory(xml, "score.musicxml", kErrXmlInitializationParse));
    std::vector<std::pair<int32_t, int32_t>> events;
    component.Saving = [&](int32_t current, int32_t size, bool& cancel) {
      events.emplace_back(current, size);
      cancel = static_cast<int>(events.size()) == cancelAt;
    };
    EXPECT_EQ(component.Save(dir.Path() + "/part.md"), cancelAt == 5);
    EXPECT_EQ(EntriesIn(dir.Path()), cancelAt == 5 ? 1 : 0);
    EXPECT_EQ(events.back(), std::make_pair(2 + cancelAt, 7));
  }
}

// Voices are numbered densely in ascending order, the tenth as "A"; an irest
// shows its track in column 15.
TEST(SaveDriver, TracksNumberTheVoicesThatOccur) {
  std::string forwards;
  for (const char* voice : {"12", "03", "1", "4", "5", "6", "7", "8", "9", "10"})
    forwards +=
        "<forward><duration>1</duration><voice>" + std::string(voice) + "</voice></forward>";
  EXPECT_EQ(
      DataRecords("<measure>" + forwards + "</measure>"),
      "irest1        A\nirest1        2\nirest1        1\nirest1        3\nirest1        4\n"
      "irest1        5\nirest1        6\nirest1        7\nirest1        8\nirest1        9\n");
}

// A MuseData part read into a score and saved again gives the same header:
// the three-line rights notice of the import must not spill into line 2.
TEST(SaveDriver, HeaderSurvivesImportExportImport) {
  const Imported first = ImportText(ReadFile(kData + "/movement/01-soprano.md"));
  ASSERT_TRUE(first.result);
  const TempDir dir;
  MuseData component;
  component.SetXML(first.document);
  ASSERT_TRUE(component.Save(dir.Path() + "/soprano.md"));
  const Imported second = ImportText(ReadFile(dir.Path() + "/soprano.md"));
  ASSERT_TRUE(second.result);
  for (const char* xpath : {"/*/work", "/*/movement-number", "/*/movement-title", "//encoding",
                            "//source", "//part-name", "//group", "//attributes"}) {
    SCOPED_TRACE(xpath);
    EXPECT_NE(XmlAt(first.document, xpath), "");
    EXPECT_EQ(XmlAt(second.document, xpath), XmlAt(first.document, xpath));
  }
}

}  // namespace
}  // namespace musedata::test
