#pragma once

// The finishing step: a pass over a finished MusicXML score that mends what a
// literal reading of MuseData leaves for notation programs to stumble on
// (ties and trill lines left open, layers without their own voice, tempo
// words only as attribute directives, values MusicXML refuses, ":||:" bar
// lines, courtesy signs that contradict their pitch, empty measures at the
// ends of a part, parts without an instrument). The converter component
// itself never runs it; the tool does by default, and hosts ask for it with
// ImportOptions::finish.

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "musedata/document.h"

namespace musedata {

// How many changes of each kind the finishing step made.
struct FinishCounts {
  int32_t measuresRemoved = 0;    // empty measures at the start or end of a part
  int32_t repeatsMended = 0;      // ":||:" bar lines written as two repeats
  int32_t voicesNumbered = 0;     // layers after a backup given a voice of their own
  int32_t cueNotesTimed = 0;      // cue notes given the duration MusicXML requires
  int32_t tiesClosed = 0;         // ties given the stop on their partner note
  int32_t tiesRemoved = 0;        // ties without a partner note
  int32_t trillLinesClosed = 0;   // wavy lines given their stop
  int32_t tempoWords = 0;         // directives also written as words above the staff
  int32_t valuesMended = 0;       // values that MusicXML refuses, made valid
  int32_t accidentalsMended = 0;  // courtesy signs made to agree with the pitch
  int32_t instrumentsNamed = 0;   // score-parts given a score-instrument
};

// Each kind of change as a reader names it ("ties closed"), with its count,
// in the order the step makes them.
std::vector<std::pair<std::string, int32_t>> CountsByKind(const FinishCounts& counts);

// Runs every pass of the finishing step over the score-partwise `document`
// and returns what it changed; an empty document or another root changes
// nothing. `warning` receives, naming part and measure, each change that
// drops or guesses something (it may be empty). Raises ConverterError
// (source "Verdantix") when a pass fails.
FinishCounts FinishScore(const Document& document,
                         const std::function<void(const std::string&)>& warning = {});

}  // namespace musedata

namespace musedata {

// How many changes of each kind the finishing step for MuseData made.
struct MuseDataFinishCounts {
  int32_t scorePartsAdded = 0;        // parts missing from the part-list given a score-part
  int32_t voicesRenumbered = 0;       // voices that are no number given one
  int32_t measureNumbersDropped = 0;  // measure numbers that are no bar number (invented, "12a")
  int32_t attributesCompleted = 0;    // opening attributes given a key, divisions, time or clef
  int32_t attributesMended = 0;       // attribute values MuseData cannot hold, mended or left out
  int32_t attributesRemoved = 0;      // attributes with nothing MuseData can write
  int32_t directionsAsWords = 0;      // metronome marks, rehearsal marks, segni ... as words
  int32_t directionsDropped = 0;      // direction types with neither a code nor a text
  int32_t directionsSplit = 0;        // directions of more types than one record holds
  int32_t cueTimeKept = 0;            // cue notes that take time, followed by a rest that keeps it
  int32_t unpitchedPlaced = 0;        // unpitched notes written at their display position
  int32_t durationsMended = 0;        // notes without a duration given the one their type says
  int32_t positionsDropped = 0;       // notes whose computed layout positions were left out
  int32_t hiddenRestsAsSpaces = 0;    // rests with print-object="no" written as irest
  int32_t soundsMended = 0;           // sounds with attributes MuseData has no code for
  int32_t closingBarLines = 0;        // parts given a closing bar line
  int32_t divisionsReduced = 0;       // parts whose divisions were divided to fit three columns
};

// Each kind of change as a reader names it, with its count, in the order the
// step makes them.
std::vector<std::pair<std::string, int32_t>> CountsByKind(const MuseDataFinishCounts& counts);

struct MuseDataFinishOptions {
  // The part to finish (from 1); 0 finishes every part.
  int32_t part = 0;
  // Keeps the layout positions (default-x, default-y, relative-x,
  // relative-y) of notes and their notations, which become "P" lines; by
  // default they are left out, since notation programs write the positions
  // they computed on every note, not an editor's suggestion.
  bool keepPositions = false;
  // Divides each part's divisions and durations by their greatest common
  // divisor when a duration does not fit MuseData's three columns.
  bool reduceDivisions = true;
};

// The finishing step for MuseData: mends, in the score-partwise `document`
// itself, what the export would write as MuseData that other readers (and
// our own import) refuse or misread: attributes with nothing MuseData can
// hold, an opening "$" without key, divisions, time or clef, a part without a
// closing bar line, measure numbers that are no bar number, directions whose
// type has no MuseData code (written as words: "q = 120", a rehearsal mark's
// text, "Segno"), cue notes whose time would be lost, unpitched notes, voices
// that are no number, parts missing from the part-list, computed layout
// positions, durations too wide for three columns. `warning` receives, naming
// part and measure, each change that drops or guesses something. Raises
// ConverterError (source "Verdantix") when a pass fails.
MuseDataFinishCounts FinishForMuseData(const Document& document,
                                       const MuseDataFinishOptions& options = {},
                                       const std::function<void(const std::string&)>& warning = {});

}  // namespace musedata
