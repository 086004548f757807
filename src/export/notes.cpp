// Note, rest, chord, cue and grace records with their suggestion lines, and
// the lyric text.
//
// Still to be written: until then notes are passed over.

#include "component/error_codes.h"
#include "component/music_xml.h"

namespace musedata {

bool MusicXML::SaveNote(xml::Node /*note*/) {
  return Trap(kSaveNote, &m_caught, [&] { return true; });
}

std::string MusicXML::SaveLyrics(const std::vector<xml::Node>& /*lyrics*/) {
  return Trap(kSaveLyrics, &m_caught, [&] { return std::string(); });
}

}  // namespace musedata
