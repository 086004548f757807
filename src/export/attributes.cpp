// The "$" record of a MusicXML attributes element: one code per child, in
// the order the children stand.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "component/error_codes.h"
#include "component/music_xml.h"
#include "encoding/base40.h"
#include "encoding/columns.h"
#include "encoding/measure_codes.h"
#include "encoding/measure_columns.h"
#include "encoding/record_view.h"
#include "encoding/text.h"

namespace musedata {
namespace {

// The text of a child that must be there; a missing one fails the record.
std::string RequiredText(xml::Node element, std::string_view name) {
  const xml::Node child = element.Child(name);
  if (!child) throw RunTimeError::ObjectNotSet();
  return child.Text();
}

// MuseData writes the common-time sign as 1/1 and alla breve as 0/0.
std::string TimeCode(xml::Node time) {
  const std::string_view symbol = time.Attr("symbol");
  if (symbol == "common") return "T:1/1";
  if (symbol == "cut") return "T:0/0";
  // Of several signatures joined in one, the first.
  return "T:" + RequiredText(time, "beats") + "/" + RequiredText(time, "beat-type");
}

// A clef code: tens for the sign and its octave, units for the line counted
// from the top of the staff. A sign MuseData does not know builds on the code
// of the clef before it in the same record.
int32_t ClefCode(xml::Node clef, int32_t previousCode) {
  const std::string sign = clef.Child("sign").Text();
  int32_t code = ClefSignTens(sign).value_or(previousCode);
  code = CheckedAdd(code, ClefOctaveTens(Trim(clef.Child("clef-octave-change").Text())));
  if (const xml::Node line = clef.Child("line")) {
    code = CheckedAdd(code, ClefLine(ToLong(line.Text())));
  } else if (const int defaultLine = DefaultClefLine(sign)) {
    code = CheckedAdd(code, ClefLine(defaultLine));
  }
  return code;
}

// A transposition as one base-40 interval; 1000 more when the part is
// doubled an octave below.
std::string TranspositionCode(xml::Node transpose) {
  const int32_t chromatic = ToLong(RequiredText(transpose, "chromatic"));
  const xml::Node diatonic = transpose.Child("diatonic");
  const xml::Node octave = transpose.Child("octave-change");
  int32_t interval = ConvertToBase40(chromatic, diatonic ? ToLong(diatonic.Text()) : 0,
                                     octave ? ToLong(octave.Text()) : 0);
  if (transpose.Child("double")) interval = CheckedAdd(interval, 1000);
  return "X:" + std::to_string(interval);
}

// No record ever holds a line end: each one in a text becomes a blank.
std::string OnOneLine(std::string text) {
  for (char& c : text)
    if (c == '\r' || c == '\n') c = ' ';
  return text;
}

}  // namespace

bool MusicXML::SaveAttributes(xml::Node attributes) {
  return Trap(kSaveAttributes, &m_caught, [&] {
    LineBuilder line;
    line.Put(1, "$");
    line.Put(kAttributeCodesWrittenFrom - 2, " ");
    int32_t clefCode = 0;
    for (const xml::Node child : attributes.Children()) {
      const std::string_view name = child.Name();
      std::string code;
      if (name == "key") {
        if (const xml::Node fifths = child.Child("fifths")) code = "K:" + fifths.Text();
      } else if (name == "divisions") {
        code = "Q:" + child.Text();
      } else if (name == "time") {
        code = TimeCode(child);
      } else if (name == "staves") {
        code = "S:" + child.Text();
      } else if (name == "instruments") {
        code = "I:" + child.Text();
      } else if (name == "clef") {
        clefCode = ClefCode(child, clefCode);
        const std::string_view number = child.Attr("number");
        code = (child.HasAttr("number") ? "C" + std::string(number) + ":" : std::string("C:")) +
               std::to_string(clefCode);
      } else if (name == "transpose") {
        code = TranspositionCode(child);
      } else if (name == "directive") {
        code = "D:" + OnOneLine(GetText(child));
      }
      if (code.empty()) continue;
      line.Append(" ");
      const int32_t first = line.Length() + 1;
      const bool coversTrack =
          first <= kNoteTrack && first + static_cast<int32_t>(code.size()) > kNoteTrack;
      line.Put(m_attributeTrackColumnBlank && coversTrack ? kNoteTrack + 1 : first, code);
    }
    WriteLine(line.Finish());
    return true;
  });
}

}  // namespace musedata
