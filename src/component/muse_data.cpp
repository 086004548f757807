#include "musedata/muse_data.h"

#include <iostream>

#include "component/error_codes.h"
#include "component/live_objects.h"
#include "component/music_xml.h"

namespace musedata {
namespace {

bool IsCancellation(const ConverterError& error) {
  return error.Source() == kErrorSource && error.Number() == kErrorBase + kErrCancelled;
}

// The trap of the component's Load and Save: the engine's convention, except
// that a cancellation error raised by the host's progress handler ends the
// conversion quietly with false unless the host asked to receive it.
template <class Body>
bool TrapConversion(const Procedure& procedure, CaughtError* caught, bool cancelError,
                    Body&& body) {
  try {
    return body();
  } catch (const ConverterError& error) {
    if (!cancelError && IsCancellation(error)) {
      *caught = {error.Number(), error.Source(), error.Description()};
      return false;
    }
    RaiseGeneral(procedure, CatchCurrent(caught));
  } catch (...) {
    RaiseGeneral(procedure, CatchCurrent(caught));
  }
}

}  // namespace

MuseData::MuseData() : moMusicXML(std::make_unique<MusicXML>()) {
  // The engine's events reach the host as the component's own, with Cancel
  // passed through so that a host handler can stop the engine.
  moMusicXML->Loading = [this](int32_t current, int32_t size, bool& cancel) {
    if (Loading) Loading(current, size, cancel);
  };
  moMusicXML->Saving = [this](int32_t current, int32_t size, bool& cancel) {
    if (Saving) Saving(current, size, cancel);
  };
  moMusicXML->Warning = [this](const std::string& text) {
    if (Warning) {
      Warning(text);
    } else {
      std::cerr << text << '\n';
    }
  };
  CountObjectCreated();
}

MuseData::~MuseData() {
  CountObjectDestroyed();
}

void MuseData::SetOwnXML(Document /*value*/) {
  RaiseConverterError(kErrOwnXmlNotSupported,
                      "Setting OwnXML property in MusicXML MuseData converter is not supported");
}

void MuseData::SetUseOwnXml(bool /*value*/) {
  RaiseConverterError(kErrUseOwnXmlNotSupported,
                      "Setting UseOwnXML property in MusicXML MuseData converter is not supported");
}

void MuseData::FromOwnXML() {
  RaiseConverterError(kErrFromOwnXmlNotSupported,
                      "FromOwnXML not supported in MusicXML MuseData converter");
}

void MuseData::ToOwnXML() {
  RaiseConverterError(kErrToOwnXmlNotSupported,
                      "ToOwnXML not supported in MusicXML MuseData converter");
}

bool MuseData::Load(const std::string& FileName) {
  return TrapConversion(kComponentLoad, &moMusicXML->m_caught, m_cancelError, [&] {
    moMusicXML->SetGroupType(m_groupType);
    moMusicXML->SetSystemIdentifier(m_systemIdentifier);
    moMusicXML->SetEncoding(m_encoding);
    const bool result = moMusicXML->Load(FileName);
    // Every load goes into the engine's document: the first makes it, each
    // further one adds the next part.
    m_xml = moMusicXML->XML();
    return result;
  });
}

bool MuseData::LoadPart(const std::string& name, std::string_view bytes, int32_t firstLineInFile) {
  return TrapConversion(kComponentLoad, &moMusicXML->m_caught, m_cancelError, [&] {
    moMusicXML->SetGroupType(m_groupType);
    moMusicXML->SetSystemIdentifier(m_systemIdentifier);
    auto source = std::make_unique<LineSource>(name, bytes, m_encoding);
    source->SetFirstLineInFile(firstLineInFile);
    const bool result = moMusicXML->Load(std::move(source));
    m_xml = moMusicXML->XML();
    return result;
  });
}

bool MuseData::LastLoadSkipped() const noexcept {
  return moMusicXML->LastLoadSkipped();
}

int32_t MuseData::UnclosedCommentLine() const noexcept {
  return moMusicXML->UnclosedCommentLine();
}

void MuseData::SetAttributeTrackColumnBlank(bool value) noexcept {
  moMusicXML->SetAttributeTrackColumnBlank(value);
}

bool MuseData::Save(const std::string& FileName) {
  return TrapConversion(kComponentSave, &moMusicXML->m_caught, m_cancelError, [&] {
    moMusicXML->SetXML(m_xml);
    return moMusicXML->Save(FileName, m_partNumber);
  });
}

void MuseData::SetGroupType(std::string_view value) {
  // The engine keeps group types in the one form that header records are
  // compared with; the component stores the same form.
  moMusicXML->SetGroupType(value);
  m_groupType = moMusicXML->GroupType();
}

const std::string& MuseData::FileName() const noexcept {
  return moMusicXML->FileName();
}

int32_t MuseData::RecordLineNumber() const noexcept {
  return moMusicXML->RecordLineNumber();
}

std::string MuseData::CurrentMeasureNumber() const {
  return moMusicXML->CurrentMeasureNumber();
}

const std::string& MuseData::CurrentRecord() const noexcept {
  return moMusicXML->CurrentRecord();
}

}  // namespace musedata
