// Notes as MuseData's note records hold them: cue notes keep their time,
// unpitched notes their place on the staff, every note a duration; the
// positions a notation program computed for its own layout are left out.

#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include "component/error_codes.h"
#include "export_finish/passes.h"

namespace musedata::export_finish {
namespace {

constexpr const char* kPositionAttributes[] = {"default-x", "default-y", "relative-x",
                                               "relative-y"};
constexpr std::string_view kSteps = "CDEFGAB";

// Removes the layout positions of `element` and everything below it; true
// when there were any.
bool DropPositions(xml::Node element) {
  bool dropped = false;
  for (const char* attribute : kPositionAttributes) {
    if (!element.HasAttr(attribute)) continue;
    element.RemoveAttr(attribute);
    dropped = true;
  }
  for (const xml::Node child : element.Children()) dropped = DropPositions(child) || dropped;
  return dropped;
}

// A notation program that lays the page out writes the side of every slur as
// it drew it; on a note that carried such positions the slur's placement is
// part of that layout, not an editor's choice, and is left out with them.
void DropSlurPlacements(xml::Node note) {
  for (const xml::Node notations : note.Children("notations"))
    for (const xml::Node slur : notations.Children("slur"))
      if (slur.HasAttr("placement")) slur.RemoveAttr("placement");
}

// An invisible rest is MuseData's `irest`, which a `forward` writes: a rest
// with print-object="no" and nothing printed on it (no notations, no lyric)
// becomes a forward of its duration, voice and staff. Returns the forward,
// or a null node when `note` is not such a rest.
xml::Node HiddenRestAsForward(xml::Node measure, xml::Node note) {
  if (!note.Child("rest") || note.Attr("print-object") != "no") return xml::Node();
  for (const char* printed : {"cue", "grace", "chord", "notations", "lyric"})
    if (note.Child(printed)) return xml::Node();
  const xml::Node forward = measure.InsertElementBefore("forward", note);
  forward.AppendElement("duration", note.Child("duration").Text());
  if (const xml::Node voice = note.Child("voice")) forward.AppendElement("voice", voice.Text());
  if (const xml::Node staff = note.Child("staff")) forward.AppendElement("staff", staff.Text());
  note.Remove();
  return forward;
}

void ReadClefs(xml::Node attributes, NoteWalk& walk) {
  for (const xml::Node clef : attributes.Children("clef")) {
    const int32_t staff = clef.AttrInt("number", 1);
    if (staff < 1 || staff > 9) continue;
    if (walk.clefs.size() < static_cast<size_t>(staff))
      walk.clefs.resize(static_cast<size_t>(staff));
    NoteWalk::Clef& entry = walk.clefs[static_cast<size_t>(staff - 1)];
    const std::string sign = clef.Child("sign").Text();
    entry.sign = sign.empty() ? 'G' : sign[0];
    int64_t number = 0;
    const bool hasLine = ReadWholeNumber(clef.Child("line").Text(), number);
    entry.line = hasLine ? static_cast<int32_t>(number)
                         : (entry.sign == 'F'   ? 4
                            : entry.sign == 'C' ? 3
                                                : 2);
    entry.octaveChange = ReadWholeNumber(clef.Child("clef-octave-change").Text(), number)
                             ? static_cast<int32_t>(number)
                             : 0;
  }
}

// The step and octave of the middle line of `clef`'s staff, where an
// unpitched note without a display position stands.
std::pair<char, int32_t> MiddleLine(const NoteWalk::Clef& clef) {
  // The line of a G clef is G4, of an F clef F3, of a C clef C4; each line
  // lies two steps from the next.
  int32_t step = clef.sign == 'F' ? 3 + 3 * 7 : clef.sign == 'C' ? 0 + 4 * 7 : 4 + 4 * 7;
  step += (3 - clef.line) * 2 + clef.octaveChange * 7;
  return {kSteps[static_cast<size_t>(step % 7)], step / 7};
}

// Writes `unpitched` as a pitch at its display position.
void PlaceUnpitched(xml::Node note, xml::Node unpitched, const NoteWalk& walk) {
  std::string step = unpitched.Child("display-step").Text();
  std::string octave = unpitched.Child("display-octave").Text();
  if (step.empty() || octave.empty()) {
    const int32_t staff = static_cast<int32_t>(std::max<int64_t>(1, [&] {
      int64_t number = 1;
      ReadWholeNumber(note.Child("staff").Text(), number);
      return number;
    }()));
    const NoteWalk::Clef clef = static_cast<size_t>(staff) <= walk.clefs.size()
                                    ? walk.clefs[static_cast<size_t>(staff - 1)]
                                    : NoteWalk::Clef{};
    const auto [middleStep, middleOctave] = MiddleLine(clef);
    step = std::string(1, middleStep);
    octave = std::to_string(middleOctave);
  }
  const xml::Node pitch = note.InsertElementBefore("pitch", unpitched);
  pitch.AppendElement("step", step);
  pitch.AppendElement("octave", octave);
  unpitched.Remove();
}

// MuseData's pitches are whole semitones, at most two sharps or flats. A
// microtonal alteration (a quarter-tone flat, "-0.5") is written as the
// whole alteration it goes beyond ("-1.5" as a flat, "-0.5" as none), with a
// warning; "1.0" is written as 1. False when the alteration is no number or
// more than two semitones.
bool MendAlter(const PartInScore& part, xml::Node measure, xml::Node note, xml::Node alter,
               Context& context) {
  const std::string text = alter.Text();
  char* end = nullptr;
  const double value = std::strtod(text.c_str(), &end);
  if (text.empty() || end != text.c_str() + text.size() || !(std::fabs(value) < 2.5)) return false;
  const double whole = std::trunc(value);
  const std::string written = std::to_string(static_cast<int32_t>(whole));
  if (written == text) return true;
  if (whole != value)
    context.Warn(part, measure,
                 "a microtonal alteration (alter \"" + text + "\") of a " +
                     note.Child("pitch").Child("step").Text() +
                     " has no MuseData sign; written as alter " + written);
  alter.SetText(written);
  return true;
}

// MuseData writes a pitch as a step letter, an octave digit and at most two
// sharps or flats. A lower-case step is raised; a pitch that is none of
// these (a step "h", an octave "x" or 12) makes the note a rest, with a
// warning, rather than a record no reader takes. False when it did.
bool MendPitch(const PartInScore& part, xml::Node measure, xml::Node note, Context& context) {
  const xml::Node pitch = note.Child("pitch");
  if (!pitch) return true;
  const xml::Node step = pitch.Child("step");
  std::string letter = step.Text();
  if (letter.size() == 1 && letter[0] >= 'a' && letter[0] <= 'g') {
    letter[0] = static_cast<char>(letter[0] - 'a' + 'A');
    step.SetText(letter);
  }
  int64_t octave = -1;
  const xml::Node alterNode = pitch.Child("alter");
  const bool alterValid = !alterNode || MendAlter(part, measure, note, alterNode, context);
  if (letter.size() == 1 && kSteps.find(letter[0]) != std::string_view::npos &&
      ReadWholeNumber(pitch.Child("octave").Text(), octave) && octave <= 9 && alterValid)
    return true;
  context.Warn(part, measure,
               "a note whose pitch (step \"" + letter + "\", octave \"" +
                   pitch.Child("octave").Text() + "\"" +
                   (alterNode ? ", alter \"" + alterNode.Text() + "\"" : std::string()) +
                   ") MuseData cannot write is written as a rest");
  note.InsertElementBefore("rest", pitch);
  pitch.Remove();
  // What only a pitch has goes with it.
  for (const char* pitched : {"accidental", "tie"})
    while (const xml::Node child = note.Child(pitched)) child.Remove();
  for (const xml::Node notations : note.Children("notations"))
    while (const xml::Node tied = notations.Child("tied")) tied.Remove();
  return false;
}

int64_t DurationOf(xml::Node element) {
  int64_t duration = 0;
  return ReadWholeNumber(element.Child("duration").Text(), duration) ? duration : 0;
}

// A backup that reaches before the start of its measure, which MuseData's
// readers refuse or read into the measure before, is shortened to the start;
// returns the backup's duration as it stands.
int64_t BackupWithinMeasure(const PartInScore& part, xml::Node measure, xml::Node backup,
                            int64_t position, Context& context) {
  const int64_t duration = DurationOf(backup);
  if (duration <= position) return duration;
  const int64_t start = std::max<int64_t>(position, 0);
  context.Warn(part, measure,
               "a backup of " + std::to_string(duration) + " reaches before the measure's start; " +
                   std::to_string(start) + " written");
  backup.Child("duration").SetText(std::to_string(start));
  return start;
}

}  // namespace

NoteChanges MendNotes(const PartInScore& part, xml::Node measure, bool keepPositions,
                      NoteWalk& walk, Context& context) {
  return Trap(kMendNotes, context.Caught(), [&] {
    NoteChanges changes;
    xml::Node cue;  // a cue note that takes time, and its chord tones after it
    xml::Node lastOfCue;
    xml::Node lastDuration;  // the duration of the last note, shared by its chord tones
    const auto keepCueTime = [&] {
      if (!cue) return;
      const xml::Node forward = measure.InsertElementBefore("forward", lastOfCue.NextElement());
      forward.AppendElement("duration", cue.Child("duration").Text());
      if (const xml::Node voice = cue.Child("voice")) forward.AppendElement("voice", voice.Text());
      if (const xml::Node staff = cue.Child("staff")) forward.AppendElement("staff", staff.Text());
      ++changes.cueTime;
      cue = xml::Node();
    };
    std::vector<xml::Node> elements;
    for (const xml::Node element : measure.Children()) elements.push_back(element);
    int64_t position = 0;  // in divisions from the measure's start
    for (const xml::Node element : elements) {
      const std::string_view name = element.Name();
      if (name == "attributes") {
        if (const xml::Node divisions = element.Child("divisions")) {
          int64_t number = 0;
          if (ReadWholeNumber(divisions.Text(), number) && number > 0 && number < (1 << 24))
            walk.divisions = static_cast<int32_t>(number);
        }
        ReadClefs(element, walk);
      }
      if (name != "note") {
        keepCueTime();
        if (name == "forward") position += DurationOf(element);
        if (name == "backup")
          position -= BackupWithinMeasure(part, measure, element, position, context);
        if (name == "figured-bass" && !element.Child("figure")) {
          // MuseData's figure record holds one figure at least.
          context.Warn(part, measure, "a figured bass without figures is left out");
          element.Remove();
        }
        continue;
      }
      const bool chordTone = static_cast<bool>(element.Child("chord"));
      if (!chordTone) keepCueTime();
      if (!keepPositions && DropPositions(element)) {
        DropSlurPlacements(element);
        ++changes.positions;
      }
      MendPitch(part, measure, element, context);
      if (const xml::Node unpitched = element.Child("unpitched")) {
        PlaceUnpitched(element, unpitched, walk);
        ++changes.unpitched;
      } else if (!element.Child("pitch") && !element.Child("rest")) {
        finish::InsertBeforeFirstOf(
            element, "rest",
            {"duration", "tie", "instrument", "footnote", "level", "voice", "type", "dot"});
        context.Warn(part, measure, "a note with neither pitch nor rest is written as a rest");
      }
      const bool grace = static_cast<bool>(element.Child("grace"));
      xml::Node duration = element.Child("duration");
      if (!grace && !duration) {
        duration = finish::InsertBeforeFirstOf(element, "duration", finish::kAfterNoteDuration);
        if (chordTone && lastDuration) {
          duration.AppendText(lastDuration.Text());
        } else {
          duration.AppendText(
              std::to_string(finish::DurationOfType(element, std::max(walk.divisions, 1))));
          if (!element.Child("cue"))
            context.Warn(part, measure,
                         "a " + finish::PitchName(element) +
                             " without a duration is given the one its type says");
        }
        ++changes.durations;
      }
      if (!chordTone && !grace) position += DurationOf(element);
      if (HiddenRestAsForward(measure, element)) {
        ++changes.hiddenRests;
        continue;
      }
      if (!chordTone) lastDuration = duration;
      int64_t length = 0;
      if (!chordTone && element.Child("cue") && !grace &&
          ReadWholeNumber(duration.Text(), length) && length > 0)
        cue = element;
      if (cue) lastOfCue = element;
    }
    keepCueTime();
    return changes;
  });
}

}  // namespace musedata::export_finish
