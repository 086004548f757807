#include "xml/xpath.h"

#include "component/trap.h"
#include "xml/strings.h"

namespace musedata::xml {
namespace {

struct ContextFree {
  void operator()(xmlXPathContext* context) const { xmlXPathFreeContext(context); }
};
struct ObjectFree {
  void operator()(xmlXPathObject* object) const { xmlXPathFreeObject(object); }
};
using Object = std::unique_ptr<xmlXPathObject, ObjectFree>;

Object Evaluate(xmlXPathCompExpr* compiled, Node context) {
  xmlNode* node = context.raw();
  if (!node || !node->doc) return nullptr;
  std::unique_ptr<xmlXPathContext, ContextFree> xpathContext(xmlXPathNewContext(node->doc));
  if (!xpathContext) throw RunTimeError::OutOfMemory();
  xpathContext->node = node;
  return Object(xmlXPathCompiledEval(compiled, xpathContext.get()));
}

}  // namespace

XPath::XPath(const char* expression)
    : m_expression(expression), m_compiled(xmlXPathCompile(X(expression))) {
  if (!m_compiled) throw RunTimeError::InvalidCall();
}

std::vector<Node> XPath::Select(Node context) const {
  std::vector<Node> nodes;
  Object result = Evaluate(m_compiled.get(), context);
  if (!result || result->type != XPATH_NODESET || !result->nodesetval) return nodes;
  const xmlNodeSet* set = result->nodesetval;
  nodes.reserve(static_cast<size_t>(set->nodeNr));
  for (int i = 0; i < set->nodeNr; ++i) nodes.emplace_back(set->nodeTab[i]);
  return nodes;
}

Node XPath::SelectFirst(Node context) const {
  Object result = Evaluate(m_compiled.get(), context);
  if (!result || result->type != XPATH_NODESET || !result->nodesetval ||
      result->nodesetval->nodeNr == 0)
    return {};
  return Node(result->nodesetval->nodeTab[0]);
}

}  // namespace musedata::xml
