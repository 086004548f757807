// Bar-line records, and the back and irest records that move the time
// position, on export.
//
// MusicXML hangs a bar line on the measure it closes (location "right") or
// opens ("left"); MuseData writes one bar record between two measures. So the
// right bar line of a measure waits, pending, until the next measure starts,
// and one record carries both bar lines.

#include <string>
#include <string_view>

#include "component/error_codes.h"
#include "component/music_xml.h"
#include "encoding/measure_codes.h"
#include "encoding/measure_columns.h"
#include "encoding/record_view.h"

namespace musedata {
namespace {

// The first character of an element's left-trimmed text; "" for none.
std::string FirstCharacterOf(xml::Node element) {
  const std::string text = element.Text();
  return std::string(FirstCharacters(TrimLeft(text), 1));
}

// An implicit measure (a pickup, or the two halves of a split measure) has
// no number of its own in the music, and its bar record names none.
bool IsImplicit(xml::Node measure) {
  return measure.HasAttr("implicit") && measure.Attr("implicit") != "no";
}

// "start-end1", "stop-end2", "disc-end2"; "" without an ending.
std::string EndingFlag(xml::Node ending) {
  if (!ending) return {};
  const std::string_view type = ending.Attr("type");
  return std::string(type == "discontinue" ? kEndingDiscontinue : type) +
         std::string(kEndingFlagSuffix) + std::string(ending.Attr("number"));
}

// "|:" opens a repeated section, ":|" closes one; "" without a repeat.
std::string_view RepeatFlag(xml::Node repeat) {
  if (!repeat) return {};
  return repeat.Attr("direction") == "forward" ? kBarFlagForwardRepeat : kBarFlagBackwardRepeat;
}

}  // namespace

bool MusicXML::SaveMeasure(xml::Node measure, xml::Node pendingBarline, xml::Node leftBarline,
                           bool firstMeasure) {
  return Trap(kSaveMeasure, &m_caught, [&] {
    // The music before the first bar line needs no record, unless the first
    // measure opens with a bar line of its own (a repeat sign, an ending).
    if (firstMeasure && !leftBarline) return true;

    // What both bar lines say: the pending one first, the left one where
    // the pending one is silent.
    const auto find = [&](std::string_view name) {
      if (!pendingBarline) return leftBarline.Child(name);
      const xml::Node found = pendingBarline.Child(name);
      return found || !leftBarline ? found : leftBarline.Child(name);
    };

    LineBuilder line;
    const std::string_view code = BarCodeFor(find("bar-style").Text());
    line.Put(1, code.empty() ? std::string(kPlainBarWord)
                             : std::string(kBarWordLetter) + std::string(code));
    if (measure && !IsImplicit(measure)) line.Put(kBarNumber.first, measure.Attr("number"));
    // A number too long for its columns would push the others out of place.
    if (line.Length() > kBarNumber.last) throw RunTimeError::InvalidCall();
    line.Put(kBarEditorial.first, EditorialColumns(find("footnote"), find("level"), find("voice")));
    line.Put(kBarFlagsFrom - 1, " ");
    if (measure.Attr("non-controlling") == "yes") line.Put(kBarFlagsFrom, kBarFlagNonControlling);

    const auto appendFlag = [&](std::string_view flag) {
      if (!flag.empty()) line.Append(" ").Append(flag);
    };
    if (find("wavy-line")) appendFlag(kBarFlagWavyLine);
    if (find("segno")) appendFlag(kBarFlagSegno);
    if (const xml::Node fermata = find("fermata"))
      appendFlag(fermata.Attr("type") == "inverted" ? kBarFlagInvertedFermata : kBarFlagFermata);
    appendFlag(EndingFlag(leftBarline.Child("ending")));
    appendFlag(EndingFlag(pendingBarline.Child("ending")));
    appendFlag(RepeatFlag(leftBarline.Child("repeat")));
    appendFlag(RepeatFlag(pendingBarline.Child("repeat")));
    WriteLine(line.Finish());
    return true;
  });
}

bool MusicXML::SaveBackupForward(xml::Node element) {
  return Trap(kSaveBackupForward, &m_caught, [&] {
    const bool isForward = element.Name() == "forward";
    const xml::Node duration = element.Child("duration");
    if (!duration) throw RunTimeError::ObjectNotSet();

    LineBuilder line;
    line.Put(kBackupForwardKind.first, isForward ? kForwardWord : kBackupWord);
    const std::string durationText = duration.Text();
    line.Put(kBackupForwardDuration.first, FitDuration(Trim(durationText)));
    line.Put(kBackupForwardEditorial.first, SaveVoice(element));
    line.Put(kBackupForwardPass.first, FirstCharacterOf(element.Child("pass-number")));
    line.Put(kForwardStaff.first, FirstCharacterOf(element.Child("staff")));
    WriteLine(line.Finish());
    return true;
  });
}

std::string MusicXML::FitDuration(std::string_view duration) {
  // MuseData keeps durations in three columns; a longer one cannot be written.
  if (CharacterCount(duration) < 4) return std::string(duration);
  if (!m_warnings.durationTooWideShown) {
    m_warnings.durationTooWideShown = true;
    ShowWarning("Duration of " + std::string(duration) +
                " is too large to fit in 3-digit field.\r\n"
                "Replacing with 999. This may occur more than once.");
  }
  return "999";
}

}  // namespace musedata
