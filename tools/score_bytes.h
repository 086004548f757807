#pragma once

// Scores held in memory, for the preview server and the Python module:
// compressed MusicXML (.mxl) made and read without touching the disk, and one
// part of a score as MuseData text.

#include <cstdint>
#include <string>
#include <string_view>

#include "musedata/document.h"
#include "musedata/score.h"

namespace musedata::tool {

// The compressed MusicXML container (.mxl) of `document`: the "mimetype"
// entry, META-INF/container.xml naming the root file, and the score itself.
std::string MxlBytes(const Document& document);

// The MusicXML score in `bytes`, plain text or an .mxl container (whose
// container.xml names the root file), parsed without fetching a DTD. `name`
// names the input in messages. Raises ConverterError (5, "musedata") for bytes
// that are neither, naming the file, line and column of an XML error.
Document ParseMusicXml(std::string_view bytes, const std::string& name);

// Whether `bytes` look like MusicXML rather than MuseData: an .mxl container
// or text that begins, after blanks and a byte-order mark, with "<".
bool LooksLikeMusicXml(std::string_view bytes) noexcept;

// Part `partNumber` (from 1) of `document` as MuseData text. Raises
// ConverterError as ExportPart does, and when the export stops early.
std::string ExportPartText(const Document& document, int32_t partNumber,
                           const ExportOptions& options = {});

// Writes `document` to `path` as compressed MusicXML when the path ends in
// ".mxl", as indented MusicXML text otherwise; `path` is replaced only once
// the whole file is written.
void WriteScoreFile(const Document& document, const std::string& path);

}  // namespace musedata::tool
