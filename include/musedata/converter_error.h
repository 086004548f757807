#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace musedata {

// The source name that every error raised by the converter carries.
inline constexpr const char* kErrorSource = "Verdantix";

// The base of interface-defined COM errors; the converter's numbers are this
// base plus 6003 to 6082 (for example 6078 is 0x800417BE).
inline constexpr int32_t kErrorBase = static_cast<int32_t>(0x80040000u);

// An error as a host sees it: a number, the name of its source and a description.
// Hosts raise the cancellation error (kErrorBase + 6007, source "Verdantix")
// from an event handler by throwing one of these.
class ConverterError : public std::runtime_error {
 public:
  ConverterError(int32_t number, std::string source, std::string description)
      : std::runtime_error(description),
        m_number(number),
        m_source(std::move(source)),
        m_description(std::move(description)) {}

  // The error number; negative as a signed value for the converter's own errors.
  int32_t Number() const noexcept { return m_number; }
  // The name of the component that raised the error ("Verdantix" for ours).
  const std::string& Source() const noexcept { return m_source; }
  // The human-readable description.
  const std::string& Description() const noexcept { return m_description; }

 private:
  int32_t m_number;
  std::string m_source;
  std::string m_description;
};

}  // namespace musedata
