// Musical attributes records ("$"): key, divisions, time signature, clefs,
// transposition, staves, instruments and directives of the current part, as
// one MusicXML attributes element.

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "component/error_codes.h"
#include "component/music_xml.h"
#include "encoding/base40.h"
#include "encoding/measure_codes.h"
#include "encoding/measure_columns.h"

namespace musedata {
namespace {

// The codes split at every single blank; two blanks in a row give an empty token.
std::vector<std::string_view> SplitTokens(std::string_view codes) {
  std::vector<std::string_view> tokens;
  size_t start = 0;
  while (true) {
    const size_t blank = codes.find(' ', start);
    tokens.push_back(codes.substr(start, blank == std::string_view::npos ? blank : blank - start));
    if (blank == std::string_view::npos) return tokens;
    start = blank + 1;
  }
}

// The value of a code without a number: everything after "K:", "Q:" and so on.
// Only the letter is checked; the second character is taken to be the colon.
std::string_view ValueOf(std::string_view token) {
  return token.size() > 2 ? token.substr(2) : std::string_view();
}

// The first character of a token, whole even when it is not ASCII.
std::string_view FirstCharacter(std::string_view token) {
  size_t length = token.empty() ? 0 : 1;
  while (length < token.size() && (static_cast<unsigned char>(token[length]) & 0xC0) == 0x80)
    ++length;
  return token.substr(0, length);
}

// A clef or directive code may carry a staff (or directive) number between its
// letter and the colon, as in "C2:22"; without one it counts as number 1.
struct NumberedCode {
  std::optional<int32_t> number;  // only when written
  std::string_view value;
  int32_t Slot() const { return number.value_or(1); }
};

// Clefs and directives are kept in tables counted from 1, so a number below 1
// is out of range.
NumberedCode SplitNumberedCode(std::string_view token) {
  const size_t colon = token.find(':');
  if (colon == std::string_view::npos || colon < 2) return {std::nullopt, ValueOf(token)};
  const int32_t number = ToLong(token.substr(1, colon - 1));
  if (number < 1) throw RunTimeError::SubscriptOutOfRange();
  return {number, token.substr(colon + 1)};
}

struct TimeSignature {
  std::string_view symbol;  // "common" or "cut"; "" for a plain signature
  std::string_view beats;
  std::string_view beatType;
};

// MuseData writes the common-time sign as 1/1 and alla breve as 0/0.
TimeSignature ReadTime(std::string_view value) {
  const size_t slash = value.find('/');
  const std::string_view beats = value.substr(0, slash);
  const std::string_view beatType =
      slash == std::string_view::npos ? std::string_view() : value.substr(slash + 1);
  if (beats == "1" && beatType == "1") return {"common", "4", "4"};
  if (beats == "0" && beatType == "0") return {"cut", "2", "2"};
  return {"", beats, beatType};
}

struct Clef {
  std::optional<int32_t> number;
  std::string_view sign;  // "" for a first digit that names no sign
  int32_t line = 0;
  std::string_view octaveChange;
};

// A one-digit code is a G clef on the line it names from the top (4 is the
// treble clef); two digits give sign and octave first, then the line.
Clef ReadClef(const NumberedCode& code) {
  Clef clef;
  clef.number = code.number;
  const std::string_view value = code.value;
  if (value.size() == 1) {
    clef.sign = "G";
    clef.line = ClefLine(ToLong(value));
    return clef;
  }
  if (const std::optional<ClefSign> sign = ClefSignFor(value.empty() ? '\0' : value.front())) {
    clef.sign = sign->sign;
    clef.octaveChange = sign->octaveChange;
  }
  clef.line = ClefLine(ToLong(value.size() >= 2 ? value.substr(1, 1) : std::string_view()));
  return clef;
}

struct Transposition {
  int32_t diatonic = 0;
  int32_t chromatic = 0;
  int32_t octave = 0;
  bool doubled = false;  // the line is doubled an octave below (MusicXML double)
};

// A base-40 interval; MuseData marks doubling by moving the interval 1000 away from zero.
Transposition ReadTransposition(std::string_view value) {
  Transposition transposition;
  int32_t interval = ToLong(value);
  if (interval < -999) {
    transposition.doubled = true;
    interval += 1000;
  } else if (interval >= 1000) {
    transposition.doubled = true;
    interval -= 1000;
  }
  // An interval of no known class leaves the steps and semitones at 0.
  ConvertBase40(interval, transposition.diatonic, transposition.chromatic, transposition.octave);
  return transposition;
}

struct Directive {
  std::optional<int32_t> number;
  std::string text;
};

// What one attributes record sets; a later code of the same kind replaces an earlier one.
struct AttributeValues {
  std::optional<std::string_view> divisions;
  std::optional<std::string_view> key;
  std::optional<TimeSignature> time;
  std::optional<std::string_view> staves;
  std::optional<std::string_view> instruments;
  std::map<int32_t, Clef> clefs;  // by number; a clef drops those numbered above it
  std::optional<Transposition> transposition;
  std::optional<Directive> directive;  // a directive takes the rest of the record
  int32_t lastClefNumber = 0;
  int32_t lastDirectiveNumber = 0;

  // The staves implied by clefs or a directive for a second staff.
  int32_t ImpliedStaves() const { return std::max(lastClefNumber, lastDirectiveNumber); }
};

// Reads the tokens in order; `warnUnknown(code)` is told of unrecognised codes.
template <class WarnUnknown>
AttributeValues ReadAttributeCodes(const std::vector<std::string_view>& tokens,
                                   WarnUnknown&& warnUnknown) {
  AttributeValues values;
  for (size_t i = 0; i < tokens.size(); ++i) {
    const std::string_view token = tokens[i];
    if (values.directive) {
      // Directive text runs on to the end of the record, blanks and all.
      values.directive->text.append(" ").append(token);
      continue;
    }
    if (token.empty()) continue;
    switch (token.front()) {
      case 'K': values.key = ValueOf(token); break;
      case 'Q': values.divisions = ValueOf(token); break;
      case 'T': values.time = ReadTime(ValueOf(token)); break;
      case 'S': values.staves = ValueOf(token); break;
      case 'I': values.instruments = ValueOf(token); break;
      case 'X': values.transposition = ReadTransposition(ValueOf(token)); break;
      case 'C': {
        const NumberedCode code = SplitNumberedCode(token);
        const int32_t slot = code.Slot();
        values.clefs.erase(values.clefs.upper_bound(slot), values.clefs.end());
        values.clefs[slot] = ReadClef(code);
        values.lastClefNumber = slot;
        break;
      }
      case 'D': {
        const NumberedCode code = SplitNumberedCode(token);
        values.directive = Directive{code.number, std::string(code.value)};
        values.lastDirectiveNumber = code.Slot();
        break;
      }
      default: {
        // A stray last word without a colon is taken for trailing text, not a code.
        const bool isTrailingWord =
            i + 1 == tokens.size() && token.find(':') == std::string_view::npos;
        if (!isTrailingWord) warnUnknown(FirstCharacter(token));
      }
    }
  }
  return values;
}

void AppendClef(xml::Node attributes, const Clef& clef) {
  xml::Node element = attributes.AppendElement("clef");
  if (clef.number) element.SetAttr("number", std::to_string(*clef.number));
  element.AppendElement("sign", clef.sign);
  element.AppendElement("line", std::to_string(clef.line));
  if (!clef.octaveChange.empty()) element.AppendElement("clef-octave-change", clef.octaveChange);
}

void AppendTransposition(xml::Node attributes, const Transposition& transposition) {
  xml::Node element = attributes.AppendElement("transpose");
  element.AppendElement("diatonic", std::to_string(transposition.diatonic));
  element.AppendElement("chromatic", std::to_string(transposition.chromatic));
  if (transposition.octave != 0)
    element.AppendElement("octave-change", std::to_string(transposition.octave));
  if (transposition.doubled) element.AppendElement("double");
}

}  // namespace

bool MusicXML::ParseAttributes() {
  return Trap(kParseAttributes, &m_caught, [&] {
    const std::vector<std::string_view> tokens =
        SplitTokens(Trim(Record().From(kAttributeCodesFrom)));
    const AttributeValues values = ReadAttributeCodes(tokens, [&](std::string_view code) {
      if (m_warnings.unknownAttributeShown) return;
      ShowWarning("Unrecognized attribute code " + std::string(code) + " at " + LocationText() +
                  ".\nThis may occur more than once.");
      m_warnings.unknownAttributeShown = true;
    });

    // MusicXML fixes the order of the children of attributes.
    const xml::Node attributes = m_score.currentMeasure.AppendElement("attributes");
    if (values.divisions) attributes.AppendElement("divisions", *values.divisions);
    if (values.key) attributes.AppendElement("key").AppendElement("fifths", *values.key);
    if (values.time) {
      const xml::Node time = attributes.AppendElement("time");
      if (!values.time->symbol.empty()) time.SetAttr("symbol", values.time->symbol);
      time.AppendElement("beats", values.time->beats);
      time.AppendElement("beat-type", values.time->beatType);
    }
    if (values.staves) {
      attributes.AppendElement("staves", *values.staves);
    } else if (values.ImpliedStaves() > 1) {
      attributes.AppendElement("staves", std::to_string(values.ImpliedStaves()));
    }
    if (values.instruments) attributes.AppendElement("instruments", *values.instruments);
    for (const auto& [number, clef] : values.clefs) AppendClef(attributes, clef);
    if (values.transposition) AppendTransposition(attributes, *values.transposition);
    if (values.directive) {
      const xml::Node directive = attributes.AppendElement("directive");
      if (values.directive->number)
        directive.SetAttr("number", std::to_string(*values.directive->number));
      AddText(directive, values.directive->text);
    }
    return true;
  });
}

}  // namespace musedata
