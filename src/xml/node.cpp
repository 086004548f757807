#include "xml/node.h"

#include <libxml/parser.h>

#include <charconv>
#include <cstring>
#include <memory>
#include <mutex>

#include "component/trap.h"
#include "xml/arena.h"
#include "xml/strings.h"

namespace musedata {

namespace {
// A document in the tool's arena comes back whole when its scope closes;
// freeing it node by node first would only walk the whole tree once more.
void FreeDocument(xmlDoc* doc) {
  if (!xml::ArenaReclaims(doc)) xmlFreeDoc(doc);
}
}  // namespace

Document::Document(xmlDocPtr doc) : m_doc(doc, FreeDocument) {
  if (!doc) m_doc.reset();
}

namespace xml {
namespace {

// Called for every sibling passed over while looking for an element, so it
// compares in place instead of measuring each name first: most names differ
// in their first byte.
bool NameIs(const xmlNode* node, std::string_view name) {
  if (node->type != XML_ELEMENT_NODE) return false;
  const char* own = reinterpret_cast<const char*>(node->name);
  if (name.empty()) return own[0] == '\0';
  return own[0] == name[0] && std::strncmp(own, name.data(), name.size()) == 0 &&
         own[name.size()] == '\0';
}

// libxml2 wants zero-terminated values; attribute values are short, so one
// reusable buffer per thread avoids an allocation per attribute.
const xmlChar* Terminated(std::string_view text) {
  thread_local std::string buffer;
  buffer.assign(text);
  return X(buffer.c_str());
}

xmlNode* Checked(xmlNode* node) {
  if (!node) throw RunTimeError::OutOfMemory();
  return node;
}

// The character data of a score is short and repeats endlessly ("1", "up",
// "eighth", "begin"). Like libxml2's own parser, short texts are kept once in
// the document's dictionary instead of in an allocation per node; libxml2
// knows which strings its dictionary owns when it frees or changes a node.
constexpr size_t kLongestSharedText = 64;

xmlNode* NewText(xmlDoc* doc, std::string_view text) {
  const xmlChar* data = reinterpret_cast<const xmlChar*>(text.data());
  const int length = static_cast<int>(text.size());
  if (!doc || !doc->dict || text.size() > kLongestSharedText)
    return Checked(xmlNewDocTextLen(doc, data, length));
  const xmlChar* shared = NameScope::FindText(doc, text);
  if (!shared) shared = xmlDictLookup(doc->dict, data, length);
  if (!shared) throw RunTimeError::OutOfMemory();
  xmlNode* node = Checked(xmlNewDocTextLen(doc, nullptr, 0));
  node->content = const_cast<xmlChar*>(shared);
  return node;
}

// A new element in `doc`, its name from the open NameScope where there is one.
xmlNode* NewElement(xmlDoc* doc, const char* name) {
  if (const xmlChar* interned = NameScope::Find(doc, name))
    return Checked(xmlNewDocNodeEatName(doc, nullptr, const_cast<xmlChar*>(interned), nullptr));
  return Checked(xmlNewDocNode(doc, nullptr, X(name), nullptr));
}

thread_local NameScope* t_names = nullptr;

// Whether `element` has an attribute `name` in no namespace, the one that
// xmlSetProp would replace.
bool HasPlainAttr(const xmlNode* element, const char* name) {
  for (const xmlAttr* attr = element->properties; attr; attr = attr->next)
    if (!attr->ns && View(attr->name) == name) return true;
  return false;
}

void InitializeParser() {
  static std::once_flag once;
  std::call_once(once, [] { xmlInitParser(); });
}

}  // namespace

NodeType Node::Type() const noexcept {
  if (!m_node) return NodeType::None;
  switch (m_node->type) {
    case XML_ELEMENT_NODE: return NodeType::Element;
    case XML_TEXT_NODE: return NodeType::Text;
    case XML_COMMENT_NODE: return NodeType::Comment;
    case XML_ENTITY_REF_NODE: return NodeType::EntityRef;
    case XML_CDATA_SECTION_NODE: return NodeType::CData;
    default: return NodeType::Other;
  }
}

std::string_view Node::Name() const noexcept {
  if (!m_node) return {};
  if (m_node->type != XML_ELEMENT_NODE && m_node->type != XML_ENTITY_REF_NODE) return {};
  return View(m_node->name);
}

Node Node::Parent() const noexcept {
  return Node(m_node ? m_node->parent : nullptr);
}
Node Node::FirstChild() const noexcept {
  return Node(m_node ? m_node->children : nullptr);
}
Node Node::LastChild() const noexcept {
  return Node(m_node ? m_node->last : nullptr);
}
Node Node::Next() const noexcept {
  return Node(m_node ? m_node->next : nullptr);
}
Node Node::Previous() const noexcept {
  return Node(m_node ? m_node->prev : nullptr);
}

Node Node::Child(std::string_view name) const noexcept {
  if (!m_node) return {};
  for (xmlNode* child = m_node->children; child; child = child->next)
    if (NameIs(child, name)) return Node(child);
  return {};
}

Node Node::NextElement(std::string_view name) const noexcept {
  if (!m_node) return {};
  for (xmlNode* sibling = m_node->next; sibling; sibling = sibling->next)
    if (NameIs(sibling, name)) return Node(sibling);
  return {};
}

Node Node::FirstElement() const noexcept {
  if (!m_node) return {};
  for (xmlNode* child = m_node->children; child; child = child->next)
    if (child->type == XML_ELEMENT_NODE) return Node(child);
  return {};
}

Node Node::NextElement() const noexcept {
  if (!m_node) return {};
  for (xmlNode* sibling = m_node->next; sibling; sibling = sibling->next)
    if (sibling->type == XML_ELEMENT_NODE) return Node(sibling);
  return {};
}

Node::ElementRange Node::Children() const noexcept {
  return {FirstElement(), {}};
}
Node::ElementRange Node::Children(std::string_view name) const noexcept {
  return {Child(name), name};
}

int32_t Node::CountChildren(std::string_view name) const noexcept {
  int32_t count = 0;
  for (Node child = Child(name); child; child = child.NextElement(name)) ++count;
  return count;
}

std::string_view Node::Attr(const char* name) const noexcept {
  if (!m_node || m_node->type != XML_ELEMENT_NODE) return {};
  const xmlAttr* attr = xmlHasProp(m_node, X(name));
  if (!attr || !attr->children) return {};
  // A value built by this layer is one text node; read it in place.
  if (attr->children->type == XML_TEXT_NODE && !attr->children->next)
    return View(attr->children->content);
  return {};
}

bool Node::HasAttr(const char* name) const noexcept {
  return m_node && m_node->type == XML_ELEMENT_NODE && xmlHasProp(m_node, X(name));
}

int32_t Node::AttrInt(const char* name, int32_t fallback) const noexcept {
  std::string_view text = Attr(name);
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  int32_t value = 0;
  const auto [end, status] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (text.empty() || status != std::errc() || end != text.data() + text.size()) return fallback;
  return value;
}

std::vector<Node::Attribute> Node::Attributes() const {
  std::vector<Attribute> attributes;
  if (!m_node || m_node->type != XML_ELEMENT_NODE) return attributes;
  for (const xmlAttr* attr = m_node->properties; attr; attr = attr->next) {
    Attribute attribute{View(attr->name), {}};
    if (attr->children && attr->children->type == XML_TEXT_NODE && !attr->children->next) {
      attribute.value = View(attr->children->content);
    } else if (attr->children) {
      xmlChar* value = xmlNodeListGetString(m_node->doc, attr->children, 1);
      if (value) attribute.value = View(value);
      xmlFree(value);
    }
    attributes.push_back(std::move(attribute));
  }
  return attributes;
}

std::string_view Node::Content() const noexcept {
  if (!m_node) return {};
  switch (m_node->type) {
    case XML_TEXT_NODE:
    case XML_CDATA_SECTION_NODE:
    case XML_COMMENT_NODE: return View(m_node->content);
    default: return {};
  }
}

std::string Node::Text() const {
  std::string text;
  if (!m_node) return text;
  if (m_node->type != XML_ELEMENT_NODE) return std::string(Content());
  for (xmlNode* child = m_node->children; child; child = child->next) {
    if (child->type == XML_TEXT_NODE || child->type == XML_CDATA_SECTION_NODE) {
      text.append(View(child->content));
    } else if (child->type == XML_ENTITY_REF_NODE) {
      const std::string_view name = View(child->name);
      if (name == "amp")
        text += '&';
      else if (name == "lt")
        text += '<';
      else if (name == "gt")
        text += '>';
      else if (name == "quot")
        text += '"';
      else if (name == "apos")
        text += '\'';
    }
  }
  return text;
}

Node Node::AppendElement(const char* name) const {
  if (!m_node) throw RunTimeError::ObjectNotSet();
  xmlNode* element = NewElement(m_node->doc, name);
  xmlAddChild(m_node, element);
  return Node(element);
}

Node Node::AppendElement(const char* name, std::string_view text) const {
  Node element = AppendElement(name);
  element.AppendText(text);
  return element;
}

Node Node::InsertElementBefore(const char* name, Node reference) const {
  if (!reference) return AppendElement(name);
  if (!m_node) throw RunTimeError::ObjectNotSet();
  xmlNode* element = NewElement(m_node->doc, name);
  xmlAddPrevSibling(reference.m_node, element);
  return Node(element);
}

Node Node::PrependElement(const char* name) const {
  return InsertElementBefore(name, FirstChild());
}

// A comment may hold no "--" and may not end with "-" (it would run into the
// closing "-->"); callers remove the first, this layer guards the second.
std::string_view CommentSafe(std::string_view text, std::string& buffer) {
  if (text.empty() || text.back() != '-') return text;
  buffer.assign(text);
  buffer += ' ';
  return buffer;
}

Node Node::AppendComment(std::string_view text) const {
  if (!m_node) throw RunTimeError::ObjectNotSet();
  std::string buffer;
  xmlNode* comment = Checked(xmlNewDocComment(m_node->doc, Terminated(CommentSafe(text, buffer))));
  xmlAddChild(m_node, comment);
  return Node(comment);
}

void Node::SetText(std::string_view text) const {
  while (const Node child = FirstChild()) child.Remove();
  AppendText(text);
}

void Node::AppendText(std::string_view text) const {
  if (!m_node) throw RunTimeError::ObjectNotSet();
  if (text.empty()) return;
  xmlNode* node = NewText(m_node->doc, text);
  // Append directly: xmlAddChild would merge adjacent text nodes, which is
  // harmless, but linking by hand keeps every piece a node of its own.
  node->parent = m_node;
  if (!m_node->children) {
    m_node->children = node;
  } else {
    m_node->last->next = node;
    node->prev = m_node->last;
  }
  m_node->last = node;
}

void Node::AppendEntityRef(const char* name) const {
  if (!m_node) throw RunTimeError::ObjectNotSet();
  std::string reference = std::string("&") + name + ";";
  xmlNode* node = Checked(xmlNewReference(m_node->doc, X(reference.c_str())));
  xmlAddChild(m_node, node);
}

void Node::SetContent(std::string_view text) const {
  if (!m_node) throw RunTimeError::ObjectNotSet();
  std::string buffer;
  if (m_node->type == XML_COMMENT_NODE) text = CommentSafe(text, buffer);
  xmlNodeSetContentLen(m_node, reinterpret_cast<const xmlChar*>(text.data()),
                       static_cast<int>(text.size()));
}

void Node::SetAttr(const char* name, std::string_view value) const {
  if (!m_node) throw RunTimeError::ObjectNotSet();
  // A new plain attribute, the usual case, is made here with its value in the
  // dictionary. Replacing a value, qualified names and "id" (which a DTD may
  // declare as an ID) take libxml2's general path.
  const std::string_view plainName(name);
  if (m_node->type != XML_ELEMENT_NODE || !m_node->doc || !m_node->doc->dict || plainName == "id" ||
      plainName.find(':') != std::string_view::npos || HasPlainAttr(m_node, name)) {
    if (!xmlSetProp(m_node, X(name), Terminated(value))) throw RunTimeError::OutOfMemory();
    return;
  }
  xmlNode* text = NewText(m_node->doc, value);
  // Made at the end of the element's attributes.
  const xmlChar* interned = NameScope::Find(m_node->doc, name);
  xmlAttr* attr =
      interned ? xmlNewNsPropEatName(m_node, nullptr, const_cast<xmlChar*>(interned), nullptr)
               : xmlNewNsProp(m_node, nullptr, X(name), nullptr);
  if (!attr) {
    xmlFreeNode(text);
    throw RunTimeError::OutOfMemory();
  }
  text->parent = reinterpret_cast<xmlNode*>(attr);
  attr->children = text;
  attr->last = text;
}

void Node::RemoveAttr(const char* name) const {
  if (!m_node) return;
  if (xmlAttr* attr = xmlHasProp(m_node, X(name))) xmlRemoveProp(attr);
}

void Node::AppendChild(Node child) const {
  if (!m_node || !child) throw RunTimeError::ObjectNotSet();
  xmlUnlinkNode(child.m_node);
  xmlAddChild(m_node, child.m_node);
}

void Node::InsertBefore(Node child, Node reference) const {
  if (!reference) return AppendChild(child);
  if (!m_node || !child) throw RunTimeError::ObjectNotSet();
  if (child == reference) return;
  xmlUnlinkNode(child.m_node);
  xmlAddPrevSibling(reference.m_node, child.m_node);
}

void Node::Remove() const {
  if (!m_node) return;
  xmlUnlinkNode(m_node);
  xmlFreeNode(m_node);
}

NameScope::NameScope(const Document& doc) : m_doc(doc), m_outer(t_names) {
  t_names = this;
}

NameScope::~NameScope() {
  t_names = m_outer;
}

const xmlChar* NameScope::Find(const xmlDoc* doc, const char* name) {
  NameScope* scope = t_names;
  if (!scope || scope->m_doc.get() != doc || !doc->dict) return nullptr;
  return scope->Lookup(name);
}

const xmlChar* NameScope::FindText(const xmlDoc* doc, std::string_view text) {
  NameScope* scope = t_names;
  if (!scope || scope->m_doc.get() != doc || !doc->dict || text.size() > sizeof(uint64_t))
    return nullptr;
  // A text of up to eight bytes is its own key, so a slot either holds it
  // exactly or not at all.
  // Gathered byte by byte: a copy of a varying length into the key would
  // stall the load of the whole key that follows it.
  uint64_t key = 0;
  for (size_t index = 0; index < text.size(); ++index)
    key |= uint64_t{static_cast<unsigned char>(text[index])} << (8 * index);
  const uint8_t length = static_cast<uint8_t>(text.size());
  TextSlot& slot = scope->m_texts[(key * 0x9E3779B97F4A7C15u + length) >> 56];
  if (slot.text && slot.key == key && slot.length == length) return slot.text;
  const xmlChar* interned =
      xmlDictLookup(doc->dict, reinterpret_cast<const xmlChar*>(text.data()), length);
  if (!interned) throw RunTimeError::OutOfMemory();
  slot = {key, length, interned};
  return interned;
}

const xmlChar* NameScope::Lookup(const char* name) {
  // Names are mostly the same literals over and over, so the slot is chosen by
  // the name's address; the text is still compared, since an address may be
  // reused for another name.
  Slot& slot = m_slots[(reinterpret_cast<uintptr_t>(name) >> 3) % kSlots];
  if (slot.key == name && std::strcmp(reinterpret_cast<const char*>(slot.name), name) == 0)
    return slot.name;
  const xmlChar* interned = xmlDictLookup(m_doc.get()->dict, X(name), -1);
  if (!interned) throw RunTimeError::OutOfMemory();
  slot = {name, interned};
  return interned;
}

void Prefetch(Node first, Node next) noexcept {
  constexpr std::ptrdiff_t kLargestSpan = 64 << 10;
  constexpr std::ptrdiff_t kCacheLine = 64;
  const char* from = reinterpret_cast<const char*>(first.raw());
  const char* to = reinterpret_cast<const char*>(next.raw());
  if (!from || !to || to <= from || to - from > kLargestSpan) return;
  for (; from < to; from += kCacheLine) __builtin_prefetch(from);
}

Node Root(const Document& doc) noexcept {
  return Node(doc ? xmlDocGetRootElement(doc.get()) : nullptr);
}

namespace {

struct ParserContextFree {
  void operator()(xmlParserCtxt* context) const { xmlFreeParserCtxt(context); }
};
using ParserContext = std::unique_ptr<xmlParserCtxt, ParserContextFree>;

constexpr int kParseOptions =
    XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_NOBLANKS;

ParseFailure FailureOf(xmlParserCtxt* context, const std::string& name) {
  ParseFailure failure;
  failure.url = name;
  const xmlError* error = context ? xmlCtxtGetLastError(context) : nullptr;
  if (!error) {
    failure.reason = "the document could not be read";
    return failure;
  }
  if (error->message) failure.reason = error->message;
  while (!failure.reason.empty() && (failure.reason.back() == '\n' || failure.reason.back() == ' '))
    failure.reason.pop_back();
  failure.line = error->line;
  failure.column = error->int2;
  return failure;
}

[[noreturn]] void RaiseParseFailure(const ParseFailure& failure, int32_t errorNumber) {
  RaiseConverterError(errorNumber, "XML parsing error in " + failure.url + " at line " +
                                       std::to_string(failure.line) + ", column " +
                                       std::to_string(failure.column) + ": " + failure.reason);
}

}  // namespace

Document TryParseMemory(std::string_view text, const std::string& name, ParseFailure& failure) {
  InitializeParser();
  ParserContext context(xmlNewParserCtxt());
  if (!context) throw RunTimeError::OutOfMemory();
  xmlDocPtr doc = xmlCtxtReadMemory(context.get(), text.data(), static_cast<int>(text.size()),
                                    name.c_str(), nullptr, kParseOptions);
  if (!doc) failure = FailureOf(context.get(), name);
  return Document(doc);
}

Document ParseMemory(std::string_view text, const std::string& name, int32_t errorNumber) {
  ParseFailure failure;
  Document doc = TryParseMemory(text, name, failure);
  if (!doc) RaiseParseFailure(failure, errorNumber);
  return doc;
}

Document ParseFile(const std::string& path, int32_t errorNumber) {
  InitializeParser();
  ParserContext context(xmlNewParserCtxt());
  if (!context) throw RunTimeError::OutOfMemory();
  xmlDocPtr doc = xmlCtxtReadFile(context.get(), path.c_str(), nullptr, kParseOptions);
  if (!doc) RaiseParseFailure(FailureOf(context.get(), path), errorNumber);
  return Document(doc);
}

Document TryParseFile(const std::string& path, ParseFailure& failure) {
  InitializeParser();
  ParserContext context(xmlNewParserCtxt());
  if (!context) throw RunTimeError::OutOfMemory();
  xmlDocPtr doc = xmlCtxtReadFile(context.get(), path.c_str(), nullptr, kParseOptions);
  if (!doc) failure = FailureOf(context.get(), path);
  return Document(doc);
}

Document CopyDocument(const Document& doc) {
  if (!doc) return {};
  xmlDocPtr copy = xmlCopyDoc(doc.get(), 1);
  if (!copy) throw RunTimeError::OutOfMemory();
  return Document(copy);
}

std::string NodeToString(Node node) {
  if (!node) return {};
  struct BufferFree {
    void operator()(xmlBuffer* buffer) const { xmlBufferFree(buffer); }
  };
  std::unique_ptr<xmlBuffer, BufferFree> buffer(xmlBufferCreate());
  if (!buffer) throw RunTimeError::OutOfMemory();
  xmlNodeDump(buffer.get(), node.raw()->doc, node.raw(), 0, 0);
  return std::string(reinterpret_cast<const char*>(xmlBufferContent(buffer.get())),
                     static_cast<size_t>(xmlBufferLength(buffer.get())));
}

}  // namespace xml
}  // namespace musedata
