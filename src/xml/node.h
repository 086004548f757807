#pragma once

// A thin handle layer over libxml2. `Node` holds one libxml2 node pointer, is
// copied by value, starts empty, and is safe to navigate when empty: every
// reader of an empty node answers empty. Nodes are always created in place
// (appended or inserted), so no unattached node can leak.

#include <libxml/tree.h>

#include <cstdint>
#include <functional>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "musedata/document.h"

namespace musedata::xml {

enum class NodeType { None, Element, Text, Comment, EntityRef, CData, Other };

class Node {
 public:
  Node() = default;
  explicit Node(xmlNode* node) : m_node(node) {}

  explicit operator bool() const noexcept { return m_node != nullptr; }
  friend bool operator==(Node a, Node b) noexcept { return a.m_node == b.m_node; }

  // The libxml2 node; for the XML layer and the component's host hand-over only.
  xmlNode* raw() const noexcept { return m_node; }

  NodeType Type() const noexcept;
  bool IsElement() const noexcept { return Type() == NodeType::Element; }
  // The element or entity name; "" for an empty node and for text.
  std::string_view Name() const noexcept;

  // Navigation; each returns an empty node where there is none.
  Node Parent() const noexcept;
  Node FirstChild() const noexcept;
  Node LastChild() const noexcept;
  Node Next() const noexcept;
  Node Previous() const noexcept;
  // The first child element called `name`.
  Node Child(std::string_view name) const noexcept;
  // The first following sibling element called `name`.
  Node NextElement(std::string_view name) const noexcept;
  // The first child element (of any name), and the element after this one.
  Node FirstElement() const noexcept;
  Node NextElement() const noexcept;

  // A forward range over child elements, all of them or those called `name`.
  class ElementRange;
  ElementRange Children() const noexcept;
  ElementRange Children(std::string_view name) const noexcept;
  // The number of child elements called `name`.
  int32_t CountChildren(std::string_view name) const noexcept;

  // The attribute's value; "" when absent. The view lives until the attribute changes.
  std::string_view Attr(const char* name) const noexcept;
  bool HasAttr(const char* name) const noexcept;
  // The attribute read as a whole number, or `fallback` when absent or not a number.
  int32_t AttrInt(const char* name, int32_t fallback) const noexcept;
  // One attribute of an element: its local name and its value.
  struct Attribute {
    std::string_view name;
    std::string value;
  };
  // The element's attributes in document order (XPath "@*"); none for an empty
  // node or one that is not an element.
  std::vector<Attribute> Attributes() const;

  // The character data of a text, CDATA or comment node itself; "" otherwise.
  std::string_view Content() const noexcept;
  // The text of an element: its text and CDATA children, with predefined entity
  // references read as their characters. Never uses xmlNodeGetContent, which
  // skips entity references.
  std::string Text() const;

  // Writing. Each creator makes the node in this node's document and returns it.
  Node AppendElement(const char* name) const;
  Node AppendElement(const char* name, std::string_view text) const;
  Node InsertElementBefore(const char* name, Node reference) const;
  Node PrependElement(const char* name) const;
  Node AppendComment(std::string_view text) const;
  void AppendText(std::string_view text) const;
  // Replaces everything below this element with `text`.
  void SetText(std::string_view text) const;
  void AppendEntityRef(const char* name) const;
  // Replaces the character data of a comment or text node.
  void SetContent(std::string_view text) const;
  void SetAttr(const char* name, std::string_view value) const;
  void RemoveAttr(const char* name) const;
  // Moves `child` (anywhere in the same document) to the end of this node's children.
  void AppendChild(Node child) const;
  // Moves `child` to stand just before `reference`, a child of this node.
  void InsertBefore(Node child, Node reference) const;
  // Unlinks and frees this node and everything below it.
  void Remove() const;

 private:
  xmlNode* m_node = nullptr;
};

class Node::ElementRange {
 public:
  class iterator {
   public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = Node;
    using difference_type = std::ptrdiff_t;
    using pointer = const Node*;
    using reference = Node;

    iterator() = default;
    iterator(Node node, std::string_view name) : m_node(node), m_name(name) {}
    Node operator*() const noexcept { return m_node; }
    iterator& operator++() noexcept {
      m_node = m_name.empty() ? m_node.NextElement() : m_node.NextElement(m_name);
      return *this;
    }
    iterator operator++(int) noexcept {
      iterator old = *this;
      ++*this;
      return old;
    }
    friend bool operator==(const iterator& a, const iterator& b) noexcept {
      return a.m_node == b.m_node;
    }

   private:
    Node m_node;
    std::string_view m_name;
  };

  ElementRange(Node first, std::string_view name) : m_first(first), m_name(name) {}
  iterator begin() const noexcept { return {m_first, m_name}; }
  iterator end() const noexcept { return {}; }

 private:
  Node m_first;
  std::string_view m_name;
};

// While a NameScope is open on a thread, the elements and attributes that
// this layer makes there in its document take their names (and short texts)
// from a small table of strings already looked up in the document's
// dictionary, instead of hashing every one again. The scope holds the document, so the names it
// hands out stay valid while it is open. Scopes nest.
class NameScope {
 public:
  explicit NameScope(const Document& doc);
  ~NameScope();
  NameScope(const NameScope&) = delete;
  NameScope& operator=(const NameScope&) = delete;

  // The dictionary's copy of `name` when the scope is open for `doc`, else
  // nullptr.
  static const xmlChar* Find(const xmlDoc* doc, const char* name);
  // The same for a text of up to eight bytes ("1", "up", "eighth"), which
  // the document shares through its dictionary too; else nullptr.
  static const xmlChar* FindText(const xmlDoc* doc, std::string_view text);

 private:
  struct Slot {
    const char* key = nullptr;
    const xmlChar* name = nullptr;
  };
  struct TextSlot {
    uint64_t key = 0;  // the text's bytes
    uint8_t length = 0;
    const xmlChar* text = nullptr;
  };
  static constexpr size_t kSlots = 256;

  const xmlChar* Lookup(const char* name);

  Document m_doc;
  NameScope* m_outer;
  Slot m_slots[kSlots];
  TextSlot m_texts[kSlots];
};

// Asks the processor to start loading the memory from `first` up to `next`:
// where nodes are made one after another in one block (the tool's arena), an
// element and everything below it lie between it and its next sibling. Only
// a hint: nothing is read, and a span that is not one small block is left alone.
void Prefetch(Node first, Node next) noexcept;

// The document element of `doc`; empty for an empty handle.
Node Root(const Document& doc) noexcept;

// Why a parse failed: libxml2's message, the document's name, line and column.
struct ParseFailure {
  std::string reason;
  std::string url;
  int32_t line = 0;
  int32_t column = 0;
};

// Parses XML text held in memory like ParseMemory, but reports a failure in
// `failure` and returns an empty handle instead of raising.
Document TryParseMemory(std::string_view text, const std::string& name, ParseFailure& failure);

// Parses XML text held in memory, never fetching or validating a DTD and never
// substituting entities; keeps comments, drops blank text between elements.
// Raises a ConverterError naming `name`, the line and the column on failure
// (number kErrorBase + errorNumber).
Document ParseMemory(std::string_view text, const std::string& name, int32_t errorNumber);
// Parses an XML file the same way.
Document ParseFile(const std::string& path, int32_t errorNumber);
// Parses an XML file like ParseFile, reading it piece by piece, but reports a
// failure in `failure` and returns an empty handle instead of raising.
Document TryParseFile(const std::string& path, ParseFailure& failure);

// A deep copy of the whole document (prolog, DOCTYPE, comments and all);
// empty for an empty handle.
Document CopyDocument(const Document& doc);

// Serialises one node and everything below it, without indentation.
std::string NodeToString(Node node);

// Serialises the document as indented UTF-8 text: libxml2's formatted text
// ("UTF-8", two spaces per level), byte for byte, written by a writer of our
// own for the documents it can write and by libxml2 for the others.
std::string ToIndentedString(const Document& doc);
// Hands the same text as ToIndentedString to `write`, piece by piece, without
// holding the whole text in memory. Once `write` answers false the rest of the
// text is dropped without calling it again, so libxml2 sees no failed write
// and prints no error of its own; the result is then false.
bool WriteIndented(const Document& doc, const std::function<bool(std::string_view)>& write);

}  // namespace musedata::xml
