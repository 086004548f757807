#pragma once

// MusicXML written out so that two documents that say the same compare equal
// as text: attributes sorted by name, text as it stands, no whitespace
// between elements, comments left out.

#include <algorithm>
#include <string>
#include <vector>

#include "xml/node.h"

namespace musedata::test {

inline std::string Canonical(xml::Node element) {
  std::string text = "<" + std::string(element.Name());
  std::vector<xml::Node::Attribute> attributes = element.Attributes();
  std::sort(attributes.begin(), attributes.end(),
            [](const auto& a, const auto& b) { return a.name < b.name; });
  for (const auto& attribute : attributes)
    text += " " + std::string(attribute.name) + "=\"" + attribute.value + "\"";
  text += ">";
  if (!element.FirstElement()) {
    text += element.Text();
  } else {
    for (const xml::Node child : element.Children()) text += Canonical(child);
  }
  return text + "</" + std::string(element.Name()) + ">";
}

// The canonical text of every child element of `parent`, in order.
inline std::string CanonicalChildren(xml::Node parent) {
  std::string text;
  for (const xml::Node child : parent.Children()) text += Canonical(child);
  return text;
}

}  // namespace musedata::test
