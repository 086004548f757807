// The export driver: the MuseData header lines and the musical data records
// of one part.
//
// The MuseData writers do not exist yet. Until they do, both procedures raise
// an error that says so, and the save that called them leaves its file as it was.

#include "component/error_codes.h"
#include "component/music_xml.h"

namespace musedata {
namespace {

RunTimeError ExportNotAvailable() {
  return {5, "MuseData export is not available yet"};
}

}  // namespace

bool MusicXML::SaveHeader(const std::string& /*FileName*/, int32_t /*PartNumber*/) {
  return Trap(kSaveHeader, &m_caught, [&]() -> bool { throw ExportNotAvailable(); });
}

bool MusicXML::SaveData(const std::string& /*FileName*/, int32_t /*PartNumber*/) {
  return Trap(kSaveData, &m_caught, [&]() -> bool { throw ExportNotAvailable(); });
}

}  // namespace musedata
