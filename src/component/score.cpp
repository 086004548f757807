#include "musedata/score.h"

#include "component/atomic_file.h"
#include "component/music_xml.h"
#include "xml/node.h"

namespace musedata {

ImportResult ImportScore(const std::vector<std::string>& paths, const ImportOptions& options) {
  MusicXML engine;
  engine.SetGroupType(options.groupType);
  engine.SetSystemIdentifier(options.systemIdentifier);
  engine.SetEncoding(options.encoding);
  bool cancelled = false;
  engine.Loading = [&](int32_t current, int32_t size, bool& cancel) {
    if (options.progress) options.progress(engine.FileName(), current, size, cancel);
    cancelled = cancel;
  };
  engine.Warning = options.warning;
  if (!engine.Warning) engine.Warning = [](const std::string&) {};

  ImportResult result;
  for (const std::string& path : paths) {
    if (!engine.Load(path)) {
      result.document = engine.XML();
      result.stoppedAt = engine.FileName() + ", line " + std::to_string(engine.RecordLineNumber());
      if (cancelled) result.stoppedAt += ": cancelled";
      else if (engine.CurrentRecord().empty())
        result.stoppedAt += ": an empty line ends the musical data before \"/END\"";
      else result.stoppedAt += ": the record \"" + engine.CurrentRecord() + "\" ended the part";
      return result;
    }
  }
  result.document = engine.XML();
  result.complete = true;
  return result;
}

std::string ToMusicXmlText(const Document& document) { return xml::ToIndentedString(document); }

void WriteMusicXmlFile(const Document& document, const std::string& path) {
  WriteFileAtomically(path, xml::ToIndentedString(document));
}

}  // namespace musedata
