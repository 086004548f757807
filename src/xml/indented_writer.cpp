// The indented text of a document, as libxml2's formatting writer
// (xmlSaveFormatFileTo with "UTF-8") makes it, byte for byte, but written
// straight from the tree into one buffer. libxml2's writer checks each
// element's children twice, sends every piece through a UTF-8 to UTF-8
// encoder and grows its buffer piece by piece; for a score that is most of
// the time spent writing it.
//
// The rules followed here are libxml2's:
// - the XML declaration, then each child of the document on a line of its own;
// - an element without children is "<name/>";
// - an element whose children include text, CDATA or an entity reference is
//   written without any line breaks or indentation inside it;
// - otherwise each element, comment and processing instruction inside it
//   stands on a line of its own, indented by two spaces per level (at most
//   thirty levels);
// - text escapes "&", "<", ">" and carriage returns; attribute values also
//   escape '"', line feeds and tabs; other characters pass through as UTF-8.
//
// Documents with anything these rules do not cover (namespaces, a DTD with
// declarations, another XML version, detached attributes, libxml2's
// formatting settings changed by a host) go through libxml2's own writer.

#include <libxml/encoding.h>
#include <libxml/globals.h>
#include <libxml/parserInternals.h>
#include <libxml/xmlIO.h>
#include <libxml/xmlsave.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>

#include "component/trap.h"
#include "xml/node.h"

namespace musedata::xml {
namespace {

std::string_view View(const xmlChar* text) {
  return text ? std::string_view(reinterpret_cast<const char*>(text)) : std::string_view();
}

bool IsDefaultIndentation() {
  return xmlIndentTreeOutput == 1 && xmlSaveNoEmptyTags == 0 &&
         std::string_view(xmlTreeIndentString) == "  ";
}

bool WritableAttributes(const xmlNode* element) {
  for (const xmlAttr* attr = element->properties; attr; attr = attr->next) {
    if (attr->ns || attr->doc != element->doc) return false;
    for (const xmlNode* child = attr->children; child; child = child->next)
      if (child->type != XML_TEXT_NODE && child->type != XML_ENTITY_REF_NODE) return false;
  }
  return true;
}

// Whether every node of the document is of a kind this writer writes as
// libxml2 does.
bool Writable(const xmlDoc* doc) {
  if (!IsDefaultIndentation() || (doc->version && View(doc->version) != "1.0")) return false;
  for (const xmlNode* top = doc->children; top; top = top->next) {
    if (top->type == XML_DTD_NODE) {
      const auto* dtd = reinterpret_cast<const xmlDtd*>(top);
      if (dtd->entities || dtd->elements || dtd->attributes || dtd->notations || dtd->pentities ||
          (dtd->ExternalID && !dtd->SystemID))
        return false;
      continue;
    }
    const xmlNode* node = top;
    while (node) {
      switch (node->type) {
        case XML_ELEMENT_NODE:
          if (node->ns || node->nsDef || !WritableAttributes(node)) return false;
          break;
        case XML_TEXT_NODE:
        case XML_CDATA_SECTION_NODE:
        case XML_ENTITY_REF_NODE:
        case XML_COMMENT_NODE:
        case XML_PI_NODE:
        case XML_XINCLUDE_START:
        case XML_XINCLUDE_END: break;
        default: return false;
      }
      if (node->type == XML_ELEMENT_NODE && node->children) {
        node = node->children;
        continue;
      }
      while (node != top && !node->next) node = node->parent;
      node = node == top ? nullptr : node->next;
    }
  }
  return true;
}

// Collects the text in pieces of about kPiece bytes for `write`; once `write`
// answers false, the rest is dropped.
class Output {
 public:
  explicit Output(const std::function<bool(std::string_view)>& write) : m_write(write) {
    m_text.reserve(kPiece + kPiece / 2);
  }

  void Put(std::string_view text) {
    m_text.append(text);
    if (m_text.size() >= kPiece) Flush();
  }
  void Put(char c) { m_text.push_back(c); }

  // Text with "&", "<", ">" and carriage returns as references.
  void PutEscapedText(const xmlChar* text) {
    const char* run = reinterpret_cast<const char*>(text);
    const char* at = run;
    for (;; ++at) {
      const char* reference;
      switch (*at) {
        case '\0': Put(std::string_view(run, static_cast<size_t>(at - run))); return;
        case '&': reference = "&amp;"; break;
        case '<': reference = "&lt;"; break;
        case '>': reference = "&gt;"; break;
        case '\r': reference = "&#13;"; break;
        default: continue;
      }
      m_text.append(run, static_cast<size_t>(at - run)).append(reference);
      run = at + 1;
    }
  }

  // An attribute value: text's references and those of '"', line feeds and tabs.
  void PutEscapedValue(const xmlChar* text) {
    const char* run = reinterpret_cast<const char*>(text);
    const char* at = run;
    for (;; ++at) {
      const char* reference;
      switch (*at) {
        case '\0': Put(std::string_view(run, static_cast<size_t>(at - run))); return;
        case '&': reference = "&amp;"; break;
        case '<': reference = "&lt;"; break;
        case '>': reference = "&gt;"; break;
        case '"': reference = "&quot;"; break;
        case '\n': reference = "&#10;"; break;
        case '\r': reference = "&#13;"; break;
        case '\t': reference = "&#9;"; break;
        default: continue;
      }
      m_text.append(run, static_cast<size_t>(at - run)).append(reference);
      run = at + 1;
    }
  }

  // A quoted literal of the DOCTYPE or the declaration: in double quotes,
  // unless it holds one and no single quote.
  void PutQuoted(std::string_view text) {
    if (text.find('"') == std::string_view::npos) {
      Put('"');
      Put(text);
      Put('"');
    } else if (text.find('\'') == std::string_view::npos) {
      Put('\'');
      Put(text);
      Put('\'');
    } else {
      Put('"');
      for (char c : text) c == '"' ? Put("&quot;") : Put(c);
      Put('"');
    }
  }

  void Indent(int level) {
    static constexpr std::string_view kSpaces =
        "                                                            ";
    Put(kSpaces.substr(0, 2 * static_cast<size_t>(std::min(level, kDeepestIndent))));
  }

  // Hands over what is left; false when `write` refused any piece.
  bool Finish() {
    Flush();
    return !m_failed;
  }

 private:
  static constexpr size_t kPiece = 64 * 1024;
  static constexpr int kDeepestIndent = 30;

  void Flush() {
    if (!m_failed && !m_text.empty() && !m_write(m_text)) m_failed = true;
    m_text.clear();
  }

  const std::function<bool(std::string_view)>& m_write;
  std::string m_text;
  bool m_failed = false;
};

bool IsMixedContent(const xmlNode* child) {
  for (; child; child = child->next)
    if (child->type == XML_TEXT_NODE || child->type == XML_CDATA_SECTION_NODE ||
        child->type == XML_ENTITY_REF_NODE)
      return true;
  return false;
}

void PutCData(Output& out, const xmlChar* content) {
  const std::string_view text = View(content);
  if (text.empty()) {
    out.Put("<![CDATA[]]>");
    return;
  }
  // "]]>" cannot stand inside a section: it is split after its "]]".
  size_t start = 0;
  for (size_t end = text.find("]]>"); end != std::string_view::npos;
       end = text.find("]]>", end + 2)) {
    out.Put("<![CDATA[");
    out.Put(text.substr(start, end + 2 - start));
    out.Put("]]>");
    start = end + 2;
  }
  if (start < text.size()) {
    out.Put("<![CDATA[");
    out.Put(text.substr(start));
    out.Put("]]>");
  }
}

void PutStartTag(Output& out, const xmlNode* element) {
  out.Put('<');
  out.Put(View(element->name));
  for (const xmlAttr* attr = element->properties; attr; attr = attr->next) {
    out.Put(' ');
    out.Put(View(attr->name));
    out.Put("=\"");
    for (const xmlNode* child = attr->children; child; child = child->next) {
      if (child->type == XML_TEXT_NODE) {
        if (child->content) out.PutEscapedValue(child->content);
      } else {
        out.Put('&');
        out.Put(View(child->name));
        out.Put(';');
      }
    }
    out.Put('"');
  }
}

// One child of the document and everything below it, walked without
// recursion as libxml2 walks it.
void PutTree(Output& out, const xmlNode* root) {
  const xmlNode* node = root;
  const xmlNode* unformatted = nullptr;  // the element whose content is written as it stands
  bool format = true;
  int level = 0;
  for (;;) {
    switch (node->type) {
      case XML_ELEMENT_NODE:
        if (node != root && format) out.Indent(level);
        PutStartTag(out, node);
        if (!node->children) {
          out.Put("/>");
          break;
        }
        if (format && IsMixedContent(node->children)) {
          format = false;
          unformatted = node;
        }
        out.Put('>');
        if (format) out.Put('\n');
        ++level;
        node = node->children;
        continue;
      case XML_TEXT_NODE:
        if (!node->content) break;
        if (node->name == xmlStringTextNoenc)
          out.Put(View(node->content));
        else
          out.PutEscapedText(node->content);
        break;
      case XML_CDATA_SECTION_NODE: PutCData(out, node->content); break;
      case XML_ENTITY_REF_NODE:
        out.Put('&');
        out.Put(View(node->name));
        out.Put(';');
        break;
      case XML_COMMENT_NODE:
        if (node != root && format) out.Indent(level);
        if (node->content) {
          out.Put("<!--");
          out.Put(View(node->content));
          out.Put("-->");
        }
        break;
      case XML_PI_NODE:
        if (node != root && format) out.Indent(level);
        out.Put("<?");
        out.Put(View(node->name));
        if (node->content) {
          out.Put(' ');
          out.Put(View(node->content));
        }
        out.Put("?>");
        break;
      default: break;
    }
    for (;;) {
      if (node == root) return;
      if (format && node->type != XML_XINCLUDE_START && node->type != XML_XINCLUDE_END)
        out.Put('\n');
      if (node->next) {
        node = node->next;
        break;
      }
      node = node->parent;
      if (level > 0) --level;
      if (format) out.Indent(level);
      out.Put("</");
      out.Put(View(node->name));
      out.Put('>');
      if (node == unformatted) {
        format = true;
        unformatted = nullptr;
      }
    }
  }
}

void PutDocument(Output& out, const xmlDoc* doc) {
  out.Put("<?xml version=\"1.0\" encoding=\"UTF-8\"");
  if (doc->standalone == 0) out.Put(" standalone=\"no\"");
  if (doc->standalone == 1) out.Put(" standalone=\"yes\"");
  out.Put("?>\n");
  for (const xmlNode* top = doc->children; top; top = top->next) {
    if (top->type == XML_DTD_NODE) {
      const auto* dtd = reinterpret_cast<const xmlDtd*>(top);
      out.Put("<!DOCTYPE ");
      out.Put(View(dtd->name));
      if (dtd->ExternalID) {
        out.Put(" PUBLIC ");
        out.PutQuoted(View(dtd->ExternalID));
        out.Put(' ');
        out.PutQuoted(View(dtd->SystemID));
      } else if (dtd->SystemID) {
        out.Put(" SYSTEM ");
        out.PutQuoted(View(dtd->SystemID));
      }
      out.Put('>');
    } else {
      PutTree(out, top);
    }
    if (top->type != XML_XINCLUDE_START && top->type != XML_XINCLUDE_END) out.Put('\n');
  }
}

// libxml2's own writer, for the documents the writer above leaves to it.
bool LibxmlWriteIndented(const Document& doc, const std::function<bool(std::string_view)>& write) {
  struct Sink {
    const std::function<bool(std::string_view)>& write;
    bool failed = false;
  } sink{write};
  const auto put = [](void* context, const char* text, int length) -> int {
    auto& target = *static_cast<Sink*>(context);
    if (!target.failed && !target.write(std::string_view(text, static_cast<size_t>(length))))
      target.failed = true;
    return length;
  };
  xmlOutputBuffer* output =
      xmlOutputBufferCreateIO(put, nullptr, &sink, xmlFindCharEncodingHandler("UTF-8"));
  if (!output) throw RunTimeError::OutOfMemory();
  // Closes the buffer, which hands its last piece to `write`.
  const bool saved = xmlSaveFormatFileTo(output, doc.get(), "UTF-8", 1) >= 0;
  return saved && !sink.failed;
}

}  // namespace

bool WriteIndented(const Document& doc, const std::function<bool(std::string_view)>& write) {
  if (!doc) return true;
  if (!Writable(doc.get())) return LibxmlWriteIndented(doc, write);
  Output out(write);
  PutDocument(out, doc.get());
  return out.Finish();
}

std::string ToIndentedString(const Document& doc) {
  std::string text;
  WriteIndented(doc, [&](std::string_view piece) {
    text.append(piece);
    return true;
  });
  return text;
}

}  // namespace musedata::xml
