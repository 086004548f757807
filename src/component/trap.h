#pragma once

// The one error trap that every procedure of the converter runs under.
//
// A procedure's body is written as its algorithm and wrapped once:
//
//   return Trap(kParseBarLine, m_caught, [&] { ... return true; });
//
// An error whose source is already "Verdantix" passes through unchanged, so the
// innermost procedure's report reaches the host untouched. Any other error
// (a run-time error of ours, a library exception, a host's own error) is raised
// again as kErrorBase + the procedure's number with the description
// "<name> error <caught number>: <caught description>".

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "musedata/converter_error.h"

namespace musedata {

// A procedure as its error messages name it. `name` is written exactly as the
// message spells it ("MuseData Next Record", "InitializeXML").
struct Procedure {
  int32_t number;
  std::string_view name;
};

// The engine's copy of the last error any trap caught.
struct CaughtError {
  int32_t number = 0;
  std::string source;
  std::string description;
};

// A classic run-time error (the numbers a Basic host knows), raised by our own
// code for faults that are not the converter's own errors. Never reaches a host
// as such: the trap turns it into the procedure's error.
class RunTimeError : public std::exception {
 public:
  RunTimeError(int32_t number, std::string description)
      : m_number(number), m_description(std::move(description)) {}
  int32_t Number() const noexcept { return m_number; }
  const std::string& Description() const noexcept { return m_description; }
  const char* what() const noexcept override { return m_description.c_str(); }

  static RunTimeError InvalidCall() { return {5, "Invalid procedure call or argument"}; }
  static RunTimeError Overflow() { return {6, "Overflow"}; }
  static RunTimeError OutOfMemory() { return {7, "Out of memory"}; }
  static RunTimeError SubscriptOutOfRange() { return {9, "Subscript out of range"}; }
  static RunTimeError TypeMismatch() { return {13, "Type mismatch"}; }
  static RunTimeError FileNotFound() { return {53, "File not found"}; }
  static RunTimeError PathFileAccess() { return {75, "Path/File access error"}; }
  static RunTimeError ObjectNotSet() {
    return {91, "Object variable or With block variable not set"};
  }

 private:
  int32_t m_number;
  std::string m_description;
};

// Raises the converter's own error kErrorBase + number with source "Verdantix".
[[noreturn]] void RaiseConverterError(int32_t number, std::string description);

// Classifies the exception being handled and records it in `caught` (when
// given). An error whose source is "Verdantix" is raised again unchanged;
// anything else is returned with its number (the classic run-time numbers for
// library exceptions) for the trap to report.
CaughtError CatchCurrent(CaughtError* caught);

// Raises the general form of the convention for `procedure`.
[[noreturn]] void RaiseGeneral(const Procedure& procedure, const CaughtError& error);

// Runs `body` under the trap of `procedure`.
template <class Body>
decltype(auto) Trap(const Procedure& procedure, CaughtError* caught, Body&& body) {
  try {
    return body();
  } catch (...) {
    RaiseGeneral(procedure, CatchCurrent(caught));
  }
}

// Runs `body` under the trap of `procedure`; `specific(error)` may return a
// message of the procedure's own for a caught error (std::nullopt lets the
// general form apply).
template <class Body, class Specific>
decltype(auto) Trap(const Procedure& procedure, CaughtError* caught, Body&& body,
                    Specific&& specific) {
  try {
    return body();
  } catch (...) {
    const CaughtError error = CatchCurrent(caught);
    if (std::optional<ConverterError> own = specific(error)) throw *own;
    RaiseGeneral(procedure, error);
  }
}

// 32-bit arithmetic of the engine's Long counters: raises Overflow (6) where
// the result would not fit.
int32_t CheckedAdd(int32_t a, int32_t b);
int32_t CheckedMultiply(int32_t a, int32_t b);
// Reads a whole number as a Basic conversion would (blanks around it allowed,
// an optional sign); raises TypeMismatch (13) for text that is not a number and
// Overflow (6) for a number beyond 32 bits.
int32_t ToLong(std::string_view text);

}  // namespace musedata
