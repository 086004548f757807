// Courtesy and editorial signs that contradict the note's pitch.

#include "component/error_codes.h"
#include "finish/passes.h"

namespace musedata::finish {
namespace {

// The sign that shows an alteration of `alter` semitones; empty for none.
std::string_view SignFor(int32_t alter) {
  switch (alter) {
    case -2: return "flat-flat";
    case -1: return "flat";
    case 0: return "natural";
    case 1: return "sharp";
    case 2: return "double-sharp";
    default: return {};
  }
}

bool IsCourtesy(xml::Node accidental) {
  return accidental.Attr("cautionary") == "yes" || accidental.Attr("editorial") == "yes";
}

}  // namespace

int32_t MendCourtesyAccidentals(const ChordsOfVoices& chordsByVoice, Context& context) {
  return Trap(kMendCourtesyAccidentals, context.Caught(), [&] {
    int32_t mended = 0;
    // Each note is mended on its own, so the order the voices come in does not matter.
    for (const auto& [voice, chords] : chordsByVoice) {
      for (const Chord& chord : chords) {
        for (const NoteParts& parts : chord.parts) {
          const xml::Node accidental = parts.accidental;
          const xml::Node pitch = parts.pitch;
          if (!accidental || !pitch || !IsCourtesy(accidental)) continue;
          const std::string_view sign = SignFor(WholeNumber(pitch.Child("alter").Text(), 0));
          if (sign.empty() || accidental.Text() == sign) continue;
          // The attributes (cautionary, editorial, parentheses) stay as they are.
          for (xml::Node child = accidental.FirstChild(); child; child = accidental.FirstChild())
            child.Remove();
          accidental.AppendText(sign);
          ++mended;
        }
      }
    }
    return mended;
  });
}

}  // namespace musedata::finish
