// The data fields of a note record from column 13 on.

#include "component/music_xml.h"

namespace musedata {

bool MusicXML::ParseStage2Data() { return true; }

}  // namespace musedata
