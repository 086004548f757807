// The notation columns of a note, cue or grace record: printed ties, slurs,
// tuplets, ornaments with their accidentals, technical marks and fingerings,
// articulations, dynamics, arpeggios, fermatas, editorial levels, and
// editorial or cautionary accidentals, gathered in the note's `notations`.

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "component/error_codes.h"
#include "component/music_xml.h"
#include "encoding/base40.h"
#include "encoding/notation_codes.h"
#include "encoding/notation_columns.h"

namespace musedata {
namespace {

// The character of a notation column; '\0' past the last one, so that a
// code's argument never reads into the lyrics.
char CodeAt(const RecordView& record, int32_t column) noexcept {
  return column <= kNotationField.last ? record.At(column) : '\0';
}

std::string_view ColumnText(const RecordView& record, int32_t column) noexcept {
  return column <= kNotationField.last ? record.Column(column) : std::string_view();
}

bool IsBlank(char character) noexcept {
  return character == ' ' || character == '\0';
}

// Appends the element of a code with the attributes the code sets.
xml::Node AppendCoded(xml::Node parent, const NotationCode& code) {
  const xml::Node element = parent.AppendElement(code.element);
  for (const NotationAttribute& attribute : {code.first, code.second})
    if (attribute.name != nullptr) element.SetAttr(attribute.name, attribute.value);
  return element;
}

}  // namespace

// Reads one note's notation columns. The containers (ornaments, technical,
// articulations, dynamics) are made at their first use and belong to the
// current `notations`; an editorial level starts a new `notations` and with it
// new containers. Every element made is remembered as the last one, which the
// notation index enters under the column that made it, so that print and
// sound suggestions can find it.
class MusicXML::NotationReader {
 public:
  NotationReader(MusicXML& engine, const RecordView& record)
      : m_engine(engine), m_note(engine.m_note), m_record(record) {}

  // A printed tie that this note's track left open to this pitch ends here.
  void EndPrintedTie();
  // Reads the notation columns in order, then closes a dynamic still being spelt.
  void ReadColumns();

 private:
  // Reads the code at `column`; returns the column after the code and its argument.
  int32_t ReadCode(const NotationCode& code, int32_t column);

  void StartPrintedTie(const NotationCode& code);
  int32_t AppendOrnament(const NotationCode& code, int32_t column);
  void AppendFingering(const NotationCode& code, std::string_view finger);
  void ExtendDynamic(char letter, int32_t column);
  void CloseDynamic();
  void MarkAccidental(const NotationCode& code);
  int32_t StartEditorialLevel(int32_t column);

  // The printed tie left open in the note's track.
  std::string& OpenPrintedTie();
  void StartNotations();
  xml::Node Container(xml::Node& slot, const char* name);
  void Made(xml::Node element) { m_lastMade = element; }
  // Enters the last element made under `column`, and under the column of an
  // editorial level when it is the first element made after that level.
  void Enter(int32_t column);

  MusicXML& m_engine;
  NoteState& m_note;
  const RecordView& m_record;
  xml::Node m_notations;
  xml::Node m_ornaments;
  xml::Node m_technical;
  xml::Node m_articulations;
  xml::Node m_dynamics;
  std::string m_dynamic;  // consecutive dynamic letters, such as "ff" or "mp"
  int32_t m_dynamicColumn = 0;
  xml::Node m_lastMade;
  int32_t m_levelColumn = 0;  // an editorial level still waiting for its first element
  xml::Node m_madeBeforeLevel;
};

bool MusicXML::ParseNotations() {
  return Trap(kParseNotations, &m_caught, [&] {
    // A print suggestion after this note must find this note's notations only.
    m_note.notationIndex.Clear();
    const RecordView record = Record();
    NotationReader reader(*this, record);
    reader.EndPrintedTie();
    if (record.Has(kNotationField)) reader.ReadColumns();
    return true;
  });
}

void MusicXML::NotationReader::EndPrintedTie() {
  std::string& openTie = OpenPrintedTie();
  if (openTie.empty() || openTie != m_note.notePitchKey) return;
  StartNotations();
  const xml::Node tied = m_notations.AppendElement("tied");
  tied.SetAttr("type", "stop");
  Made(tied);
  openTie.clear();
}

void MusicXML::NotationReader::ReadColumns() {
  for (int32_t column = kNotationField.first; column <= kNotationField.last;) {
    const char character = CodeAt(m_record, column);
    const NotationCode* code = FindNotationCode(character);
    // Any other character than a blank opens the note's notations, even one
    // that stands for nothing; an editorial level makes its own.
    const bool isLevel = code != nullptr && code->family == NotationFamily::EditorialLevel;
    if (!IsBlank(character) && !isLevel && !m_notations) StartNotations();
    if (code == nullptr || code->family != NotationFamily::Dynamic) CloseDynamic();
    const int32_t next = code != nullptr ? ReadCode(*code, column) : column + 1;
    Enter(column);
    column = next;
  }
  CloseDynamic();
}

int32_t MusicXML::NotationReader::ReadCode(const NotationCode& code, int32_t column) {
  switch (code.family) {
    case NotationFamily::PrintedTie: StartPrintedTie(code); break;
    case NotationFamily::Notation: Made(AppendCoded(m_notations, code)); break;
    case NotationFamily::Ornament: return AppendOrnament(code, column);
    case NotationFamily::Technical:
      Made(AppendCoded(Container(m_technical, "technical"), code));
      break;
    case NotationFamily::Fingering: AppendFingering(code, std::string_view(&code.code, 1)); break;
    case NotationFamily::SubstitutedFingering:
      AppendFingering(code, ColumnText(m_record, column + kCodeArgument));
      return column + kCodeArgument + 1;
    case NotationFamily::Articulation:
      Made(AppendCoded(Container(m_articulations, "articulations"), code));
      break;
    case NotationFamily::Dynamic: ExtendDynamic(code.code, column); break;
    case NotationFamily::EditorialAccidental:
    case NotationFamily::CautionaryAccidental: MarkAccidental(code); break;
    case NotationFamily::EditorialLevel: return StartEditorialLevel(column);
  }
  return column + 1;
}

// The tie is drawn to the next note of this track with the same pitch field;
// only the last tie opened in a track is remembered.
void MusicXML::NotationReader::StartPrintedTie(const NotationCode& code) {
  Made(AppendCoded(m_notations, code));
  OpenPrintedTie() = m_note.notePitchKey;
}

// An ornament may be followed by the accidental of its auxiliary note. Those
// letters are read with the ornament and belong to it alone: the mark stands
// right after its ornament, and an ornament without letters has no mark.
int32_t MusicXML::NotationReader::AppendOrnament(const NotationCode& code, int32_t column) {
  std::array<char, kLongestAccidentalMark> letters{};
  for (int32_t i = 0; i < kLongestAccidentalMark; ++i)
    letters[static_cast<size_t>(i)] = CodeAt(m_record, column + kCodeArgument + i);
  const AccidentalMarkCode* mark = FindAccidentalMark({letters.data(), letters.size()});

  const xml::Node ornaments = Container(m_ornaments, "ornaments");
  Made(AppendCoded(ornaments, code));
  if (mark == nullptr) return column + 1;
  if (!mark->mark.empty()) {
    const xml::Node accidental = ornaments.AppendElement("accidental-mark", mark->mark);
    if (mark->below) accidental.SetAttr("placement", "below");
  }
  return column + 1 + static_cast<int32_t>(mark->letters.size());
}

void MusicXML::NotationReader::AppendFingering(const NotationCode& code, std::string_view finger) {
  const xml::Node fingering = AppendCoded(Container(m_technical, "technical"), code);
  fingering.AppendText(finger);
  Made(fingering);
}

// Consecutive dynamic letters spell one dynamic ("ff", "mp", "Zp" for sfp);
// it is made when the first other column closes it and is found under the
// column of its first letter.
void MusicXML::NotationReader::ExtendDynamic(char letter, int32_t column) {
  if (m_dynamic.empty()) m_dynamicColumn = column;
  m_dynamic.push_back(letter);
}

void MusicXML::NotationReader::CloseDynamic() {
  if (m_dynamic.empty()) return;
  Made(m_engine.CreateDynamicElement(Container(m_dynamics, "dynamics"), m_dynamic));
  m_dynamic.clear();
  Enter(m_dynamicColumn);
}

// An editorial or cautionary mark qualifies the note's printed accidental.
// A note without one gets a natural, printed where an accidental stands:
// before the first of its time modification, stem, staff and beams.
void MusicXML::NotationReader::MarkAccidental(const NotationCode& code) {
  if (!m_note.currentAccidental) {
    if (!m_note.accidentalPlaceholder) {
      if (code.family == NotationFamily::EditorialAccidental)
        RaiseConverterError(kErrEditorialNaturalPlaceholder,
                            "Cannot find placeholder for editorial natural");
      RaiseConverterError(kErrCautionaryNaturalPlaceholder,
                          "Cannot find placeholder for cautionary natural");
    }
    m_note.currentAccidental =
        m_note.currentNote.InsertElementBefore(code.element, m_note.accidentalPlaceholder);
    m_note.currentAccidental.AppendText("natural");
  }
  m_note.currentAccidental.SetAttr(code.first.name, code.first.value);
  Made(m_note.currentAccidental);
}

// "&" and a digit code: the codes after it belong to that editorial level and
// go into a `notations` of their own. Without a digit code "&" means nothing.
int32_t MusicXML::NotationReader::StartEditorialLevel(int32_t column) {
  const std::string level = ConvertDigit(ColumnText(m_record, column + kCodeArgument));
  if (level.empty()) return column + 1;
  StartNotations();
  m_notations.AppendElement("level", level);
  m_levelColumn = column;
  m_madeBeforeLevel = m_lastMade;
  return column + kCodeArgument + 1;
}

std::string& MusicXML::NotationReader::OpenPrintedTie() {
  std::vector<std::string>& openTies = m_engine.m_tables.pendingTied;
  const auto track = static_cast<size_t>(std::max(m_note.currentTrack, 0));
  if (track >= openTies.size()) openTies.resize(track + 1);
  return openTies[track];
}

// The note's notations stand after its beams and before its lyrics, which
// are read after them.
void MusicXML::NotationReader::StartNotations() {
  m_notations = m_note.currentNote.AppendElement("notations");
  m_ornaments = m_technical = m_articulations = m_dynamics = xml::Node();
}

xml::Node MusicXML::NotationReader::Container(xml::Node& slot, const char* name) {
  if (!slot) slot = m_notations.AppendElement(name);
  return slot;
}

void MusicXML::NotationReader::Enter(int32_t column) {
  if (!m_lastMade) return;
  m_note.notationIndex.Put(column, m_lastMade);
  if (m_levelColumn != 0 && m_lastMade != m_madeBeforeLevel) {
    m_note.notationIndex.Put(m_levelColumn, m_lastMade);
    m_levelColumn = 0;
  }
}

}  // namespace musedata
