// A voice of its own for every layer of a measure.

#include <algorithm>
#include <map>
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

// A note, or a forward that names a voice, with its first `voice` (empty
// when it has none) and the time it takes in the measure, in divisions.
struct LayerEntry {
  xml::Node element;
  xml::Node voice;
  int64_t start = 0;
  int64_t end = 0;
};
using Layer = std::vector<LayerEntry>;

// The notes of each layer of the measure, with the forwards that name a
// voice (a rest not printed); a backup starts the next layer.
std::vector<Layer> Layers(xml::Node measure) {
  std::vector<Layer> layers(1);
  int64_t position = 0;
  int64_t chordStart = 0;
  int64_t chordEnd = 0;
  for (xml::Node child : measure.Children()) {
    const std::string_view name = child.Name();
    const int64_t duration = WholeNumber(child.Child("duration").Text(), 0);
    if (name == "backup") {
      position -= duration;
      layers.emplace_back();
    } else if (name == "note" || name == "forward") {
      // A chord tone sounds with the note before it; a grace note takes no time.
      if (name == "forward" || !IsChordTone(child)) {
        chordStart = position;
        chordEnd = position + (child.Child("grace") ? 0 : duration);
        position = chordEnd;
      }
      const xml::Node voice = child.Child("voice");
      if (name == "note" || voice) layers.back().push_back({child, voice, chordStart, chordEnd});
    }
  }
  return layers;
}

// Where each voice sounds in the layers read so far: (start, end) spans.
using Spans = std::map<std::string, std::vector<std::pair<int64_t, int64_t>>>;

bool Overlaps(const Spans& spans, const std::string& voice, const LayerEntry& entry) {
  const auto found = spans.find(voice);
  if (found == spans.end()) return false;
  for (const auto& [start, end] : found->second)
    if (entry.start < end && start < entry.end) return true;
  return false;
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
    Spans spans;
    const auto occupy = [&](const Layer& layer) {
      for (const LayerEntry& entry : layer)
        if (entry.end > entry.start)
          spans[entry.element.Child("voice").Text()].emplace_back(entry.start, entry.end);
    };
    for (size_t index = 0; index < layers.size(); ++index) {
      const Layer& layer = layers[index];
      if (layer.empty()) continue;
      const std::set<std::string> named = VoicesNamed(layer);
      // A layer that names a voice of its own keeps its voices: a layer
      // may hand over to the first voice after a forward, where that voice
      // is silent. Its notes without a voice, and those of a voice that
      // sounds at the same time in an earlier layer, join its own.
      const std::string own = OwnVoice(named, taken);
      if (!own.empty()) {
        bool changed = false;
        for (const LayerEntry& entry : layer) {
          if (entry.voice &&
              (entry.voice.Text() == own || !Overlaps(spans, entry.voice.Text(), entry)))
            continue;
          SetVoice(entry, own);
          changed = true;
        }
        if (changed) ++numbered;
        taken.insert(named.begin(), named.end());
        occupy(layer);
        continue;
      }
      int32_t number = static_cast<int32_t>(index) + 1;
      while (taken.count(std::to_string(number)) > 0) ++number;
      const std::string voice = std::to_string(number);
      for (const LayerEntry& entry : layer) SetVoice(entry, voice);
      taken.insert(voice);
      occupy(layer);
      ++numbered;
    }
    return numbered;
  });
}

}  // namespace musedata::finish
