// Figured bass records ("f").

#include "component/music_xml.h"

namespace musedata {

bool MusicXML::ParseFiguredBass() { return true; }

}  // namespace musedata
