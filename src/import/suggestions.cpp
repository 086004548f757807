// Print and sound suggestion records ("P", "S"): where the elements of the
// record before are printed and whether, and how the music sounds (tempo,
// dynamics, pizzicato, da capo, ornament playback, grace-note timing). Real
// files carry many codes that MusicXML has no place for; those are passed
// over, and so is a suggestion meant only for other applications.

#include <array>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "component/error_codes.h"
#include "component/music_xml.h"
#include "encoding/direction_codes.h"
#include "encoding/direction_columns.h"
#include "encoding/notation_columns.h"
#include "encoding/suggestion_columns.h"
#include "encoding/text.h"
#include "import/suggestion_record.h"

namespace musedata {
namespace {

// A code that sets one attribute: to `value`, or, when `value` is null, to the
// number written after the code (negated when `negate` is set).
struct AttributeCode {
  std::string_view code;
  const char* attribute;
  const char* value;
  bool negate = false;
};

// Positions in tenths of a staff space. MuseData counts y downwards, MusicXML
// upwards, so the vertical ones change sign.
constexpr std::array<AttributeCode, 4> kPositionCodes{{
    {"X", "default-x", nullptr},
    {"x", "relative-x", nullptr},
    {"Y", "default-y", nullptr, true},
    {"y", "relative-y", nullptr, true},
}};

// How an ornament is played: the note its trill starts on, the interval of
// its auxiliary note, its closing turn, and how its beats are spread.
constexpr std::array<AttributeCode, 12> kOrnamentSoundCodes{{
    {"m", "start-note", "main"},
    {"u", "start-note", "upper"},
    {"b", "start-note", "below"},
    {"w", "trill-step", "whole"},
    {"h", "trill-step", "half"},
    {"j", "trill-step", "unison"},
    {"e", "two-note-turn", "whole"},
    {"f", "two-note-turn", "half"},
    {"a", "accelerate", "yes"},
    {"n", "beats", nullptr},
    {"s", "second-beat", nullptr},
    {"t", "last-beat", nullptr},
}};

// A sound for the whole measure.
constexpr std::array<AttributeCode, 5> kMeasureSoundCodes{{
    {"W", "tempo", nullptr},
    {"V", "dynamics", nullptr},
    {"d", "dacapo", "yes"},
    {"S", "segno", nullptr},
    {"|>", "forward-repeat", "yes"},
}};

// Pizzicato for the measure from here on ("A", "B", "b"); "a" is for the
// note before the suggestion alone.
constexpr std::array<AttributeCode, 3> kMeasurePizzicatoCodes{{
    {"A", "pizzicato", "yes"},
    {"B", "pizzicato", "no"},
    {"b", "pizzicato", "no"},
}};
constexpr std::string_view kNotePizzicato = "a";

// How long a grace note takes: from the note before, from the note after, or
// time of its own, in percent.
constexpr std::array<AttributeCode, 3> kGraceTimingCodes{{
    {"p", "steal-time-previous", nullptr},
    {"f", "steal-time-following", nullptr},
    {"m", "make-time", nullptr},
}};
// Written after one of those letters, "t" gives it its number ("pt20").
constexpr std::string_view kGraceTimingNumber = "t";

const AttributeCode* FindCode(const auto& table, std::string_view code) noexcept {
  for (const AttributeCode& entry : table)
    if (entry.code == code) return &entry;
  return nullptr;
}

// The number of a code as attribute text; none when it has no usable number.
std::optional<std::string> NumberText(const SuggestionCode& code, bool negate) {
  const std::optional<int64_t> value = code.Value();
  if (!value || *value == std::numeric_limits<int64_t>::min()) return std::nullopt;
  return std::to_string(negate ? -*value : *value);
}

// The attribute value `entry` gives for `code`; none for a missing number.
std::optional<std::string> AttributeValue(const AttributeCode& entry, const SuggestionCode& code) {
  if (entry.value) return std::string(entry.value);
  return NumberText(code, entry.negate);
}

// Sets on `element` every attribute that the field's codes from `table` give;
// other codes are passed over.
void ApplyCodes(xml::Node element, const auto& table, const SuggestionField& field) {
  for (const SuggestionCode& code : field.codes) {
    const AttributeCode* entry = FindCode(table, code.code);
    if (!entry) continue;
    if (const std::optional<std::string> value = AttributeValue(*entry, code))
      element.SetAttr(entry->attribute, *value);
  }
}

// Whether the note or figured bass is printed, and the note's dots with it:
// p1 hides both, p2 the note but not its dots, p3 the dots alone.
void ApplyPrintObject(xml::Node element, const SuggestionField& field) {
  for (const SuggestionCode& code : field.codes) {
    if (code.code != "p") continue;
    switch (code.Value().value_or(0)) {
      case 1:
        element.SetAttr("print-object", "no");
        element.SetAttr("print-dot", "no");
        break;
      case 2:
        element.SetAttr("print-object", "no");
        element.SetAttr("print-dot", "yes");
        break;
      case 3: element.SetAttr("print-dot", "no"); break;
      default: break;
    }
  }
}

bool ClosesBeamGroup(xml::Node note) {
  for (const xml::Node beam : note.Children("beam"))
    if (beam.AttrInt("number", 0) == 1 && beam.Text() == "end") return true;
  return false;
}

// Beam repeaters: "a" and "c" mark the beams of this note and of the notes
// after it up to the one that closes this beam group, "A" those of every
// note from here on, and "b" stops them. The suggestion follows the note
// that begins the group; the notes after it are marked as they are read.
void ApplyBeamRepeaters(NoteState& state, const SuggestionField& field) {
  const bool allLevels = field.column == kSuggestionAllBeams;
  for (const SuggestionCode& code : field.codes) {
    if (code.code == "b") {
      state.StopBeamRepeaters();
      continue;
    }
    if (code.code != "a" && code.code != "c" && code.code != "A") continue;
    for (const xml::Node beam : state.currentNote.Children("beam"))
      if (allLevels || beam.AttrInt("number", 0) >= 2) beam.SetAttr("repeater", "yes");
    state.beamRepeaterOn = true;
    state.repeaterFromFirstBeam = allLevels;
    state.repeaterUntilGroupCloses = code.code != "A";
    if (state.repeaterUntilGroupCloses && ClosesBeamGroup(state.currentNote))
      state.StopBeamRepeaters();
  }
}

bool IsNotationColumn(int32_t column) noexcept {
  return column >= kNotationField.first && column <= kNotationField.last;
}

// A dynamic made from the notation columns is a child of `dynamics`, which is
// the element that is placed and positioned.
xml::Node PositionedElement(xml::Node notation) {
  const xml::Node parent = notation.Parent();
  return parent.Name() == "dynamics" ? parent : notation;
}

// The element that takes a placement above or below the staff: a tuplet, an
// ornament, technical mark or articulation, or a dynamics; none for others.
xml::Node PlacedElement(xml::Node notation) {
  if (notation.Name() == "tuplet") return notation;
  const std::string_view parent = notation.Parent().Name();
  if (parent == "ornaments" || parent == "technical" || parent == "articulations") return notation;
  return parent == "dynamics" ? notation.Parent() : xml::Node();
}

// Positions, and where a slur, tie or other mark stands: "o" and "u" put a
// slur over or under the notes and curve a tie over or under; "a" and "b" put
// other marks above or below the staff.
void ApplyNotationPrint(xml::Node notation, const SuggestionField& field) {
  ApplyCodes(PositionedElement(notation), kPositionCodes, field);
  const std::string_view name = notation.Name();
  const xml::Node placed = PlacedElement(notation);
  for (const SuggestionCode& code : field.codes) {
    const bool over = code.code == "o";
    if (over || code.code == "u") {
      if (name == "slur") notation.SetAttr("placement", over ? "above" : "below");
      if (name == "tied") notation.SetAttr("orientation", over ? "over" : "under");
    } else if ((code.code == "a" || code.code == "b") && placed) {
      placed.SetAttr("placement", code.code == "a" ? "above" : "below");
    }
  }
}

bool CarriesText(xml::Node element) {
  const std::string_view name = element.Name();
  return name == "words" || name == "dynamics" || name == "rehearsal";
}

// The element that a direction's type column (17 or 18) made; none when the
// column's letter makes nothing. A column that makes nothing has no
// direction-type, so the second column's may be the direction's first.
xml::Node TypeColumnElement(xml::Node direction, const RecordView& record, int32_t column) {
  const bool firstMade = FindDirectionType(record.Field(kDirectionFirstType, kDirectionFirstType));
  const bool secondMade =
      FindDirectionType(record.Field(kDirectionSecondType, kDirectionSecondType));
  if (column == kDirectionFirstType ? !firstMade : !secondMade) return {};
  int32_t index = column == kDirectionSecondType && firstMade ? 1 : 0;
  for (const xml::Node directionType : direction.Children("direction-type"))
    if (index-- == 0) return directionType.FirstElement();
  return {};
}

// Which piece of a direction's text stands at `offset` (0-based, in
// characters): a font change ("!" and digits) begins a new piece, except at
// the very start, where it sets the first piece's font.
size_t TextPieceAt(const RecordView& text, int32_t offset) {
  const auto isDigit = [&](int32_t column) {
    return text.At(column) >= '0' && text.At(column) <= '9';
  };
  size_t piece = 0;
  for (int32_t column = 1; column <= offset + 1; ++column) {
    if (text.At(column) != '!' || !isDigit(column + 1)) continue;
    if (column > 1) ++piece;
    while (isDigit(column + 1)) ++column;
  }
  return piece;
}

// The element that holds column `column` (25 or later) of a direction's
// text; none past the end of the text. Each piece of text between font
// changes has an element of its own, in document order.
xml::Node TextElementAt(xml::Node direction, const RecordView& record, int32_t column) {
  const RecordView text(TrimRight(record.From(kDirectionText)));
  const int32_t offset = column - kDirectionText;
  if (offset >= text.Length()) return {};
  size_t piece = TextPieceAt(text, offset);
  for (const xml::Node directionType : direction.Children("direction-type"))
    for (const xml::Node element : directionType.Children())
      if (CarriesText(element) && piece-- == 0) return element;
  return {};
}

std::optional<std::string> FontNumber(const SuggestionField& field) {
  std::optional<std::string> font;
  for (const SuggestionCode& code : field.codes)
    if (code.code == "f" && !code.number.empty()) font = code.number;
  return font;
}

// Appends a sound with the attributes that the field's codes from `table`
// give; nothing when they give none.
void AppendMeasureSound(xml::Node measure, const auto& table, const SuggestionField& field) {
  std::vector<std::pair<const char*, std::string>> attributes;
  for (const SuggestionCode& code : field.codes) {
    const AttributeCode* entry = FindCode(table, code.code);
    if (!entry) continue;
    if (std::optional<std::string> value = AttributeValue(*entry, code))
      attributes.emplace_back(entry->attribute, std::move(*value));
  }
  if (attributes.empty()) return;
  const xml::Node sound = measure.AppendElement("sound");
  for (const auto& [name, value] : attributes) sound.SetAttr(name, value);
}

}  // namespace

bool MusicXML::ParsePrintSuggestion() {
  return Trap(kParsePrintSuggestion, &m_caught, [&] {
    const SuggestionRecord suggestion = ReadSuggestionRecord(m_reader.currentRecord);
    if (!suggestion.applies) return true;
    for (const SuggestionField& field : suggestion.fields) ApplyPrintField(field);
    return true;
  });
}

bool MusicXML::ParseSoundSuggestion() {
  return Trap(kParseSoundSuggestion, &m_caught, [&] {
    const SuggestionRecord suggestion = ReadSuggestionRecord(m_reader.currentRecord);
    if (!suggestion.applies) return true;
    for (const SuggestionField& field : suggestion.fields) ApplySoundField(field);
    return true;
  });
}

void MusicXML::RememberSuggestionTarget(RecordKind kind) {
  switch (kind) {
    case RecordKind::PrintSuggestion:
    case RecordKind::SoundSuggestion:
    case RecordKind::CommentToggle:
    case RecordKind::Comment: return;  // suggestions and comments refer to nothing of their own
    case RecordKind::Note:
    case RecordKind::CueOrGrace: m_suggestion.previous = SuggestedRecord::Note; return;
    case RecordKind::Direction:
      m_suggestion.previous = SuggestedRecord::Direction;
      m_suggestion.directionRecord = m_reader.currentRecord;
      return;
    case RecordKind::FiguredBass: m_suggestion.previous = SuggestedRecord::FiguredBass; return;
    default: m_suggestion.previous = SuggestedRecord::Other; return;
  }
}

// A print field means something only after the kinds of record it is made
// for: the note (as a whole, its beams, its notations), the figured bass (as
// a whole) and the direction. Anything else is passed over.
void MusicXML::ApplyPrintField(const SuggestionField& field) {
  switch (m_suggestion.previous) {
    case SuggestedRecord::Note:
      if (!m_note.currentNote) return;
      if (field.column == kSuggestionWhole) {
        ApplyCodes(m_note.currentNote, kPositionCodes, field);
        ApplyPrintObject(m_note.currentNote, field);
      } else if (field.column == kSuggestionAllBeams || field.column == kSuggestionUpperBeams) {
        ApplyBeamRepeaters(m_note, field);
      } else if (IsNotationColumn(field.column)) {
        const xml::Node notation = m_note.notationIndex.Find(field.column);
        if (!notation)
          return WarnMissingTarget(m_warnings.missingNotationShown,
                                   "Print suggestion to non-existent notation");
        ApplyNotationPrint(notation, field);
      }
      return;
    case SuggestedRecord::FiguredBass:
      if (field.column != kSuggestionWhole || !m_direction.currentFiguredBass) return;
      ApplyCodes(m_direction.currentFiguredBass, kPositionCodes, field);
      ApplyPrintObject(m_direction.currentFiguredBass, field);
      return;
    case SuggestedRecord::Direction: ApplyDirectionField(field); return;
    case SuggestedRecord::None:
    case SuggestedRecord::Other: return;
  }
}

// The type columns take positions and the font of their text; the text
// columns take the font of the piece of text that stands there.
void MusicXML::ApplyDirectionField(const SuggestionField& field) {
  const RecordView record(m_suggestion.directionRecord);
  const xml::Node direction = m_direction.currentDirection;
  constexpr std::string_view kMissing = "Print direction to non-existent direction";
  if (field.column == kDirectionFirstType || field.column == kDirectionSecondType) {
    const xml::Node element = TypeColumnElement(direction, record, field.column);
    if (!element) return WarnMissingTarget(m_warnings.missingDirectionShown, kMissing);
    ApplyCodes(element, kPositionCodes, field);
    const std::optional<std::string> font = FontNumber(field);
    if (!font) return;
    // A column without text of its own (a wedge beside words) lends the
    // font to the other column's text.
    xml::Node text = element;
    if (!CarriesText(text)) {
      const int32_t other =
          field.column == kDirectionFirstType ? kDirectionSecondType : kDirectionFirstType;
      text = TypeColumnElement(direction, record, other);
    }
    if (!CarriesText(text)) return WarnMissingTarget(m_warnings.missingDirectionShown, kMissing);
    AddFontNumber(text, *font);
  } else if (field.column >= kDirectionText) {
    const std::optional<std::string> font = FontNumber(field);
    if (!font) return;
    const xml::Node text = TextElementAt(direction, record, field.column);
    if (!text) return WarnMissingTarget(m_warnings.missingDirectionShown, kMissing);
    AddFontNumber(text, *font);
  }
}

void MusicXML::ApplySoundField(const SuggestionField& field) {
  const bool afterNote = m_suggestion.previous == SuggestedRecord::Note && m_note.currentNote;
  if (field.column == kSuggestionGeneral) {
    AppendMeasureSound(m_score.currentMeasure, kMeasureSoundCodes, field);
  } else if (field.column == kSuggestionFine) {
    // The fine's value is text ("yes", or the beats of the last measure).
    const size_t code = field.data.find('F');
    if (code != std::string::npos && code + 1 < field.data.size())
      m_score.currentMeasure.AppendElement("sound").SetAttr("fine", field.data.substr(code + 1));
  } else if (field.column == kSuggestionPizzicato) {
    AppendMeasureSound(m_score.currentMeasure, kMeasurePizzicatoCodes, field);
    for (const SuggestionCode& code : field.codes) {
      if (code.code != kNotePizzicato) continue;
      if (!afterNote)
        return WarnMissingTarget(m_warnings.missingNoteShown,
                                 "Sound suggestion to non-existent note");
      m_note.currentNote.SetAttr("pizzicato", "yes");
    }
  } else if (field.column == kSuggestionWhole) {
    ApplyGraceTiming(field);
  } else if (IsNotationColumn(field.column)) {
    const xml::Node ornament = afterNote ? m_note.notationIndex.Find(field.column) : xml::Node();
    if (ornament.Parent().Name() != "ornaments")
      return WarnMissingTarget(m_warnings.missingOrnamentShown,
                               "Sound suggestion to non-existent ornament");
    ApplyCodes(ornament, kOrnamentSoundCodes, field);
  }
}

// A letter without a number sets its attribute empty, as a grace note whose
// timing has no value was written; a "t" code that follows gives the number.
void MusicXML::ApplyGraceTiming(const SuggestionField& field) {
  const bool afterNote = m_suggestion.previous == SuggestedRecord::Note && m_note.currentNote;
  const xml::Node grace = afterNote ? m_note.currentNote.Child("grace") : xml::Node();
  if (!grace)
    return WarnMissingTarget(m_warnings.missingGraceShown,
                             "Sound suggestion to non-existent grace note");
  const char* numbered = nullptr;  // the attribute that a following "t" gives its number
  for (const SuggestionCode& code : field.codes) {
    if (const AttributeCode* entry = FindCode(kGraceTimingCodes, code.code)) {
      grace.SetAttr(entry->attribute, NumberText(code, false).value_or(""));
      numbered = entry->attribute;
    } else if (code.code == kGraceTimingNumber && numbered) {
      if (const std::optional<std::string> number = NumberText(code, false))
        grace.SetAttr(numbered, *number);
      numbered = nullptr;
    } else {
      numbered = nullptr;
    }
  }
}

void MusicXML::WarnMissingTarget(bool& shown, std::string_view message) {
  if (shown) return;
  shown = true;
  ShowWarning(std::string(message) + ": " + LocationText());
}

}  // namespace musedata
