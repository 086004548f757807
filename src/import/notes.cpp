// Note, rest, chord, cue and grace records.

#include "component/music_xml.h"

namespace musedata {

bool MusicXML::ParseNoteRecord() { return true; }

bool MusicXML::ParseCueGrace() { return true; }

}  // namespace musedata
