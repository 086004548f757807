// Musical attributes records ("$").

#include "component/music_xml.h"

namespace musedata {

bool MusicXML::ParseAttributes() { return true; }

}  // namespace musedata
