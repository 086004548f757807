// The finishing step for MuseData: every pass over every part to be
// exported, in an order where each pass sees what the ones before it mended
// (the opening attributes are completed after the attributes MuseData cannot
// write have gone, and read the measure numbers before those that are no
// bar numbers are left out; divisions are reduced last, over the durations
// the note pass added).

#include "component/error_codes.h"
#include "export_finish/passes.h"
#include "musedata/finish.h"

namespace musedata {

std::vector<std::pair<std::string, int32_t>> CountsByKind(const MuseDataFinishCounts& counts) {
  return {{"parts added to the part-list", counts.scorePartsAdded},
          {"voices given a number", counts.voicesRenumbered},
          {"attributes MuseData cannot hold mended", counts.attributesMended},
          {"empty attributes removed", counts.attributesRemoved},
          {"opening attributes completed", counts.attributesCompleted},
          {"directions written as words", counts.directionsAsWords},
          {"directions left out", counts.directionsDropped},
          {"directions split in two", counts.directionsSplit},
          {"sounds mended", counts.soundsMended},
          {"cue notes given their time", counts.cueTimeKept},
          {"unpitched notes placed", counts.unpitchedPlaced},
          {"durations added", counts.durationsMended},
          {"notes without layout positions", counts.positionsDropped},
          {"invisible rests written as irest", counts.hiddenRestsAsSpaces},
          {"measure numbers left out", counts.measureNumbersDropped},
          {"closing bar lines added", counts.closingBarLines},
          {"parts with divisions reduced", counts.divisionsReduced}};
}

MuseDataFinishCounts FinishForMuseData(const Document& document,
                                       const MuseDataFinishOptions& options,
                                       const std::function<void(const std::string&)>& warning) {
  finish::Context context(warning);
  return Trap(kFinishForMuseData, context.Caught(), [&] {
    MuseDataFinishCounts counts;
    const xml::Node root = xml::Root(document);
    if (root.Name() != "score-partwise") return counts;
    std::vector<finish::PartInScore> parts = finish::PartsOf(root);
    if (options.part > 0) {
      if (static_cast<size_t>(options.part) > parts.size()) return counts;
      finish::PartInScore chosen = std::move(parts[static_cast<size_t>(options.part - 1)]);
      parts.assign(1, std::move(chosen));
    }
    counts.scorePartsAdded += export_finish::AddMissingScoreParts(root, parts, context);
    for (const finish::PartInScore& part : parts) {
      counts.voicesRenumbered += export_finish::RenumberVoices(part, context);
      export_finish::NoteWalk notes;
      for (const xml::Node measure : part.measures) {
        const export_finish::AttributeChanges attributes =
            export_finish::MendAttributes(part, measure, context);
        counts.attributesMended += attributes.mended;
        counts.attributesRemoved += attributes.removed;
        const export_finish::DirectionChanges directions =
            export_finish::WriteDirectionsAsWords(part, measure, context);
        counts.directionsAsWords += directions.asWords;
        counts.directionsDropped += directions.dropped;
        counts.directionsSplit += directions.split;
        counts.soundsMended += export_finish::MendSounds(measure);
      }
      counts.attributesCompleted += export_finish::CompleteOpeningAttributes(part, context);
      for (const xml::Node measure : part.measures) {
        const export_finish::NoteChanges changes =
            export_finish::MendNotes(part, measure, options.keepPositions, notes, context);
        counts.cueTimeKept += changes.cueTime;
        counts.unpitchedPlaced += changes.unpitched;
        counts.durationsMended += changes.durations;
        counts.positionsDropped += changes.positions;
        counts.hiddenRestsAsSpaces += changes.hiddenRests;
      }
      counts.measureNumbersDropped += export_finish::DropMeasureNumbers(part);
      counts.closingBarLines += export_finish::CloseLastMeasure(part);
      if (options.reduceDivisions && export_finish::ReduceDivisions(part.part))
        ++counts.divisionsReduced;
    }
    return counts;
  });
}

}  // namespace musedata
