#pragma once

// libxml2's strings are unsigned char; the XML layer's own code reads and
// passes them as char.

#include <libxml/xmlstring.h>

#include <string_view>

namespace musedata::xml {

inline const xmlChar* X(const char* text) {
  return reinterpret_cast<const xmlChar*>(text);
}

// The string, or "" for none.
inline std::string_view View(const xmlChar* text) {
  return text ? std::string_view(reinterpret_cast<const char*>(text)) : std::string_view();
}

}  // namespace musedata::xml
