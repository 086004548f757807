// Bar-line records, and the back and irest records that move the time
// position, on export.

#include "component/error_codes.h"
#include "component/music_xml.h"

namespace musedata {

bool MusicXML::SaveMeasure(xml::Node /*measure*/, xml::Node /*pendingBarline*/,
                           xml::Node /*leftBarline*/, bool /*firstMeasure*/) {
  return Trap(kSaveMeasure, &m_caught, [&] { return true; });
}

bool MusicXML::SaveBackupForward(xml::Node /*element*/) {
  return Trap(kSaveBackupForward, &m_caught, [&] { return true; });
}

std::string MusicXML::FitDuration(std::string_view duration) {
  // MuseData keeps durations in three columns; a longer one cannot be written.
  if (CharacterCount(duration) < 4) return std::string(duration);
  if (!m_warnings.durationTooWideShown) {
    m_warnings.durationTooWideShown = true;
    ShowWarning("Duration of " + std::string(duration) +
                " is too large to fit in 3-digit field.\r\n"
                "Replacing with 999. This may occur more than once.");
  }
  return "999";
}

}  // namespace musedata
