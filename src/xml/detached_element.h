#pragma once

// An element of a document that stands outside the document's tree. Some
// records make an element that nothing ends up holding but that later records
// may still refer to (a direction whose type letters make nothing); the holder
// owns such an element and frees it when the holder goes or is replaced.

#include <libxml/tree.h>

#include <memory>

#include "musedata/document.h"
#include "xml/node.h"

namespace musedata::xml {

class DetachedElement {
 public:
  // Holds nothing.
  DetachedElement() = default;
  // Makes an element called `name` in `document`, outside its tree. Raises
  // Object variable not set (91) for an empty document handle.
  DetachedElement(const Document& document, const char* name);

  // The element; empty when the holder holds nothing.
  Node Get() const noexcept { return Node(m_element.get()); }
  // Appends the element as the last child of `parent`, which owns it from then
  // on; the holder is empty afterwards. Returns the element.
  Node AppendTo(Node parent);

 private:
  // Frees the element while its document is still alive: the document's
  // dictionary owns the element's names.
  struct Free {
    Document document;
    void operator()(xmlNode* element) const noexcept { xmlFreeNode(element); }
  };
  std::unique_ptr<xmlNode, Free> m_element;
};

}  // namespace musedata::xml
