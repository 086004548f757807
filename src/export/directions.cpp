// Direction records ("*") on export.
//
// Still to be written: until then directions are passed over.

#include "component/error_codes.h"
#include "component/music_xml.h"

namespace musedata {

bool MusicXML::SaveDirection(xml::Node /*direction*/) {
  return Trap(kSaveDirection, &m_caught, [&] { return true; });
}

}  // namespace musedata
