#pragma once

// The state the conversion engine keeps between records, grouped by the role
// it plays in the music. Each record family reads and writes its own group.

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "musedata/document.h"
#include "xml/detached_element.h"
#include "xml/node.h"

namespace musedata {

// The reader's position in the file: the line and logical record in hand and
// the zones the reader is in.
struct ReaderState {
  // The physical line last read; a copy, as hosts may read it after the source is closed.
  std::string currentLine;
  std::string_view lookAhead;     // the physical line after it, read early to find continuations
  int32_t currentLineNumber = 0;  // where the current line stands in the file
  std::string currentRecord;      // the current line with its continuation lines appended
  int32_t currentRecordLength = 0;
  bool endOfData = false;          // the file is finished; Load stops
  bool streamExhausted = false;    // the look-ahead found the end of the stream
  bool inCommentBlock = false;     // between two "&" lines
  bool afterFine = false;          // after an end record with "FINE": what follows is commentary
  int32_t headerCommentCount = 0;  // lines by which the header zone is lengthened
  int32_t groupLineCount = 0;      // group records named by the group-membership record
  std::string commentAccumulator;  // the text of the comment block being collected
  int32_t commentBlockLine = 0;    // where that block began, for the message when it never ends
};

// The score being built: the document, its parts and where records go.
struct ScoreState {
  Document document;
  xml::Node root;            // score-partwise
  xml::Node work;            // one per document
  xml::Node partList;        // one per document
  xml::Node identification;  // one per loaded part, placed in its score-part
  xml::Node currentMeasure;  // the measure that records are appended to
  // One part and one score-part per part number; slot 0 is unused, so the
  // upper bound is size() - 1.
  std::vector<xml::Node> parts = std::vector<xml::Node>(2);
  std::vector<xml::Node> scoreParts = std::vector<xml::Node>(2);
  int32_t partNumber = 0;    // the part being loaded or saved
  std::string partId;        // "P1", "P2", ...
  int32_t measureCount = 0;  // measures created for the current part
};

// Which group of a MuseData set is wanted, and where this file stands in it.
struct GroupState {
  std::string groupType;      // trimmed and lower-cased; empty: every file is a member
  int32_t groupPosition = 0;  // 1-based place among the parts of the group; 0 = append
  bool notInGroup = false;    // this file is not a member: the load skips it
  bool mayBeXml = false;      // header record 1 looks like an XML file
};

// The progress of a conversion as the host sees it in its events.
struct ProgressState {
  int32_t size = 0;     // bytes of the input on a load
  int32_t current = 0;  // progress so far
  bool cancel = false;  // set by a host's event handler
};

// Elements made for the current note's notation codes, by the column where
// each code stands; print and sound suggestions find their targets here. A
// column entered twice keeps the later element.
class NotationIndex {
 public:
  void Clear() noexcept { m_entries.clear(); }
  void Put(int32_t column, xml::Node element) {
    for (auto& entry : m_entries)
      if (entry.first == column) {
        entry.second = element;
        return;
      }
    m_entries.emplace_back(column, element);
  }
  xml::Node Find(int32_t column) const noexcept {
    for (const auto& entry : m_entries)
      if (entry.first == column) return entry.second;
    return {};
  }

 private:
  std::vector<std::pair<int32_t, xml::Node>> m_entries;
};

// What a note record makes: a note that sounds in the music's time, or a cue
// or grace note, which takes no time of its own.
enum class NoteKind { Regular, Cue, Grace };

// The note being completed by the note record, its data fields and its notations.
struct NoteState {
  xml::Node currentNote;
  xml::Node currentAccidental;      // made from column 19; editorial accidentals use it
  xml::Node accidentalPlaceholder;  // the first of accidental, time-modification, stem, staff, beam
  std::string lastDuration;         // a blank duration repeats the last one given
  std::string notePitchKey;         // the pitch field, compared with a track's open tie
  int32_t currentTrack = 0;         // column 15; 0 when absent
  // Beam repeater settings, set by print suggestions: the beams of the
  // following notes are drawn as repeaters (a tremolo-like repeated figure).
  bool beamRepeaterOn = false;
  bool repeaterFromFirstBeam = false;
  bool repeaterForOneNote = false;
  // The repeaters end with the note that closes the current beam group.
  bool repeaterUntilGroupCloses = false;
  void StopBeamRepeaters() noexcept {
    beamRepeaterOn = repeaterFromFirstBeam = repeaterUntilGroupCloses = false;
  }
  NotationIndex notationIndex;
};

// Tables that grow with the music and keep their size from file to file; the
// reset between files only empties their slots.
struct ImportTables {
  // The pitch key of the note that opened a sounding tie ("-" in column 9), by track.
  std::vector<std::string> pendingTies = std::vector<std::string>(11);
  // The same for printed ties (notation "-"), kept apart from the sounding ones.
  std::vector<std::string> pendingTied = std::vector<std::string>(11);
  // Per verse (slot 0 unused): a word is open because the last syllable ended with a hyphen.
  std::vector<bool> lyricWordOpen = std::vector<bool>(7);
};

// Bar lines and measure numbering.
struct MeasureState {
  bool firstBarSeen = false;  // the first bar line of a file may close a pickup
};

// The elements the last direction and figured-bass records made; print
// suggestions refer to them.
struct DirectionState {
  xml::Node currentDirection;
  // Owns the current direction while no measure holds it: a record whose type
  // columns make nothing leaves its direction outside the score, yet current.
  xml::DetachedElement unattachedDirection;
  xml::Node currentFiguredBass;
};

// The kinds of record whose elements a print or sound suggestion can change.
enum class SuggestedRecord { None, Note, Direction, FiguredBass, Other };

// What the last record that was not itself a suggestion made. A suggestion's
// field columns count in that record, and its targets are the elements the
// record's handler keeps: the note and its notation index, the direction,
// the figured bass, the measure.
struct SuggestionTargets {
  SuggestedRecord previous = SuggestedRecord::None;
  // The direction record itself: its type and text columns tell which of the
  // direction's elements a column means.
  std::string directionRecord;
};

// What a save keeps while it writes one part as MuseData.
struct ExportState {
  xml::Node partList;  // the score's part-list; may be absent
  xml::Node work;      // the score's work; may be absent
  // The MuseData track character of each MusicXML voice number that occurs in
  // the part ("1" to "9", then "A", "B", ...); slot 0 unused, "" for voices
  // that do not occur.
  std::vector<std::string> tracks = std::vector<std::string>(17);
  // The suggestion lines that follow the record being written: print ("P ...")
  // and sound ("S ..."); empty when the record has none.
  std::string printSuggestion;
  std::string soundSuggestion;
};

// Warnings shown once per load.
struct WarningFlags {
  bool unknownAttributeShown = false;
  bool durationTooWideShown = false;
  // Suggestions whose target does not exist, one flag per kind of target.
  bool missingDirectionShown = false;
  bool missingNotationShown = false;
  bool missingNoteShown = false;
  bool missingGraceShown = false;
  bool missingOrnamentShown = false;
};

}  // namespace musedata
