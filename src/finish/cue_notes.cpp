// Cue notes with the duration MusicXML requires of them.

#include <algorithm>
#include <string>

#include "component/error_codes.h"
#include "finish/passes.h"

namespace musedata::finish {
namespace {

bool IsUntimedCue(xml::Node element) {
  return element.Name() == "note" && element.Child("cue") && !element.Child("duration") &&
         !element.Child("grace");
}

}  // namespace

int32_t TimeCueNotes(xml::Node measure, int32_t& divisions, Context& context) {
  return Trap(kTimeCueNotes, context.Caught(), [&] {
    int32_t timed = 0;
    for (xml::Node element = measure.FirstElement(); element;) {
      if (element.Name() == "attributes") {
        if (const xml::Node given = element.Child("divisions"))
          divisions = std::max(1, WholeNumber(given.Text(), divisions));
        element = element.NextElement();
        continue;
      }
      if (!IsUntimedCue(element)) {
        element = element.NextElement();
        continue;
      }
      // A run of cue notes (chord tones with their chord) each gets the
      // duration its type says; the run then takes that much time, which
      // MuseData's cue notes never did: the invisible rest that follows
      // them in their voice gives it up, or a backup hands it back.
      const xml::Node voice = element.Child("voice");
      int64_t taken = 0;
      int64_t chordLength = 0;
      xml::Node next = element;
      for (; next && IsUntimedCue(next); next = next.NextElement()) {
        const bool chordTone = static_cast<bool>(next.Child("chord"));
        if (!chordTone || chordLength == 0) {
          chordLength = std::max<int64_t>(1, DurationOfType(next, divisions));
          // A chord tone of a note before the run sounds with that note.
          if (!chordTone) taken += chordLength;
        }
        InsertBeforeFirstOf(next, "duration", kAfterNoteDuration)
            .AppendText(std::to_string(chordLength));
        ++timed;
      }
      int64_t rest = 0;
      const bool restFollows =
          next && next.Name() == "forward" &&
          (!next.Child("voice") || !voice || next.Child("voice").Text() == voice.Text()) &&
          (rest = WholeNumber(next.Child("duration").Text(), 0)) >= taken;
      if (restFollows && rest == taken) {
        const xml::Node after = next.NextElement();
        next.Remove();
        element = after;
      } else if (restFollows) {
        next.Child("duration").SetText(std::to_string(rest - taken));
        element = next.NextElement();
      } else {
        const xml::Node backup =
            next ? measure.InsertElementBefore("backup", next) : measure.AppendElement("backup");
        backup.AppendElement("duration", std::to_string(taken));
        element = next;
      }
    }
    return timed;
  });
}

}  // namespace musedata::finish
