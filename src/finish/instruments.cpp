// A score-instrument, and where the name says which, a General MIDI program,
// for every part.

#include <cctype>
#include <string>
#include <vector>

#include "component/error_codes.h"
#include "finish/passes.h"

namespace musedata::finish {
namespace {

// Words that open a part's name in the scores MuseData holds (Italian,
// German, English and French names), with the General MIDI program (1 to
// 128) of the instrument. The longest word that opens a name decides, so
// "basson" is a bassoon and "coro" a choir, not a bass and a horn. "Basso" names the continuo bass
// line far more often than the voice, so it plays as a cello.
struct InstrumentWord {
  std::string_view word;
  int32_t program;
};
constexpr InstrumentWord kInstrumentWords[] = {
    {"violoncel", 43},  {"cello", 43},    {"violone", 44}, {"contrabass", 44}, {"kontrabass", 44},
    {"violin", 41},     {"violon", 41},   {"viola", 42},   {"bratsche", 42},   {"basso", 43},
    {"continuo", 43},   {"bass", 44},     {"flauto", 74},  {"flute", 74},      {"flöte", 74},
    {"traverso", 74},   {"recorder", 75}, {"oboe", 69},    {"hautbois", 69},   {"clarinet", 72},
    {"klarinette", 72}, {"fagott", 71},   {"bassoon", 71}, {"basson", 71},     {"corno", 61},
    {"horn", 61},       {"cor", 61},      {"tromba", 57},  {"trumpet", 57},    {"trompete", 57},
    {"clarino", 57},    {"trombone", 58}, {"posaune", 58}, {"timpani", 48},    {"pauke", 48},
    {"organo", 20},     {"organ", 20},    {"orgel", 20},   {"orgue", 20},      {"cembalo", 7},
    {"harpsichord", 7}, {"clavecin", 7},  {"piano", 1},    {"arpa", 47},       {"harp", 47},
    {"liuto", 25},      {"lute", 25},     {"soprano", 53}, {"alto", 53},       {"tenore", 53},
    {"tenor", 53},      {"canto", 53},    {"voce", 53},    {"voice", 53},      {"coro", 53},
    {"choir", 53},
};

// The part name's words in lower case, each with what follows it.
std::vector<std::string> Words(std::string_view name) {
  std::vector<std::string> words(1);
  for (const char c : name) {
    const auto byte = static_cast<unsigned char>(c);
    if (std::isalpha(byte) || byte >= 0x80) {
      words.back() += static_cast<char>(std::tolower(byte));
    } else if (!words.back().empty()) {
      words.emplace_back();
    }
  }
  return words;
}

// The General MIDI program of the first word of `name` that opens with a
// known instrument's word; 0 when none does.
int32_t ProgramFor(std::string_view name) {
  for (const std::string& word : Words(name)) {
    const InstrumentWord* best = nullptr;
    for (const InstrumentWord& entry : kInstrumentWords)
      if (word.rfind(entry.word, 0) == 0 && (!best || entry.word.size() > best->word.size()))
        best = &entry;
    if (best) return best->program;
  }
  return 0;
}

}  // namespace

int32_t NameInstrument(xml::Node scorePart, Context& context) {
  return Trap(kNameInstrument, context.Caught(), [&] {
    if (!scorePart || scorePart.Child("score-instrument")) return 0;
    const std::string id = std::string(scorePart.Attr("id")) + "-I1";
    std::string name = scorePart.Child("part-name").Text();
    if (name.find_first_not_of(' ') == std::string::npos) name = std::string(scorePart.Attr("id"));

    const xml::Node instrument =
        InsertBeforeFirstOf(scorePart, "score-instrument", {"midi-device", "midi-instrument"});
    instrument.SetAttr("id", id);
    instrument.AppendElement("instrument-name", name);
    const int32_t program = ProgramFor(name);
    if (program > 0) {
      const xml::Node midi = scorePart.AppendElement("midi-instrument");
      midi.SetAttr("id", id);
      midi.AppendElement("midi-program", std::to_string(program));
    }
    return 1;
  });
}

}  // namespace musedata::finish
