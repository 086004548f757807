// Header records: identification, titles, the part list and group memberships.

#include "component/music_xml.h"

namespace musedata {

bool MusicXML::CreateIdentification() { return true; }

bool MusicXML::ParseInitialLine() { return true; }

}  // namespace musedata
