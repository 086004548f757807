// MuseData text in the score document: character escapes, XML's special
// characters as entity references, comments, and MuseData font numbers.

#include "encoding/text.h"

#include <array>

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

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

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

// The character of one of XML's five predefined entities, or '\0'.
char SpecialCharacter(std::string_view entity) {
  if (entity == "amp") return '&';
  if (entity == "apos") return '\'';
  if (entity == "quot") return '"';
  if (entity == "gt") return '>';
  if (entity == "lt") return '<';
  return '\0';
}

// The name an HTML entity gives the accent of an escape: "eacute" is the
// letter "e" followed by "acute".
std::string_view AccentName(const Accent& accent) {
  switch (accent.digit) {
    case '1': return "tilde";
    case '2':
      return accent.letter == 'c' || accent.letter == 'C' ? "cedil"
             : accent.letter == 's'                       ? "zlig"
                                                          : "slash";
    case '3': return "uml";
    case '4': return "ring";
    case '5': return "caron";
    case '7': return "acute";
    case '8': return "grave";
    case '9': return "circ";
    default: return {};
  }
}

// The escape, digit first, that an accented letter is written as.
std::string Escape(char digit, char letter) {
  return {'\\', digit, letter};
}

// The escape an entity reference to an accented letter stands for ("" if the
// name is not one of them).
std::string EntityEscape(std::string_view entity) {
  for (const Accent& accent : kAccents) {
    if (entity.size() > 1 && entity.front() == accent.letter &&
        entity.substr(1) == AccentName(accent))
      return Escape(accent.digit, accent.letter);
  }
  return {};
}

// How an accented character met in text is written back. Two letters are
// written differently from how they are read, and the output keeps that on
// purpose: Ã stays the literal character, and the letters with a caron are
// written with the letter's case swapped (š as "\5S", Š as "\5s").
std::string WrittenEscape(const Accent& accent) {
  if (accent.digit == '1' && accent.letter == 'A') return {};
  if (accent.digit == '5') {
    const char swapped = accent.letter == 's' ? 'S' : 's';
    return Escape(accent.digit, swapped);
  }
  return Escape(accent.digit, accent.letter);
}

// Appends the character data of a text node as MuseData text.
void AppendEscaped(std::string_view data, std::string& text) {
  for (size_t i = 0; i < data.size();) {
    if (data[i] == '\\') {
      text += "\\\\";
      ++i;
      continue;
    }
    std::string escape;
    size_t length = 1;
    if (static_cast<unsigned char>(data[i]) >= 0x80) {
      for (const Accent& accent : kAccents) {
        if (data.substr(i).starts_with(accent.character)) {
          escape = WrittenEscape(accent);
          length = accent.character.size();
          break;
        }
      }
    }
    if (escape.empty())
      text.append(data.substr(i, length));
    else
      text += escape;
    i += length;
  }
}

// What a MuseData font number sets on the element that carries its text.
struct FontAttributes {
  std::string_view number;
  const char* family;
  const char* weight;  // null: not set
  const char* style;   // null: not set
};

inline constexpr std::array<FontAttributes, 23> kFonts{{
    {"1", "music", nullptr, nullptr},   {"21", "sans-serif", nullptr, nullptr},
    {"22", "serif", nullptr, nullptr},  {"25", "serif", nullptr, nullptr},
    {"31", "serif", nullptr, nullptr},  {"34", "serif", nullptr, nullptr},
    {"37", "serif", nullptr, nullptr},  {"43", "serif", nullptr, nullptr},
    {"46", "serif", nullptr, nullptr},  {"23", "serif", "bold", nullptr},
    {"32", "serif", "bold", nullptr},   {"38", "serif", "bold", nullptr},
    {"44", "serif", "bold", nullptr},   {"24", "serif", nullptr, "italic"},
    {"33", "serif", nullptr, "italic"}, {"39", "serif", nullptr, "italic"},
    {"45", "serif", nullptr, "italic"}, {"61", "serif", nullptr, nullptr},
    {"67", "serif", nullptr, nullptr},  {"76", "serif", nullptr, nullptr},
    {"68", "serif", "bold", nullptr},   {"77", "serif", "bold", nullptr},
    {"69", "serif", nullptr, "italic"},
}};

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
        if (IsDigit(c1) && c2 != '\0' && !IsDigit(c2))
          accented = AccentCharacter(c1, c2);
        else if (c1 != '\0' && !IsDigit(c1) && IsDigit(c2))
          accented = AccentCharacter(c2, c1);
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

std::string GetText(xml::Node element) {
  return Trap(kGetText, nullptr, [&] {
    std::string text;
    for (xml::Node child = element.FirstChild(); child; child = child.Next()) {
      if (child.Type() == xml::NodeType::Text) {
        AppendEscaped(child.Content(), text);
      } else if (child.Type() == xml::NodeType::EntityRef) {
        // Entity references are read by name: the character data of the
        // document would not show them.
        if (const char special = SpecialCharacter(child.Name()))
          text += special;
        else
          text += EntityEscape(child.Name());
      }
    }
    return text;
  });
}

std::vector<FontPiece> DivideFonts(std::string_view text) {
  return Trap(kDivideFonts, nullptr, [&] {
    std::vector<FontPiece> pieces(1);
    std::string_view remaining = text;
    // A bare "!" (no font number after it) stays text, but each one drops
    // the text before it back to the previous "!": "a!b!c" keeps "b!c".
    std::string_view pending;
    bool isFirstSearch = true;
    for (;;) {
      const size_t mark = remaining.find('!');
      if (mark == std::string_view::npos) {
        pieces.back().text = std::string(pending) + std::string(remaining);
        return pieces;
      }
      size_t end = mark + 1;
      while (end < remaining.size() && IsDigit(remaining[end])) ++end;
      const std::string_view digits = remaining.substr(mark + 1, end - mark - 1);
      if (!digits.empty()) {
        // A text that opens with a font change gives its first piece that font.
        if (!(isFirstSearch && mark == 0)) {
          pieces.back().text = std::string(pending) + std::string(remaining.substr(0, mark));
          pieces.emplace_back();
        }
        pieces.back().font = digits;
        pending = {};
      } else {
        pending = remaining.substr(0, end);
      }
      remaining.remove_prefix(end);
      isFirstSearch = false;
    }
  });
}

void AddFontNumber(xml::Node element, std::string_view fontNumber) {
  Trap(kAddFontNumber, nullptr, [&] {
    for (const FontAttributes& font : kFonts) {
      if (font.number != fontNumber) continue;
      element.SetAttr("font-family", font.family);
      if (font.weight) element.SetAttr("font-weight", font.weight);
      if (font.style) element.SetAttr("font-style", font.style);
      return;
    }
  });
}

std::string ConvertFontNumber(xml::Node element) {
  return Trap(kConvertFontNumber, nullptr, [&] {
    if (!element) throw RunTimeError::ObjectNotSet();
    // MuseData has fewer faces than MusicXML can name; each family maps to the
    // plain, bold or italic face most texts use. A size has no font number.
    const std::string_view family = element.Attr("font-family");
    if (family == "music") return std::string("1");
    if (family == "sans-serif") return std::string("21");
    if (family != "serif") return std::string();
    if (element.Attr("font-style") == "italic") return std::string("33");
    if (element.Attr("font-weight") == "bold") return std::string("32");
    return std::string("31");
  });
}

std::string GetNextNumber(std::string& s) {
  return Trap(kGetNextNumber, nullptr, [&] {
    size_t taken = 0;
    while (taken < s.size() && (IsDigit(s[taken]) || (taken == 0 && s[taken] == '-'))) ++taken;
    std::string number = s.substr(0, taken);
    s.erase(0, taken);
    return number;
  });
}

}  // namespace musedata
