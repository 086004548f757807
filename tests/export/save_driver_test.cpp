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

// A failed save leaves no file, new or temporary, and an existing one as it
// was, even while the component lives on.
TEST(SaveDriver, FailedSavesLeaveTheTargetAsItWas) {
  const std::string measure = "<measure><forward><duration>4</duration></forward></measure>";
  const struct {
    std::string xml;  // "" for a component without a score
    int32_t part;
    const char* error;
  } rows[] = {
      {"", 1, "no error"},
      {"<score-timewise><part id=\"P1\"/></score-timewise>", 1, "no error"},
      {OnePartScore(measure), 3, "6066 Verdantix: No part number 3 found"},
      {"<score-partwise><part-list/><part id=\"P1\"/></score-partwise>", 1,
       "6067 Verdantix: No score-part number 1 found"},
      {OnePartScore("<measure><forward><voice>x</voice></forward></measure>"), 1,
       "6052 Verdantix: MuseData InitTracks error 13: Type mismatch"},
  };
  for (const auto& row : rows) {
    for (const bool existing : {false, true}) {
      SCOPED_TRACE(std::string(row.error) + (existing ? ", existing file" : ", new file"));
      const TempDir dir;
      const std::string target =
          existing ? dir.Write("part.md", "a good file\n") : dir.Path() + "/part.md";
      MuseData component;
      if (!row.xml.empty())
        component.SetXML(xml::ParseMemory(row.xml, "score.musicxml", kErrXmlInitializationParse));
      component.SetPartNumber(row.part);
      EXPECT_EQ(ErrorOf([&] { EXPECT_FALSE(component.Save(target)); }), row.error);
      EXPECT_EQ(EntriesIn(dir.Path()), existing ? 1 : 0);
      EXPECT_EQ(ReadFile(target), existing ? "a good file\n" : "");
    }
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

}  // namespace
}  // namespace musedata::test
