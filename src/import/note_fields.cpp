// The data fields of a note record from column 13 on: editorial footnote and
// level, voice, note type, dots, accidental, tuplet ratio, stem, staff, beams,
// then the notations and the lyrics, in the order MusicXML wants them.

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "component/error_codes.h"
#include "component/music_xml.h"
#include "encoding/base40.h"
#include "encoding/columns.h"
#include "encoding/note_codes.h"

namespace musedata {
namespace {

// Editorial accidentals and cautionary naturals are placed before the first
// of accidental, time-modification, stem, staff and beam that the note has.
void KeepAsPlaceholder(NoteState& state, xml::Node element) {
  if (!state.accidentalPlaceholder) state.accidentalPlaceholder = element;
}

// Footnote, editorial level and voice. A cue or grace note already has its
// type, and MusicXML wants these three before it.
void AppendEditorialFields(xml::Node note, const RecordView& record, NoteKind kind) {
  const xml::Node reference = kind == NoteKind::Regular ? xml::Node() : note.Child("type");
  constexpr std::pair<int32_t, const char*> kFields[] = {
      {kNoteFootnote, "footnote"}, {kNoteLevel, "level"}, {kNoteTrack, "voice"}};
  for (const auto& [column, name] : kFields) {
    const std::string_view text = record.Field(column, column);
    if (!text.empty()) note.InsertElementBefore(name, reference).AppendText(text);
  }
}

void AppendDots(xml::Node note, const RecordView& record) {
  const char dots = record.At(kNoteDots);
  if (dots == '.' || dots == ':') note.AppendElement("dot");
  if (dots == ':') note.AppendElement("dot");
}

void AppendAccidental(NoteState& state, const RecordView& record) {
  const std::string_view text = TextForCode(kAccidentalCodes, record.At(kNoteAccidental));
  if (text.empty()) return;
  state.currentAccidental = state.currentNote.AppendElement("accidental", text);
  KeepAsPlaceholder(state, state.currentAccidental);
}

// A tuplet: so many actual notes in the time of so many normal ones. A record
// that gives only the actual notes means the usual ratio for that number.
void AppendTimeModification(NoteState& state, const RecordView& record) {
  if (!record.Has(kNoteTimeModification)) return;
  const std::string actual = ConvertDigit(record.Column(kNoteTimeModification.first));
  std::string normal = ConvertDigit(record.Column(kNoteTimeModification.last));
  if (normal.empty()) normal = DerivedNormalNotes(actual);
  if (actual.empty() || normal.empty()) return;
  const xml::Node ratio = state.currentNote.AppendElement("time-modification");
  ratio.AppendElement("actual-notes", actual);
  ratio.AppendElement("normal-notes", normal);
  KeepAsPlaceholder(state, ratio);
}

// A blank stem column means the note is printed without a stem; a record that
// ends before it says nothing about the stem.
void AppendStem(NoteState& state, const RecordView& record) {
  std::string_view direction;
  switch (record.At(kNoteStem)) {
    case 'u': direction = "up"; break;
    case 'd': direction = "down"; break;
    case ' ': direction = "none"; break;
    default: return;
  }
  KeepAsPlaceholder(state, state.currentNote.AppendElement("stem", direction));
}

void AppendStaff(NoteState& state, const RecordView& record) {
  const std::string_view staff = record.Field(kNoteStaff, kNoteStaff);
  if (!staff.empty()) KeepAsPlaceholder(state, state.currentNote.AppendElement("staff", staff));
}

// One beam per level that has a code. Beam repeaters (tremolo-like repeated
// figures), switched on by a print suggestion, mark the beams from level 2 on,
// or from level 1 when asked. A suggestion for one note switches them off
// after this note; one for a beam group, after the note whose level-1 beam
// closes the group.
void AppendBeams(NoteState& state, const RecordView& record) {
  const int32_t levels = kNoteBeams.last - kNoteBeams.first + 1;
  bool closesGroup = false;
  for (int32_t level = 1; level <= levels; ++level) {
    const std::string_view text = TextForCode(kBeamCodes, record.At(kNoteBeams.first + level - 1));
    if (text.empty()) continue;
    const xml::Node beam = state.currentNote.AppendElement("beam", text);
    beam.SetAttr("number", std::to_string(level));
    if (state.beamRepeaterOn && (state.repeaterFromFirstBeam || level >= 2))
      beam.SetAttr("repeater", "yes");
    KeepAsPlaceholder(state, beam);
    if (level == 1 && text == "end") closesGroup = true;
  }
  if (state.repeaterForOneNote) {
    state.beamRepeaterOn = false;
    state.repeaterFromFirstBeam = false;
  }
  if (state.repeaterUntilGroupCloses && closesGroup) state.StopBeamRepeaters();
}

}  // namespace

bool MusicXML::ParseStage2Data(NoteKind kind, bool isRest) {
  return Trap(kParseStage2Data, &m_caught, [&] {
    const RecordView record = Record();
    // A record that ends before the data fields has nothing more to say.
    if (record.Length() < kNoteFootnote) return true;
    const xml::Node note = m_note.currentNote;
    AppendEditorialFields(note, record, kind);
    if (kind == NoteKind::Regular) CreateNoteType(NoteKind::Regular);
    AppendDots(note, record);
    AppendAccidental(m_note, record);
    AppendTimeModification(m_note, record);
    if (!isRest) AppendStem(m_note, record);
    AppendStaff(m_note, record);
    AppendBeams(m_note, record);
    if (!ParseNotations()) return false;
    AppendLyrics(note, record);
    return true;
  });
}

// The lyrics: one verse after the other, separated by "|".
void MusicXML::AppendLyrics(xml::Node note, const RecordView& record) {
  if (record.Length() < kNoteLyrics) return;
  const std::string_view lyrics = TrimRight(record.From(kNoteLyrics));
  if (lyrics.empty()) return;
  const auto verses = static_cast<size_t>(std::count(lyrics.begin(), lyrics.end(), '|')) + 1;
  if (m_tables.lyricWordOpen.size() < verses + 1) m_tables.lyricWordOpen.resize(verses + 1);

  int32_t verse = 1;
  for (size_t begin = 0;; ++verse) {
    const size_t bar = lyrics.find('|', begin);
    AppendLyric(note, verse,
                lyrics.substr(begin, bar == std::string_view::npos ? bar : bar - begin));
    if (bar == std::string_view::npos) break;
    begin = bar + 1;
  }
}

// One verse's syllable. A trailing hyphen says the word goes on at the next
// note of this verse, a trailing underscore that the syllable is held (an
// extension line); a lone hyphen is an extension too.
void MusicXML::AppendLyric(xml::Node note, int32_t verse, std::string_view text) {
  const xml::Node lyric = note.AppendElement("lyric");
  lyric.SetAttr("number", std::to_string(verse));
  const bool hyphen = !text.empty() && text.back() == '-';
  if (hyphen) text.remove_suffix(1);
  bool extension = !text.empty() && text.back() == '_';
  if (extension) text.remove_suffix(1);

  if (!text.empty()) {
    // The verse's word flag: a word is open from an earlier note.
    std::vector<bool>::reference wordOpen = m_tables.lyricWordOpen.at(static_cast<size_t>(verse));
    const char* syllabic = wordOpen ? (hyphen ? "middle" : "end") : (hyphen ? "begin" : "single");
    wordOpen = hyphen;
    lyric.AppendElement("syllabic", syllabic);
    AddText(lyric.AppendElement("text"), text);
  } else if (hyphen) {
    extension = true;
  }
  if (extension) lyric.AppendElement("extend");
}

}  // namespace musedata
