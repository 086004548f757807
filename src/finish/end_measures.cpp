// Empty measures at the start or end of a part.

#include <string_view>
#include <vector>

#include "component/error_codes.h"
#include "finish/passes.h"

namespace musedata::finish {
namespace {

// A measure takes time only through notes, rests, forwards and backups.
bool HoldsMusic(xml::Node measure) {
  for (xml::Node child : measure.Children()) {
    const std::string_view name = child.Name();
    if (name == "note" || name == "forward" || name == "backup") return true;
  }
  return false;
}

std::vector<xml::Node> ChildElements(xml::Node measure) {
  std::vector<xml::Node> children;
  for (xml::Node child : measure.Children()) children.push_back(child);
  return children;
}

// The first child of `measure` that is neither a print suggestion nor a left
// bar line: where what belongs to the measure's opening goes.
xml::Node AfterOpening(xml::Node measure) {
  for (xml::Node child : measure.Children()) {
    if (child.Name() == "print") continue;
    if (child.Name() == "barline" && child.Attr("location") == "left") continue;
    return child;
  }
  return {};
}

// The first of the bar lines that close `measure`, or empty.
xml::Node ClosingBarlines(xml::Node measure) {
  xml::Node first;
  for (xml::Node child = measure.LastChild(); child; child = child.Previous()) {
    if (child.Name() != "barline" || child.Attr("location") == "left") break;
    first = child;
  }
  return first;
}

// The leading empty measure's content opens the next measure: its bar lines
// become left bar lines ahead of everything, the rest follows the next
// measure's own opening.
void HandToNext(xml::Node empty, xml::Node next) {
  const xml::Node opening = AfterOpening(next);
  std::vector<xml::Node> barlines;
  for (xml::Node child : ChildElements(empty)) {
    if (child.Name() == "barline") {
      barlines.push_back(child);
    } else if (opening) {
      next.InsertBefore(child, opening);
    } else {
      next.AppendChild(child);
    }
  }
  const xml::Node first = next.FirstChild();
  for (xml::Node barline : barlines) {
    barline.SetAttr("location", "left");
    if (first) {
      next.InsertBefore(barline, first);
    } else {
      next.AppendChild(barline);
    }
  }
}

// The trailing empty measure's content closes the measure before it: its bar
// lines become right bar lines after that measure's own, the rest goes before them.
void HandToPrevious(xml::Node empty, xml::Node previous) {
  const xml::Node closing = ClosingBarlines(previous);
  for (xml::Node child : ChildElements(empty)) {
    if (child.Name() == "barline") {
      child.SetAttr("location", "right");
      previous.AppendChild(child);
    } else if (closing) {
      previous.InsertBefore(child, closing);
    } else {
      previous.AppendChild(child);
    }
  }
}

}  // namespace

int32_t RemoveEmptyEndMeasures(PartInScore& part, Context& context) {
  return Trap(kRemoveEmptyEndMeasures, context.Caught(), [&] {
    int32_t removed = 0;
    std::vector<xml::Node>& measures = part.measures;
    while (measures.size() > 1 && !HoldsMusic(measures.front())) {
      HandToNext(measures.front(), measures[1]);
      measures.front().Remove();
      measures.erase(measures.begin());
      ++removed;
    }
    while (measures.size() > 1 && !HoldsMusic(measures.back())) {
      HandToPrevious(measures.back(), measures[measures.size() - 2]);
      measures.back().Remove();
      measures.pop_back();
      ++removed;
    }
    return removed;
  });
}

}  // namespace musedata::finish
