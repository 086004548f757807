#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "export/export_support.h"
#include "musedata/converter_error.h"

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
    const Exported exported = ExportXml(score, part);
    ASSERT_EQ(exported.error, "no error");
    EXPECT_TRUE(exported.result);
    EXPECT_EQ(exported.text, ReadFile(kData + "/export/" + golden));
  }
}

TEST(SaveDriver, FailedOrCancelledSavesLeaveNoFile) {
  const std::string measure =
      "<measure number=\"1\"><forward><duration>4</duration></forward></measure>";
  const std::string withoutScorePart =
      "<score-partwise><part-list><score-part id=\"P9\"><part-name>x</part-name></score-part>"
      "</part-list><part id=\"P1\">" +
      measure + "</part></score-partwise>";
  struct Row {
    const char* name;
    std::string xml;
    int32_t part;
    const char* error;
  };
  const Row rows[] = {
      {"timewise root", "<score-timewise><part id=\"P1\"/></score-timewise>", 1, "no error"},
      {"no such part", OnePartScore(measure), 3, "6066 Verdantix: No part number 3 found"},
      {"part 0", OnePartScore(measure), 0, "6066 Verdantix: No part number 0 found"},
      {"no score-part", withoutScorePart, 1, "6067 Verdantix: No score-part number 1 found"},
      {"voice not a number",
       OnePartScore("<measure><forward><duration>4</duration><voice>x</voice>"
                    "</forward></measure>"),
       1, "6052 Verdantix: MuseData InitTracks error 13: Type mismatch"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const Exported exported = ExportXml(row.xml, row.part);
    EXPECT_FALSE(exported.result);
    EXPECT_EQ(exported.error, row.error);
    EXPECT_EQ(exported.text, "");
  }
}

// The host sees Saving once before the measures (at 3 of children + 4), once
// per child node of the part, and once after "/END", which ends at the total.
// Cancelling at any of the events before the last leaves no file.
TEST(SaveDriver, SavingCountsThePartsChildrenAndCancelStops) {
  const std::string xml =
      OnePartScore("<measure number=\"1\"/><!-- between --><measure number=\"2\"/>");
  const TempDir dir;
  for (int cancelAt = 1; cancelAt <= 6; ++cancelAt) {
    SCOPED_TRACE(cancelAt);
    MuseData component;
    component.SetXML(xml::ParseMemory(xml, "score.musicxml", kErrXmlInitializationParse));
    std::vector<std::pair<int32_t, int32_t>> events;
    component.Saving = [&](int32_t current, int32_t size, bool& cancel) {
      events.emplace_back(current, size);
      cancel = static_cast<int>(events.size()) == cancelAt;
    };
    const std::string path = dir.Path() + "/part.md";
    const bool saved = component.Save(path);
    if (cancelAt < 5) {
      EXPECT_FALSE(saved);
      EXPECT_EQ(EntriesIn(dir.Path()), 0);
      EXPECT_EQ(events.back(), std::make_pair(2 + cancelAt, 7));
    } else {
      // The event after "/END" cannot stop the save any more.
      EXPECT_TRUE(saved);
      EXPECT_EQ(events,
                (std::vector<std::pair<int32_t, int32_t>>{{3, 7}, {4, 7}, {5, 7}, {6, 7}, {7, 7}}));
    }
  }
}

// Voices are renumbered densely in ascending order; the tenth voice gets "A".
// Columns 13 to 15 of an irest record show the track.
TEST(SaveDriver, TracksNumberTheVoicesThatOccur) {
  const auto forward = [](const std::string& voice) {
    return "<forward><duration>1</duration><voice>" + voice + "</voice></forward>";
  };
  EXPECT_EQ(DataRecords("<measure>" + forward("12") + forward("03") + forward("1") + "</measure>"),
            "irest1        3\nirest1        2\nirest1        1\n");
  std::string tenVoices;
  for (int voice = 20; voice >= 11; --voice) tenVoices += forward(std::to_string(voice));
  EXPECT_EQ(
      DataRecords("<measure>" + tenVoices + "</measure>"),
      "irest1        A\nirest1        9\nirest1        8\nirest1        7\nirest1        6\n"
      "irest1        5\nirest1        4\nirest1        3\nirest1        2\nirest1        1\n");
}

// A MuseData part read into a score and saved again gives the same header:
// the three-line rights notice of the import must not spill into line 2.
TEST(SaveDriver, HeaderSurvivesImportExportImport) {
  const std::string original = ReadFile(kData + "/movement/01-soprano.md");
  const Imported first = ImportText(original);
  ASSERT_TRUE(first.result);
  const TempDir dir;
  MuseData component;
  component.SetXML(first.document);
  ASSERT_TRUE(component.Save(dir.Path() + "/soprano.md"));
  const Imported second = ImportText(ReadFile(dir.Path() + "/soprano.md"));
  ASSERT_TRUE(second.result);
  for (const char* xpath :
       {"/score-partwise/work", "/score-partwise/movement-number", "/score-partwise/movement-title",
        "//score-part/identification/encoding", "//score-part/identification/source",
        "//score-part/part-name", "//score-part/group", "//attributes"}) {
    SCOPED_TRACE(xpath);
    EXPECT_NE(XmlAt(first.document, xpath), "");
    EXPECT_EQ(XmlAt(second.document, xpath), XmlAt(first.document, xpath));
  }
}

}  // namespace
}  // namespace musedata::test
