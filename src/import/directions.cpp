// Direction records ("*").

#include "component/music_xml.h"

namespace musedata {

bool MusicXML::ParseDirection() { return true; }

}  // namespace musedata
