// The finishing step: every pass over every part, in an order where each
// pass sees what the ones before it mended (ties are paired within voices,
// so voices are numbered first; empty end measures go before anything is
// added to their neighbours).

#include "musedata/finish.h"

#include "component/error_codes.h"
#include "finish/passes.h"

namespace musedata {

std::vector<std::pair<std::string, int32_t>> CountsByKind(const FinishCounts& counts) {
  return {{"empty measures removed", counts.measuresRemoved},
          {"double repeats mended", counts.repeatsMended},
          {"layers given a voice", counts.voicesNumbered},
          {"cue notes given a duration", counts.cueNotesTimed},
          {"ties closed", counts.tiesClosed},
          {"ties removed", counts.tiesRemoved},
          {"trill lines closed", counts.trillLinesClosed},
          {"directives shown as words", counts.tempoWords},
          {"values made valid", counts.valuesMended},
          {"courtesy accidentals mended", counts.accidentalsMended},
          {"instruments named", counts.instrumentsNamed}};
}

FinishCounts FinishScore(const Document& document,
                         const std::function<void(const std::string&)>& warning) {
  finish::Context context(warning);
  return Trap(kFinishScore, context.Caught(), [&] {
    FinishCounts counts;
    const xml::Node root = xml::Root(document);
    if (root.Name() != "score-partwise") return counts;
    for (finish::PartInScore& part : finish::PartsOf(root)) {
      counts.measuresRemoved += finish::RemoveEmptyEndMeasures(part, context);
      // The passes that walk the measures go measure by measure: a large
      // score does not fit in the cache, and a measure read from memory by
      // the first pass is still there for the others. Each pass sees every
      // measure as the passes before it left it; the tempo words and the
      // values change nothing that ties and trill lines read.
      //
      // Ties, trill lines and courtesy accidentals read the chords of each
      // voice, and the values the tuplet ratios. No pass after the voices
      // changes which notes form a chord, their pitches, accidentals or
      // ratios, so the notes are read once, as soon as their measure's
      // voices are numbered.
      std::vector<finish::TupletNote> tuplets;
      finish::ChordsOfVoices chords;
      finish::ValueWalk values;
      int32_t cueDivisions = 1;
      for (size_t index = 0; index < part.measures.size(); ++index) {
        // The passes skip from child to child of a measure, which the
        // processor cannot foresee; the next measure is asked for ahead.
        if (index + 2 < part.measures.size())
          xml::Prefetch(part.measures[index + 1], part.measures[index + 2]);
        counts.repeatsMended += finish::MendDoubleRepeat(part, index, context);
        counts.voicesNumbered += finish::NumberVoices(part.measures[index], context);
        counts.cueNotesTimed += finish::TimeCueNotes(part.measures[index], cueDivisions, context);
        finish::ReadChords(part.measures, index, chords, tuplets);
        counts.tempoWords += finish::AddTempoWords(part.measures[index], context);
        counts.valuesMended += finish::MendValues(part, index, tuplets, values, context);
      }
      const finish::TieChanges ties = finish::CloseTies(part, chords, context);
      counts.tiesClosed += ties.closed;
      counts.tiesRemoved += ties.removed;
      counts.trillLinesClosed += finish::CloseTrillLines(part, chords, context);
      counts.accidentalsMended += finish::MendCourtesyAccidentals(chords, context);
    }
    // Every score-part, also one whose part the import never filled.
    for (const xml::Node scorePart : root.Child("part-list").Children("score-part"))
      counts.instrumentsNamed += finish::NameInstrument(scorePart, context);
    return counts;
  });
}

}  // namespace musedata
