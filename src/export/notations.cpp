// The notation columns of a note record and the print and sound suggestion
// codes of its notation elements.
//
// Still to be written: until then the field stays blank.

#include "component/error_codes.h"
#include "component/music_xml.h"

namespace musedata {

std::string MusicXML::SaveNotations(const std::vector<xml::Node>& /*notations*/,
                                    bool /*cautionary*/, bool /*editorial*/) {
  return Trap(kSaveNotations, &m_caught, [&] { return std::string(12, ' '); });
}

void MusicXML::SavePosition(xml::Node /*element*/, int32_t /*column*/, bool /*placement*/,
                            bool /*orientation*/) {
  Trap(kSavePosition, &m_caught, [&] {});
}

}  // namespace musedata
