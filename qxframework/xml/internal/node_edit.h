#pragma once

// How nodes are changed, created and moved. The contracts are those of the operations in dom.h;
// errors are raised.

#include "qxframework/xml/internal/node_object.h"

#include <string>
#include <string_view>

namespace qx::xml {

HRESULT putValue(NodeObject& node, const VARIANT& value);
HRESULT insertChild(NodeObject& parent, IXMLDOMNode* child, IXMLDOMNode* before, IXMLDOMNode** out);
HRESULT takeChild(NodeObject& parent, IXMLDOMNode* child, IXMLDOMNode** out);
HRESULT copyNode(NodeObject& node, bool deep, IXMLDOMNode** out);

/// The attribute of that qualified name; null when there is none.
xmlAttr* findAttribute(const xmlNode* element, std::u16string_view name);
/// Sets an attribute node on the element and returns the one that it replaced, null for none.
xmlAttr* putAttribute(NodeObject& element, NodeObject& attribute);
/// Sets the value of the attribute `name`, which is made if there is none.
void putAttributeValue(NodeObject& element, std::u16string_view name, const VARIANT& value);

/// New orphans of a tree.
xmlNode* newElement(DomTree& tree, std::u16string_view name);
xmlAttr* newAttribute(DomTree& tree, std::u16string_view name);
xmlNode* newText(DomTree& tree, std::u16string_view text);
xmlNode* newComment(DomTree& tree, std::u16string_view text);

}  // namespace qx::xml
