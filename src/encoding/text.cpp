// MuseData text in the score document: character escapes, XML's special
// characters as entity references, and comments.

#include "component/error_codes.h"
#include "component/music_xml.h"
#include "component/utilities.h"
#include "encoding/accents.h"

namespace musedata {
namespace {

// Control characters are dropped from record text; tab, CR and LF stay.
bool IsDroppedControl(char c) {
  const auto code = static_cast<unsigned char>(c);
  return code < 32 && c != '\r' && c != '\t' && c != '\n';
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// The entity that stands for one of XML's five special characters, or null.
const char* SpecialEntity(char c) {
  switch (c) {
    case '&': return "amp";
    case '\'': return "apos";
    case '"': return "quot";
    case '>': return "gt";
    case '<': return "lt";
    default: return nullptr;
  }
}

}  // namespace

bool MusicXML::AddText(xml::Node element, std::string_view text) {
  if (!element) {
    RaiseConverterError(kErrAddTextNoElement,
                        "Cannot add MuseData text to a non-existent XML element");
  }
  return Trap(kAddText, &m_caught, [&] {
    if (element.Type() == xml::NodeType::Comment) {
      std::string kept;
      kept.reserve(text.size());
      for (const char c : text)
        if (!IsDroppedControl(c)) kept += c;
      element.SetContent(CleanseComment(kept));
      return true;
    }

    std::string pending;
    for (size_t i = 0; i < text.size();) {
      const char c = text[i];
      if (IsDroppedControl(c)) {
        ++i;
      } else if (const char* entity = SpecialEntity(c)) {
        element.AppendText(pending);
        pending.clear();
        element.AppendEntityRef(entity);
        ++i;
      } else if (c == '\\') {
        const char c1 = i + 1 < text.size() ? text[i + 1] : '\0';
        const char c2 = i + 2 < text.size() ? text[i + 2] : '\0';
        if (c1 == '\\') {
          pending += '\\';
          i += 2;
          continue;
        }
        // The accent digit and the letter may stand in either order.
        std::string_view accented;
        if (IsDigit(c1) && c2 != '\0' && !IsDigit(c2)) accented = AccentCharacter(c1, c2);
        else if (c1 != '\0' && !IsDigit(c1) && IsDigit(c2)) accented = AccentCharacter(c2, c1);
        if (accented.empty()) {
          pending += '\\';  // not an escape: the backslash stays, what follows is read again
          ++i;
        } else {
          pending.append(accented);
          i += 3;
        }
      } else {
        pending += c;
        ++i;
      }
    }
    element.AppendText(pending);
    return true;
  });
}

}  // namespace musedata
