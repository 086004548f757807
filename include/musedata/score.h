#pragma once

// Everyday conversion for C++ hosts: MuseData part files in, one MusicXML
// score out, and one part of a score back out as MuseData. Both run on the
// converter component created by its class name "Ondrelink.MuseData".

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "musedata/document.h"
#include "musedata/text_encoding.h"

namespace musedata {

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
  // Receives every warning with the place it was raised at, after `warning`.
  std::function<void(const std::string& text, const ImportPlace& place)> placedWarning;
  // Receives the place at which the import ended early, by an error or a
  // part that stopped, before the error is raised or the result returned.
  std::function<void(const ImportPlace& place)> stopped;
};

struct ImportResult {
  // The score; holds every part loaded before the import stopped.
  Document document;
  // True when every file was read to its end or skipped as not in the group.
  bool complete = false;
  // When not complete: the file, the line and why the import stopped.
  std::string stoppedAt;
};

// Loads the MuseData files `paths`, in order, as the parts of one score.
// Raises ConverterError for a file that cannot be read or a record that cannot
// be converted; an import that a record or the host ended early is a result
// with `complete` false.
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
};

// Writes part `partNumber` (from 1) of the score-partwise `document` as the
// MuseData file `path`, which is replaced only when the whole part was
// written. Returns false, writing nothing, when the document is not
// score-partwise or the export was cancelled. Raises ConverterError for a
// part that cannot be written.
//
// The MuseData writers are not available yet: for now every export of a
// score-partwise document raises 0x800417A7 (source "Verdantix") "MuseData
// SaveHeader error 5: MuseData export is not available yet".
bool ExportPart(const Document& document, int32_t partNumber, const std::string& path,
                const ExportOptions& options = {});

// The document as indented UTF-8 MusicXML text.
std::string ToMusicXmlText(const Document& document);

// Writes the document as indented UTF-8 MusicXML to `path`, through a
// temporary file in the same folder that replaces `path` only once it is
// complete, so a failed write never spoils a good file. Raises ConverterError
// (75, Path/File access error, naming the path) when the file cannot be written.
void WriteMusicXmlFile(const Document& document, const std::string& path);

}  // namespace musedata
