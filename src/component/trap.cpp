#include "component/trap.h"

#include <charconv>
#include <limits>
#include <new>
#include <system_error>

namespace musedata {

void RaiseConverterError(int32_t number, std::string description) {
  throw ConverterError(kErrorBase + number, kErrorSource, std::move(description));
}

CaughtError CatchCurrent(CaughtError* caught) {
  CaughtError error;
  try {
    throw;
  } catch (const ConverterError& e) {
    error = {e.Number(), e.Source(), e.Description()};
    if (caught) *caught = error;
    if (e.Source() == kErrorSource) throw;
    return error;
  } catch (const RunTimeError& e) {
    error = {e.Number(), "musedata", e.Description()};
  } catch (const std::bad_alloc&) {
    error = {7, "musedata", "Out of memory"};
  } catch (const std::out_of_range&) {
    error = {9, "musedata", "Subscript out of range"};
  } catch (const std::overflow_error&) {
    error = {6, "musedata", "Overflow"};
  } catch (const std::length_error&) {
    error = {7, "musedata", "Out of memory"};
  } catch (const std::system_error&) {
    error = {75, "musedata", "Path/File access error"};
  } catch (const std::exception&) {
    error = {5, "musedata", "Invalid procedure call or argument"};
  } catch (...) {
    error = {5, "musedata", "Invalid procedure call or argument"};
  }
  if (caught) *caught = error;
  return error;
}

void RaiseGeneral(const Procedure& procedure, const CaughtError& error) {
  std::string description;
  description.reserve(procedure.name.size() + error.description.size() + 24);
  description.append(procedure.name);
  description.append(" error ");
  description.append(std::to_string(error.number));
  description.append(": ");
  description.append(error.description);
  RaiseConverterError(procedure.number, std::move(description));
}

int32_t CheckedAdd(int32_t a, int32_t b) {
  int32_t sum = 0;
  if (__builtin_add_overflow(a, b, &sum)) throw RunTimeError::Overflow();
  return sum;
}

int32_t CheckedMultiply(int32_t a, int32_t b) {
  int32_t product = 0;
  if (__builtin_mul_overflow(a, b, &product)) throw RunTimeError::Overflow();
  return product;
}

int32_t ToLong(std::string_view text) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  // One sign at most: after a "+" only digits may follow, so "+-3" is no number.
  if (!text.empty() && text.front() == '+') {
    text.remove_prefix(1);
    if (!text.empty() && text.front() == '-') throw RunTimeError::TypeMismatch();
  }
  if (text.empty()) throw RunTimeError::TypeMismatch();
  int64_t value = 0;
  const auto [end, status] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (status == std::errc::result_out_of_range) throw RunTimeError::Overflow();
  if (status != std::errc() || end != text.data() + text.size()) throw RunTimeError::TypeMismatch();
  if (value < std::numeric_limits<int32_t>::min() || value > std::numeric_limits<int32_t>::max())
    throw RunTimeError::Overflow();
  return static_cast<int32_t>(value);
}

}  // namespace musedata
