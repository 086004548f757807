#pragma once

#include <libxml/tree.h>

#include <memory>

namespace musedata {

// A MusicXML document shared between the converter and its host. Copying the
// handle shares the document, as a COM reference would; the document is freed
// when the last handle goes.
class Document {
 public:
  // An empty handle: no document.
  Document() = default;
  // Takes ownership of a document made by libxml2 (null gives an empty handle).
  explicit Document(xmlDocPtr doc);

  // The raw libxml2 document for hosts, or null for an empty handle.
  xmlDocPtr get() const noexcept { return m_doc.get(); }
  // Whether the handle holds a document.
  explicit operator bool() const noexcept { return m_doc != nullptr; }

  friend bool operator==(const Document& a, const Document& b) noexcept {
    return a.m_doc == b.m_doc;
  }

 private:
  std::shared_ptr<xmlDoc> m_doc;
};

}  // namespace musedata
