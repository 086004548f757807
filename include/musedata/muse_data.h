#pragma once

// The MuseData converter component, the object a host creates by the name
// "Ondrelink.MuseData". Loading several MuseData part files one after the other
// into the same component builds one multi-part score; saving writes one part
// of the score in XML as a MuseData file.
//
// A host holding only the converter interface reaches the events and the
// component's own properties with dynamic_cast<musedata::MuseData*>.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "musedata/converter.h"
#include "musedata/document.h"
#include "musedata/text_encoding.h"

namespace musedata {

class MusicXML;

class MuseData : public MusicXMLConverter {
 public:
  // Progress of a conversion: the work done, the whole work (bytes of the
  // input file on a load), and Cancel, which a handler sets to stop.
  using ProgressEvent = std::function<void(int32_t Current, int32_t Size, bool& Cancel)>;
  // A warning that must not stop the work.
  using WarningCallback = std::function<void(const std::string& text)>;

  MuseData();
  ~MuseData() override;
  MuseData(const MuseData&) = delete;
  MuseData& operator=(const MuseData&) = delete;

  // ---- The converter interface ----
  bool CancelError() const override { return m_cancelError; }
  void SetCancelError(bool value) override { m_cancelError = value; }
  // Always true.
  bool CanLoad() const override { return true; }
  // Always true.
  bool CanSave() const override { return true; }
  // Always false: MuseData has no document model of its own.
  bool HasOwnXML() const override { return false; }
  // Always an empty handle.
  Document OwnXML() const override { return {}; }
  // Not supported: raises 0x800417BA.
  void SetOwnXML(Document value) override;
  std::string SystemIdentifier() const override { return m_systemIdentifier; }
  void SetSystemIdentifier(std::string value) override { m_systemIdentifier = std::move(value); }
  // Always false.
  bool UseOwnXml() const override { return false; }
  // Not supported: raises 0x800417BB.
  void SetUseOwnXml(bool value) override;
  // The score: after a load, the document every load so far has added its part
  // to; before a save, the document to write. Shared with the host.
  Document XML() const override { return m_xml; }
  void SetXML(Document value) override { m_xml = std::move(value); }
  // Not supported: raises 0x800417BC.
  void FromOwnXML() override;
  // Loads the MuseData file `FileName` as the next part of the score. True
  // when the file was read to its end, or skipped because it does not belong
  // to the group; false when a record ended the load early or a progress
  // handler cancelled it. Raises ConverterError for files that cannot be read
  // and records that cannot be converted.
  bool Load(const std::string& FileName) override;
  // Writes part PartNumber() of XML() as the MuseData file `FileName`. False
  // when XML() is not a score-partwise document or the save was cancelled; the
  // file is then left as it was.
  bool Save(const std::string& FileName) override;
  // Not supported: raises 0x800417BD.
  void ToOwnXML() override;

  // ---- The component's own properties ----
  // The group of a MuseData set whose members are loaded ("score", "parts",
  // "sound", ...), stored trimmed and lower-cased; empty loads every file.
  const std::string& GroupType() const noexcept { return m_groupType; }
  void SetGroupType(std::string_view value);
  // The part of XML() that Save writes, from 1.
  int32_t PartNumber() const noexcept { return m_partNumber; }
  void SetPartNumber(int32_t value) noexcept { m_partNumber = value; }

  // ---- Beyond the converter interface, for C++ hosts ----
  // How the bytes of MuseData files are decoded.
  // Loads MuseData text held in memory (one part of a set file, say) as the
  // next part, like Load; `name` is what messages and the location text call
  // it, and `firstLineInFile` where its first line stands in the file it came
  // from, so that line numbers in messages are the file's own.
  bool LoadPart(const std::string& name, std::string_view bytes, int32_t firstLineInFile = 1);
  // Whether the last load skipped its part because it is not in the group.
  bool LastLoadSkipped() const noexcept;
  // Where the "&" comment block that the last load left open began, as a line
  // of the file; 0 when every block was closed.
  int32_t UnclosedCommentLine() const noexcept;

  TextEncoding Encoding() const noexcept { return m_encoding; }
  void SetEncoding(TextEncoding value) noexcept { m_encoding = value; }
  // Whether Save keeps column 15 of every "$" record blank, as published
  // MuseData has it: a code that would cover the column starts in column 16.
  // Column 15 holds the track of a note record, and some readers (verovio's)
  // read it on every record. Off by default: codes follow each other with
  // single blanks.
  void SetAttributeTrackColumnBlank(bool value) noexcept;
  // The name of the file being loaded, or of the last one; "" before any load.
  const std::string& FileName() const noexcept;
  // The line where the record in hand starts, while a load runs or after one
  // that stopped early; 0 otherwise.
  int32_t RecordLineNumber() const noexcept;
  // The number of the measure the load is in, for messages; "" before the
  // first measure of a part and after its end.
  std::string CurrentMeasureNumber() const;
  // The record in hand (a line with its continuation lines).
  const std::string& CurrentRecord() const noexcept;

  // Raised after every record of a load and per measure of a save.
  ProgressEvent Loading;
  ProgressEvent Saving;
  // Receives warnings that must not stop the work; with none set they are
  // written to standard error.
  WarningCallback Warning;

 private:
  std::unique_ptr<MusicXML> moMusicXML;  // the engine, for the component's whole life
  Document m_xml;
  int32_t m_partNumber = 1;
  std::string m_systemIdentifier;
  std::string m_groupType;
  bool m_cancelError = false;
  TextEncoding m_encoding = TextEncoding::Auto;
};

}  // namespace musedata
