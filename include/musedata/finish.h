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
