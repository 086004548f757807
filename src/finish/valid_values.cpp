// Values that a literal reading of odd MuseData input lets through and that
// MusicXML (1.0 and later) refuses.

#include <algorithm>
#include <limits>
#include <numeric>
#include <string>
#include <vector>

#include "component/error_codes.h"
#include "finish/passes.h"

namespace musedata::finish {
namespace {

void SetText(xml::Node element, std::string_view text) {
  for (xml::Node child = element.FirstChild(); child; child = element.FirstChild()) child.Remove();
  element.AppendText(text);
}

bool IsWhole(std::string_view text) {
  constexpr int32_t kNotWhole = std::numeric_limits<int32_t>::min();
  return WholeNumber(text, kNotWhole) != kNotWhole;
}

// A key written with its alternative ("-2(-1)") keeps the number it starts
// with; a key without any number is C major.
std::string FifthsOf(std::string_view text) {
  size_t length = !text.empty() && (text.front() == '-' || text.front() == '+') ? 1 : 0;
  const size_t digits = length;
  while (length < text.size() && text[length] >= '0' && text[length] <= '9') ++length;
  if (length == digits) return "0";
  return std::to_string(WholeNumber(text.substr(0, length), 0));
}

// MuseData's figure signs in MusicXML's words.
struct FigureSign {
  std::string_view sign;
  std::string_view word;
};
constexpr FigureSign kFigureSigns[] = {
    {"#", "sharp"},        {"b", "flat"},          {"f", "flat"},       {"n", "natural"},
    {"x", "double-sharp"}, {"##", "double-sharp"}, {"bb", "flat-flat"}, {"ff", "flat-flat"},
    {"+", "plus"},         {"/", "slash"},         {"\\", "back-slash"}};
constexpr std::string_view kFigureWords[] = {"sharp",        "flat",       "natural",
                                             "double-sharp", "flat-flat",  "plus",
                                             "slash",        "back-slash", "sharp-sharp"};

// One pass over a part, with the divisions in force as it walks.
class ValueMender {
 public:
  ValueMender(const PartInScore& part, const std::vector<TupletNote>& tuplets, ValueWalk& walk,
              Context& context)
      : m_part(part), m_tuplets(tuplets), m_walk(walk), m_context(context) {}

  int32_t Run(size_t index) {
    m_index = index;
    const xml::Node measure = m_part.measures[index];
    for (xml::Node element : Elements(measure)) {
      const std::string_view name = element.Name();
      if (name == "attributes") {
        MendAttributes(element);
      } else if (name == "direction") {
        MendWedges(element);
      } else if (name == "backup" || name == "forward") {
        MendPassNumber(element);
      } else if (name == "figured-bass") {
        MendFigures(element);
      } else if (name == "note" && m_walk.nextTuplet < m_tuplets.size() &&
                 m_tuplets[m_walk.nextTuplet].note == element) {
        MendTuplet(m_tuplets[m_walk.nextTuplet++]);
      }
    }
    return m_mended;
  }

 private:
  static std::vector<xml::Node> Elements(xml::Node parent) {
    std::vector<xml::Node> elements;
    for (xml::Node element : parent.Children()) elements.push_back(element);
    return elements;
  }

  void Mended(const std::string& what) {
    m_context.Warn(m_part, m_part.measures[m_index], what);
    ++m_mended;
  }

  void MendAttributes(xml::Node attributes) {
    const int32_t divisions = WholeNumber(attributes.Child("divisions").Text(), 0);
    if (divisions > 0) m_walk.divisions = divisions;
    for (xml::Node key : attributes.Children("key")) {
      const xml::Node fifths = key.Child("fifths");
      const std::string text = fifths.Text();
      if (!fifths || IsWhole(text)) continue;
      const std::string number = FifthsOf(text);
      SetText(fifths, number);
      Mended("key \"" + text + "\" written as fifths " + number);
    }
    for (xml::Node time : attributes.Children("time")) MendTime(time);
    for (xml::Node clef : Elements(attributes)) {
      if (clef.Name() != "clef" || !clef.Child("sign").Text().empty()) continue;
      clef.Remove();
      Mended("a clef of unknown sign removed");
    }
  }

  // A time signature without a usable beat type (a mensural sign such as
  // "T:11/0") is kept as a hidden time whose length is the measure's own.
  void MendTime(xml::Node time) {
    const std::string beats = time.Child("beats").Text();
    const std::string beatType = time.Child("beat-type").Text();
    const bool usableBeats =
        WholeNumber(beats, 0) > 0 || (beats.find('+') != std::string::npos &&
                                      std::all_of(beats.begin(), beats.end(), [](char c) {
                                        return c == '+' || (c >= '0' && c <= '9');
                                      }));
    if (usableBeats && WholeNumber(beatType, 0) > 0) return;
    auto [count, unit] = MeasureLength();
    if (count == 0) {
      count = std::max(WholeNumber(beats, 4), 1);
      unit = 4;
    }
    for (xml::Node child = time.FirstChild(); child; child = time.FirstChild()) child.Remove();
    time.RemoveAttr("symbol");
    time.SetAttr("print-object", "no");
    time.AppendElement("beats", std::to_string(count));
    time.AppendElement("beat-type", std::to_string(unit));
    Mended("time \"" + beats + "/" + beatType + "\" written as a hidden " + std::to_string(count) +
           "/" + std::to_string(unit) + ", the length of the measure");
  }

  // The length of the music from this measure on (the first that holds any)
  // as beats of a power-of-two note value; {0, 0} when unknown.
  std::pair<int32_t, int32_t> MeasureLength() const {
    for (size_t index = m_index; index < m_part.measures.size(); ++index) {
      const int64_t length = Duration(m_part.measures[index]);
      if (length <= 0 || m_walk.divisions <= 0) continue;
      // length / divisions quarters = length * unit / (4 * divisions) beats of 1/unit.
      for (int32_t unit = 4; unit <= 256; unit *= 2) {
        const int64_t scaled = length * unit;
        if (scaled % (4 * m_walk.divisions) == 0)
          return {static_cast<int32_t>(scaled / (4 * m_walk.divisions)), unit};
      }
      return {static_cast<int32_t>(std::max<int64_t>(length / m_walk.divisions, 1)), 4};
    }
    return {0, 0};
  }

  // How far the measure's notes, backups and forwards reach, in divisions.
  static int64_t Duration(xml::Node measure) {
    int64_t position = 0;
    int64_t furthest = 0;
    for (xml::Node element : measure.Children()) {
      const std::string_view name = element.Name();
      const int32_t duration = WholeNumber(element.Child("duration").Text(), 0);
      if (name == "note" && !IsChordTone(element)) {
        position += duration;
      } else if (name == "forward") {
        position += duration;
      } else if (name == "backup") {
        position -= duration;
      }
      furthest = std::max(furthest, position);
    }
    return furthest;
  }

  // A wedge starts as a crescendo or a diminuendo; "start" is no wedge type.
  void MendWedges(xml::Node direction) {
    for (xml::Node type : direction.Children("direction-type")) {
      for (xml::Node wedge : type.Children("wedge")) {
        if (wedge.Attr("type") != "start") continue;
        wedge.SetAttr("type", "crescendo");
        Mended("a wedge without a spread written as a crescendo");
      }
    }
  }

  // A pass number belongs to MuseData's multiple passes, not to MusicXML's
  // backup or forward; it stays as a comment.
  void MendPassNumber(xml::Node element) {
    const xml::Node pass = element.Child("pass-number");
    if (!pass) return;
    const std::string number = pass.Text();
    pass.Remove();
    element.AppendComment("pass-number " + number);
    ++m_mended;
  }

  void MendFigures(xml::Node figuredBass) {
    for (xml::Node figure : figuredBass.Children("figure")) {
      for (xml::Node sign : Elements(figure)) {
        if (sign.Name() != "prefix" && sign.Name() != "suffix") continue;
        const std::string text = sign.Text();
        if (text.empty()) {
          sign.Remove();
          ++m_mended;
          continue;
        }
        if (std::find(std::begin(kFigureWords), std::end(kFigureWords), text) !=
            std::end(kFigureWords))
          continue;
        const auto known =
            std::find_if(std::begin(kFigureSigns), std::end(kFigureSigns),
                         [&](const FigureSign& entry) { return entry.sign == text; });
        if (known == std::end(kFigureSigns)) {
          m_context.Warn(m_part, m_part.measures[m_index],
                         "the figure sign \"" + text + "\" has no MusicXML name; kept as written");
          continue;
        }
        SetText(sign, known->word);
        ++m_mended;
      }
    }
  }

  // A tuplet ratio needs two positive numbers.
  void MendTuplet(const TupletNote& tuplet) {
    const xml::Node ratio = tuplet.ratio;
    if (WholeNumber(ratio.Child("actual-notes").Text(), 0) > 0 &&
        WholeNumber(ratio.Child("normal-notes").Text(), 0) > 0)
      return;
    ratio.Remove();
    Mended("a tuplet ratio without two positive numbers removed from " + PitchName(tuplet.note));
  }

  const PartInScore& m_part;
  const std::vector<TupletNote>& m_tuplets;
  ValueWalk& m_walk;
  Context& m_context;
  size_t m_index = 0;
  int32_t m_mended = 0;
};

}  // namespace

int32_t MendValues(const PartInScore& part, size_t index, const std::vector<TupletNote>& tuplets,
                   ValueWalk& walk, Context& context) {
  return Trap(kMendValues, context.Caught(),
              [&] { return ValueMender(part, tuplets, walk, context).Run(index); });
}

}  // namespace musedata::finish
