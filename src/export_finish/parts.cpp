// What the header and the track column of a part need: a score-part to take
// the part's name and groups from, and voices that are numbers.

#include <map>
#include <string>
#include <vector>

#include "component/error_codes.h"
#include "export_finish/passes.h"

namespace musedata::export_finish {

int32_t AddMissingScoreParts(xml::Node root, std::vector<PartInScore>& parts, Context& context) {
  return Trap(kAddMissingScoreParts, context.Caught(), [&] {
    int32_t added = 0;
    for (size_t index = 0; index < parts.size(); ++index) {
      PartInScore& part = parts[index];
      if (part.scorePart) continue;
      xml::Node partList = root.Child("part-list");
      if (!partList) partList = root.InsertElementBefore("part-list", root.Child("part"));
      std::string id(part.part.Attr("id"));
      if (id.empty()) {
        id = "P-missing-" + std::to_string(index + 1);
        part.part.SetAttr("id", id);
      }
      part.scorePart = partList.AppendElement("score-part");
      part.scorePart.SetAttr("id", id);
      part.scorePart.AppendElement("part-name", "Part " + std::to_string(index + 1));
      context.Warn(part, part.measures.empty() ? xml::Node() : part.measures.front(),
                   "the part (id \"" + id +
                       "\") is missing from the part-list; its header names it \"Part " +
                       std::to_string(index + 1) + "\"");
      ++added;
    }
    return added;
  });
}

int32_t RenumberVoices(const PartInScore& part, Context& context) {
  return Trap(kRenumberVoices, context.Caught(), [&] {
    // Every voice of the part, with the largest number among them.
    std::vector<xml::Node> voices;
    int64_t largest = 0;
    bool odd = false;
    for (const xml::Node measure : part.measures) {
      for (const xml::Node element : measure.Children()) {
        const xml::Node voice = element.Child("voice");
        if (!voice) continue;
        voices.push_back(voice);
        int64_t number = 0;
        if (ReadWholeNumber(voice.Text(), number) && number >= 1 && number <= 99) {
          largest = std::max(largest, number);
        } else {
          odd = true;
        }
      }
    }
    if (!odd) return 0;
    std::map<std::string, int64_t> given;
    int32_t renumbered = 0;
    for (const xml::Node voice : voices) {
      int64_t number = 0;
      if (ReadWholeNumber(voice.Text(), number) && number >= 1 && number <= 99) continue;
      const std::string text = voice.Text();
      auto found = given.find(text);
      if (found == given.end()) {
        found = given.emplace(text, ++largest).first;
        context.Warn(part, voice.Parent().Parent(),
                     "voice \"" + text + "\" is no number; written as voice " +
                         std::to_string(found->second));
      }
      while (const xml::Node child = voice.FirstChild()) child.Remove();
      voice.AppendText(std::to_string(found->second));
      ++renumbered;
    }
    return renumbered;
  });
}

}  // namespace musedata::export_finish
