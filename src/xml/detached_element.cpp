#include "xml/detached_element.h"

#include "component/trap.h"
#include "xml/strings.h"

namespace musedata::xml {

DetachedElement::DetachedElement(const Document& document, const char* name)
    : m_element(nullptr, Free{document}) {
  if (!document) throw RunTimeError::ObjectNotSet();
  xmlNode* element = xmlNewDocNode(document.get(), nullptr, X(name), nullptr);
  if (!element) throw RunTimeError::OutOfMemory();
  m_element.reset(element);
}

Node DetachedElement::AppendTo(Node parent) {
  if (!m_element || !parent) throw RunTimeError::ObjectNotSet();
  const Node element = Get();
  parent.AppendChild(element);
  m_element.release();
  m_element = {nullptr, Free{}};
  return element;
}

}  // namespace musedata::xml
