// Figured-bass records ("f") on export: the number of figures, the duration,
// and the figures themselves, each its prefix sign, number and suffix sign.

#include <string>

#include "component/error_codes.h"
#include "component/music_xml.h"
#include "encoding/direction_columns.h"
#include "encoding/figure_codes.h"

namespace musedata {
namespace {

inline constexpr int32_t kFigureCount = 2;  // one digit; blank for ten or more figures

// One figure as MuseData writes it ("#6", "6+"). A figure with nothing to
// show is a flat standing alone, which MuseData writes "b".
std::string FigureText(xml::Node figure) {
  std::string text(FigureSignFor(Trim(figure.Child("prefix").Text())));
  text += Trim(figure.Child("figure-number").Text());
  text += FigureSignFor(Trim(figure.Child("suffix").Text()));
  return text.empty() ? "b" : text;
}

}  // namespace

bool MusicXML::SaveFiguredBass(xml::Node figuredBass) {
  return Trap(kSaveFiguredBass, &m_caught, [&] {
    LineBuilder line;
    line.Put(1, "f");
    const int32_t figures = figuredBass.CountChildren("figure");
    if (figures <= 9) line.Put(kFigureCount, std::to_string(figures));
    // Figures without a duration last as long as the note they stand under.
    if (const xml::Node duration = figuredBass.Child("duration"))
      line.Put(kFiguredBassDuration.first, FitDuration(Trim(duration.Text())));
    line.Put(kFiguredBassFootnote, SaveVoice(figuredBass));
    std::string text;
    for (const xml::Node figure : figuredBass.Children("figure")) {
      if (!text.empty()) text += ' ';
      text += FigureText(figure);
    }
    line.Put(kFiguredBassFigures, text);
    WriteLine(line.Finish());
    return true;
  });
}

}  // namespace musedata
