#pragma once

#include <libxml/xpath.h>

#include <memory>
#include <string>
#include <vector>

#include "xml/node.h"

namespace musedata::xml {

// A compiled XPath 1.0 expression. Compile once (as an engine member) and
// select many times; selecting never compiles again.
class XPath {
 public:
  // Compiles `expression`; a malformed expression is a bug in our code and
  // raises Invalid procedure call (5).
  explicit XPath(const char* expression);

  // The nodes selected relative to `context`, in document order; none for an
  // empty context.
  std::vector<Node> Select(Node context) const;
  // The first node selected relative to `context`, or an empty node.
  Node SelectFirst(Node context) const;

  const std::string& Expression() const noexcept { return m_expression; }

 private:
  struct Free {
    void operator()(xmlXPathCompExpr* expression) const { xmlXPathFreeCompExpr(expression); }
  };
  std::string m_expression;
  std::unique_ptr<xmlXPathCompExpr, Free> m_compiled;
};

}  // namespace musedata::xml
