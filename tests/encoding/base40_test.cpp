#include "encoding/base40.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "support/test_support.h"

namespace musedata {
namespace {

constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
constexpr int32_t kMin = std::numeric_limits<int32_t>::min();

TEST(Base40, SplitsIntervalsAndFoldsOnlyTheOctaveBelow) {
  // 99: steps and semitones that a value between two steps' runs leaves alone.
  const struct {
    int32_t value;
    bool isInterval;
    int32_t diatonic, chromatic, octave;
  } rows[] = {
      // clang-format off
      {0, true, 0, 0, 0},       {39, true, 7, 11, 0},    {40, true, 0, 0, 1},
      {-5, true, -1, -1, 0},    {-1, true, 0, -1, 0},    {-40, true, -7, -12, 0},
      {-45, true, 6, 11, -2},   {-46, true, 6, 10, -2},  {2, false, 99, 99, 0},
      {-38, false, 99, 99, -1}, {101, false, 99, 99, 2}, {kMax, true, 1, 3, 53687091},
      {kMin, false, 99, 99, -53687092},
      // clang-format on
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.value);
    int32_t diatonic = 99, chromatic = 99, octave = 99;
    EXPECT_EQ(ConvertBase40(row.value, diatonic, chromatic, octave), row.isInterval);
    EXPECT_EQ(diatonic, row.diatonic);
    EXPECT_EQ(chromatic, row.chromatic);
    EXPECT_EQ(octave, row.octave);
  }
}

// Every interval read from base-40 is written back as the same number, save
// the augmented seventh one octave down: it folds to one step down and no
// semitones, a spelling the writer does not know.
TEST(Base40, RoundTripsEveryIntervalOverSeveralOctaves) {
  int32_t intervals = 0;
  for (int32_t value = -160; value < 160; ++value) {
    int32_t diatonic = 0, chromatic = 0, octave = 0;
    if (!ConvertBase40(value, diatonic, chromatic, octave)) continue;
    ++intervals;
    EXPECT_EQ(ConvertToBase40(chromatic, diatonic, octave), value == -4 ? 0 : value) << value;
  }
  EXPECT_EQ(intervals, 8 * 25);
}

// The spellings the round trip does not reach: another spelling of a known
// interval, unknown spellings (0) and the ends of the 32-bit range.
TEST(Base40, BuildsIntervalsAndRefusesUnknownSpellings) {
  const struct {
    int32_t chromatic, diatonic, octave, expected;
  } rows[] = {
      // clang-format off
      {11, 7, -1, -1}, {12, 7, 0, 0}, {13, 7, 0, 0}, {-13, -8, 0, 0}, {2, 0, 0, 0}, {2, 3, 0, 0},
      {0, 0, 53687091, 2147483640}, {-12, -7, -53687090, kMin + 8},
      // clang-format on
  };
  for (const auto& row : rows) {
    EXPECT_EQ(ConvertToBase40(row.chromatic, row.diatonic, row.octave), row.expected)
        << row.chromatic << ", " << row.diatonic << ", " << row.octave;
  }
  // Steps or octaves beyond 32 bits are the writer's own overflow.
  const std::string overflow = "6071 Verdantix: MuseData ConvertToBase40 error 6: Overflow";
  EXPECT_EQ(test::ErrorOf([] { ConvertToBase40(-1, kMax, 0); }), overflow);
  EXPECT_EQ(test::ErrorOf([] { ConvertToBase40(0, 0, 53687092); }), overflow);
  EXPECT_EQ(test::ErrorOf([] { ConvertToBase40(-12, -7, -53687091); }), overflow);
}

TEST(DigitCode, ReadsAndWritesEveryCodeAndNothingElse) {
  for (int code = 0x20; code < 0x7F; ++code) {
    const std::string character(1, static_cast<char>(code));
    std::string number;
    if (code >= '0' && code <= '9') number = character;
    if (code >= 'A' && code <= 'Z') number = std::to_string(code - 'A' + 10);
    EXPECT_EQ(ConvertDigit(character), number) << character;
    if (!number.empty()) {
      EXPECT_EQ(ConvertToDigit(number), character);
    }
  }
  for (const char* code : {"", "10", "AB", " A"}) EXPECT_EQ(ConvertDigit(code), "") << code;
  for (const char* number : {"36", "99", "", "-1", "07", "00", " 5", "5 ", "+5", "100", "A"})
    EXPECT_EQ(ConvertToDigit(number), "") << number;
}

}  // namespace
}  // namespace musedata
