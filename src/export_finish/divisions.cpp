// Divisions that fit: MuseData keeps a duration in three columns, and many
// programs count 480 or 10080 divisions to the quarter.

#include "export_finish/divisions.h"

#include <charconv>
#include <cstdlib>
#include <numeric>
#include <string>
#include <vector>

#include "export_finish/passes.h"

namespace musedata::export_finish {
namespace {

// Whether a duration fits the three columns that MuseData gives it.
bool FitsThreeColumns(int64_t value) {
  return value >= 0 && value <= 999;
}

// The elements of one part that count time in divisions: `divisions`
// itself and every `duration` of its measures' elements decide the divisor;
// `offset`s are divided too but may be any number of divisions.
struct TimedValues {
  std::vector<xml::Node> counts;
  std::vector<xml::Node> offsets;
};

TimedValues TimedValuesOf(xml::Node part) {
  TimedValues timed;
  for (const xml::Node measure : part.Children()) {
    for (const xml::Node element : measure.Children()) {
      for (const xml::Node value : element.Children()) {
        const std::string_view name = value.Name();
        if (name == "duration" || name == "divisions") {
          timed.counts.push_back(value);
        } else if (name == "offset") {
          timed.offsets.push_back(value);
        }
      }
    }
  }
  return timed;
}

// A quotient rounded to the nearest whole number, halves away from zero.
int64_t RoundedQuotient(int64_t value, int64_t divisor) {
  const int64_t half = divisor / 2;
  return value >= 0 ? (value + half) / divisor : -((-value + half) / divisor);
}

}  // namespace

bool ReadWholeNumber(std::string_view text, int64_t& number) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t' || text.front() == '\n' ||
                           text.front() == '\r'))
    text.remove_prefix(1);
  while (!text.empty() &&
         (text.back() == ' ' || text.back() == '\t' || text.back() == '\n' || text.back() == '\r'))
    text.remove_suffix(1);
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  if (text.empty()) return false;
  const auto [end, status] = std::from_chars(text.data(), text.data() + text.size(), number);
  return status == std::errc() && end == text.data() + text.size();
}

int64_t DivisorOf(xml::Node part) {
  const TimedValues timed = TimedValuesOf(part);
  int64_t divisor = 0;
  bool hasDivisions = false;
  bool fits = true;
  for (const xml::Node value : timed.counts) {
    int64_t number = 0;
    if (!ReadWholeNumber(value.Text(), number)) return 1;
    if (value.Name() == "divisions") {
      hasDivisions = true;
    } else {
      fits = fits && FitsThreeColumns(number);
    }
    divisor = std::gcd(divisor, number);
  }
  return hasDivisions && !fits && divisor > 1 ? divisor : 1;
}

void DivideBy(xml::Node part, int64_t divisor) {
  const TimedValues timed = TimedValuesOf(part);
  for (const xml::Node value : timed.counts) {
    int64_t number = 0;
    ReadWholeNumber(value.Text(), number);
    value.SetText(std::to_string(number / divisor));
  }
  for (const xml::Node value : timed.offsets) {
    int64_t number = 0;
    if (ReadWholeNumber(value.Text(), number))
      value.SetText(std::to_string(RoundedQuotient(number, divisor)));
  }
}

bool ReduceDivisions(xml::Node part) {
  const int64_t divisor = DivisorOf(part);
  if (divisor <= 1) return false;
  DivideBy(part, divisor);
  return true;
}

}  // namespace musedata::export_finish
