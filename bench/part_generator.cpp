#include "part_generator.h"

#include <array>
#include <string_view>

#include "encoding/columns.h"
#include "encoding/direction_columns.h"
#include "encoding/measure_columns.h"

namespace musedata::bench {
namespace {

// splitmix64: its sequence is fixed by the seed on every platform, which the
// standard library's distributions do not promise.
class Random {
 public:
  explicit Random(uint64_t seed) : m_state(seed) {}

  uint64_t Next() {
    uint64_t z = (m_state += 0x9E3779B97F4A7C15);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EB;
    return z ^ (z >> 31);
  }
  // A number from 0 to count - 1.
  size_t Below(size_t count) { return static_cast<size_t>(Next() % count); }
  bool Chance(int percent) { return Below(100) < static_cast<size_t>(percent); }
  template <typename T, size_t N>
  const T& Pick(const std::array<T, N>& items) {
    return items[Below(N)];
  }

 private:
  uint64_t m_state;
};

// One record laid out by columns, counted from 1 as MuseData counts them.
class Record {
 public:
  explicit Record(std::string_view start = {}) : m_line(start) {}

  Record& Put(int32_t column, std::string_view text) {
    const size_t at = static_cast<size_t>(column) - 1;
    if (m_line.size() < at + text.size()) m_line.resize(at + text.size(), ' ');
    m_line.replace(at, text.size(), text);
    return *this;
  }
  Record& Put(int32_t column, char c) {
    return c == ' ' ? *this : Put(column, std::string_view(&c, 1));
  }
  // Writes `text` so that it ends at column `last`, as numbers stand in their fields.
  Record& PutRight(int32_t last, std::string_view text) {
    return Put(last + 1 - static_cast<int32_t>(text.size()), text);
  }
  // The record as an editor saves it, without trailing blanks.
  std::string_view Line() const {
    const size_t end = m_line.find_last_not_of(' ');
    return end == std::string::npos ? std::string_view()
                                    : std::string_view(m_line).substr(0, end + 1);
  }
  // The record padded to `width` columns, for a record whose text goes on in a
  // continuation line that starts exactly at the next column.
  std::string_view Padded(int32_t width) {
    if (m_line.size() < static_cast<size_t>(width)) m_line.resize(static_cast<size_t>(width), ' ');
    return m_line;
  }

 private:
  std::string m_line;
};

// What a note record stands for.
enum class NoteKind { Regular, ChordTone, Rest, Cue, Grace };

// The fields of one note record; blanks stay blank.
struct NoteFields {
  NoteKind kind = NoteKind::Regular;
  std::string pitch;  // "C#5", "Bf3"; unused for rests
  int32_t duration = 0;
  bool tie = false;
  char footnote = ' ';
  char level = ' ';
  int32_t track = 1;
  char type = ' ';  // the note-type code (cue-size codes for cue notes)
  char graceType = ' ';
  char dots = ' ';
  char accidental = ' ';
  char actualNotes = ' ';
  char normalNotes = ' ';
  char stem = ' ';
  char staff = ' ';
  std::string beams;
  std::string notations;  // at most twelve columns
  std::string lyrics;
};

// Measures are 4/4 (or its common and cut signs) at twelve divisions per quarter,
// so that eighths, sixteenths and triplet eighths all take whole divisions.
constexpr int32_t kDivisions = 12;
constexpr int32_t kMeasure = 4 * kDivisions;
constexpr int32_t kEighth = kDivisions / 2;
constexpr int32_t kSixteenth = kDivisions / 4;
constexpr int32_t kTripletEighth = kDivisions / 3;

constexpr std::array<char, 7> kSteps{'C', 'D', 'E', 'F', 'G', 'A', 'B'};

// Ornaments, technical marks, articulations, fermatas and dynamics that a note
// may carry besides its slurs, tuplets and ties. Ornaments are followed by
// their accidental marks ("s", "bb", "uh"), a fingering substitution by its
// finger, an editorial level by its digit and the mark it governs.
constexpr std::array<std::string_view, 40> kMarks{
    "t",   "tb", "tss", "tus", "r",  "rh", "k", "w", "wub", "M",   "j",   "~", "c", "v",
    ".",   ">",  "_",   "A",   "V",  "=",  "i", "'", "n",   "o",   "0",   "Q", "1", "4",
    ":34", "F",  "E",   "S",   "ff", "mp", "p", "Z", "R",   "&1.", "&2>", ".>"};

// Lyric syllables of two verses: a hyphen leaves the word open, "_" extends the
// syllable, and the texts carry character escapes and XML's special characters.
constexpr std::array<std::string_view, 16> kFirstVerse{"Glo-", "ri-", "a",   "in", "ex-", "cel-",
                                                       "sis",  "De-", "o_",  "et", "in",  "ter-",
                                                       "ra",   "pax", "ho-", "mi-"};
constexpr std::array<std::string_view, 12> kSecondVerse{"Fr\\3au-", "de",   "sch\\3o-", "ner",
                                                        "G\\3ot-",  "ter-", "fun-",     "ken",
                                                        "l'\\8a-",  "mour", "R&B",      "<o>"};

constexpr std::array<std::string_view, 8> kFigures{"6",  "6 4", "#",    "5+ #x",
                                                   "b7", "10+", "6  4", "#6 4 b"};

class PartWriter {
 public:
  explicit PartWriter(uint64_t seed) : m_random(seed) {}

  GeneratedPart Write(size_t targetBytes) {
    WriteHeader();
    WriteLine("$  K:-3  Q:12  T:4/4  C1:4  C2:22  X:-6  I:1  S:2  D:Allegro con brio");
    WriteLine("S C0:W120V80");
    while (m_part.text.size() < targetBytes) WriteMeasure();
    WriteLine("mheavy2");
    WriteLine("/FINE");
    WriteLine("Generated for the musedata import benchmarks;");
    WriteLine("the music repeats its patterns with a fixed seed.");
    WriteLine("/END");
    return std::move(m_part);
  }

 private:
  void WriteLine(std::string_view line) {
    m_part.text.append(line).push_back('\n');
    if (line.empty() || line.front() != 'a') ++m_part.records;
  }
  void WriteRecord(const Record& record) { WriteLine(record.Line()); }

  // Eleven header records, a comment line and a comment block that lengthen
  // the header, and the two group records that record 11 names.
  void WriteHeader() {
    WriteLine("(C) 2026 the musedata project; generated music for the import benchmarks");
    WriteLine("@ a comment inside the header zone");
    WriteLine("Generated part, seed-controlled");
    WriteLine("&");
    WriteLine("A comment block in the header:");
    WriteLine("it lengthens the header zone by its lines.");
    WriteLine("&");
    WriteLine("ID: {musedata/bench/generated} [1]");
    WriteLine("01/02/26 musedata benchmark generator");
    WriteLine("WK#:1 MV#:2");
    WriteLine("Generated source, no edition");
    WriteLine("Sonate f\\3ur Klavier & Generalba\\2s");
    WriteLine("Allegro");
    WriteLine("Cembalo e Basso");
    WriteLine("0 0");
    WriteLine("Group memberships: score sound");
    WriteLine("score: part 1 of 1");
    WriteLine("sound:  part 1 of 1");
  }

  void WriteMeasure() {
    const int64_t index = m_part.measures;
    if (index > 0 && index % 16 == 0) WriteAttributeChange(index);
    if (index % 32 == 5) WriteLine("@ measure comment: a note on the source");
    if (index % 64 == 9) {
      WriteLine("&");
      WriteLine("Editorial note: the slurs of this passage follow the autograph,");
      WriteLine("the dynamics -- as usual -- the first edition.");
      WriteLine("&");
    }
    if (index % 2 == 0) WriteDirection(index);
    WriteUpperVoice(index);
    WriteRecord(Record("back ").PutRight(kBackupForwardDuration.last, std::to_string(kMeasure)));
    WriteLowerVoice(index);
    WriteBarLine(index);
  }

  // Key, clef and time changes with the sound of a tempo change now and then.
  void WriteAttributeChange(int64_t index) {
    static constexpr std::array<std::string_view, 4> kTimes{"T:4/4", "T:1/1", "T:0/0", "T:4/4"};
    std::string record = "$  K:" + std::to_string(static_cast<int>(m_random.Below(15)) - 7);
    record.append("  ").append(kTimes[static_cast<size_t>(index / 16) % kTimes.size()]);
    if (m_random.Chance(50)) record.append(m_random.Chance(50) ? "  C1:13" : "  C1:4");
    if (m_random.Chance(25)) record.append("  X:-46");
    WriteLine(record);
    if (m_random.Chance(50)) WriteLine(m_random.Chance(50) ? "S C0:W96 C8:Fyes" : "S C2:A");
  }

  // Words with font changes, wedges, dynamics, octave shifts, pedals and dashes.
  void WriteDirection(int64_t index) {
    Record record("*");
    if (m_random.Chance(30)) record.PutRight(kDirectionOffset.last, std::to_string(kEighth));
    if (m_random.Chance(10)) record.Put(kDirectionFootnote, 'a').Put(kDirectionLevel, '1');
    record.Put(kDirectionVoice, '1');
    std::string_view suggestion;
    switch (index / 2 % 10) {
      case 0:
        record.Put(kDirectionFirstType, 'D')
            .Put(kDirectionPlacement, '+')
            .Put(kDirectionText, "cresc.!33molto");
        suggestion = "P C17:f33";
        break;
      case 1:
        record.Put(kDirectionFirstType, 'E').PutRight(kDirectionParameter.last, "0");
        m_wedgeOpen = true;
        break;
      case 2:
        record.Put(kDirectionFirstType, 'G').Put(kDirectionText, m_random.Chance(50) ? "ff" : "sf");
        break;
      case 3:
        record.Put(kDirectionFirstType, 'B').PutRight(kDirectionParameter.last, "22");
        record.Put(kDirectionPlacement, '+').Put(kDirectionText, "Allegro ma non troppo");
        break;
      case 4:
        record.Put(kDirectionFirstType, 'U').PutRight(kDirectionParameter.last, "8");
        m_octaveShiftOpen = true;
        break;
      case 5:
        record.Put(kDirectionFirstType, 'G').Put(kDirectionSecondType, 'D');
        record.Put(kDirectionText, "p!33dolce e legato");
        break;
      case 6:
        record.Put(kDirectionFirstType, 'D').Put(kDirectionSecondType, 'E');
        record.PutRight(kDirectionParameter.last, "15").Put(kDirectionText, "dim.");
        m_wedgeOpen = true;
        break;
      case 7:
        record.Put(kDirectionFirstType, 'C').Put(kDirectionText, "a tempo!31 (Tempo I)");
        break;
      case 8:
        record.Put(kDirectionFirstType, 'P').Put(kDirectionStaff, '2');
        m_pedalOpen = true;
        break;
      default:
        record.Put(kDirectionFirstType, 'H').Put(kDirectionText, "poco a poco rit.");
        m_dashesOpen = true;
        break;
    }
    WriteRecord(record);
    if (!suggestion.empty()) WriteLine(suggestion);
  }

  // The spanners that a direction opened end before the bar line.
  void CloseDirections() {
    if (m_wedgeOpen) WriteSpannerEnd('F', "0", ' ');
    if (m_octaveShiftOpen) WriteSpannerEnd('W', "8", ' ');
    if (m_pedalOpen) WriteSpannerEnd('Q', "", '2');
    if (m_dashesOpen) WriteSpannerEnd('J', "", ' ');
    m_wedgeOpen = m_octaveShiftOpen = m_pedalOpen = m_dashesOpen = false;
  }

  void WriteSpannerEnd(char type, std::string_view parameter, char staff) {
    Record record("*");
    record.Put(kDirectionFirstType, type).Put(kDirectionStaff, staff);
    if (!parameter.empty()) record.PutRight(kDirectionParameter.last, parameter);
    WriteRecord(record);
  }

  std::string Pitch(int32_t octaveLow, int32_t octaves) {
    std::string pitch(1, m_random.Pick(kSteps));
    const size_t accidental = m_random.Below(20);
    if (accidental < 3)
      pitch += '#';
    else if (accidental < 6)
      pitch += 'f';
    else if (accidental == 6)
      pitch += "##";
    else if (accidental == 7)
      pitch += "ff";
    pitch += static_cast<char>('0' + octaveLow +
                               static_cast<int32_t>(m_random.Below(static_cast<size_t>(octaves))));
    return pitch;
  }

  // The printed accidental of a pitch, when the key does not already give it.
  char PrintedAccidental(std::string_view pitch) {
    if (pitch.size() < 3 || !m_random.Chance(70)) return ' ';
    if (pitch.substr(1, 2) == "##") return 'x';
    if (pitch.substr(1, 2) == "ff") return '&';
    return pitch[1] == '#' ? '#' : 'f';
  }

  // Up to two marks from the table, after the codes the note already has,
  // never past the last notation column.
  void AddMarks(NoteFields& note, int percent) {
    for (int i = 0; i < 2 && m_random.Chance(percent); ++i) {
      const std::string_view mark = m_random.Pick(kMarks);
      if (note.notations.size() + mark.size() + 1 >
          static_cast<size_t>(kNoteNotations.last - kNoteNotations.first + 1))
        break;
      if (!note.notations.empty()) note.notations += ' ';  // a blank keeps a dynamics run apart
      note.notations += mark;
    }
  }

  // The next syllable of each verse; the second verse sings every other note.
  std::string NextLyric() {
    std::string lyric(kFirstVerse[m_syllable % kFirstVerse.size()]);
    if (m_syllable % 2 == 0)
      lyric.append("|").append(kSecondVerse[m_syllable / 2 % kSecondVerse.size()]);
    ++m_syllable;
    return lyric;
  }

  void WriteNote(const NoteFields& note) {
    Record record;
    int32_t dataFrom = 1;  // where the pitch field starts
    switch (note.kind) {
      case NoteKind::Regular: break;
      case NoteKind::ChordTone: dataFrom = 2; break;  // a blank in column 1
      case NoteKind::Rest: break;
      case NoteKind::Cue: record.Put(kCueGraceKind, 'c'), dataFrom = 2; break;
      case NoteKind::Grace: record.Put(kCueGraceKind, 'g'), dataFrom = 2; break;
    }
    record.Put(dataFrom,
               note.kind == NoteKind::Rest ? std::string_view("r") : std::string_view(note.pitch));
    if (note.kind == NoteKind::Grace) record.Put(kGraceType, note.graceType);
    if (note.duration > 0) record.PutRight(kNoteDuration.last, std::to_string(note.duration));
    if (note.tie) record.Put(kNoteTie, '-');
    record.Put(kNoteFootnote, note.footnote).Put(kNoteLevel, note.level);
    record.Put(kNoteTrack, static_cast<char>('0' + note.track));
    record.Put(kNoteType, note.type)
        .Put(kNoteDots, note.dots)
        .Put(kNoteAccidental, note.accidental);
    record.Put(kNoteTimeModification.first, note.actualNotes)
        .Put(kNoteTimeModification.last, note.normalNotes);
    record.Put(kNoteStem, note.stem).Put(kNoteStaff, note.staff);
    if (!note.beams.empty()) record.Put(kNoteBeams.first, note.beams);
    if (!note.notations.empty()) record.Put(kNoteNotations.first, note.notations);
    if (note.lyrics.empty()) {
      WriteRecord(record);
    } else if (m_random.Chance(10)) {
      // The lyrics go on in a continuation line.
      WriteLine(record.Padded(kNoteLyrics - 1));
      WriteLine("a" + note.lyrics);
    } else {
      record.Put(kNoteLyrics, note.lyrics);
      WriteRecord(record);
    }
  }

  NoteFields UpperNote(int32_t duration, char type) {
    NoteFields note;
    note.pitch = Pitch(4, 2);
    note.duration = duration;
    note.type = type;
    note.accidental = PrintedAccidental(note.pitch);
    note.stem = note.pitch.back() == '5' ? 'd' : 'u';
    note.staff = '1';
    note.lyrics = NextLyric();
    return note;
  }

  // The right hand: a beamed, slurred group of eighths with a tie, a triplet,
  // a chord, a dotted figure and a rest, with grace and cue notes between.
  void WriteUpperVoice(int64_t index) {
    if (index % 3 == 0) {
      NoteFields grace;
      grace.kind = NoteKind::Grace;
      grace.pitch = Pitch(5, 1);
      grace.graceType = m_random.Chance(50) ? '0' : '5';
      grace.type = 's';
      grace.stem = 'u';
      grace.beams = "[";
      grace.notations = m_random.Chance(50) ? "(" : "";
      WriteNote(grace);
      NoteFields second = grace;
      second.pitch = Pitch(5, 1);
      second.beams = "]";
      second.notations.clear();
      WriteNote(second);
      WriteLine("S C1:pt20");
    }
    // Four eighths under one beam and a slur; the second is tied to the third.
    std::string tiedPitch;
    for (int i = 0; i < 4; ++i) {
      NoteFields note = UpperNote(kEighth, 'e');
      static constexpr std::array<std::string_view, 4> kBeam{"[", "=", "=", "]"};
      note.beams = kBeam[static_cast<size_t>(i)];
      if (i == 0 && m_random.Chance(40)) note.beams = "[[";
      if (i == 3 && note.beams == "]" && m_random.Chance(40)) note.beams = "]\\";
      if (i == 0) note.notations = "(";
      if (i == 1) {
        note.tie = true;
        note.notations = "-";
        tiedPitch = note.pitch;
      }
      if (i == 2) {
        note.pitch = tiedPitch;
        note.accidental = ' ';
      }
      if (i == 3) note.notations = ")";
      if (i == 0 && m_random.Chance(20)) {
        note.footnote = '*';
        note.level = '2';
      }
      AddMarks(note, 35);
      WriteNote(note);
      if (i == 0) WriteLine("P C32:Y-10a");
      if (i == 3 && m_random.Chance(30)) {
        NoteFields cue = UpperNote(0, '6');
        cue.kind = NoteKind::Cue;
        cue.lyrics.clear();
        WriteNote(cue);
      }
    }
    // A triplet of eighths.
    for (int i = 0; i < 3; ++i) {
      NoteFields note = UpperNote(kTripletEighth, 'e');
      note.actualNotes = '3';
      if (m_random.Chance(50)) note.normalNotes = '2';
      note.beams = i == 0 ? "[" : i == 1 ? "=" : "]";
      note.notations = i == 0 ? "*" : i == 2 ? "!" : "";
      if (i == 1 && note.accidental != ' ') note.notations = m_random.Chance(50) ? "^" : "+";
      WriteNote(note);
    }
    // A chord, a dotted figure or a rest to end the measure.
    switch (index % 3) {
      case 0: {
        NoteFields root = UpperNote(kDivisions, 'q');
        root.notations = m_random.Chance(50) ? "S" : "F";
        WriteNote(root);
        for (int i = 0; i < 2; ++i) {
          NoteFields tone = UpperNote(kDivisions, 'q');
          tone.kind = NoteKind::ChordTone;
          tone.stem = root.stem;
          tone.lyrics.clear();
          WriteNote(tone);
        }
        break;
      }
      case 1: {
        NoteFields dotted = UpperNote(kEighth + kSixteenth, 'e');
        dotted.dots = '.';
        dotted.beams = "[";
        AddMarks(dotted, 50);
        WriteNote(dotted);
        NoteFields sixteenth = UpperNote(kSixteenth, 's');
        sixteenth.beams = "]/";
        WriteNote(sixteenth);
        if (m_random.Chance(50)) WriteLine("P C1:X12Y-20 C26:a");
        break;
      }
      default: {
        NoteFields rest;
        rest.kind = NoteKind::Rest;
        rest.duration = kDivisions;
        rest.type = 'q';
        rest.notations = m_random.Chance(30) ? "F" : "";
        WriteNote(rest);
        break;
      }
    }
    CloseDirections();
  }

  // The left hand and its figures: a dotted half and a quarter, or two halves
  // with a rest in time given by an "irest" record.
  void WriteLowerVoice(int64_t index) {
    const bool dotted = index % 2 == 0;
    const int32_t first = dotted ? 3 * 2 * kEighth : 2 * kDivisions;
    WriteFigures(first);
    NoteFields note;
    note.pitch = Pitch(2, 2);
    note.duration = first;
    note.track = 2;
    note.type = 'h';
    note.dots = dotted ? '.' : ' ';
    note.accidental = PrintedAccidental(note.pitch);
    note.stem = 'd';
    note.staff = '2';
    if (m_random.Chance(30)) note.notations = m_random.Chance(50) ? "_" : ">";
    WriteNote(note);
    if (dotted) {
      WriteFigures(kDivisions);
      NoteFields quarter = note;
      quarter.pitch = Pitch(2, 2);
      quarter.duration = kDivisions;
      quarter.type = 'q';
      quarter.dots = ' ';
      quarter.accidental = PrintedAccidental(quarter.pitch);
      quarter.notations = m_random.Chance(20) ? "E" : "";
      WriteNote(quarter);
      return;
    }
    Record rest("irest");
    rest.PutRight(kBackupForwardDuration.last, std::to_string(kDivisions));
    rest.Put(kForwardVoice.first, '2')
        .Put(kBackupForwardPass.first, '1')
        .Put(kForwardStaff.first, '2');
    WriteRecord(rest);
    WriteFigures(kDivisions);
    NoteFields last = note;
    last.pitch = Pitch(2, 2);
    last.duration = kDivisions;
    last.type = 'q';
    last.accidental = PrintedAccidental(last.pitch);
    last.notations.clear();
    WriteNote(last);
  }

  void WriteFigures(int32_t duration) {
    Record figures("f");
    figures.PutRight(kFiguredBassDuration.last, std::to_string(duration));
    if (m_random.Chance(5)) figures.Put(kFiguredBassFootnote, 'a').Put(kFiguredBassLevel, '1');
    figures.Put(kFiguredBassFigures, m_random.Pick(kFigures));
    WriteRecord(figures);
  }

  // Plain bar lines, double and dotted bars, repeats with first and second
  // endings, fermatas and segni over the bar line.
  void WriteBarLine(int64_t index) {
    ++m_part.measures;
    // The first bar line closes measure 1; the count starts again after 9999,
    // the largest number the bar record has columns for.
    const std::string number = std::to_string(index % 9999 + 2);
    std::string_view kind = "measure";
    std::string_view flags;
    switch (index % 32) {
      case 7:
        flags = "|:";
        kind = "mheavy3";
        break;
      case 14: flags = "start-end1"; break;
      case 15:
        flags = "stop-end1 :|";
        kind = "mheavy2";
        break;
      case 16: flags = "start-end2"; break;
      case 17:
        flags = "disc-end2";
        kind = "mdouble";
        break;
      case 20: flags = "F"; break;
      case 21:
        flags = "E";
        kind = "mdotted";
        break;
      case 24:
        flags = "A";
        kind = "mheavy1";
        break;
      case 26:
        flags = ":|:";
        kind = "mheavy4";
        break;
      case 28: flags = "~"; break;
      case 30: flags = "*%"; break;
      default: break;
    }
    Record record(kind);
    record.Put(kBarNumber.first, number);
    if (index % 50 == 3) record.Put(kBarFootnote.first, 'a').Put(kBarLevel.first, '1');
    if (!flags.empty()) record.Put(kBarFlagsFrom, flags);
    WriteRecord(record);
  }

  Random m_random;
  GeneratedPart m_part;
  size_t m_syllable = 0;
  bool m_wedgeOpen = false;
  bool m_octaveShiftOpen = false;
  bool m_pedalOpen = false;
  bool m_dashesOpen = false;
};

}  // namespace

GeneratedPart GeneratePart(size_t targetBytes, uint64_t seed) {
  return PartWriter(seed).Write(targetBytes);
}

}  // namespace musedata::bench
