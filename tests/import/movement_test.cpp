// The import end to end: a short aria in G minor with a major second half, for
// soprano, violin and organ (right hand and figured bass on two staves), read
// from tests/data/movement as one score. The whole score must equal the
// golden MusicXML, byte for byte: its upbeat, measure numbers, figures under
// their bass notes, ties, slurs across bar lines and the soprano's words.

#include <gtest/gtest.h>

#include <string>

#include "musedata/score.h"
#include "support/test_support.h"

namespace musedata::test {
namespace {

const std::string kMovement = std::string(MUSEDATA_TEST_DATA) + "/movement/";

TEST(Movement, EqualsTheGoldenScore) {
  const ImportResult result = ImportScore(
      {kMovement + "01-soprano.md", kMovement + "02-violino.md", kMovement + "03-organo.md"});
  ASSERT_TRUE(result.complete) << result.stoppedAt;
  const std::string expected = ReadFile(kMovement + "movement.musicxml");
  const std::string actual = ToMusicXmlText(result.document);
  if (actual == expected) return;
  // Name the first line that differs rather than print two whole scores.
  size_t line = 1;
  size_t at = 0;
  while (at < actual.size() && at < expected.size() && actual[at] == expected[at]) {
    if (actual[at] == '\n') ++line;
    ++at;
  }
  const auto lineAt = [&](const std::string& text) {
    const size_t begin = text.rfind('\n', at == 0 ? 0 : at - 1);
    const size_t start = begin == std::string::npos || at == 0 ? 0 : begin + 1;
    return text.substr(start, text.find('\n', at) - start);
  };
  ADD_FAILURE() << "the score differs from movement.musicxml at line " << line
                << "\n  expected: " << lineAt(expected) << "\n  actual:   " << lineAt(actual);
}

}  // namespace
}  // namespace musedata::test
