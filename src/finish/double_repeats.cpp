// ":||:" bar lines as the two repeats MusicXML writes for them.

#include "component/error_codes.h"
#include "finish/passes.h"

namespace musedata::finish {
namespace {

xml::Node BarlineAt(xml::Node measure, std::string_view location) {
  for (xml::Node barline : measure.Children("barline")) {
    // A bar line without a location stands at the right.
    const std::string_view at = barline.HasAttr("location") ? barline.Attr("location") : "right";
    if (at == location) return barline;
  }
  return {};
}

bool HasRepeat(xml::Node barline, std::string_view direction) {
  for (xml::Node repeat : barline.Children("repeat"))
    if (repeat.Attr("direction") == direction) return true;
  return false;
}

// Gives the bar line the style `style`, first among its children as MusicXML orders them.
void SetBarStyle(xml::Node barline, std::string_view style) {
  xml::Node barStyle = barline.Child("bar-style");
  if (!barStyle) barStyle = barline.PrependElement("bar-style");
  for (xml::Node child = barStyle.FirstChild(); child; child = barStyle.FirstChild())
    child.Remove();
  barStyle.AppendText(style);
}

}  // namespace

int32_t MendDoubleRepeat(const PartInScore& part, size_t index, Context& context) {
  return Trap(kMendDoubleRepeats, context.Caught(), [&] {
    const xml::Node closing = BarlineAt(part.measures[index], "right");
    if (!closing || closing.Child("bar-style").Text() != "heavy-heavy" ||
        !HasRepeat(closing, "backward"))
      return 0;
    SetBarStyle(closing, "light-heavy");
    if (index + 1 == part.measures.size()) return 1;
    const xml::Node opening = BarlineAt(part.measures[index + 1], "left");
    if (opening && HasRepeat(opening, "forward")) SetBarStyle(opening, "heavy-light");
    return 1;
  });
}

}  // namespace musedata::finish
