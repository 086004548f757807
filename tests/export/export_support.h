#pragma once

// Exports parts of MusicXML text of our own through the component's Save, as
// a host does, and gives back what was written.

#include <cstdint>
#include <string>
#include <vector>

#include "component/error_codes.h"
#include "musedata/muse_data.h"
#include "support/test_support.h"
#include "xml/node.h"

namespace musedata::test {

struct Exported {
  bool result = false;
  std::string text;   // the file written; "" when none was left
  std::string error;  // as ErrorOf gives it
  std::vector<std::string> warnings;
};

// Saves part `partNumber` of the MusicXML `xml` into a fresh folder.
inline Exported ExportXml(const std::string& xml, int32_t partNumber = 1) {
  const TempDir dir;
  const std::string path = dir.Path() + "/part.md";
  MuseData component;
  component.SetXML(xml::ParseMemory(xml, "score.musicxml", kErrXmlInitializationParse));
  component.SetPartNumber(partNumber);
  Exported exported;
  component.Warning = [&](const std::string& text) { exported.warnings.push_back(text); };
  exported.error = ErrorOf([&] { exported.result = component.Save(path); });
  if (EntriesIn(dir.Path()) > 0) exported.text = ReadFile(path);
  return exported;
}

// A one-part score whose part holds `measures`; `scorePart` is put in its
// score-part after the part name, `prelude` in the score before the part list.
inline std::string OnePartScore(const std::string& measures, const std::string& scorePart = "",
                                const std::string& prelude = "") {
  return "<score-partwise>" + prelude +
         "<part-list><score-part id=\"P1\"><part-name>Oboe</part-name>" + scorePart +
         "</score-part></part-list><part id=\"P1\">" + measures + "</part></score-partwise>";
}

// The records after the twelve header lines of a one-part score, without
// "/END", one per line; what went wrong instead when the export failed.
inline std::string DataRecords(const std::string& measures) {
  const Exported exported = ExportXml(OnePartScore(measures));
  if (!exported.result) return "(false) " + exported.error;
  std::string records;
  size_t at = 0;
  for (int line = 0; line < 12 && at != std::string::npos; ++line) {
    at = exported.text.find('\n', at);
    if (at != std::string::npos) ++at;
  }
  records = at == std::string::npos ? std::string() : exported.text.substr(at);
  const std::string end = "/END\n";
  if (records.size() >= end.size() &&
      records.compare(records.size() - end.size(), end.size(), end) == 0)
    records.resize(records.size() - end.size());
  for (const std::string& warning : exported.warnings) records += "[warning: " + warning + "]";
  return records;
}

}  // namespace musedata::test
