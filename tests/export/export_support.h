#pragma once

// Exports parts of MusicXML text of our own through the component's Save, as
// a host does, and gives back what was written.

#include <cstdint>
#include <string>

#include "component/error_codes.h"
#include "musedata/muse_data.h"
#include "support/test_support.h"
#include "xml/node.h"

namespace musedata::test {

struct Exported {
  bool result = false;
  std::string text;   // the file written; "" when none was left
  std::string error;  // as ErrorOf gives it
  std::string warnings;
};

// Saves part `partNumber` of the MusicXML `xml` into a fresh folder.
inline Exported ExportXml(const std::string& xml, int32_t partNumber = 1) {
  const TempDir dir;
  MuseData component;
  component.SetXML(xml::ParseMemory(xml, "score.musicxml", kErrXmlInitializationParse));
  component.SetPartNumber(partNumber);
  Exported out;
  component.Warning = [&](const std::string& text) { out.warnings += "[warning: " + text + "]"; };
  out.error = ErrorOf([&] { out.result = component.Save(dir.Path() + "/part.md"); });
  if (EntriesIn(dir.Path()) > 0) out.text = ReadFile(dir.Path() + "/part.md");
  return out;
}

// A one-part score: `prelude` before the part list, `scorePart` after the part name.
inline std::string OnePartScore(const std::string& measures, const std::string& scorePart = "",
                                const std::string& prelude = "") {
  return "<score-partwise>" + prelude +
         "<part-list><score-part id=\"P1\"><part-name>Oboe</part-name>" + scorePart +
         "</score-part></part-list><part id=\"P1\">" + measures + "</part></score-partwise>";
}

// The records of a one-part score between its header (ending "score: part 1
// of 1") and "/END", then any warnings; the error when the export failed.
inline std::string DataRecords(const std::string& measures) {
  const Exported out = ExportXml(OnePartScore(measures));
  if (!out.result) return "(false) " + out.error;
  const std::string header = "score: part 1 of 1\n";
  const size_t start = out.text.find(header) + header.size();
  return out.text.substr(start, out.text.rfind("/END\n") - start) + out.warnings;
}

}  // namespace musedata::test
