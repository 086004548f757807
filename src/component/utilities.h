#pragma once

#include <string>
#include <string_view>

#include "musedata/document.h"

namespace musedata {

// The DTD system identifiers of MusicXML 1.0 (never fetched).
inline constexpr const char* kPartwiseDtd = "http://www.musicxml.org/dtds/partwise.dtd";
inline constexpr const char* kTimewiseDtd = "http://www.musicxml.org/dtds/timewise.dtd";

// A new MusicXML 1.0 document whose only element is an empty score-partwise
// (Partwise true) or score-timewise root, with its prolog and DOCTYPE. The
// system identifier argument has no effect on the document: the DOCTYPE always
// names the published DTD.
Document InitializeXML(bool Partwise, const std::string& SystemIdentifier);

// The text with every run of hyphens shortened until no "--" remains, so it
// may stand inside an XML comment.
std::string CleanseComment(std::string_view Text);

}  // namespace musedata
