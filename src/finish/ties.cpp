// Ties that start on a chord tone, or anywhere, and never stop.

#include <map>
#include <string>
#include <vector>

#include "component/error_codes.h"
#include "finish/passes.h"

namespace musedata::finish {
namespace {

// A note's ties come before these children (a stop before a start).
constexpr std::string_view kTieOrLater[] = {
    "tie",        "instrument",        "footnote", "level",    "voice", "type", "dot",
    "accidental", "time-modification", "stem",     "notehead", "staff", "beam", "notations",
    "lyric"};

// A tie's two marks: the sounding `tie` among the note's children and the
// printed `tied` among its notations. MuseData writes them apart, so a note
// may carry either or both.
struct TieMarks {
  xml::Node tie;
  xml::Node tied;
  explicit operator bool() const { return tie || tied; }
};

TieMarks MarksOf(xml::Node note, std::string_view type) {
  TieMarks marks;
  for (xml::Node tie : note.Children("tie"))
    if (tie.Attr("type") == type) marks.tie = tie;
  for (xml::Node notations : note.Children("notations"))
    for (xml::Node tied : notations.Children("tied"))
      if (tied.Attr("type") == type) marks.tied = tied;
  return marks;
}

// Removes a printed tie and the notations it leaves empty.
void RemoveTied(xml::Node tied) {
  const xml::Node notations = tied.Parent();
  tied.Remove();
  if (!notations.FirstElement()) notations.Remove();
}

void RemoveMarks(const TieMarks& marks) {
  if (marks.tie) marks.tie.Remove();
  if (marks.tied) RemoveTied(marks.tied);
}

// Gives `note` the stops that answer the starts `opened` on its partner;
// true when it had to.
bool AddStops(xml::Node note, const TieMarks& opened) {
  const TieMarks stops = MarksOf(note, "stop");
  const bool needsTie = opened.tie && !stops.tie;
  const bool needsTied = opened.tied && !stops.tied;
  if (needsTie) InsertBeforeFirstOf(note, "tie", kTieOrLater).SetAttr("type", "stop");
  if (needsTied) {
    const xml::Node notations = NotationsOf(note);
    InsertBeforeFirstOf(notations, "tied", kNotationsContent).SetAttr("type", "stop");
  }
  return needsTie || needsTied;
}

// A tie waiting for its partner in the next chord of its voice.
struct OpenTie {
  xml::Node note;
  TieMarks marks;
  size_t measure;
};

}  // namespace

TieChanges CloseTies(const PartInScore& part, Context& context) {
  return Trap(kCloseTies, context.Caught(), [&] {
    TieChanges changes;
    auto dropUnanswered = [&](const OpenTie& open, const char* why) {
      RemoveMarks(open.marks);
      context.Warn(part, part.measures[open.measure],
                   "a tie on " + PitchName(open.note) + " " + why + "; removed");
      ++changes.removed;
    };
    for (const auto& [voice, chords] : ChordsByVoice(part.measures)) {
      std::map<std::string, OpenTie> open;  // by pitch
      for (const Chord& chord : chords) {
        std::map<std::string, OpenTie> opening;
        for (xml::Node note : chord.notes) {
          const std::string pitch = PitchOf(note);
          const auto partner = open.find(pitch);
          if (partner != open.end()) {
            if (AddStops(note, partner->second.marks)) ++changes.closed;
            open.erase(partner);
          } else if (const TieMarks stops = MarksOf(note, "stop")) {
            // A stop whose start was dropped, or that the converter paired
            // with a note further on than the next chord.
            RemoveMarks(stops);
            context.Warn(part, part.measures[chord.measure],
                         "a tie ends on " + PitchName(note) + " without a start; removed");
            ++changes.removed;
          }
          const TieMarks starts = MarksOf(note, "start");
          if (!starts) continue;
          if (pitch.empty()) {
            dropUnanswered({note, starts, chord.measure}, "is on a rest");
            continue;
          }
          opening[pitch] = OpenTie{note, starts, chord.measure};
        }
        // A tie not answered by this chord has lost its partner.
        for (const auto& [pitch, tie] : open)
          dropUnanswered(tie, "finds no note of that pitch in the next chord of its voice");
        open = std::move(opening);
      }
      for (const auto& [pitch, tie] : open) dropUnanswered(tie, "has no note after it to end on");
    }
    return changes;
  });
}

}  // namespace musedata::finish
