#pragma once

// Reading a node and its neighbours. Each function implements the operation of IXMLDOMNode with the
// same name, where its contract is. Errors are returned or thrown as _com_error.

#include "qxframework/xml/internal/node_object.h"

namespace qx::xml {

HRESULT giveNodeName(NodeObject& node, BSTR* out);
HRESULT giveNodeType(NodeObject& node, DOMNodeType* out);
HRESULT giveNodeTypeString(NodeObject& node, BSTR* out);
HRESULT giveNodeValue(NodeObject& node, VARIANT* out);
HRESULT giveNodeText(NodeObject& node, BSTR* out);
HRESULT giveBaseName(NodeObject& node, BSTR* out);
HRESULT giveNamespaceUri(NodeObject& node, BSTR* out);
HRESULT giveXml(NodeObject& node, BSTR* out);

HRESULT giveParent(NodeObject& node, IXMLDOMNode** out);
HRESULT giveOwnerDocument(NodeObject& node, IXMLDOMDocument** out);
HRESULT giveChildNodes(NodeObject& node, IXMLDOMNodeList** out);
HRESULT giveFirstChild(NodeObject& node, IXMLDOMNode** out);
HRESULT giveLastChild(NodeObject& node, IXMLDOMNode** out);
HRESULT giveNextSibling(NodeObject& node, IXMLDOMNode** out);
HRESULT giveAttributes(NodeObject& node, IXMLDOMNamedNodeMap** out);

HRESULT selectFirst(NodeObject& node, BSTR xpath, IXMLDOMNode** out);
HRESULT selectAll(NodeObject& node, BSTR xpath, IXMLDOMNodeList** out);

}  // namespace qx::xml
