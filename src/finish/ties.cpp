// Ties that start on a chord tone, or anywhere, and never stop.

#include <map>
#include <string>
#include <vector>

#include "component/error_codes.h"
#include "finish/passes.h"

namespace musedata::finish {
namespace {

// A tie's two marks: the sounding `tie` among the note's children and the
// printed `tied` among its notations. MuseData writes them apart, so a note
// may carry either or both.
struct TieMarks {
  xml::Node tie;
  xml::Node tied;
  explicit operator bool() const { return tie || tied; }
};

// A note's tie starts and stops (the last of each kind counts), from the
// marks the chord walk found on it.
struct NoteTies {
  TieMarks starts;
  TieMarks stops;
};

NoteTies TiesOf(const NoteParts& parts) {
  NoteTies ties;
  for (xml::Node mark : parts.tieMarks) {
    const std::string_view type = mark.Attr("type");
    TieMarks* marks = type == "start" ? &ties.starts : type == "stop" ? &ties.stops : nullptr;
    if (!marks) continue;
    (mark.Name() == "tie" ? marks->tie : marks->tied) = mark;
  }
  return ties;
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

// Gives `note`, whose stops are `stops`, the stops that answer the starts
// `opened` on its partner; true when it had to.
bool AddStops(xml::Node note, const TieMarks& stops, const TieMarks& opened) {
  const bool needsTie = opened.tie && !stops.tie;
  const bool needsTied = opened.tied && !stops.tied;
  if (needsTie) InsertBeforeFirstOf(note, "tie", kAfterNoteDuration).SetAttr("type", "stop");
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
// By pitch; a chord may hold a pitch twice (two voices in unison on one
// staff), each with its own tie.
using OpenTies = std::multimap<std::string, OpenTie>;

// Walks the chords of one voice, pairing each tie with the next chord. A
// grace note stands between two chords without parting a tie that runs past
// it; a tie on a grace note ends on whatever chord follows it.
class TieCloser {
 public:
  TieCloser(const PartInScore& part, Context& context, TieChanges& changes)
      : m_part(part), m_context(context), m_changes(changes) {}

  void Take(const Chord& chord) {
    OpenTies opening;
    for (size_t tone = 0; tone < chord.notes.size(); ++tone) {
      const xml::Node note = chord.notes[tone];
      // Only the notes before this one have changed since the chords were
      // read, and answering or dropping stops leaves the note's starts as they are.
      const NoteTies ties = TiesOf(chord.parts[tone]);
      // Most notes neither end nor start a tie, and then their pitch does not matter.
      const bool pitchMatters = ties.starts || !m_open.empty() || !m_afterGrace.empty();
      const std::string pitch = pitchMatters ? PitchText(chord.parts[tone].pitch) : std::string();
      if (!Answer(m_afterGrace, pitch, note, ties.stops) &&
          (chord.grace || !Answer(m_open, pitch, note, ties.stops)))
        DropStopsWithoutStart(note, ties.stops, chord.measure);
      const TieMarks& starts = ties.starts;
      if (!starts) continue;
      if (pitch.empty()) {
        Drop({note, starts, chord.measure}, "is on a rest");
        continue;
      }
      opening.emplace(pitch, OpenTie{note, starts, chord.measure});
    }
    // A tie not answered by this chord has lost its partner.
    DropAll(m_afterGrace, "finds no note of that pitch in the next chord of its voice");
    if (chord.grace) {
      m_afterGrace = std::move(opening);
      return;
    }
    DropAll(m_open, "finds no note of that pitch in the next chord of its voice");
    m_open = std::move(opening);
  }

  void Finish() {
    DropAll(m_afterGrace, "has no note after it to end on");
    DropAll(m_open, "has no note after it to end on");
  }

 private:
  // Ends the tie open on `pitch`, if any, on `note`; false when there is none.
  bool Answer(OpenTies& open, const std::string& pitch, xml::Node note, const TieMarks& stops) {
    const auto partner = open.find(pitch);
    if (partner == open.end()) return false;
    if (AddStops(note, stops, partner->second.marks)) ++m_changes.closed;
    open.erase(partner);
    return true;
  }

  // A stop whose start was dropped, or that the converter paired with a note
  // further on than the next chord.
  void DropStopsWithoutStart(xml::Node note, const TieMarks& stops, size_t measure) {
    if (!stops) return;
    RemoveMarks(stops);
    m_context.Warn(m_part, m_part.measures[measure],
                   "a tie ends on " + PitchName(note) + " without a start; removed");
    ++m_changes.removed;
  }

  void Drop(const OpenTie& open, const char* why) {
    RemoveMarks(open.marks);
    m_context.Warn(m_part, m_part.measures[open.measure],
                   "a tie on " + PitchName(open.note) + " " + why + "; removed");
    ++m_changes.removed;
  }

  void DropAll(OpenTies& open, const char* why) {
    for (const auto& [pitch, tie] : open) Drop(tie, why);
    open.clear();
  }

  const PartInScore& m_part;
  Context& m_context;
  TieChanges& m_changes;
  OpenTies m_open;        // ties from the last chord that takes time
  OpenTies m_afterGrace;  // ties from the grace notes since then
};

}  // namespace

TieChanges CloseTies(const PartInScore& part, const ChordsOfVoices& chordsByVoice,
                     Context& context) {
  return Trap(kCloseTies, context.Caught(), [&] {
    TieChanges changes;
    for (const auto& [voice, chords] : chordsByVoice) {
      TieCloser closer(part, context, changes);
      for (const Chord& chord : chords) closer.Take(chord);
      closer.Finish();
    }
    return changes;
  });
}

}  // namespace musedata::finish
