#include "component/utilities.h"

#include "component/error_codes.h"
#include "xml/node.h"

namespace musedata {

Document InitializeXML(bool Partwise, const std::string& SystemIdentifier) {
  return Trap(kInitializeXML, nullptr, [&] {
    // Where a DTD would be looked for; kept only for the record, as the
    // document always names the published DTD and nothing is fetched.
    const std::string dtdLocation =
        SystemIdentifier.empty() ? std::string("//C:/musicxml/") : "//" + SystemIdentifier;
    static_cast<void>(dtdLocation);

    const char* root = Partwise ? "score-partwise" : "score-timewise";
    std::string text;
    text += "<?xml version=\"1.0\" standalone=\"no\"?>\r\n";
    text += "<!DOCTYPE ";
    text += root;
    text += " PUBLIC \r\n\t";
    text += Partwise ? "\"-//Tavrendel//DTD MusicXML 1.0 Partwise//EN\""
                     : "\"-//Tavrendel//DTD MusicXML 1.0 Timewise//EN\"";
    text += "\r\n\t\"";
    text += Partwise ? kPartwiseDtd : kTimewiseDtd;
    text += "\">\r\n<";
    text += root;
    text += ">\r\n</";
    text += root;
    text += ">\r\n";

    xml::ParseFailure failure;
    Document doc = xml::TryParseMemory(text, "", failure);
    if (!doc) {
      RaiseConverterError(kErrXmlInitializationParse,
                          "XML initialization parsing error:\r" + failure.reason + "\r" +
                              failure.url + "\rLine " + std::to_string(failure.line) +
                              ", position " + std::to_string(failure.column) + ": " + text);
    }
    // The parser keeps the line end inside the empty root; a document built
    // without white space between elements is what the serializer can indent.
    for (xml::Node child = xml::Root(doc).FirstChild(); child;) {
      const xml::Node next = child.Next();
      if (child.Type() == xml::NodeType::Text &&
          child.Content().find_first_not_of(" \t\r\n") == std::string_view::npos)
        child.Remove();
      child = next;
    }
    return doc;
  });
}

std::string CleanseComment(std::string_view Text) {
  return Trap(kCleanseComment, nullptr, [&] {
    // Replacing every "--" by "-" until none is left shortens each run of
    // hyphens to a single one; doing it in one pass gives the same text.
    std::string clean;
    clean.reserve(Text.size());
    for (const char c : Text)
      if (c != '-' || clean.empty() || clean.back() != '-') clean += c;
    return clean;
  });
}

}  // namespace musedata
