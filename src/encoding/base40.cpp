// Base-40 transposition intervals and one-column digit codes.

#include "encoding/base40.h"

#include <array>

#include "component/error_codes.h"

namespace musedata {
namespace {

// One spelling of an interval within the octave.
struct IntervalClass {
  int32_t base40;     // its place in the octave of 40
  int32_t diatonic;   // steps of the scale
  int32_t chromatic;  // semitones
};

// Every interval that base-40 can spell, both directions' only vocabulary. The
// values between one step's run and the next stand for no interval: they would
// be triply augmented or diminished.
inline constexpr std::array<IntervalClass, 25> kIntervalClasses{{
    {0, 0, 0},    // perfect unison
    {1, 0, 1},    // augmented unison
    {4, 1, 0},    // diminished second
    {5, 1, 1},    // minor second
    {6, 1, 2},    // major second
    {7, 1, 3},    // augmented second
    {10, 2, 2},   // diminished third
    {11, 2, 3},   // minor third
    {12, 2, 4},   // major third
    {13, 2, 5},   // augmented third
    {16, 3, 4},   // diminished fourth
    {17, 3, 5},   // perfect fourth
    {18, 3, 6},   // augmented fourth
    {22, 4, 6},   // diminished fifth
    {23, 4, 7},   // perfect fifth
    {24, 4, 8},   // augmented fifth
    {27, 5, 7},   // diminished sixth
    {28, 5, 8},   // minor sixth
    {29, 5, 9},   // major sixth
    {30, 5, 10},  // augmented sixth
    {33, 6, 9},   // diminished seventh
    {34, 6, 10},  // minor seventh
    {35, 6, 11},  // major seventh
    {36, 6, 12},  // augmented seventh
    {39, 7, 11},  // diminished octave
}};

constexpr int32_t kOctave = 40;
constexpr int32_t kStepsPerOctave = 7;
constexpr int32_t kSemitonesPerOctave = 12;
constexpr std::string_view kDigitCodes = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";

}  // namespace

bool ConvertBase40(int32_t value, int32_t& diatonic, int32_t& chromatic, int32_t& octave) {
  return Trap(kConvertBase40, nullptr, [&] {
    // Whole octaves, rounded towards minus infinity, so the class is 0..39.
    octave = value / kOctave;
    int32_t base40 = value % kOctave;
    if (base40 < 0) {
      base40 += kOctave;
      --octave;
    }
    for (const IntervalClass& interval : kIntervalClasses) {
      if (interval.base40 != base40) continue;
      diatonic = interval.diatonic;
      chromatic = interval.chromatic;
      // A descending interval within the octave reads as negative steps and
      // semitones; two octaves or more down keep the octave count instead.
      if (octave == -1) {
        diatonic -= kStepsPerOctave;
        chromatic -= kSemitonesPerOctave;
        octave = 0;
      }
      return true;
    }
    return false;
  });
}

int32_t ConvertToBase40(int32_t chromatic, int32_t diatonic, int32_t octave) {
  return Trap(kConvertToBase40, nullptr, [&] {
    // A descending interval is spelled as its complement within the octave
    // and lowered by one octave at the end.
    const bool isDescending = chromatic < 0;
    const int32_t semitones = isDescending ? chromatic + kSemitonesPerOctave : chromatic;
    const int32_t steps = isDescending ? CheckedAdd(diatonic, kStepsPerOctave) : diatonic;
    for (const IntervalClass& interval : kIntervalClasses) {
      if (interval.chromatic != semitones || interval.diatonic != steps) continue;
      const int32_t base40 = isDescending ? interval.base40 - kOctave : interval.base40;
      return CheckedAdd(CheckedMultiply(octave, kOctave), base40);
    }
    return int32_t{0};
  });
}

std::string ConvertDigit(std::string_view code) {
  return Trap(kConvertDigit, nullptr, [&] {
    if (code.size() != 1) return std::string();
    const size_t number = kDigitCodes.find(code.front());
    return number == std::string_view::npos ? std::string() : std::to_string(number);
  });
}

std::string ConvertToDigit(std::string_view number) {
  return Trap(kConvertToDigit, nullptr, [&] {
    // Only the plain decimal spelling counts: no sign, blank or leading zero.
    const bool isCanonical = (number.size() == 1 && number[0] >= '0' && number[0] <= '9') ||
                             (number.size() == 2 && number[0] >= '1' && number[0] <= '3' &&
                              number[1] >= '0' && number[1] <= '9');
    if (!isCanonical) return std::string();
    const size_t value = number.size() == 1 ? size_t(number[0] - '0')
                                            : size_t((number[0] - '0') * 10 + (number[1] - '0'));
    if (value >= kDigitCodes.size()) return std::string();
    return std::string(1, kDigitCodes[value]);
  });
}

}  // namespace musedata
