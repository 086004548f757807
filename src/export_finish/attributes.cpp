// Attributes, bar numbers and the closing bar line as MuseData readers need
// them: every "$" record says something, the first says everything, every
// bar number is a number, and every part ends on a bar record.

#include <algorithm>
#include <string>
#include <vector>

#include "component/error_codes.h"
#include "export_finish/passes.h"

namespace musedata::export_finish {
namespace {

// The children of `attributes` that MusicXML orders after each of these.
constexpr std::string_view kAfterDivisions[] = {
    "key",  "time",          "staves",    "part-symbol", "instruments",
    "clef", "staff-details", "transpose", "directive",   "measure-style"};
constexpr std::string_view kAfterKey[] = {"time",        "staves",    "part-symbol",
                                          "instruments", "clef",      "staff-details",
                                          "transpose",   "directive", "measure-style"};
constexpr std::string_view kAfterTime[] = {"staves",    "part-symbol",   "instruments",
                                           "clef",      "staff-details", "transpose",
                                           "directive", "measure-style"};
constexpr std::string_view kAfterClef[] = {"staff-details", "transpose", "directive",
                                           "measure-style"};

bool IsWholeNumber(std::string_view text) {
  int64_t number = 0;
  return ReadWholeNumber(text, number);
}

// Whether `child` of an `attributes` gives the "$" record a code.
bool WritesCode(xml::Node child) {
  const std::string_view name = child.Name();
  if (name == "key") return static_cast<bool>(child.Child("fifths"));
  return name == "divisions" || name == "time" || name == "staves" || name == "instruments" ||
         name == "clef" || name == "transpose" || name == "directive";
}

// A time signature's beats as one number: "3+2" is 5 beats.
bool SumOfBeats(std::string_view text, int64_t& sum) {
  sum = 0;
  size_t start = 0;
  while (start <= text.size()) {
    const size_t plus = text.find('+', start);
    const std::string_view piece =
        text.substr(start, plus == std::string_view::npos ? std::string_view::npos : plus - start);
    int64_t number = 0;
    if (!ReadWholeNumber(piece, number) || number < 1) return false;
    sum += number;
    if (plus == std::string_view::npos) return true;
    start = plus + 1;
  }
  return false;
}

// Mends one `time`; false when it has to go.
bool MendTime(xml::Node time, bool& mended) {
  const std::string_view symbol = time.Attr("symbol");
  if (symbol == "common" || symbol == "cut") return true;
  const xml::Node beats = time.Child("beats");
  const xml::Node beatType = time.Child("beat-type");
  if (!beats || !beatType || !IsWholeNumber(beatType.Text())) return false;
  const std::string text = beats.Text();
  if (IsWholeNumber(text)) return true;
  int64_t sum = 0;
  if (!SumOfBeats(text, sum)) return false;
  beats.SetText(std::to_string(sum));
  mended = true;
  return true;
}

// The number of divisions that notes and forwards take up in `measure`: the
// furthest point that its voices reach.
int64_t LengthOf(xml::Node measure) {
  int64_t position = 0;
  int64_t furthest = 0;
  int64_t last = 0;  // the duration of the last note, which its chord tones share
  for (const xml::Node element : measure.Children()) {
    const std::string_view name = element.Name();
    int64_t duration = 0;
    ReadWholeNumber(element.Child("duration").Text(), duration);
    if (name == "note") {
      if (element.Child("grace")) continue;
      if (element.Child("chord")) {
        position += duration - last;
      } else {
        position += duration;
      }
      last = duration;
    } else if (name == "forward") {
      position += duration;
    } else if (name == "backup") {
      position -= duration;
    }
    furthest = std::max(furthest, position);
  }
  return furthest;
}

// A time signature that fills `length` divisions: quarters when they come
// out whole, else eighths or sixteenths; 4/4 when nothing fits.
std::pair<int64_t, int64_t> ImpliedTime(int64_t length, int64_t divisions) {
  if (length > 0 && divisions > 0) {
    for (const int64_t beatType : {4, 8, 16}) {
      const int64_t units = length * beatType;
      if (units % (4 * divisions) == 0) return {units / (4 * divisions), beatType};
    }
  }
  return {4, 4};
}

// The first element of the part called `name` inside an `attributes`, and
// whether a note comes before it.
struct Found {
  xml::Node element;
  bool afterNotes = false;
};
Found FirstInAttributes(const PartInScore& part, std::string_view name) {
  bool notes = false;
  for (const xml::Node measure : part.measures) {
    for (const xml::Node element : measure.Children()) {
      if (element.Name() == "note") notes = true;
      if (element.Name() != "attributes") continue;
      if (const xml::Node found = element.Child(name)) return {found, notes};
    }
  }
  return {};
}

// The opening attributes of the part: the first `attributes` of its first
// measure before any note, or a new one after its print and bar line.
xml::Node OpeningAttributes(xml::Node measure) {
  xml::Node before;
  for (const xml::Node element : measure.Children()) {
    const std::string_view name = element.Name();
    if (name == "attributes") return element;
    if (name == "print" || name == "barline") continue;
    before = element;
    break;
  }
  if (before) return measure.InsertElementBefore("attributes", before);
  return measure.AppendElement("attributes");
}

// Whether `attributes` also holds the key of the first staff, with the fifths
// of `staffKey`.
bool SameKeyForFirstStaff(xml::Node attributes, xml::Node staffKey) {
  for (const xml::Node key : attributes.Children("key"))
    if (key.AttrInt("number", 1) == 1 &&
        key.Child("fifths").Text() == staffKey.Child("fifths").Text())
      return true;
  return false;
}

}  // namespace

AttributeChanges MendAttributes(const PartInScore& part, xml::Node measure, Context& context) {
  return Trap(kMendAttributesForMuseData, context.Caught(), [&] {
    AttributeChanges changes;
    std::vector<xml::Node> attributes;
    for (const xml::Node element : measure.Children("attributes")) attributes.push_back(element);
    for (const xml::Node element : attributes) {
      std::vector<xml::Node> unwritable;
      for (const xml::Node child : element.Children()) {
        const std::string_view name = child.Name();
        bool mended = false;
        if (name == "time" && !MendTime(child, mended)) {
          context.Warn(part, measure,
                       child.Child("senza-misura")
                           ? "a time without metre (senza misura) has no MuseData time; left out"
                           : "a time signature that is no fraction is left out");
          unwritable.push_back(child);
        } else if (name == "key" && !child.Child("fifths") && child.Child("key-step")) {
          context.Warn(part, measure,
                       "a key signature of single accidentals has no MuseData key; left out");
          unwritable.push_back(child);
        } else if (name == "key" && child.AttrInt("number", 1) > 1) {
          // MuseData's key holds for every staff of the part: the key of the
          // first staff stands for all.
          if (!SameKeyForFirstStaff(element, child))
            context.Warn(part, measure,
                         "a key signature for staff " + std::string(child.Attr("number")) +
                             " alone has no MuseData key; left out");
          unwritable.push_back(child);
        } else if (name == "transpose" && !IsWholeNumber(child.Child("chromatic").Text())) {
          context.Warn(part, measure, "a transposition without its chromatic step is left out");
          unwritable.push_back(child);
        } else if (name == "clef") {
          const std::string sign = child.Child("sign").Text();
          if (sign != "G" && sign != "F" && sign != "C") {
            // MuseData's clefs are G, C and F clefs; a percussion or tablature
            // staff reads as the treble staff its notes are placed on.
            if (const xml::Node old = child.Child("sign")) old.SetText("G");
            const xml::Node line =
                child.Child("line") ? child.Child("line") : child.AppendElement("line");
            line.SetText("2");
            mended = true;
          }
        } else if (name == "divisions" || name == "staves" || name == "instruments") {
          if (!IsWholeNumber(child.Text())) {
            context.Warn(part, measure,
                         "attributes/" + std::string(name) + " \"" + child.Text() +
                             "\" is no number; left out");
            unwritable.push_back(child);
          }
        }
        if (mended) ++changes.mended;
      }
      for (const xml::Node child : unwritable) {
        child.Remove();
        ++changes.mended;
      }
      bool writes = false;
      for (const xml::Node child : element.Children()) writes = writes || WritesCode(child);
      if (!writes) {
        element.Remove();
        ++changes.removed;
      }
    }
    return changes;
  });
}

int32_t CompleteOpeningAttributes(const PartInScore& part, Context& context) {
  return Trap(kCompleteOpeningAttributes, context.Caught(), [&] {
    if (part.measures.empty()) return 0;
    const xml::Node first = part.measures.front();
    const xml::Node opening = OpeningAttributes(first);
    int32_t added = 0;

    xml::Node divisions = opening.Child("divisions");
    if (!divisions) {
      const Found found = FirstInAttributes(part, "divisions");
      divisions = finish::InsertBeforeFirstOf(opening, "divisions", kAfterDivisions);
      divisions.AppendText(found.element ? found.element.Text() : "1");
      if (!found.element)
        context.Warn(part, first, "the part has no divisions; one division to the quarter assumed");
      ++added;
    }
    if (!opening.Child("key")) {
      // No key signature before the first note reads as no accidentals.
      finish::InsertBeforeFirstOf(opening, "key", kAfterKey).AppendElement("fifths", "0");
      ++added;
    }
    if (!opening.Child("time")) {
      const Found found = FirstInAttributes(part, "time");
      const xml::Node time = finish::InsertBeforeFirstOf(opening, "time", kAfterTime);
      if (found.element && !found.afterNotes) {
        for (const xml::Node child : found.element.Children())
          time.AppendElement(std::string(child.Name()).c_str(), child.Text());
        for (const auto& attribute : found.element.Attributes())
          time.SetAttr(std::string(attribute.name).c_str(), attribute.value);
      } else {
        // A measure that is a pickup does not show the metre; the next one does.
        xml::Node full = first;
        if (first.Attr("implicit") == "yes" && part.measures.size() > 1) full = part.measures[1];
        int64_t perQuarter = 0;
        ReadWholeNumber(divisions.Text(), perQuarter);
        const auto [beats, beatType] = ImpliedTime(LengthOf(full), perQuarter);
        time.AppendElement("beats", std::to_string(beats));
        time.AppendElement("beat-type", std::to_string(beatType));
        time.SetAttr("print-object", "no");
        context.Warn(part, first,
                     "the part has no time signature before its first note; " +
                         std::to_string(beats) + "/" + std::to_string(beatType) +
                         " from the length of measure " + std::string(full.Attr("number")) +
                         " written");
      }
      ++added;
    }
    // Every staff of the part opens with a clef; a missing one is a treble
    // clef, or a bass clef for the lower staff of two.
    int64_t staves = 1;
    ReadWholeNumber(opening.Child("staves").Text(), staves);
    if (!opening.Child("staves")) {
      const Found found = FirstInAttributes(part, "staves");
      if (found.element) ReadWholeNumber(found.element.Text(), staves);
    }
    staves = std::clamp<int64_t>(staves, 1, 9);
    std::vector<bool> clefOf(static_cast<size_t>(staves) + 1, false);
    for (const xml::Node clef : opening.Children("clef")) {
      const int32_t number = clef.AttrInt("number", 1);
      if (number >= 1 && number <= staves) clefOf[static_cast<size_t>(number)] = true;
    }
    for (int64_t staff = 1; staff <= staves; ++staff) {
      if (clefOf[static_cast<size_t>(staff)]) continue;
      const xml::Node clef = finish::InsertBeforeFirstOf(opening, "clef", kAfterClef);
      if (staves > 1) clef.SetAttr("number", std::to_string(staff));
      const bool bass = staves == 2 && staff == 2;
      clef.AppendElement("sign", bass ? "F" : "G");
      clef.AppendElement("line", bass ? "4" : "2");
      ++added;
    }
    return added > 0 ? 1 : 0;
  });
}

int32_t DropMeasureNumbers(const PartInScore& part) {
  int32_t dropped = 0;
  for (const xml::Node measure : part.measures) {
    const std::string_view number = measure.Attr("number");
    if (measure.HasAttr("implicit") && measure.Attr("implicit") != "no") continue;
    // The bar record holds at most four digits after its eight-column word.
    const bool digits =
        !number.empty() && number.size() <= 4 &&
        std::all_of(number.begin(), number.end(), [](char c) { return c >= '0' && c <= '9'; });
    if (digits) continue;
    measure.SetAttr("implicit", "yes");
    ++dropped;
  }
  return dropped;
}

int32_t CloseLastMeasure(const PartInScore& part) {
  if (part.measures.empty()) return 0;
  const xml::Node last = part.measures.back();
  // Any bar line after a measure's first element is written after the measure.
  const xml::Node first = last.FirstElement();
  for (xml::Node element = first.NextElement(); element; element = element.NextElement())
    if (element.Name() == "barline") return 0;
  if (!first) return 0;  // a measure with nothing in it writes no record at all
  if (first.Name() == "barline" && first.Attr("location") == "right") return 0;
  const xml::Node barline = last.AppendElement("barline");
  barline.SetAttr("location", "right");
  barline.AppendElement("bar-style", "regular");
  return 1;
}

}  // namespace musedata::export_finish
