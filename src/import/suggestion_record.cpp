#include "import/suggestion_record.h"

#include <charconv>

#include "encoding/text.h"

namespace musedata {
namespace {

bool IsDigit(char c) noexcept {
  return c >= '0' && c <= '9';
}
bool IsBlank(char c) noexcept {
  return c == ' ' || c == '\t';
}

// The length of the field header "C<digits><selector>:" that starts at `at`;
// 0 when none starts there. The selector holds neither digits nor blanks, so
// a code such as "C1X10" missing its colon is not taken for a header.
size_t FieldHeaderLength(std::string_view text, size_t at) noexcept {
  if (text[at] != 'C') return 0;
  size_t i = at + 1;
  const size_t digits = i;
  while (i < text.size() && IsDigit(text[i])) ++i;
  if (i == digits) return 0;
  while (i < text.size() && text[i] != ':' && !IsBlank(text[i]) && !IsDigit(text[i])) ++i;
  if (i == text.size() || text[i] != ':') return 0;
  return i + 1 - at;
}

// The codes of a field's data: one character (or "|>") and the number after it.
std::vector<SuggestionCode> ReadCodes(std::string data) {
  std::vector<SuggestionCode> codes;
  while (!data.empty()) {
    SuggestionCode code;
    const size_t length = data.starts_with("|>") ? 2 : 1;
    code.code = data.substr(0, length);
    data.erase(0, length);
    code.number = GetNextNumber(data);
    codes.push_back(std::move(code));
  }
  return codes;
}

// Starts a field from its header; false when its column number does not fit.
bool StartField(std::string_view header, SuggestionField& field) {
  size_t digitsEnd = 1;
  while (IsDigit(header[digitsEnd])) ++digitsEnd;
  const auto [end, error] =
      std::from_chars(header.data() + 1, header.data() + digitsEnd, field.column);
  if (error != std::errc() || end != header.data() + digitsEnd) return false;
  field.selector.assign(header.substr(digitsEnd, header.size() - digitsEnd - 1));
  return true;
}

// Reads the fields of `text`; what stands before the first header belongs to no field.
std::vector<SuggestionField> ReadFields(std::string_view text) {
  std::vector<SuggestionField> fields;
  bool inField = false;  // false also while the data of an unusable field is passed over
  for (size_t at = 0; at < text.size();) {
    if (const size_t header = FieldHeaderLength(text, at); header != 0) {
      SuggestionField field;
      inField = StartField(text.substr(at, header), field);
      if (inField) fields.push_back(std::move(field));
      at += header;
      continue;
    }
    if (inField && !IsBlank(text[at])) fields.back().data.push_back(text[at]);
    ++at;
  }
  for (SuggestionField& field : fields) field.codes = ReadCodes(field.data);
  return fields;
}

}  // namespace

std::optional<int64_t> SuggestionCode::Value() const noexcept {
  int64_t value = 0;
  const char* const last = number.data() + number.size();
  const auto [end, error] = std::from_chars(number.data(), last, value);
  if (number.empty() || error != std::errc() || end != last) return std::nullopt;
  return value;
}

bool SelectorApplies(std::string_view selector) noexcept {
  if (selector.empty()) return true;
  if (selector.front() == 'v' || selector.front() == 'x') return false;
  bool namesOtherApplication = false;
  for (const char c : selector) {
    if (c == 'a' || c == 's') return true;
    if (c >= 'a' && c <= 'z') namesOtherApplication = true;
  }
  return !namesOtherApplication;
}

SuggestionRecord ReadSuggestionRecord(std::string_view record) {
  SuggestionRecord suggestion;
  if (record.empty()) return suggestion;
  std::string_view rest = record.substr(1);
  // A record that starts its first field right after the letter has no selector.
  const std::string_view token = rest.substr(0, rest.find_first_of(" \t"));
  if (token.find(':') == std::string_view::npos) {
    suggestion.selector.assign(token);
    rest.remove_prefix(token.size());
  }
  suggestion.applies = SelectorApplies(suggestion.selector);
  suggestion.fields = ReadFields(rest);
  return suggestion;
}

}  // namespace musedata
