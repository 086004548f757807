// A voice of its own for every layer of a measure.

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "component/error_codes.h"
#include "finish/passes.h"

namespace musedata::finish {
namespace {

// The children MusicXML puts after the voice of a note or forward.
constexpr std::string_view kAfterVoice[] = {
    "type",     "dot",   "accidental", "time-modification", "stem",
    "notehead", "staff", "beam",       "notations",         "lyric"};

// The notes of each layer of the measure, with the forwards that name a
// voice (a rest not printed); a backup starts the next layer.
std::vector<std::vector<xml::Node>> Layers(xml::Node measure) {
  std::vector<std::vector<xml::Node>> layers(1);
  for (xml::Node child : measure.Children()) {
    if (child.Name() == "backup") {
      layers.emplace_back();
    } else if (child.Name() == "note" || (child.Name() == "forward" && child.Child("voice"))) {
      layers.back().push_back(child);
    }
  }
  return layers;
}

// The voices the layer's notes name; "" stands for notes that name none.
std::set<std::string> VoicesNamed(const std::vector<xml::Node>& layer) {
  std::set<std::string> voices;
  for (xml::Node note : layer) voices.insert(note.Child("voice").Text());
  return voices;
}

// The first voice the layer names that no earlier layer of the measure has; "" when none.
std::string OwnVoice(const std::set<std::string>& named, const std::set<std::string>& taken) {
  for (const std::string& voice : named)
    if (!voice.empty() && taken.count(voice) == 0) return voice;
  return {};
}

void SetVoice(xml::Node note, const std::string& voice) {
  xml::Node element = ChildOrNew(note, "voice", kAfterVoice);
  for (xml::Node child = element.FirstChild(); child; child = element.FirstChild()) child.Remove();
  element.AppendText(voice);
}

}  // namespace

int32_t NumberVoices(const PartInScore& part, Context& context) {
  return Trap(kNumberVoices, context.Caught(), [&] {
    int32_t numbered = 0;
    for (xml::Node measure : part.measures) {
      const std::vector<std::vector<xml::Node>> layers = Layers(measure);
      if (layers.size() < 2) continue;
      // Layer n is voice n wherever that voice is free, so a part's layers
      // keep the same voices from measure to measure.
      std::set<std::string> taken;
      for (size_t index = 0; index < layers.size(); ++index) {
        const std::vector<xml::Node>& layer = layers[index];
        if (layer.empty()) continue;
        const std::set<std::string> named = VoicesNamed(layer);
        // A layer that names a voice of its own keeps its voices: a layer
        // may hand over to the first voice after a forward. Its notes
        // without a voice join its own.
        const std::string own = OwnVoice(named, taken);
        if (!own.empty()) {
          if (named.count("") > 0) {
            for (xml::Node note : layer)
              if (!note.Child("voice")) SetVoice(note, own);
            ++numbered;
          }
          taken.insert(named.begin(), named.end());
          continue;
        }
        int32_t number = static_cast<int32_t>(index) + 1;
        while (taken.count(std::to_string(number)) > 0) ++number;
        const std::string voice = std::to_string(number);
        for (xml::Node note : layer) SetVoice(note, voice);
        taken.insert(voice);
        ++numbered;
      }
    }
    return numbered;
  });
}

}  // namespace musedata::finish
