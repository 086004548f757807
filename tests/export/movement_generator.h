#pragma once

// A fixed-seed generator of small one-part MusicXML movements: notes, chords,
// rests, ties, triplets, beams, lyrics, dynamics, wedges, words, clefs, keys
// and times that change, several voices joined by backup and forward, grace
// and cue notes. Every movement is a correct score: each voice fills its
// measure, a tie joins two notes of the same pitch, and cue notes take no
// time, as in MuseData, where a forward fills their time.

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace musedata::test {

class MovementGenerator {
 public:
  explicit MovementGenerator(uint32_t seed) : m_random(seed) {}

  // The next movement as a MusicXML document.
  std::string Next() {
    m_divisions = Pick<int>({2, 4, 8, 12, 24});
    m_voices = 1 + Below(3);
    m_tiedPitch.assign(static_cast<size_t>(m_voices) + 1, std::string());
    // At least two measures: MuseData numbers the first measure from the bar
    // record that closes it, and the closing bar of a movement has no number.
    const int measures = 2 + Below(5);
    std::string part;
    for (int number = 1; number <= measures; ++number) part += Measure(number, number == measures);
    return R"(<?xml version="1.0" encoding="UTF-8"?>)"
           "<score-partwise><part-list><score-part id=\"P1\"><part-name>Flauto</part-name>"
           "</score-part></part-list><part id=\"P1\">" +
           part + "</part></score-partwise>";
  }

 private:
  int Below(int n) { return static_cast<int>(m_random() % static_cast<uint32_t>(n)); }
  bool Chance(int percent) { return Below(100) < percent; }
  template <class T>
  T Pick(std::initializer_list<T> values) {
    return *(values.begin() + Below(static_cast<int>(values.size())));
  }

  std::string Attributes(bool first) {
    std::string text;
    if (first) text += "<divisions>" + std::to_string(m_divisions) + "</divisions>";
    if (first || Chance(20))
      text += "<key><fifths>" + std::to_string(Below(15) - 7) + "</fifths></key>";
    if (first || Chance(15)) {
      const auto [beats, beatType] =
          Pick<std::pair<int, int>>({{2, 4}, {3, 4}, {4, 4}, {6, 8}, {3, 8}, {2, 2}});
      m_measureLength = beats * m_divisions * 4 / beatType;
      text += "<time><beats>" + std::to_string(beats) + "</beats><beat-type>" +
              std::to_string(beatType) + "</beat-type></time>";
    }
    if (first || Chance(15)) {
      const auto [sign, line] =
          Pick<std::pair<const char*, int>>({{"G", 2}, {"F", 4}, {"C", 3}, {"C", 4}});
      text += std::string("<clef><sign>") + sign + "</sign><line>" + std::to_string(line) +
              "</line></clef>";
    }
    return text.empty() ? "" : "<attributes>" + text + "</attributes>";
  }

  std::string Measure(int number, bool last) {
    std::string text = "<measure number=\"" + std::to_string(number) + "\">";
    text += Attributes(number == 1);
    if (Chance(30)) text += Direction();
    for (int voice = 1; voice <= m_voices; ++voice) {
      if (voice > 1) text += Move("backup", m_measureLength);
      text += Voice(voice, last);
    }
    // MuseData closes a movement with a bar record of its own.
    if (last) text += R"(<barline location="right"><bar-style>light-heavy</bar-style></barline>)";
    return text + "</measure>";
  }

  std::string Direction() {
    const int kind = Below(3);
    std::string type;
    if (kind == 0)
      type = "<dynamics><" + Pick<std::string>({"p", "pp", "mf", "f", "sfz"}) + "/></dynamics>";
    if (kind == 1)
      type = Pick<std::string>({R"(<wedge type="crescendo"/>)", R"(<wedge type="diminuendo"/>)",
                                R"(<wedge type="stop"/>)"});
    if (kind == 2)
      type = "<words>" + Pick<std::string>({"dolce", "cresc.", "a tempo"}) + "</words>";
    return "<direction><direction-type>" + type + "</direction-type></direction>";
  }

  static std::string Move(const char* name, int duration) {
    return std::string("<") + name + "><duration>" + std::to_string(duration) + "</duration></" +
           name + ">";
  }

  // The values a note of this voice may take: duration, type, dots.
  struct Value {
    int duration;
    const char* type;
    int dots;
  };

  std::vector<Value> ValuesUpTo(int remaining) const {
    const int d = m_divisions;
    std::vector<Value> values = {{4 * d, "whole", 0}, {2 * d, "half", 0}, {d, "quarter", 0}};
    if (d % 2 == 0) {
      values.push_back({d / 2, "eighth", 0});
      values.push_back({3 * d / 2, "quarter", 1});
    }
    if (d % 4 == 0) values.push_back({d / 4, "16th", 0});
    std::vector<Value> fitting;
    for (const Value& value : values)
      if (value.duration <= remaining) fitting.push_back(value);
    return fitting;
  }

  std::string Voice(int voice, bool lastMeasure) {
    std::string text;
    int remaining = m_measureLength;
    // A later voice may start late, or with cue notes whose time a forward fills.
    if (voice > 1 && m_tiedPitch[static_cast<size_t>(voice)].empty() && Chance(25)) {
      const int skip = remaining / 2;
      if (skip > 0 && Chance(50)) {
        text += CueNotes(voice);
      }
      if (skip > 0) {
        text += Move("forward", skip);
        remaining -= skip;
      }
    }
    while (remaining > 0) {
      if (m_divisions % 3 == 0 && remaining >= m_divisions &&
          m_tiedPitch[static_cast<size_t>(voice)].empty() && Chance(15)) {
        text += Triplet(voice);
        remaining -= m_divisions;
        continue;
      }
      const std::vector<Value> values = ValuesUpTo(remaining);
      const Value value = values.empty()
                              ? Value{remaining, nullptr, 0}
                              : values[static_cast<size_t>(Below(static_cast<int>(values.size())))];
      remaining -= value.duration;
      text += Event(voice, value, lastMeasure && remaining == 0);
    }
    return text;
  }

  std::string CueNotes(int voice) {
    std::string text;
    for (int i = 1 + Below(2); i > 0; --i)
      text += "<note><cue/>" + Pitch(RandomPitch()) + "<voice>" + std::to_string(voice) +
              "</voice><type>quarter</type></note>";
    return text;
  }

  // A note, a chord or a rest. A tie started before forces this note's pitch.
  std::string Event(int voice, const Value& value, bool lastOfMovement) {
    std::string& tied = m_tiedPitch[static_cast<size_t>(voice)];
    const bool endsTie = !tied.empty();
    std::string text;
    if (!endsTie && voice == 1 && Chance(8))
      text += "<note><grace" + std::string(Chance(50) ? " slash=\"yes\"" : "") + "/>" +
              Pitch(RandomPitch()) + "<voice>1</voice><type>eighth</type></note>";
    if (!endsTie && Chance(15)) return text + Note(voice, value, "", "<rest/>", "");

    const std::string pitch = endsTie ? tied : RandomPitch();
    const bool startsTie = !lastOfMovement && Chance(12);
    std::string ties;
    if (endsTie) ties += R"(<tie type="stop"/>)";
    if (startsTie) ties += R"(<tie type="start"/>)";
    tied = startsTie ? pitch : std::string();
    std::string after;
    if (voice == 1 && Chance(30)) after += Lyric();
    text += Note(voice, value, "", Pitch(pitch), ties, after);
    if (!startsTie && !endsTie && Chance(20))
      for (int tones = 1 + Below(2); tones > 0; --tones)
        text += Note(voice, value, "<chord/>", Pitch(RandomPitch()), "");
    return text;
  }

  std::string Triplet(int voice) {
    std::string text;
    const Value value{m_divisions / 3, "eighth", 0};
    const char* beams[] = {"begin", "continue", "end"};
    for (int i = 0; i < 3; ++i) {
      std::string after =
          "<time-modification><actual-notes>3</actual-notes><normal-notes>2"
          "</normal-notes></time-modification><beam number=\"1\">" +
          std::string(beams[i]) + "</beam>";
      if (i == 0) after += R"(<notations><tuplet type="start"/></notations>)";
      if (i == 2) after += R"(<notations><tuplet type="stop"/></notations>)";
      text += Note(voice, value, "", Pitch(RandomPitch()), "", after);
    }
    return text;
  }

  std::string Lyric() {
    const int verses = 1 + Below(2);
    std::string text;
    for (int verse = 1; verse <= verses; ++verse)
      text += "<lyric number=\"" + std::to_string(verse) + "\"><syllabic>" +
              Pick<std::string>({"single", "begin", "end"}) + "</syllabic><text>" +
              Pick<std::string>({"la", "Ky", "ri", "e"}) + "</text></lyric>";
    return text;
  }

  std::string RandomPitch() {
    const char* steps[] = {"C", "D", "E", "F", "G", "A", "B"};
    const int alter = Pick<int>({-1, 0, 0, 0, 1});
    return std::string(steps[Below(7)]) + ":" + std::to_string(alter) + ":" +
           std::to_string(2 + Below(5));
  }

  // "F:1:4" as a MusicXML pitch.
  static std::string Pitch(const std::string& key) {
    const size_t first = key.find(':');
    const size_t second = key.find(':', first + 1);
    const std::string alter = key.substr(first + 1, second - first - 1);
    return "<pitch><step>" + key.substr(0, first) + "</step>" +
           (alter == "0" ? "" : "<alter>" + alter + "</alter>") + "<octave>" +
           key.substr(second + 1) + "</octave></pitch>";
  }

  std::string Note(int voice, const Value& value, const std::string& chord,
                   const std::string& pitchOrRest, const std::string& ties,
                   const std::string& after = "") {
    std::string text = "<note>" + chord + pitchOrRest + "<duration>" +
                       std::to_string(value.duration) + "</duration>" + ties + "<voice>" +
                       std::to_string(voice) + "</voice>";
    if (value.type) text += std::string("<type>") + value.type + "</type>";
    for (int dot = 0; dot < value.dots; ++dot) text += "<dot/>";
    if (pitchOrRest != "<rest/>")
      text += std::string("<stem>") + (Chance(50) ? "up" : "down") + "</stem>";
    return text + after + "</note>";
  }

  std::mt19937 m_random;
  int m_divisions = 4;
  int m_voices = 1;
  int m_measureLength = 16;
  // Per voice, the pitch that a tie started and the voice's next note must take.
  std::vector<std::string> m_tiedPitch;
};

}  // namespace musedata::test
