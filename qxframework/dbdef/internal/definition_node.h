#pragma once

// Walking through a database definition. Comments and unknown elements are skipped wherever they
// are, and the log reports each of them.

#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/wide_string.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/xml/dom.h"

namespace qx::dbdef {

/// Logs that the node is skipped: a comment as an error, any other node as a warning.
template <class Scope>
void skipNode(Scope& hr, IXMLDOMNode* node) {
  if (node->nodeType() == NODE_COMMENT) {
    hr.LogError(u"Skipping comment node.\n");
  } else {
    hr.LogWarning(u"Not know what to do with '<%s>'.\n", node->nodeName().View());
  }
}

/// Returns true if the node is an element with that tag. Logs any other node as skipped.
template <class Scope>
bool isElement(Scope& hr, IXMLDOMNode* node, std::u16string_view tag) {
  if (node->nodeType() == NODE_ELEMENT && node->nodeName().View() == tag) return true;
  skipNode(hr, node);
  return false;
}

/// Calls `visit` for each child in document order. Returns false if there is none.
template <class Visit>
bool forEachChild(IXMLDOMNode* node, Visit visit) {
  const CComPtr<IXMLDOMNodeList> children = node->childNodes();
  if (children == nullptr || children->length() == 0) return false;
  while (const CComPtr<IXMLDOMNode> child = children->nextNode()) visit(child);
  return true;
}

/// Returns the first 29 characters of a description; the host takes no longer one.
inline CComBSTR hostDescription(const CComBSTR& description) {
  constexpr int kLongest = 29;
  return CComBSTR(CString(description).Left(kLongest).View());
}

}  // namespace qx::dbdef
