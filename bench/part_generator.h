#pragma once

// Generated MuseData parts for the import benchmarks: a two-staff keyboard
// part with a figured bass, written measure by measure from a fixed seed, so
// that every run times the same music. Every record type a part file can hold
// appears in it: header and group records with comments, attributes with key,
// clef and time changes, notes with every data field, chords, rests, cue and
// grace notes, lyrics, directions, figured bass, backup and forward records,
// bar lines with their flags, comments, print and sound suggestions, and the
// end records.

#include <cstddef>
#include <cstdint>
#include <string>

namespace musedata::bench {

inline constexpr uint64_t kDefaultSeed = 0x4D75736544617461;  // "MuseData"

struct GeneratedPart {
  std::string text;      // the part file, lines ended by LF
  int64_t records = 0;   // logical records: lines, without continuation lines
  int64_t measures = 0;  // bar lines written
};

// A part of at least `targetBytes` bytes (the music stops at the first bar line
// past it). The same seed gives the same text, and a smaller part is the start
// of a larger one up to its closing records.
GeneratedPart GeneratePart(size_t targetBytes, uint64_t seed = kDefaultSeed);

// Where the generated part of `megabytes` MB lives in `folder`, without its
// ending: ".md" for the part, ".musicxml" for its conversion.
inline std::string GeneratedPartStem(const std::string& folder, const std::string& megabytes) {
  return folder + "/part-" + megabytes + "mb";
}

}  // namespace musedata::bench
