#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "export/writer_harness.h"

namespace musedata::test {
namespace {

std::string Figure(const std::string& prefix, const std::string& number,
                   const std::string& suffix) {
  std::string figure = "<figure>";
  if (!prefix.empty()) figure += "<prefix>" + prefix + "</prefix>";
  if (!number.empty()) figure += "<figure-number>" + number + "</figure-number>";
  if (!suffix.empty()) figure += "<suffix>" + suffix + "</suffix>";
  return figure + "</figure>";
}

std::string FiguredBass(const std::string& figures, const std::string& duration = "4") {
  const std::string length = duration.empty() ? "" : "<duration>" + duration + "</duration>";
  return "<measure><figured-bass>" + figures + length + "</figured-bass></measure>";
}

TEST(FiguredBassWriter, WritesCountDurationAndFiguresWithTheirSigns) {
  // clang-format off
  const std::pair<std::string, std::string> rows[] = {
      {FiguredBass(Figure("", "6", "")), "f1   4          6\n"},
      {FiguredBass(Figure("sharp", "6", "plus") + Figure("", "4", "") + Figure("flat", "", "")),
       "f3   4          #6+ 4 f\n"},
      {FiguredBass(Figure("natural", "7", "") + Figure("double-sharp", "5", "slash") + Figure("", "9", "back-slash")),
       "f3   4          n7 x5/ 9\\\n"},
      // Signs a MuseData file gave as characters stay as they are.
      {FiguredBass(Figure("#", "", "") + Figure("", "6", "#")), "f2   4          # 6#\n"},
      // A figure with nothing to show is a lone flat.
      {FiguredBass("<figure><figure-number/></figure>" + Figure("", "3", "")), "f2   4          b 3\n"},
      // Without a duration the figures last as long as their note.
      {FiguredBass(Figure("", "5", ""), ""), "f1              5\n"},
      {FiguredBass(Figure("", "1", "") + Figure("", "2", "") + Figure("", "3", "") + Figure("", "4", "") +
                   Figure("", "5", "") + Figure("", "6", "") + Figure("", "7", "") + Figure("", "8", "") +
                   Figure("", "9", "") + Figure("", "10", ""), "12"),
       "f    12         1 2 3 4 5 6 7 8 9 10\n"},
  };
  // clang-format on
  WriterHarness harness;
  for (const auto& [figuredBass, line] : rows) {
    SCOPED_TRACE(figuredBass);
    EXPECT_EQ(harness.LinesOrError(figuredBass), line);
  }
}

}  // namespace
}  // namespace musedata::test
