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
// formatting settings changed by a host) go through libxml2's own writer,
// from the first such node on.

#include <libxml/encoding.h>
#include <libxml/globals.h>
#include <libxml/parserInternals.h>
#include <libxml/xmlIO.h>
#include <libxml/xmlsave.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "component/trap.h"
#include "xml/node.h"
#include "xml/strings.h"

namespace musedata::xml {
namespace {

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

// Whether the document's prolog and libxml2's settings are ones this writer
// follows; its nodes are checked as they are written.
bool WritableProlog(const xmlDoc* doc) {
  if (!IsDefaultIndentation() || (doc->version && View(doc->version) != "1.0")) return false;
  for (const xmlNode* top = doc->children; top; top = top->next) {
    if (top->type != XML_DTD_NODE) continue;
    const auto* dtd = reinterpret_cast<const xmlDtd*>(top);
    if (dtd->entities || dtd->elements || dtd->attributes || dtd->notations || dtd->pentities ||
        (dtd->ExternalID && !dtd->SystemID))
      return false;
  }
  return true;
}

// Which bytes text and attribute values write as references.
enum Escape : uint8_t { kPlain = 0, kInText = 1, kInValue = 2 };
constexpr auto kEscapes = [] {
  std::array<uint8_t, 256> table{};
  for (unsigned char c : {'&', '<', '>', '\r'}) table[c] = kInText | kInValue;
  for (unsigned char c : {'"', '\n', '\t'}) table[c] = kInValue;
  return table;
}();

std::string_view Reference(char c) {
  switch (c) {
    case '&': return "&amp;";
    case '<': return "&lt;";
    case '>': return "&gt;";
    case '"': return "&quot;";
    case '\n': return "&#10;";
    case '\r': return "&#13;";
    default: return "&#9;";
  }
}

// Collects the text in a buffer and hands it to `write` a piece of at most
// kPiece bytes at a time; once `write` answers false, the rest is dropped.
class Output {
 public:
  explicit Output(const std::function<bool(std::string_view)>& write)
      : m_write(write), m_buffer(new char[kPiece]), m_at(m_buffer.get()) {}

  void Put(std::string_view text) {
    if (text.size() > Room()) {
      Flush();
      if (text.size() > Room()) return Hand(text);
    }
    std::memcpy(m_at, text.data(), text.size());
    m_at += text.size();
  }
  void Put(char c) {
    if (Room() == 0) Flush();
    *m_at++ = c;
  }

  // Text or an attribute value (`escape` says which), with its references.
  void PutEscaped(const xmlChar* text, Escape escape) {
    const char* run = reinterpret_cast<const char*>(text);
    for (const char* at = run;; ++at) {
      const unsigned char c = static_cast<unsigned char>(*at);
      if (c == 0) return Put(std::string_view(run, static_cast<size_t>(at - run)));
      if (!(kEscapes[c] & escape)) continue;
      Put(std::string_view(run, static_cast<size_t>(at - run)));
      Put(Reference(*at));
      run = at + 1;
    }
  }

  // A quoted literal of the DOCTYPE: in double quotes, unless it holds one
  // and no single quote.
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

  // Bytes `write` has taken, and whether it refused a piece.
  size_t Handed() const { return m_handed; }
  bool Failed() const { return m_failed; }

  // Hands over what is left; false when `write` refused any piece.
  bool Finish() {
    Flush();
    return !m_failed;
  }

 private:
  static constexpr size_t kPiece = 64 * 1024;
  static constexpr int kDeepestIndent = 30;

  size_t Room() const { return static_cast<size_t>(m_buffer.get() + kPiece - m_at); }

  void Hand(std::string_view text) {
    if (m_failed || text.empty()) return;
    if (m_write(text))
      m_handed += text.size();
    else
      m_failed = true;
  }

  void Flush() {
    Hand(std::string_view(m_buffer.get(), static_cast<size_t>(m_at - m_buffer.get())));
    m_at = m_buffer.get();
  }

  const std::function<bool(std::string_view)>& m_write;
  std::unique_ptr<char[]> m_buffer;
  char* m_at;
  size_t m_handed = 0;
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

// "&name;", in text and in attribute values alike.
void PutEntityReference(Output& out, const xmlNode* reference) {
  out.Put('&');
  out.Put(View(reference->name));
  out.Put(';');
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
        if (child->content) out.PutEscaped(child->content, kInValue);
      } else {
        PutEntityReference(out, child);
      }
    }
    out.Put('"');
  }
}

// One child of the document and everything below it, walked without
// recursion as libxml2 walks it.
// Returns false, having written nothing of it, at the first node that this
// writer leaves to libxml2.
bool PutTree(Output& out, const xmlNode* root) {
  const xmlNode* node = root;
  const xmlNode* unformatted = nullptr;  // the element whose content is written as it stands
  bool format = true;
  int level = 0;
  for (;;) {
    switch (node->type) {
      case XML_ELEMENT_NODE:
        if (node->ns || node->nsDef || !WritableAttributes(node)) return false;
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
          out.PutEscaped(node->content, kInText);
        break;
      case XML_CDATA_SECTION_NODE: PutCData(out, node->content); break;
      case XML_ENTITY_REF_NODE: PutEntityReference(out, node); break;
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
      case XML_XINCLUDE_START:
      case XML_XINCLUDE_END: break;
      default: return false;
    }
    for (;;) {
      if (node == root) return true;
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

bool PutDocument(Output& out, const xmlDoc* doc) {
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
    } else if (!PutTree(out, top)) {
      return false;
    }
    if (top->type != XML_XINCLUDE_START && top->type != XML_XINCLUDE_END) out.Put('\n');
  }
  return true;
}

// libxml2's own writer, for the documents the writer above leaves to it.
// The first `skip` bytes of its text, which the writer above has handed over
// already, are not handed over again.
bool LibxmlWriteIndented(const Document& doc, const std::function<bool(std::string_view)>& write,
                         size_t skip) {
  struct Sink {
    const std::function<bool(std::string_view)>& write;
    size_t skip;
    bool failed = false;
  } sink{write, skip};
  const auto put = [](void* context, const char* text, int length) -> int {
    auto& target = *static_cast<Sink*>(context);
    std::string_view piece(text, static_cast<size_t>(length));
    const size_t skipped = std::min(target.skip, piece.size());
    piece.remove_prefix(skipped);
    target.skip -= skipped;
    if (!target.failed && !piece.empty() && !target.write(piece)) target.failed = true;
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
  if (!WritableProlog(doc.get())) return LibxmlWriteIndented(doc, write, 0);
  Output out(write);
  if (PutDocument(out, doc.get())) return out.Finish();
  // A node met on the way is left to libxml2. What went out so far is the
  // start of libxml2's text too, since nothing written before a node depends
  // on what follows it; libxml2 writes the rest.
  if (out.Failed()) return false;
  return LibxmlWriteIndented(doc, write, out.Handed());
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
