// Suggestion groups and position codes shared by the note, notation and
// direction writers.

#include "export/suggestion_text.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace musedata {

void AddSuggestionGroup(std::string& line, char letter, int32_t column, std::string_view codes) {
  if (codes.empty()) return;
  if (line.empty()) line.assign(1, letter);
  line += " C";
  line += std::to_string(column);
  line += ':';
  line += codes;
}

namespace {

// Reads the whole text as a decimal number (a leading "+" allowed); nothing
// for any other text.
std::optional<double> ReadNumber(std::string_view text) {
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  double number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number, std::chars_format::fixed);
  if (text.empty() || error != std::errc() || stop != end) return std::nullopt;
  return number;
}

}  // namespace

std::string NegatedWhenNumeric(std::string_view value) {
  const std::optional<double> number = ReadNumber(value);
  if (!number) return std::string(value);
  // No "-0": a position on the line is 0 either way.
  const double negated = *number == 0 ? 0.0 : -*number;
  char buffer[32];
  const auto written = std::to_chars(buffer, buffer + sizeof buffer, negated);
  return std::string(buffer, written.ptr);
}

std::string PositionCode(std::string_view name, std::string_view value, TextualRelativeY textual) {
  if (name == "default-x") return "X" + std::string(value);
  if (name == "relative-x") return "x" + std::string(value);
  const std::string y = NegatedWhenNumeric(value);
  if (name == "default-y") return "Y" + y;
  if (name == "relative-y") {
    const bool capital = textual == TextualRelativeY::Capital && !ReadNumber(value);
    return (capital ? "Y" : "y") + y;
  }
  return {};
}

std::string OnOneLine(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](char c) { return c == '\r' || c == '\n'; }, ' ');
  return text;
}

}  // namespace musedata
