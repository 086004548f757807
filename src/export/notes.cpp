// Note, rest, chord, cue and grace records with their suggestion lines, and
// the lyric text.

#include <string>
#include <vector>

#include "component/error_codes.h"
#include "component/music_xml.h"
#include "encoding/base40.h"
#include "encoding/columns.h"
#include "encoding/note_codes.h"
#include "encoding/suggestion_columns.h"
#include "encoding/text.h"
#include "export/suggestion_text.h"

namespace musedata {
namespace {

std::vector<xml::Node> ChildrenNamed(xml::Node parent, std::string_view name) {
  std::vector<xml::Node> children;
  for (const xml::Node child : parent.Children(name)) children.push_back(child);
  return children;
}

// A regular note's kind letter is its pitch; cue and grace notes are marked
// first, and a chord tone leaves a blank before its pitch.
std::string KindAndPitch(xml::Node note) {
  std::string text;
  if (note.Child("cue")) {
    text = "c";
  } else if (note.Child("grace")) {
    text = "g";
  }
  if (note.Child("chord")) text += ' ';
  if (const xml::Node pitch = note.Child("pitch")) {
    const xml::Node step = pitch.Child("step");
    const xml::Node octave = pitch.Child("octave");
    if (!step || !octave) throw RunTimeError::ObjectNotSet();
    text += step.Text();
    text += AccidentalForAlter(pitch.Child("alter").Text());
    text += octave.Text();
  } else if (note.Child("rest")) {
    text += "rest ";
  }
  return text;
}

// How a grace note takes its time: from the note before, from the note after,
// or by making time of its own; a bare letter takes the usual share.
std::string GraceTimingCodes(xml::Node grace) {
  std::string codes;
  for (const xml::Node::Attribute& attribute : grace.Attributes()) {
    const std::string_view name = attribute.name;
    const char letter = name == "steal-time-previous"    ? 'p'
                        : name == "steal-time-following" ? 'f'
                        : name == "make-time"            ? 'm'
                                                         : '\0';
    if (letter == '\0') continue;
    codes += letter;
    if (!attribute.value.empty()) codes += "t" + attribute.value;
  }
  return codes;
}

// The dots of column 18: MuseData marks one dot or "two or more".
char DotsCode(xml::Node note) {
  const int32_t dots = note.CountChildren("dot");
  return dots == 0 ? ' ' : dots == 1 ? '.' : ':';
}

// Columns 20 to 22: the actual notes, and the normal notes unless the tuplet
// is the usual triplet in the time of two.
std::string TimeModificationText(xml::Node note) {
  const xml::Node ratio = note.Child("time-modification");
  if (!ratio) return "   ";
  const std::string actual = ConvertToDigit(ratio.Child("actual-notes").Text());
  const std::string normal = ConvertToDigit(ratio.Child("normal-notes").Text());
  if (actual.empty()) return "   ";
  if ((actual == "3" && normal == "2") || normal.empty()) return actual + "  ";
  return actual + ":" + normal;
}

// Columns 26 to 31, one per beam level. A repeater (a tremolo-like repeated
// figure) is asked for with a print suggestion on the first beam column when
// it covers the level-1 beam, on the second when it starts at level 2.
std::string BeamField(xml::Node note, std::string& printSuggestion) {
  const int32_t levels = kNoteBeams.last - kNoteBeams.first + 1;
  std::string field(static_cast<size_t>(levels), ' ');
  bool repeater = false;
  bool repeaterOnFirstLevel = false;
  for (const xml::Node beam : note.Children("beam")) {
    const std::string_view numberText = beam.HasAttr("number") ? beam.Attr("number") : "1";
    const int32_t number = beam.AttrInt("number", 1);
    if (number < 1 || number > levels || std::to_string(number) != numberText)
      throw RunTimeError::SubscriptOutOfRange();
    field[static_cast<size_t>(number - 1)] = CodeForText(kBeamCodes, beam.Text());
    if (beam.Attr("repeater") == "yes") {
      repeater = true;
      repeaterOnFirstLevel = repeaterOnFirstLevel || number == 1;
    }
  }
  if (repeater)
    AddSuggestionGroup(printSuggestion, 'P',
                       repeaterOnFirstLevel ? kSuggestionAllBeams : kSuggestionUpperBeams, "a");
  return field;
}

// Whether a print-object or print-dot attribute says yes: absent counts as yes.
bool SaysYes(xml::Node note, const char* name) {
  return !note.HasAttr(name) || note.Attr(name) == "yes";
}

// The note's own position and visibility, as one print group for column 1.
// Whether the note and its dot are printed makes one code, written where the
// first of the two attributes stands.
std::string NotePrintCodes(xml::Node note) {
  std::string codes;
  bool visibilityWritten = false;
  for (const xml::Node::Attribute& attribute : note.Attributes()) {
    const std::string_view name = attribute.name;
    if (name == "print-object" || name == "print-dot") {
      if (visibilityWritten) continue;
      visibilityWritten = true;
      const bool object = SaysYes(note, "print-object");
      const bool dot = SaysYes(note, "print-dot");
      codes += object ? (dot ? "p0" : "p3") : (dot ? "p2" : "p1");
    } else {
      codes += PositionCode(name, attribute.value);
    }
  }
  return codes;
}

}  // namespace

bool MusicXML::SaveNote(xml::Node note) {
  return Trap(kSaveNote, &m_caught, [&] {
    m_export.printSuggestion.clear();
    m_export.soundSuggestion.clear();
    const xml::Node grace = note.Child("grace");
    const bool isCueOrGrace = note.Child("cue") || grace;
    if (grace && !note.Child("cue"))
      AddSuggestionGroup(m_export.soundSuggestion, 'S', kSuggestionWhole, GraceTimingCodes(grace));

    LineBuilder line;
    line.Put(kNoteKind, KindAndPitch(note));
    if (isCueOrGrace) {
      const bool slash = grace.Attr("slash") == "yes";
      line.Put(kGraceType, std::string(1, GraceCodeForType(note.Child("type").Text(), slash)));
    } else {
      const xml::Node duration = note.Child("duration");
      if (!duration) throw RunTimeError::ObjectNotSet();
      line.Put(kNoteDuration.first, FitDuration(duration.Text()));
      for (const xml::Node tie : note.Children("tie"))
        if (tie.Attr("type") == "start") line.Put(kNoteTie, "-");
    }
    line.Put(kNoteFootnote, SaveVoice(note));

    if (const xml::Node type = note.Child("type")) {
      const std::string_view size = type.Attr("size");
      const bool cueSize = size == "cue" || (size != "full" && isCueOrGrace);
      line.Put(kNoteType, std::string(1, NoteTypeCodeFor(type.Text(), cueSize)));
    }
    line.Put(kNoteDots, std::string(1, DotsCode(note)));
    const xml::Node accidental = note.Child("accidental");
    line.Put(kNoteAccidental, std::string(1, CodeForText(kAccidentalCodes, accidental.Text())));
    line.Put(kNoteTimeModification.first, TimeModificationText(note));
    line.Put(kNoteStem, std::string(1, StemCodeFor(note.Child("stem").Text())));
    const std::string staff = note.Child("staff").Text();
    line.Put(kNoteStaff, staff.empty() ? " " : staff.substr(0, 1));
    line.Put(kNoteBeams.first, BeamField(note, m_export.printSuggestion));
    line.Put(kNoteNotations.first,
             SaveNotations(ChildrenNamed(note, "notations"), accidental.Attr("cautionary") == "yes",
                           accidental.Attr("editorial") == "yes"));
    line.Put(kNoteLyrics, SaveLyrics(ChildrenNamed(note, "lyric")));

    AddSuggestionGroup(m_export.printSuggestion, 'P', kSuggestionWhole, NotePrintCodes(note));
    if (note.Attr("pizzicato") == "yes")
      AddSuggestionGroup(m_export.soundSuggestion, 'S', kSuggestionPizzicato, "a");

    WriteLine(line.Finish());
    if (!m_export.printSuggestion.empty()) WriteLine(m_export.printSuggestion);
    if (!m_export.soundSuggestion.empty()) WriteLine(m_export.soundSuggestion);
    return true;
  });
}

// Verses are separated by "|". A syllable that a later note continues ends in
// "-", one held over the following notes in "_". Syllables joined by an
// elision are written together with one blank between.
std::string MusicXML::SaveLyrics(const std::vector<xml::Node>& lyrics) {
  return Trap(kSaveLyrics, &m_caught, [&] {
    std::string result;
    bool first = true;
    for (const xml::Node lyric : lyrics) {
      std::string piece;
      for (const xml::Node text : lyric.Children("text")) {
        if (!piece.empty()) piece += ' ';
        piece += GetText(text);
      }
      const std::string syllabic = lyric.Child("syllabic").Text();
      if (syllabic == "begin" || syllabic == "middle") piece += '-';
      if (lyric.Child("extend")) piece += '_';
      if (!first) result += '|';
      result += piece;
      first = false;
    }
    // The lyrics share the record with everything before column 44.
    constexpr int32_t kLongestLyrics = 37;
    if (CharacterCount(result) > kLongestLyrics)
      result = std::string(RecordView(result).Raw(1, kLongestLyrics));
    return OnOneLine(std::move(result));
  });
}

}  // namespace musedata
