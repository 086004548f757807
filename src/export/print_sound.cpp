// Measure-level print and sound elements on export. A sound becomes a sound
// suggestion line; a print element writes nothing.

#include <optional>
#include <string>
#include <vector>

#include "component/error_codes.h"
#include "component/music_xml.h"
#include "encoding/suggestion_columns.h"
#include "export/suggestion_text.h"

namespace musedata {
namespace {

// One sound attribute's code and the suggestion column that takes it.
struct SoundCode {
  std::string code;
  int32_t column = kSuggestionGeneral;
};

SoundCode CodeOfSoundAttribute(const xml::Node::Attribute& attribute) {
  const std::string_view name = attribute.name;
  const std::string& value = attribute.value;
  if (name == "tempo") return {"W" + value};
  if (name == "dynamics") return {"V" + value};
  if (name == "dacapo") return {value == "yes" ? "d" : ""};
  if (name == "segno") return {"S" + value};
  if (name == "forward-repeat") return {"|>"};
  if (name == "fine") return {"F" + value, kSuggestionFine};
  if (name == "pizzicato") return {value == "yes" ? "A" : "B", kSuggestionPizzicato};
  return {};
}

}  // namespace

// The page and system layout that a print element holds is left to the
// program that lays out the MuseData: a print element writes no line.
bool MusicXML::SavePrint(xml::Node /*print*/) {
  return Trap(kSavePrint, &m_caught, [&] { return true; });
}

// Codes of one column run together; a code for another column opens a group of its own.
bool MusicXML::SaveSound(xml::Node sound) {
  return Trap(kSaveSound, &m_caught, [&] {
    const std::vector<xml::Node::Attribute> attributes = sound.Attributes();
    if (attributes.empty()) return true;
    std::string line = "S";
    std::optional<int32_t> column;
    for (const xml::Node::Attribute& attribute : attributes) {
      const SoundCode code = CodeOfSoundAttribute(attribute);
      if (code.code.empty()) continue;
      if (code.column != column) {
        line += " C" + std::to_string(code.column) + ":";
        column = code.column;
      }
      line += code.code;
    }
    WriteLine(line);
    return true;
  });
}

}  // namespace musedata
