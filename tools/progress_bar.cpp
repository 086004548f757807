#include "progress_bar.h"

#include <algorithm>
#include <cstdio>

namespace musedata::tool {

void ProgressBar::Update(const std::string& label, int64_t current, int64_t size) {
  if (!m_enabled) return;
  const int percent =
      size <= 0 ? 100 : static_cast<int>(std::clamp<int64_t>(current * 100 / size, 0, 100));
  if (percent == m_lastPercent && label == m_lastLabel) return;
  m_lastPercent = percent;
  m_lastLabel = label;
  constexpr int kWidth = 30;
  const int filled = percent * kWidth / 100;
  std::string bar(static_cast<size_t>(filled), '#');
  bar.append(static_cast<size_t>(kWidth - filled), '.');
  std::fprintf(stderr, "\r[%s] %3d%% %-40.40s", bar.c_str(), percent, label.c_str());
  std::fflush(stderr);
  m_shown = true;
}

void ProgressBar::Finish() {
  if (!m_shown) return;
  std::fprintf(stderr, "\r%80s\r", "");
  std::fflush(stderr);
  m_shown = false;
}

}  // namespace musedata::tool
