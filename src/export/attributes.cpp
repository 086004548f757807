// The "$" record of a MusicXML attributes element.

#include "component/error_codes.h"
#include "component/music_xml.h"

namespace musedata {

bool MusicXML::SaveAttributes(xml::Node /*attributes*/) {
  return Trap(kSaveAttributes, &m_caught, [&] { return true; });
}

}  // namespace musedata
