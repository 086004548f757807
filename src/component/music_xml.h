#pragma once

// The conversion engine: loads MuseData parts into one MusicXML score-partwise
// document and (with the export) saves one part of a document as MuseData.
// Its procedures are defined in the units of their record families under
// src/import/ and src/export/.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "component/engine_state.h"
#include "component/line_source.h"
#include "component/trap.h"
#include "encoding/record_view.h"
#include "musedata/document.h"
#include "xml/xpath.h"

namespace musedata {

class MuseData;

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
  void SetXML(Document document) { m_score.document = std::move(document); }

  // ---- Drivers (music_xml.cpp) ----
  bool LoadSource(std::unique_ptr<LineSource> source);
  bool LoadRecords();
  void StartNewDocument();
  void StartNextPart();
  void GrowPartArrays();
  bool Reset();
  void RaiseLoading(int32_t current, int32_t size);
  // "File <name>, measure <number>" for the import's messages.
  std::string LocationText() const;
  // Shows a warning through the Warning callback (or standard error).
  void ShowWarning(const std::string& text) const;

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

  // ---- Notes (import/notes.cpp, import/note_fields.cpp, import/notations.cpp) ----
  bool ParseNoteRecord();
  bool ParseCueGrace();
  bool ParseStage2Data();
  bool ParseNotations();

  // ---- Attributes (import/attributes.cpp) ----
  bool ParseAttributes();

  // ---- Bar lines, backup and forward, end records (import/measures.cpp) ----
  bool ParseBarLine();
  bool ParseBackupForward();
  bool ParseEnd();
  bool ParseAfterFine();

  // ---- Directions (import/directions.cpp) ----
  bool ParseDirection();

  // ---- Figured bass (import/figured_bass.cpp) ----
  bool ParseFiguredBass();

  // ---- Print and sound suggestions (import/suggestions.cpp) ----
  bool ParsePrintSuggestion();
  bool ParseSoundSuggestion();

  // ---- MuseData text (encoding/text.cpp) ----
  // Appends MuseData text to an element (escapes decoded, XML specials as
  // entity references), or replaces a comment's text.
  bool AddText(xml::Node element, std::string_view text);

  // The current record as columns.
  RecordView Record() const noexcept { return RecordView(m_reader.currentRecord); }

  // ---- State ----
  std::string m_systemIdentifier;
  TextEncoding m_encoding = TextEncoding::Auto;
  std::unique_ptr<LineSource> m_source;  // the open input; null when none
  std::string m_fileName;                // the input's name, for messages
  ReaderState m_reader;
  ScoreState m_score;
  GroupState m_group;
  ProgressState m_progress;
  NoteState m_note;
  ImportTables m_tables;
  MeasureState m_measure;
  DirectionState m_direction;
  WarningFlags m_warnings;
  CaughtError m_caught;  // the last error any trap caught
};

}  // namespace musedata
