#include "musedata/score.h"

#include "component/atomic_file.h"
#include "musedata/converter_error.h"
#include "musedata/muse_data.h"
#include "musedata/registry.h"
#include "xml/node.h"

namespace musedata {
namespace {

// A new converter component, made as any host makes one: by its class name.
std::unique_ptr<MuseData> CreateMuseData() {
  std::unique_ptr<MusicXMLConverter> converter = CreateObject(kMuseDataProgId);
  auto* component = dynamic_cast<MuseData*>(converter.get());
  if (!component) throw ConverterError(13, "musedata", "Type mismatch");
  converter.release();
  return std::unique_ptr<MuseData>(component);
}

// Why a load that returned false stopped, for the host's message.
std::string StoppedAt(const MuseData& component, bool cancelled) {
  std::string text =
      component.FileName() + ", line " + std::to_string(component.RecordLineNumber());
  if (cancelled) return text + ": cancelled";
  if (component.CurrentRecord().empty())
    return text + ": an empty line ends the musical data before \"/END\"";
  return text + ": the record \"" + component.CurrentRecord() + "\" ended the part";
}

}  // namespace

ImportResult ImportScore(const std::vector<std::string>& paths, const ImportOptions& options) {
  const std::unique_ptr<MuseData> component = CreateMuseData();
  component->SetGroupType(options.groupType);
  component->SetSystemIdentifier(options.systemIdentifier);
  component->SetEncoding(options.encoding);
  bool cancelled = false;
  component->Loading = [&](int32_t current, int32_t size, bool& cancel) {
    if (options.progress) options.progress(component->FileName(), current, size, cancel);
    cancelled = cancel;
  };
  component->Warning = options.warning;
  if (!component->Warning) component->Warning = [](const std::string&) {};

  ImportResult result;
  for (const std::string& path : paths) {
    if (!component->Load(path)) {
      result.document = component->XML();
      result.stoppedAt = StoppedAt(*component, cancelled);
      return result;
    }
  }
  result.document = component->XML();
  result.complete = true;
  return result;
}

bool ExportPart(const Document& document, int32_t partNumber, const std::string& path,
                const ExportOptions& options) {
  const std::unique_ptr<MuseData> component = CreateMuseData();
  component->SetXML(document);
  component->SetPartNumber(partNumber);
  component->Saving = options.progress;
  component->Warning = options.warning;
  if (!component->Warning) component->Warning = [](const std::string&) {};
  return component->Save(path);
}

std::string ToMusicXmlText(const Document& document) {
  return xml::ToIndentedString(document);
}

void WriteMusicXmlFile(const Document& document, const std::string& path) {
  // The text of a score is about ten times the size of its MuseData; written
  // straight into the file it never has to be held in memory beside the tree.
  AtomicFileWriter writer(path);
  writer.WriteWith([&](std::FILE* file) { return xml::WriteIndented(document, file); });
  writer.Commit();
}

}  // namespace musedata
