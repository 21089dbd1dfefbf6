#pragma once

// Walking a database definition: comments are skipped and unknown elements are warned of, anywhere.

#include "qxframework/automation/com_ptr.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/xml/dom.h"

namespace qx::dbdef {

/// Logs why a node that was not expected is passed over.
template <class Scope>
void skipNode(Scope& hr, IXMLDOMNode* node) {
  if (node->nodeType() == NODE_COMMENT) {
    hr.LogError(u"Skipping comment node.\n");
  } else {
    hr.LogWarning(u"Not know what to do with '<%s>'.\n", node->nodeName().View());
  }
}

/// Whether the node is an element with that tag; it is logged and to be skipped when it is not.
template <class Scope>
bool isElement(Scope& hr, IXMLDOMNode* node, std::u16string_view tag) {
  if (node->nodeType() == NODE_ELEMENT && node->nodeName().View() == tag) return true;
  skipNode(hr, node);
  return false;
}

/// Calls `visit` for each child, in document order. The result is false when there are none.
template <class Visit>
bool forEachChild(IXMLDOMNode* node, Visit visit) {
  const CComPtr<IXMLDOMNodeList> children = node->childNodes();
  if (children == nullptr || children->length() == 0) return false;
  while (const CComPtr<IXMLDOMNode> child = children->nextNode()) visit(child);
  return true;
}

}  // namespace qx::dbdef
