#pragma once

// Whole numbers as MuseData and MusicXML write them.

#include <charconv>
#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>

namespace musedata {

// The value of text that is a whole number: white space around it and one
// leading sign allowed; none for any other text (a decimal, letters, nothing)
// or a number beyond 64 bits.
constexpr std::optional<int64_t> WholeNumber(std::string_view text) noexcept {
  constexpr std::string_view kWhiteSpace = " \t\r\n";
  const size_t first = text.find_first_not_of(kWhiteSpace);
  if (first == std::string_view::npos) return std::nullopt;
  text = text.substr(first, text.find_last_not_of(kWhiteSpace) - first + 1);
  const bool negative = text.front() == '-';
  if (negative || text.front() == '+') text.remove_prefix(1);
  if (text.empty()) return std::nullopt;
  uint64_t value = 0;
  const auto [end, status] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (status != std::errc() || end != text.data() + text.size()) return std::nullopt;
  if (value > static_cast<uint64_t>(std::numeric_limits<int64_t>::max())) return std::nullopt;
  return negative ? -static_cast<int64_t>(value) : static_cast<int64_t>(value);
}

// The same, for a number that must fit 32 bits; none beyond them.
constexpr std::optional<int32_t> WholeNumber32(std::string_view text) noexcept {
  const std::optional<int64_t> value = WholeNumber(text);
  if (!value || *value < std::numeric_limits<int32_t>::min() ||
      *value > std::numeric_limits<int32_t>::max())
    return std::nullopt;
  return static_cast<int32_t>(*value);
}

}  // namespace musedata
