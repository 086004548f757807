// Bar lines, backup and forward.

#include "component/music_xml.h"

namespace musedata {

bool MusicXML::ParseBarLine() { return true; }

bool MusicXML::ParseBackupForward() { return true; }

}  // namespace musedata
