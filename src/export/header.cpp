// The MuseData header lines of an exported part, and comments.

#include "component/error_codes.h"
#include "component/music_xml.h"

namespace musedata {

bool MusicXML::SaveHeader(const std::string& /*FileName*/, int32_t /*PartNumber*/) {
  return Trap(kSaveHeader, &m_caught,
              [&]() -> bool { throw RunTimeError(5, "MuseData export is not available yet"); });
}

bool MusicXML::SaveComment(xml::Node /*comment*/) {
  return Trap(kSaveComment, &m_caught, [&] { return true; });
}

}  // namespace musedata
