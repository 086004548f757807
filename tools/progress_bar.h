#pragma once

#include <cstdint>
#include <string>

namespace musedata::tool {

// A one-line progress bar on standard error, redrawn only when the shown
// percentage changes.
class ProgressBar {
 public:
  explicit ProgressBar(bool enabled) : m_enabled(enabled) {}
  ~ProgressBar() { Finish(); }

  // Shows `current` of `size` for the named input.
  void Update(const std::string& label, int64_t current, int64_t size);
  // Clears the bar's line.
  void Finish();

 private:
  bool m_enabled;
  bool m_shown = false;
  int m_lastPercent = -1;
  std::string m_lastLabel;
};

}  // namespace musedata::tool
