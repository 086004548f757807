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

// A note, or a forward that names a voice, with its first `voice` (empty when it has none).
struct LayerEntry {
  xml::Node element;
  xml::Node voice;
};
using Layer = std::vector<LayerEntry>;

// The notes of each layer of the measure, with the forwards that name a
// voice (a rest not printed); a backup starts the next layer.
std::vector<Layer> Layers(xml::Node measure) {
  std::vector<Layer> layers(1);
  for (xml::Node child : measure.Children()) {
    const std::string_view name = child.Name();
    if (name == "backup") {
      layers.emplace_back();
    } else if (name == "note" || name == "forward") {
      const xml::Node voice = child.Child("voice");
      if (name == "note" || voice) layers.back().push_back({child, voice});
    }
  }
  return layers;
}

// The voices the layer's notes name; "" stands for notes that name none.
std::set<std::string> VoicesNamed(const Layer& layer) {
  std::set<std::string> voices;
  for (const LayerEntry& entry : layer) voices.insert(entry.voice.Text());
  return voices;
}

// The first voice the layer names that no earlier layer of the measure has; "" when none.
std::string OwnVoice(const std::set<std::string>& named, const std::set<std::string>& taken) {
  for (const std::string& voice : named)
    if (!voice.empty() && taken.count(voice) == 0) return voice;
  return {};
}

void SetVoice(const LayerEntry& entry, const std::string& voice) {
  xml::Node element =
      entry.voice ? entry.voice : InsertBeforeFirstOf(entry.element, "voice", kAfterVoice);
  for (xml::Node child = element.FirstChild(); child; child = element.FirstChild()) child.Remove();
  element.AppendText(voice);
}

}  // namespace

int32_t NumberVoices(xml::Node measure, Context& context) {
  return Trap(kNumberVoices, context.Caught(), [&] {
    int32_t numbered = 0;
    // A measure without a backup has one layer, which keeps its voices; its
    // notes need not be read.
    if (!measure.Child("backup")) return numbered;
    const std::vector<Layer> layers = Layers(measure);
    if (layers.size() < 2) return numbered;
    // Layer n is voice n wherever that voice is free, so a part's layers
    // keep the same voices from measure to measure.
    std::set<std::string> taken;
    for (size_t index = 0; index < layers.size(); ++index) {
      const Layer& layer = layers[index];
      if (layer.empty()) continue;
      const std::set<std::string> named = VoicesNamed(layer);
      // A layer that names a voice of its own keeps its voices: a layer
      // may hand over to the first voice after a forward. Its notes
      // without a voice join its own.
      const std::string own = OwnVoice(named, taken);
      if (!own.empty()) {
        if (named.count("") > 0) {
          for (const LayerEntry& entry : layer)
            if (!entry.voice) SetVoice(entry, own);
          ++numbered;
        }
        taken.insert(named.begin(), named.end());
        continue;
      }
      int32_t number = static_cast<int32_t>(index) + 1;
      while (taken.count(std::to_string(number)) > 0) ++number;
      const std::string voice = std::to_string(number);
      for (const LayerEntry& entry : layer) SetVoice(entry, voice);
      taken.insert(voice);
      ++numbered;
    }
    return numbered;
  });
}

}  // namespace musedata::finish
