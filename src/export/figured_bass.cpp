// Figured-bass records ("f") on export.
//
// Still to be written: until then figures are passed over.

#include "component/error_codes.h"
#include "component/music_xml.h"

namespace musedata {

bool MusicXML::SaveFiguredBass(xml::Node /*figuredBass*/) {
  return Trap(kSaveFiguredBass, &m_caught, [&] { return true; });
}

}  // namespace musedata
