// Measure-level print and sound elements on export.
//
// Still to be written: until then both are passed over.

#include "component/error_codes.h"
#include "component/music_xml.h"

namespace musedata {

bool MusicXML::SavePrint(xml::Node /*print*/) {
  return Trap(kSavePrint, &m_caught, [&] { return true; });
}

bool MusicXML::SaveSound(xml::Node /*sound*/) {
  return Trap(kSaveSound, &m_caught, [&] { return true; });
}

}  // namespace musedata
