#pragma once

// The conversion engine: loads MuseData parts into one MusicXML score-partwise
// document and (with the export) saves one part of a document as MuseData.
// Its procedures are defined in the units of their record families under
// src/import/ and src/export/.

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "component/atomic_file.h"
#include "component/engine_state.h"
#include "component/line_source.h"
#include "component/trap.h"
#include "encoding/record_view.h"
#include "import/record_kind.h"
#include "musedata/document.h"
#include "xml/xpath.h"

namespace musedata {

class MuseData;
struct SuggestionField;

class MusicXML {
 public:
  using ProgressEvent = std::function<void(int32_t Current, int32_t Size, bool& Cancel)>;
  using WarningCallback = std::function<void(const std::string& text)>;

  MusicXML();
  ~MusicXML();
  MusicXML(const MusicXML&) = delete;
  MusicXML& operator=(const MusicXML&) = delete;

  // The physical line last read.
  const std::string& CurrentLine() const noexcept { return m_reader.currentLine; }
  // The logical record being handled (the line with its continuation lines).
  const std::string& CurrentRecord() const noexcept { return m_reader.currentRecord; }
  int32_t CurrentRecordLength() const noexcept { return m_reader.currentRecordLength; }
  // The group whose members are imported, trimmed and lower-cased; "" imports every file.
  const std::string& GroupType() const noexcept { return m_group.groupType; }
  void SetGroupType(std::string_view value);
  // The number of the line the next read returns; 0 when no file is open.
  int32_t LineNumber() const noexcept;
  // The line where the current record starts, for messages; 0 when no file is open.
  int32_t RecordLineNumber() const noexcept;
  // The number of the measure that records are appended to; "" outside one.
  std::string CurrentMeasureNumber() const {
    return std::string(m_score.currentMeasure.Attr("number"));
  }
  // Whether the last load skipped its file because it is not in the group.
  bool LastLoadSkipped() const noexcept { return m_group.notInGroup; }
  // Where the comment block that the last load left open began, in the file's
  // own line numbers; 0 when every block was closed.
  int32_t UnclosedCommentLine() const noexcept {
    return m_reader.inCommentBlock ? m_reader.commentBlockLine : 0;
  }
  // The name of the input being loaded ("op4.md", or a part of a set file).
  const std::string& FileName() const noexcept { return m_fileName; }
  const std::string& SystemIdentifier() const noexcept { return m_systemIdentifier; }
  void SetSystemIdentifier(std::string value) { m_systemIdentifier = std::move(value); }
  // The score document, or an empty handle before the first load.
  Document XML() const { return m_score.document; }
  // How the bytes of input files are decoded.
  TextEncoding Encoding() const noexcept { return m_encoding; }
  void SetEncoding(TextEncoding encoding) noexcept { m_encoding = encoding; }

  // Loads the MuseData file `FileName` as the next part of the score. Returns
  // true when the file was read to its end or skipped as not in the group;
  // false when a record ended the load or a handler cancelled it.
  bool Load(const std::string& FileName);
  // Loads a part from an already opened source (one part of a set file).
  bool Load(std::unique_ptr<LineSource> source);
  // Writes part `PartNumber` of the document as the MuseData file `FileName`.
  // False when there is no document, its root is not score-partwise, or the
  // export stopped early; the file is then left as it was.
  bool Save(const std::string& FileName, int32_t PartNumber);
  // Whether the "$" records Save writes keep column 15 blank (see MuseData).
  void SetAttributeTrackColumnBlank(bool value) noexcept { m_attributeTrackColumnBlank = value; }

  // Raised after every record of a load, and per measure of a save.
  ProgressEvent Loading;
  ProgressEvent Saving;
  // Receives the warnings that must not stop the work; with none set they go
  // to standard error.
  WarningCallback Warning;

 private:
  friend class MuseData;
  friend struct EngineProbe;  // white-box access for the engine's own tests

  // Replaces the document reference; for the component only.
  void SetXML(Document document);
  // Lets go of every element kept from the current document.
  void ReleaseHeldElements();

  // ---- Drivers (music_xml.cpp) ----
  bool LoadSource(std::unique_ptr<LineSource> source);
  bool LoadRecords();
  void StartNewDocument();
  void StartNextPart();
  void GrowPartArrays();
  void FitPartArrays();
  bool Reset();
  void RaiseLoading(int32_t current, int32_t size);
  // "File <name>, measure <number>" for the import's messages.
  std::string LocationText() const;
  // Shows a warning through the Warning callback (or standard error).
  void ShowWarning(const std::string& text) const;

  // ---- The MuseData output of a save (music_xml.cpp) ----
  // Writes one MuseData line and its line end to the file being saved.
  void WriteLine(std::string_view line);
  // Writes `count` empty lines.
  void WriteBlankLines(int32_t count);

  // ---- Export driver and header (export/save_driver.cpp, export/header.cpp) ----
  bool SaveHeader(const std::string& FileName, int32_t PartNumber);
  bool SaveData(const std::string& FileName, int32_t PartNumber);
  // Selects part `PartNumber` into the part table; raises 6066 when absent.
  xml::Node SelectPart(int32_t PartNumber);
  // Steps of SaveData: one measure with its bar record, and one of its elements.
  bool SaveMeasureChildren(xml::Node measure, xml::Node& pendingBarline, bool firstMeasure);
  bool SaveMeasureElement(xml::Node element, xml::Node& pendingBarline);
  // Raises Saving with the progress so far; true when the host cancelled.
  bool RaiseSaving();
  // Maps the part's voice numbers densely to MuseData track characters.
  void InitTracks(xml::Node part);
  // Columns 13 to 15 (footnote, level, track) for a record made from `element`.
  std::string SaveVoice(xml::Node element);
  // The same three columns from the given footnote, level and voice elements
  // (each may be absent).
  std::string EditorialColumns(xml::Node footnote, xml::Node level, xml::Node voice);
  bool SaveComment(xml::Node comment);
  // Steps of SaveHeader.
  void SelectScorePart(xml::Node part, int32_t PartNumber);
  // The first element at `path` (child names) under the score-part, else
  // under the root, else under the work; empty when there is none.
  xml::Node FindInHeaderOrder(std::initializer_list<std::string_view> path) const;
  void SaveRightsAndEncoding();
  void SaveNumbersAndTitles(xml::Node scorePart);
  void SaveGroups(xml::Node scorePart, int32_t PartNumber);

  // ---- Measures, attributes, back and irest (export/measures.cpp, export/attributes.cpp) ----
  bool SaveMeasure(xml::Node measure, xml::Node pendingBarline, xml::Node leftBarline,
                   bool firstMeasure);
  bool SaveAttributes(xml::Node attributes);
  bool SaveBackupForward(xml::Node element);
  // A duration for a three-column field: as it stands, or "999" when longer,
  // with the once-per-conversion warning.
  std::string FitDuration(std::string_view duration);

  // ---- Notes, notations and lyrics (export/notes.cpp, export/notations.cpp) ----
  bool SaveNote(xml::Node note);
  // The 12 notation columns (32 to 43) of a note's `notations` elements.
  std::string SaveNotations(const std::vector<xml::Node>& notations, bool cautionary,
                            bool editorial);
  // Adds the print suggestion group of a notation element's position attributes.
  void SavePosition(xml::Node element, int32_t column, bool placement, bool orientation);
  // The lyric text from column 44: verses joined by "|".
  std::string SaveLyrics(const std::vector<xml::Node>& lyrics);

  // ---- Directions, figured bass, print and sound (export/directions.cpp,
  //      export/figured_bass.cpp, export/print_sound.cpp) ----
  bool SaveDirection(xml::Node direction);
  bool SaveFiguredBass(xml::Node figuredBass);
  bool SavePrint(xml::Node print);
  bool SaveSound(xml::Node sound);

  // ---- Record reader and comments (import/record_reader.cpp) ----
  bool NextRecord();
  void ReadRecordLines();
  void AppendContinuationLines();
  void AdvanceLookAhead();
  void CreatePartAndFirstMeasure();
  bool DispatchDataRecord();
  bool ParseCommentToggle();
  bool ParseComment();
  bool ParseSingleLineComment();

  // ---- Header records (import/header.cpp) ----
  bool CreateIdentification();
  bool ParseInitialLine();
  void AddEncoding();
  void AddWorkAndMovementNumbers();
  void CreateScorePart();
  void AddMiscellaneous();
  bool ParseGroupMemberships();
  bool ParseGroupRecord(int64_t recordNumber);
  void PlaceScorePartInGroup(int32_t position);

  // ---- Notes (import/notes.cpp, import/note_fields.cpp, import/notations.cpp) ----
  bool ParseNoteRecord();
  bool ParseCueGrace();
  // Completes the current note from column 13 on; false when its notations
  // ended the load. A rest gets no stem.
  bool ParseStage2Data(NoteKind kind, bool isRest);
  bool ParseNotations();
  // Appends to the current note the `type` of column 17 (a regular note at cue
  // size, or a cue note at full size, says so); empty when column 17 holds no
  // note value.
  xml::Node CreateNoteType(NoteKind kind);
  // The printed value of a grace note's type code, and whether it is slashed;
  // "" and no slash for an unknown code.
  std::string_view CueGraceType(std::string_view code, bool& slash);
  // Steps of the note records.
  xml::Node StartNote();
  void SelectTrack(const RecordView& record);
  void AppendSoundingTies(xml::Node note, const RecordView& record);
  void AppendGraceType(xml::Node note, xml::Node grace, const RecordView& record);
  void AppendLyrics(xml::Node note, const RecordView& record);
  void AppendLyric(xml::Node note, int32_t verse, std::string_view text);
  // Reads one note's notation columns into its `notations` (import/notations.cpp).
  class NotationReader;

  // ---- Attributes (import/attributes.cpp) ----
  bool ParseAttributes();

  // ---- Bar lines, backup and forward, end records (import/measures.cpp) ----
  bool ParseBarLine();
  bool ParseBackupForward();
  bool ParseEnd();
  bool ParseAfterFine();
  // Renumbers the first measure of a file from its closing bar line (a pickup
  // becomes measure 0, implicit).
  void NumberFirstMeasure(std::string_view numberText);

  // ---- Directions (import/directions.cpp) ----
  bool ParseDirection();
  // Appends to `directionType` the element of one direction-type letter and
  // returns it; empty for a letter that makes no element. Raises 6045 for a
  // rehearsal mark ("A").
  xml::Node CreateDirectionType(xml::Node directionType, std::string_view letter);
  // Appends to `dynamics` the element of one dynamic text ("ff", "Z" for sfz,
  // anything unknown as other-dynamics) and returns it. Note notations use it too.
  xml::Node CreateDynamicElement(xml::Node dynamics, std::string_view text);

  // ---- Figured bass (import/figured_bass.cpp) ----
  bool ParseFiguredBass();

  // ---- Print and sound suggestions (import/suggestions.cpp) ----
  bool ParsePrintSuggestion();
  bool ParseSoundSuggestion();
  // Remembers which kind of record is being dispatched, for the
  // suggestions that follow it; comments leave the memory as it is.
  void RememberSuggestionTarget(RecordKind kind);
  // Steps of the two suggestion records: one field at a time.
  void ApplyPrintField(const SuggestionField& field);
  void ApplyDirectionField(const SuggestionField& field);
  void ApplySoundField(const SuggestionField& field);
  void ApplyGraceTiming(const SuggestionField& field);
  // Shows "<message>: <location>" unless this kind was shown in this load.
  void WarnMissingTarget(bool& shown, std::string_view message);

  // ---- MuseData text (encoding/text.cpp) ----
  // Appends MuseData text to an element (escapes decoded, XML specials as
  // entity references), or replaces a comment's text.
  bool AddText(xml::Node element, std::string_view text);

  // The current record as columns.
  RecordView Record() const noexcept { return RecordView(m_reader.currentRecord); }

  // ---- State ----
  std::string m_systemIdentifier;
  TextEncoding m_encoding = TextEncoding::Auto;
  std::unique_ptr<LineSource> m_source;        // the open input; null when none
  std::string m_fileName;                      // the input's name, for messages
  std::unique_ptr<AtomicFileWriter> m_output;  // the MuseData file being saved; null otherwise
  ReaderState m_reader;
  ScoreState m_score;
  GroupState m_group;
  ProgressState m_progress;
  NoteState m_note;
  ImportTables m_tables;
  MeasureState m_measure;
  DirectionState m_direction;
  SuggestionTargets m_suggestion;
  ExportState m_export;
  WarningFlags m_warnings;
  CaughtError m_caught;  // the last error any trap caught
  bool m_attributeTrackColumnBlank = false;
};

}  // namespace musedata
