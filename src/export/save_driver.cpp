// The export driver: the walk over one part's measures, the track table and
// the footnote, level and track columns.

#include <charconv>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "component/error_codes.h"
#include "component/music_xml.h"
#include "encoding/numbers.h"
#include "encoding/record_view.h"

namespace musedata {
namespace {

// The MuseData track character of the `counter`-th voice that occurs in a
// part: "1" to "9", then "A", "B", ...
std::string TrackCharacter(int32_t counter) {
  if (counter <= 9) return std::string(1, static_cast<char>('0' + counter));
  return std::string(1, static_cast<char>('A' + counter - 10));
}

// Calls `visit` with every element called `name` below `node`, at any depth,
// in document order.
template <class Visit>
void ForEachDescendant(xml::Node node, std::string_view name, Visit&& visit) {
  for (const xml::Node child : node.Children()) {
    if (child.Name() == name) visit(child);
    ForEachDescendant(child, name, visit);
  }
}

// How a measure's first element decides its bar record.
enum class MeasureOpening { NoBarline, RightBarline, LeftBarline, Unplaced };

MeasureOpening OpeningOf(xml::Node firstElement) {
  if (firstElement.Name() != "barline") return MeasureOpening::NoBarline;
  const std::string_view location = firstElement.Attr("location");
  if (location == "right") return MeasureOpening::RightBarline;
  if (location == "left") return MeasureOpening::LeftBarline;
  return MeasureOpening::Unplaced;
}

}  // namespace

xml::Node MusicXML::SelectPart(int32_t PartNumber) {
  xml::Node part;
  int32_t position = 0;
  for (const xml::Node candidate : m_score.root.Children("part")) {
    if (++position != PartNumber) continue;
    part = candidate;
    break;
  }
  if (!part)
    RaiseConverterError(kErrNoPart, "No part number " + std::to_string(PartNumber) + " found");
  m_score.parts.at(static_cast<size_t>(PartNumber)) = part;
  return part;
}

bool MusicXML::SaveData(const std::string& /*FileName*/, int32_t PartNumber) {
  return Trap(kSaveData, &m_caught, [&] {
    const xml::Node part = SelectPart(PartNumber);
    InitTracks(part);

    int32_t childCount = 0;
    for (xml::Node child = part.FirstChild(); child; child = child.Next())
      childCount = CheckedAdd(childCount, 1);
    m_progress.size = CheckedAdd(childCount, 4);
    m_progress.current = 3;
    if (RaiseSaving()) return false;

    xml::Node pendingBarline;
    bool firstMeasure = true;
    for (xml::Node child = part.FirstChild(); child; child = child.Next()) {
      if (child.IsElement()) {
        if (!SaveMeasureChildren(child, pendingBarline, firstMeasure)) return false;
        firstMeasure = false;
      } else if (child.Type() == xml::NodeType::Comment) {
        if (!SaveComment(child)) return false;
      }
      m_progress.current = CheckedAdd(m_progress.current, 1);
      if (RaiseSaving()) return false;
    }

    // The right bar line of the last measure closes the part.
    if (pendingBarline) {
      m_score.currentMeasure = {};
      if (!SaveMeasure({}, pendingBarline, {}, false)) return false;
    }
    WriteLine("/END");
    m_progress.current = CheckedAdd(m_progress.current, 1);
    RaiseSaving();
    return true;
  });
}

// Writes one measure: its bar record (decided by its first element), then
// every child in order. Whatever the part holds in place of a measure is
// written as one. A right bar line becomes `pendingBarline`: MuseData writes
// it as the bar record that opens the next measure.
bool MusicXML::SaveMeasureChildren(xml::Node measure, xml::Node& pendingBarline,
                                   bool firstMeasure) {
  m_score.currentMeasure = measure;
  bool measureStart = true;
  for (xml::Node child = measure.FirstChild(); child; child = child.Next()) {
    if (child.Type() == xml::NodeType::Comment) {
      // Comments before the first element come before the bar record.
      if (!SaveComment(child)) return false;
      continue;
    }
    if (!child.IsElement()) continue;
    if (measureStart) {
      measureStart = false;
      switch (OpeningOf(child)) {
        case MeasureOpening::NoBarline:
          if (!SaveMeasure(measure, pendingBarline, {}, firstMeasure)) return false;
          pendingBarline = {};
          break;
        case MeasureOpening::RightBarline:
          if (!SaveMeasure(measure, pendingBarline, {}, firstMeasure)) return false;
          pendingBarline = child;
          continue;
        case MeasureOpening::LeftBarline:
          if (!SaveMeasure(measure, pendingBarline, child, firstMeasure)) return false;
          pendingBarline = {};
          continue;
        case MeasureOpening::Unplaced:
          // A bar line that says neither left nor right gives the measure no record.
          continue;
      }
    }
    if (!SaveMeasureElement(child, pendingBarline)) return false;
  }
  return true;
}

// Dispatches one element of a measure to its writer. A bar line after the
// measure's first element waits in `pendingBarline` for the next bar record.
bool MusicXML::SaveMeasureElement(xml::Node element, xml::Node& pendingBarline) {
  const std::string_view name = element.Name();
  if (name == "barline") {
    pendingBarline = element;
    return true;
  }
  if (name == "note") return SaveNote(element);
  if (name == "attributes") return SaveAttributes(element);
  if (name == "backup" || name == "forward") return SaveBackupForward(element);
  if (name == "direction") return SaveDirection(element);
  if (name == "figured-bass") return SaveFiguredBass(element);
  if (name == "print") return SavePrint(element);
  if (name == "sound") return SaveSound(element);
  // Elements the MuseData format has no record for are passed over.
  return true;
}

bool MusicXML::RaiseSaving() {
  if (Saving) Saving(m_progress.current, m_progress.size, m_progress.cancel);
  return m_progress.cancel;
}

void MusicXML::InitTracks(xml::Node part) {
  Trap(kInitTracks, &m_caught, [&] {
    m_export.tracks.assign(17, std::string());
    std::vector<bool> used(17, false);
    ForEachDescendant(part, "voice", [&](xml::Node voice) {
      // "01" and "1" are the same voice.
      const int32_t number = ToLong(voice.Text());
      if (number < 1) throw RunTimeError::SubscriptOutOfRange();
      if (static_cast<size_t>(number) >= used.size()) {
        used.resize(static_cast<size_t>(number) + 1, false);
        m_export.tracks.resize(static_cast<size_t>(number) + 1);
      }
      used[static_cast<size_t>(number)] = true;
    });
    // The voices that occur are numbered densely in ascending order.
    int32_t counter = 0;
    for (size_t voice = 1; voice < used.size(); ++voice)
      if (used[voice]) m_export.tracks[voice] = TrackCharacter(++counter);
  });
}

std::string MusicXML::EditorialColumns(xml::Node footnote, xml::Node level, xml::Node voice) {
  std::string columns;
  for (const xml::Node mark : {footnote, level}) {
    const std::string text = mark.Text();
    const std::string_view first = FirstCharacters(TrimLeft(text), 1);
    columns += first.empty() ? std::string_view(" ") : first;
  }
  const std::string voiceText = voice.Text();
  const std::string_view text = TrimLeft(voiceText);
  if (text.empty()) return columns + " ";
  const std::optional<int32_t> number = WholeNumber32(text);
  if (!number) return columns + std::string(FirstCharacters(text, 1));
  // A voice number that the part does not use is outside the track table.
  if (*number < 1) throw RunTimeError::SubscriptOutOfRange();
  const std::string& track = m_export.tracks.at(static_cast<size_t>(*number));
  return columns + (track.empty() ? " " : track);
}

std::string MusicXML::SaveVoice(xml::Node element) {
  return Trap(kSaveVoice, &m_caught, [&] {
    return EditorialColumns(element.Child("footnote"), element.Child("level"),
                            element.Child("voice"));
  });
}

}  // namespace musedata
