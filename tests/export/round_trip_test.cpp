#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include "musedata/score.h"
#include "part_generator.h"
#include "support/test_support.h"
#include "xml/node.h"

namespace musedata::test {
namespace {

// MusicXML written out so that two documents that say the same compare equal
// as text: attributes sorted by name, text as it stands, no whitespace
// between elements, comments left out.
std::string Canonical(xml::Node element) {
  std::string text = "<" + std::string(element.Name());
  std::vector<xml::Node::Attribute> attributes = element.Attributes();
  std::sort(attributes.begin(), attributes.end(),
            [](const auto& a, const auto& b) { return a.name < b.name; });
  for (const auto& attribute : attributes)
    text += " " + std::string(attribute.name) + "=\"" + attribute.value + "\"";
  text += ">";
  if (!element.FirstElement()) {
    text += element.Text();
  } else {
    for (const xml::Node child : element.Children()) text += Canonical(child);
  }
  return text + "</" + std::string(element.Name()) + ">";
}

// A part written the way the export writes every record (durations
// left-justified, codes in the export's order) comes back unchanged, line for
// line, after an import and an export.
TEST(RoundTrip, ExportReproducesAPartWrittenItsOwnWay) {
  const std::string golden = MUSEDATA_TEST_DATA "/export/notes-writers.md";
  const TempDir dir;
  const ImportResult imported = ImportScore({golden});
  ASSERT_TRUE(imported.complete) << imported.stoppedAt;
  const std::string exported = dir.Path() + "/part.md";
  ASSERT_TRUE(ExportPart(imported.document, 1, exported));
  // The import puts its own standard notice in place of the rights line.
  const auto afterFirstLine = [](const std::string& text) { return text.substr(text.find('\n')); };
  EXPECT_EQ(afterFirstLine(ReadFile(exported)), afterFirstLine(ReadFile(golden)));
}

// The scores the project ships and tests with, each given by its files.
const std::vector<std::vector<std::string>> kScores = {
    {MUSEDATA_TEST_DATA "/../../examples/minuet/01-violino.md",
     MUSEDATA_TEST_DATA "/../../examples/minuet/02-viola.md",
     MUSEDATA_TEST_DATA "/../../examples/minuet/03-basso.md"},
    {MUSEDATA_TEST_DATA "/movement/01-soprano.md", MUSEDATA_TEST_DATA "/movement/02-violino.md",
     MUSEDATA_TEST_DATA "/movement/03-organo.md"},
    {MUSEDATA_TEST_DATA "/sets/trio.msd"},
};

// What MuseData written by the export cannot carry back, as a change to the
// first import's canonical text that gives the second's.
struct Loss {
  const char* reason;
  std::regex pattern;
  const char* replacement;
};

const Loss kLosses[] = {
    {"the export leaves the header's miscellaneous line (line 10) empty",
     std::regex("<miscellaneous>.*?</miscellaneous>"), ""},
    {"the export writes '+' for a direction below the staff, so one above it loses its placement",
     std::regex("<direction placement=\"above\">"), "<direction>"},
    {"a direction's parameter is the font of its later text, which the import gives the first",
     std::regex("<dynamics><p></p></dynamics></direction-type><direction-type><words "
                "font-family=\"serif\" font-style=\"italic\">"),
     "<dynamics font-family=\"serif\" font-style=\"italic\"><p></p></dynamics></direction-type>"
     "<direction-type><words font-family=\"serif\" font-style=\"italic\">"},
    {"an accidental mark below is written sign first and read back as a mark above, the "
     "placement going to its ornament",
     std::regex("<turn></turn><accidental-mark placement=\"below\">"),
     "<turn placement=\"below\"></turn><accidental-mark>"},
};

// Import, export of every part, import again: the same score but for the losses.
TEST(RoundTrip, MuseDataFirstKeepsTheScoreButForItsNamedLosses) {
  for (const std::vector<std::string>& paths : kScores) {
    SCOPED_TRACE(paths.front());
    const TempDir dir;
    const ImportResult first = ImportScore(paths);
    ASSERT_TRUE(first.complete) << first.stoppedAt;
    std::vector<std::string> exported;
    const int parts = xml::Root(first.document).CountChildren("part");
    for (int part = 1; part <= parts; ++part) {
      exported.push_back(dir.Path() + "/" + std::to_string(part) + ".md");
      ASSERT_TRUE(ExportPart(first.document, part, exported.back()));
    }
    const ImportResult second = ImportScore(exported);
    ASSERT_TRUE(second.complete) << second.stoppedAt;

    std::string expected = Canonical(xml::Root(first.document));
    for (const Loss& loss : kLosses)
      expected = std::regex_replace(expected, loss.pattern, loss.replacement);
    EXPECT_EQ(Canonical(xml::Root(second.document)), expected);
  }
}

// One line per note in time order of the document: measure, voice, onset in
// divisions from the start of the measure, pitch (or rest), duration and ties,
// and whether it is a grace or cue note; then one line per attributes element.
std::vector<std::string> Timeline(xml::Node part) {
  std::vector<std::string> lines;
  for (const xml::Node measure : part.Children("measure")) {
    const std::string number = "m" + std::string(measure.Attr("number"));
    int position = 0;
    int onset = 0;
    for (const xml::Node element : measure.Children()) {
      const std::string_view name = element.Name();
      const std::string duration = element.Child("duration").Text();
      if (name == "backup") position -= std::atoi(duration.c_str());
      if (name == "forward") position += std::atoi(duration.c_str());
      if (name == "attributes") lines.push_back(number + " " + Canonical(element));
      if (name != "note") continue;
      if (!element.Child("chord"))
        onset = std::exchange(position, position + std::atoi(duration.c_str()));
      const xml::Node pitch = element.Child("pitch");
      std::string line = number + " v" + element.Child("voice").Text() + " @" +
                         std::to_string(onset) + " " +
                         (pitch ? pitch.Child("step").Text() + pitch.Child("alter").Text() +
                                      pitch.Child("octave").Text()
                                : "rest") +
                         " d" + duration;
      for (const xml::Node tie : element.Children("tie"))
        line += " tie-" + std::string(tie.Attr("type"));
      lines.push_back(line + (element.Child("grace") ? " grace" : "") +
                      (element.Child("cue") ? " cue" : ""));
    }
  }
  return lines;
}

// The benchmarks' generated parts (two staves with chords, ties, tuplets,
// beams, lyrics, directions, clef, key and time changes, back and irest with
// several tracks, grace and cue notes, figured bass), each as MusicXML,
// through MuseData and back keep every note's pitch, onset, duration, voice
// and ties, their measures and attributes.
TEST(RoundTrip, GeneratedMovementsKeepTheirTimeline) {
  const TempDir dir;
  const std::string musedata = dir.Path() + "/part.md";
  int failures = 0;
  for (uint64_t seed = 1; seed <= 1000 && failures < 3; ++seed) {
    const ImportResult original =
        ImportScore({dir.Write("generated.md", bench::GeneratePart(2500, seed).text)});
    ASSERT_TRUE(original.complete) << original.stoppedAt;
    ASSERT_TRUE(ExportPart(original.document, 1, musedata));
    const ImportResult back = ImportScore({musedata});
    ASSERT_TRUE(back.complete) << back.stoppedAt;
    const std::vector<std::string> expected = Timeline(xml::Root(original.document).Child("part"));
    const std::vector<std::string> actual = Timeline(xml::Root(back.document).Child("part"));
    if (actual == expected) continue;
    ++failures;
    ADD_FAILURE() << "seed " << seed << ":\n" << ReadFile(musedata);
    EXPECT_EQ(actual, expected);
  }
}

}  // namespace
}  // namespace musedata::test
