// The notation columns of a note record.

#include "component/music_xml.h"

namespace musedata {

bool MusicXML::ParseNotations() { return true; }

}  // namespace musedata
