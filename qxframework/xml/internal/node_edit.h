#pragma once

// Changing, creating and moving nodes. The contracts are those of the operations in dom.h, but
// errors are thrown as _com_error.

#include "qxframework/xml/internal/node_object.h"

#include <string>
#include <string_view>

namespace qx::xml {

/// Implement putNodeValue, insertBefore and appendChild, removeChild and cloneNode.
HRESULT putValue(NodeObject& node, const VARIANT& value);
HRESULT insertChild(NodeObject& parent, IXMLDOMNode* child, IXMLDOMNode* before, IXMLDOMNode** out);
HRESULT takeChild(NodeObject& parent, IXMLDOMNode* child, IXMLDOMNode** out);
HRESULT copyNode(NodeObject& node, bool deep, IXMLDOMNode** out);

/// Returns the attribute with that qualified name; null if there is none.
xmlAttr* findAttribute(const xmlNode* element, std::u16string_view name);
/// Sets an attribute node on the element. Returns the attribute that it replaced, null if none.
xmlAttr* putAttribute(NodeObject& element, NodeObject& attribute);
/// Sets the value of the attribute `name`, which is created if there is none.
void putAttributeValue(NodeObject& element, std::u16string_view name, const VARIANT& value);

/// Return new orphans of a tree. Throw E_INVALIDARG for an impossible name or text.
xmlNode* newElement(DomTree& tree, std::u16string_view name);
xmlAttr* newAttribute(DomTree& tree, std::u16string_view name);
xmlNode* newText(DomTree& tree, std::u16string_view text);
xmlNode* newComment(DomTree& tree, std::u16string_view text);

}  // namespace qx::xml
