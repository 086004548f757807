// Directives (tempo words such as "Allegro con brio") also shown as words.

#include <vector>

#include "component/error_codes.h"
#include "finish/passes.h"

namespace musedata::finish {
namespace {

// Whether `direction` already shows `text` as words.
bool ShowsWords(xml::Node direction, const std::string& text) {
  if (direction.Name() != "direction") return false;
  for (xml::Node type : direction.Children("direction-type"))
    for (xml::Node words : type.Children("words"))
      if (words.Text() == text) return true;
  return false;
}

}  // namespace

int32_t AddTempoWords(xml::Node measure, Context& context) {
  return Trap(kAddTempoWords, context.Caught(), [&] {
    int32_t added = 0;
    std::vector<xml::Node> attributes;
    for (xml::Node element : measure.Children("attributes")) attributes.push_back(element);
    for (xml::Node element : attributes) {
      // Each new direction follows the one before, so they keep the
      // directives' order, all at the time position of the attributes.
      xml::Node after = element;
      for (xml::Node directive : element.Children("directive")) {
        const std::string text = directive.Text();
        if (text.find_first_not_of(' ') == std::string::npos) continue;
        const xml::Node next = after.NextElement();
        if (ShowsWords(next, text)) {
          after = next;
          continue;
        }
        const xml::Node direction = measure.InsertElementBefore("direction", next);
        direction.SetAttr("placement", "above");
        direction.AppendElement("direction-type").AppendElement("words", text);
        // A numbered directive belongs to that staff of the part.
        if (directive.HasAttr("number")) direction.AppendElement("staff", directive.Attr("number"));
        after = direction;
        ++added;
      }
    }
    return added;
  });
}

}  // namespace musedata::finish
