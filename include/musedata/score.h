#pragma once

// Everyday conversion for C++ hosts: MuseData part files in, one MusicXML
// score out, and one part of a score back out as MuseData. Both run on the
// converter component created by its class name "Ondrelink.MuseData".

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "musedata/document.h"
#include "musedata/finish.h"
#include "musedata/text_encoding.h"

namespace musedata {

// What became of one part of the inputs.
enum class PartFate {
  Loaded,        // it is a part of the score
  OutsideGroup,  // it does not belong to the wanted group
  WithoutMusic,  // it holds no musical data (a set's MIDI channel table): skipped
  Lost           // no part was made of it: no musical data, an error, or the import ended first
};

// Where an import stood: the file being read (a part of a set file is named
// "NAME part N"), the part of the score it makes (from 1), the line of the
// file and the number of the measure being read (empty outside a measure).
struct ImportPlace {
  std::string file;
  int32_t part = 0;
  int32_t line = 0;
  std::string measure;
};

struct ImportOptions {
  // Only files that belong to this group are loaded ("score", "parts",
  // "sound", ...); empty loads every file.
  std::string groupType;
  // Handed to the converter for new documents.
  std::string systemIdentifier;
  TextEncoding encoding = TextEncoding::Auto;
  // Called after every record with the name of the file being read, the bytes
  // read so far and its size; setting cancel stops the import.
  std::function<void(const std::string& file, int32_t current, int32_t size, bool& cancel)>
      progress;
  // Receives warnings that do not stop the import.
  std::function<void(const std::string& text)> warning;
  // Told what became of each part found in the inputs, as soon as it is known.
  std::function<void(PartFate fate)> partCounted;
  // The memory the score may take, in bytes, judged before each file is
  // loaded from the MuseData read so far (a score's tree takes some ninety
  // bytes for each byte of MuseData); an import past it stops with error 7
  // "Out of memory" naming the file. 0 sets no limit.
  uint64_t memoryLimit = 0;
  // Runs the finishing step (musedata/finish.h) over a complete score, for
  // notation programs; off, the score is exactly what the converter built.
  bool finish = false;
  // Receives every warning with the place it was raised at, after `warning`.
  std::function<void(const std::string& text, const ImportPlace& place)> placedWarning;
  // Receives the place at which the import ended early, by an error or a
  // part that stopped, before the error is raised or the result returned.
  std::function<void(const ImportPlace& place)> stopped;
};

struct ImportResult {
  // The score; holds every part loaded before the import stopped.
  Document document;
  // True when every part of every file was loaded or skipped as not in the group.
  bool complete = false;
  // When not complete: the file, the line and why the import stopped, or
  // which part was lost and why.
  std::string stoppedAt;
  // What the finishing step changed, when it ran.
  FinishCounts finished;
};

// Loads the MuseData files `paths`, in order, as the parts of one score. A
// set file gives its parts in file order; a zip container gives the files it
// holds in natural name order, as a folder would. Files that hold no stage-2
// part (no group-membership record where a header has one) are passed over
// and named in one warning; every part not loaded is named in a warning with
// the reason. Raises ConverterError for a file that cannot be read or a record
// that cannot be converted, its description led by the file, part and line; a
// file given by name that is no MuseData text at all (UTF-16 or UTF-32, NUL
// bytes, MusicXML) raises 13 naming what it is. An import that a record or the
// host ended early, or that lost a part for any reason but the group, is a
// result with `complete` false.
ImportResult ImportScore(const std::vector<std::string>& paths, const ImportOptions& options = {});

// A file held in memory: the name that messages use and its bytes.
struct InputFile {
  std::string name;
  std::string bytes;
};

// Loads MuseData files held in memory, in order, as ImportScore loads files
// from disk: a set file gives each of its parts, and nothing is written.
ImportResult ImportScoreFromMemory(const std::vector<InputFile>& files,
                                   const ImportOptions& options = {});

struct ExportOptions {
  // Called per measure with the work done so far and the whole work; setting
  // cancel stops the export.
  std::function<void(int32_t current, int32_t size, bool& cancel)> progress;
  // Receives warnings that do not stop the export.
  std::function<void(const std::string& text)> warning;
  // Exports a copy of the score whose divisions and durations are divided,
  // part by part, by their greatest common divisor (see ReduceDivisions), so
  // that scores written with 480 or 10080 divisions fit MuseData's
  // three-column durations. The host's document is never changed.
  bool reduceDivisions = false;
  // Exports a copy of the score mended by the finishing step for MuseData
  // (FinishForMuseData in musedata/finish.h, which reduces the divisions
  // too unless `reduceDivisions` is off), so that other programs' readers
  // and our own import take the MuseData; its counts go to `finished`.
  // Off, the part is written exactly as the converter writes it.
  bool finish = false;
  // With `finish`: keeps the layout positions of notes as "P" lines.
  bool keepPositions = false;
  // Keeps column 15 of "$" records blank, as published files and other
  // readers have them (MuseData::SetAttributeTrackColumnBlank); `finish`
  // implies it, for a host that finished the score itself.
  bool attributeTrackColumnBlank = false;
  // The score's name in error messages ("minuet.musicxml"); errors name it,
  // the part and the measure being written.
  std::string name;
  // Receives what the finishing step changed, when it ran.
  std::function<void(const MuseDataFinishCounts& counts)> finished;
};

// Writes part `partNumber` (from 1) of the score-partwise `document` as the
// MuseData file `path`, which is replaced only when the whole part was
// written. Returns false, writing nothing, when the document is not
// score-partwise or the export was cancelled. Raises ConverterError for a
// part that cannot be written, its description led by the score's name, the
// part (number and name) and the measure being written: a part number the
// document does not have raises 0x800417B2 "No part number N found", a part
// without its score-part 0x800417B3 "No score-part number N found".
bool ExportPart(const Document& document, int32_t partNumber, const std::string& path,
                const ExportOptions& options = {});

// The document as indented UTF-8 MusicXML text.
std::string ToMusicXmlText(const Document& document);

struct WriteOptions {
  // Called as the text goes out with the bytes written so far; setting cancel
  // stops the write.
  std::function<void(int64_t written, bool& cancel)> progress;
};

// Writes the document as indented UTF-8 MusicXML to `path`. A regular file
// (or a new name, or the file a symbolic link names) is written through a
// temporary file in the same folder that replaces it only once it is complete
// and on the disk, so a failed write never spoils a good file; a device, a
// FIFO, "-" (standard output) and /dev/stdout are written to directly.
// Returns false, replacing nothing, when the progress handler cancelled.
// Raises ConverterError (75, Path/File access error, naming the path) when the
// file cannot be written, flush and close included.
bool WriteMusicXmlFile(const Document& document, const std::string& path,
                       const WriteOptions& options = {});

// Raises ConverterError (75, Path/File access error, naming both files) when
// an output names the same file as an input ("./a.md", "a.md" and links to it
// alike; "-" is standard output), before any work is done.
void RefuseOutputOverInputs(const std::vector<std::string>& outputs,
                            const std::vector<std::string>& inputs);

// Removes the temporary files of every write still under way in the process.
// Safe to call from a signal handler that ends the process at once.
void RemovePartialOutputs() noexcept;

// Reads the MusicXML score in the file `path`: plain MusicXML (.xml,
// .musicxml) in UTF-8 or UTF-16, or compressed MusicXML (.mxl, recognised by
// its content) whose META-INF/container.xml names the score inside. Any
// MusicXML version is read; DTDs are never fetched and entities never
// substituted. Raises ConverterError (source "musedata") naming the file: 53
// when it does not exist, 75 when it cannot be read, 5 when it is not
// well-formed XML (with line and column), not a readable .mxl container, or
// not a score-partwise score (score-timewise is refused).
Document ReadMusicXmlFile(const std::string& path);

// Reads MusicXML or compressed MusicXML held in memory, as ReadMusicXmlFile
// does; `name` is what messages call it.
Document ReadMusicXml(std::string_view bytes, const std::string& name);

// The score as compressed MusicXML: the "mimetype" file stored first,
// META-INF/container.xml naming `rootName`, and the score as indented UTF-8
// MusicXML under `rootName`.
std::string ToCompressedMusicXml(const Document& document, const std::string& rootName);

// Writes the score as compressed MusicXML to `path` (the score inside is
// named after the file, "minuet.mxl" holding "minuet.xml"), replacing `path`
// only once it is complete, by the same rule as WriteMusicXmlFile. False,
// with nothing replaced, when `options.progress` cancelled the write. Raises
// ConverterError (75, naming the path) when the file cannot be written.
bool WriteCompressedMusicXmlFile(const Document& document, const std::string& path,
                                 const WriteOptions& options = {});

// A copy of the score in which each part whose durations do not all fit
// MuseData's three columns has its `divisions` and every `duration` and
// `offset` of its measures' elements (notes, backup, forward, figured bass,
// directions ...) divided by the greatest common divisor of them all, so the
// part keeps its rhythm in the smallest whole numbers. A part that fits
// already, whose values are not all whole numbers, or that has no
// `divisions`, is left as it is. Returns `document` itself when no part
// changes.
Document ReduceDivisions(const Document& document);

// The number of `part` elements of the score; 0 for an empty handle.
int32_t CountParts(const Document& document);

}  // namespace musedata
