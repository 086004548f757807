#pragma once

// The parts of a MuseData file. A part file holds one part; a set file holds
// a whole movement, one part after another. Published sets are laid out in
// many ways: "@@@" reference lines before the first part, a comment block
// naming each part, "/END" alone or "/END" and "/eof" after each part, "@"
// lines or blank lines between parts, "//" at the end. What they share is the
// part's header: eleven records (comment lines not counted), the eleventh
// being "Group memberships:". Parts are found by that record.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "component/line_source.h"

namespace musedata {

// One part of a MuseData file.
struct SetFilePart {
  std::string_view bytes;  // from its first header record (or the comments before it) to "/END"
  int32_t firstLine = 1;   // where those bytes start in the file
  std::string_view name;   // the part-name record as it stands in the file; empty when missing
};

// Physical lines of a file, from `first` to `last`, counted from 1.
struct LineRange {
  int32_t first = 0;
  int32_t last = 0;
};

// What a MuseData file holds.
struct SetFileLayout {
  // Every part, in file order; none when the file has no group-membership
  // record where a header would put one (not stage-2 MuseData).
  std::vector<SetFilePart> parts;
  // Lines with text that belong to no part and are neither blank nor the
  // comments, "/eof" and "//" lines that may stand between parts.
  std::vector<LineRange> strayLines;
};

// Finds the parts of the MuseData file `bytes`. Each part's header starts at
// the record ten header records before its "Group memberships:" record,
// counting back over "@" lines and "&" comment blocks as the record reader
// counts them forward; the "@" lines and comment blocks just before that
// record (the block that names the part, say) go with the part. A part ends
// at its "/END"; a part without one ends before a "/eof" or "//" line, or
// where the next part begins.
SetFileLayout SetFileParts(std::string_view bytes);

// A line that was meant to close a comment block: "&" repeated, with one
// stray character in front of it ("2&&&&&&&&"), so that it toggles nothing
// and the block it stands in runs to the end of its part.
struct StrayCommentEnd {
  int32_t line = 0;       // the line, counted from 1 in the file
  int32_t blockLine = 0;  // the "&" line that opened the block
  size_t offset = 0;      // where the stray character stands in the file
  std::string_view text;  // the line as it stands
};

// The stray block ends of the MuseData file `bytes`: for every comment block
// that is never closed before the end of its part ("/END", "/eof", "//" or
// the end of the file), its first line that is "&" repeated after one stray
// character; the block is taken to end there, and the file is read on from
// the line after it.
std::vector<StrayCommentEnd> FindStrayCommentEnds(std::string_view bytes);

// Whether the part `bytes` (as SetFileParts gives it) holds musical data
// after its group-membership record: an attribute record, a note, rest,
// bar or back record. A set's MIDI channel table holds none.
bool HasMusicalData(std::string_view bytes);

// The groups the part's "Group memberships:" record names, trimmed and
// lower-cased.
std::vector<std::string> PartGroups(std::string_view bytes);

// The parts of a MuseData file, in order, each a source of its own named
// "<fileName> part <n>" that reports line numbers of the whole file. The
// encoding is decided once for the whole file. A file without any part gives
// no sources.
std::vector<std::unique_ptr<LineSource>> SplitSetFile(const std::string& fileName,
                                                      std::string_view bytes,
                                                      TextEncoding encoding);

}  // namespace musedata
