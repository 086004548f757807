// Note, rest, chord, cue and grace records: the first children of a `note`
// (cue or grace marker, chord marker, pitch or rest, duration, sounding ties,
// note type). The later columns are read in note_fields.cpp.

#include <algorithm>

#include "component/error_codes.h"
#include "component/music_xml.h"
#include "encoding/columns.h"
#include "encoding/note_codes.h"

namespace musedata {
namespace {

bool IsDigit(std::string_view column) {
  return column.size() == 1 && column[0] >= '0' && column[0] <= '9';
}

bool IsWholeNumber(std::string_view text) {
  return !text.empty() &&
         std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// Appends the pitch written in the pitch field that starts at column `start`
// (step, optional accidental, octave), or a rest for "r". Returns true for a
// rest.
//
// A malformed field still gives what it can: a pitch with only its step when
// no octave or accidental follows, an octave holding whatever stands where the
// octave should be. When a single accidental is followed by neither a digit
// nor the same accidental again, a note record takes the octave from the
// column after that character, while a cue or grace record takes that
// character itself.
bool AppendPitchOrRest(xml::Node note, const RecordView& record, int32_t start, NoteKind kind) {
  if (record.At(start) == 'r') {
    note.AppendElement("rest");
    return true;
  }
  const xml::Node pitch = note.AppendElement("pitch");
  pitch.AppendElement("step", record.Column(start));

  const std::string_view first = record.Column(start + 1);
  if (IsDigit(first)) {
    pitch.AppendElement("octave", first);
    return false;
  }
  if (first != "f" && first != "#") return false;

  const std::string_view second = record.Column(start + 2);
  std::string accidental(first);
  std::string_view octave;
  if (second != first) {
    if (IsDigit(second) || kind != NoteKind::Regular)
      octave = second;
    else
      octave = record.Column(start + 3);
  } else {
    accidental.append(second);  // "##" or "ff"
    octave = record.Column(start + 3);
  }
  const std::string_view alter = AlterForAccidental(accidental);
  if (!alter.empty()) pitch.AppendElement("alter", alter);
  pitch.AppendElement("octave", octave);
  return false;
}

}  // namespace

bool MusicXML::ParseNoteRecord() {
  return Trap(kParseNoteRecord, &m_caught, [&] {
    const RecordView record = Record();
    const xml::Node note = StartNote();
    const bool isChordTone = record.At(kNoteKind) == ' ';
    if (isChordTone) note.AppendElement("chord");
    const Span pitchField = isChordTone ? Shifted(kNotePitch, 1) : kNotePitch;
    m_note.notePitchKey.assign(record.Raw(pitchField));
    const bool isRest = AppendPitchOrRest(note, record, pitchField.first, NoteKind::Regular);

    // The duration is copied as text, in the divisions the attributes set.
    const std::string_view duration = record.Field(kNoteDuration);
    if (!duration.empty()) m_note.lastDuration.assign(duration);
    note.AppendElement("duration", m_note.lastDuration);

    SelectTrack(record);
    AppendSoundingTies(note, record);
    return ParseStage2Data(NoteKind::Regular, isRest);
  });
}

bool MusicXML::ParseCueGrace() {
  return Trap(kParseCueGrace, &m_caught, [&] {
    const RecordView record = Record();
    const char marker = record.At(kCueGraceKind);
    if (marker != 'c' && marker != 'g') return false;
    const NoteKind kind = marker == 'c' ? NoteKind::Cue : NoteKind::Grace;

    const xml::Node note = StartNote();
    const xml::Node cueOrGrace = note.AppendElement(kind == NoteKind::Cue ? "cue" : "grace");
    const bool isChordTone = record.At(kCueGracePitch.first) == ' ';
    if (isChordTone) note.AppendElement("chord");
    const Span pitchField = isChordTone ? Shifted(kCueGracePitch, 1) : kCueGracePitch;
    // Cue and grace notes take part in no sounding tie; the key is kept for
    // the printed ties of their notations.
    m_note.notePitchKey.assign(record.Raw(pitchField));
    const bool isRest = AppendPitchOrRest(note, record, pitchField.first, kind);

    // Neither kind gets a duration: they take no time of the measure.
    if (kind == NoteKind::Grace)
      AppendGraceType(note, cueOrGrace, record);
    else
      CreateNoteType(NoteKind::Cue);
    return ParseStage2Data(kind, isRest);
  });
}

xml::Node MusicXML::CreateNoteType(NoteKind kind) {
  return Trap(kCreateNoteType, &m_caught, [&] {
    const char code = Record().At(kNoteType);
    for (const NoteTypeCode& entry : kNoteTypeCodes) {
      // Only a size that differs from the note's own is written out.
      if (code == entry.fullSize) {
        const xml::Node type = m_note.currentNote.AppendElement("type", entry.type);
        if (kind == NoteKind::Cue) type.SetAttr("size", "full");
        return type;
      }
      if (code == entry.cueSize) {
        const xml::Node type = m_note.currentNote.AppendElement("type", entry.type);
        if (kind != NoteKind::Cue) type.SetAttr("size", "cue");
        return type;
      }
    }
    return xml::Node();
  });
}

std::string_view MusicXML::CueGraceType(std::string_view code, bool& slash) {
  return Trap(kCueGraceType, &m_caught, [&]() -> std::string_view {
    slash = false;
    if (code.size() != 1) return {};
    for (const GraceTypeCode& entry : kGraceTypeCodes) {
      if (entry.code == code[0]) {
        slash = entry.slash;
        return entry.type;
      }
    }
    return {};
  });
}

// Opens a new note in the current measure; the accidental and its placeholder
// of the previous note no longer apply.
xml::Node MusicXML::StartNote() {
  m_note.currentNote = m_score.currentMeasure.AppendElement("note");
  m_note.currentAccidental = {};
  m_note.accidentalPlaceholder = {};
  return m_note.currentNote;
}

// Takes the track (voice) of column 15; both tie tables are grown so that the
// track has a slot in each.
void MusicXML::SelectTrack(const RecordView& record) {
  const std::string_view field = record.Field(kNoteTrack, kNoteTrack);
  int32_t track = IsWholeNumber(field) ? ToLong(field) : 0;
  track = std::max(track, 0);
  const size_t slots = static_cast<size_t>(track) + 1;
  if (slots > m_tables.pendingTies.size()) {
    m_tables.pendingTies.resize(slots);
    m_tables.pendingTied.resize(std::max(slots, m_tables.pendingTied.size()));
  }
  m_note.currentTrack = track;
}

// A sounding tie ends at the next note of the same track with the same pitch
// field; only the last tie opened in a track is remembered. A note that ends
// one tie and starts the next gets the stop first.
void MusicXML::AppendSoundingTies(xml::Node note, const RecordView& record) {
  std::string& openTie = m_tables.pendingTies.at(static_cast<size_t>(m_note.currentTrack));
  if (!openTie.empty() && openTie == m_note.notePitchKey) {
    note.AppendElement("tie").SetAttr("type", "stop");
    openTie.clear();
  }
  if (record.At(kNoteTie) == '-') {
    note.AppendElement("tie").SetAttr("type", "start");
    openTie = m_note.notePitchKey;
  }
}

// The printed value of a grace note; an unknown code leaves the note without a type.
void MusicXML::AppendGraceType(xml::Node note, xml::Node grace, const RecordView& record) {
  bool slash = false;
  const std::string_view type = CueGraceType(record.Column(kGraceType), slash);
  if (type.empty()) return;
  if (slash) grace.SetAttr("slash", "yes");
  note.AppendElement("type", type);
}

}  // namespace musedata
