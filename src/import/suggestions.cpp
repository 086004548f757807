// Print and sound suggestion records ("P", "S").

#include "component/music_xml.h"

namespace musedata {

bool MusicXML::ParsePrintSuggestion() { return true; }

bool MusicXML::ParseSoundSuggestion() { return true; }

}  // namespace musedata
