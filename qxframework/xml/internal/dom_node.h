#pragma once

// The edge of the component. A COM object for a node, whose operations run guarded, so that an
// exception leaves as a result code.

#include "qxframework/automation/com_object.h"
#include "qxframework/xml/internal/node_edit.h"
#include "qxframework/xml/internal/node_object.h"
#include "qxframework/xml/internal/node_read.h"

namespace qx::xml {

/// Implements the operations of IXMLDOMNode for an object with `Interface`, which derives from it.
template <class Interface>
class DomNode : public ComObject<Interface>, public NodeObject {
 public:
  using NodeObject::NodeObject;

  IXMLDOMNode* asNode() override { return this; }

  /// Knows IXMLDOMNode and NodeObject besides the interfaces of ComObject.
  HRESULT QueryInterface(REFIID iid, void** object) override {
    if (object == nullptr) return E_POINTER;
    if (iid == IXMLDOMNode::kIid) {
      *object = static_cast<IXMLDOMNode*>(this);
    } else if (iid == NodeObject::kIid) {
      *object = static_cast<NodeObject*>(this);
    } else {
      return ComObject<Interface>::QueryInterface(iid, object);
    }
    this->AddRef();
    return S_OK;
  }

  HRESULT raw_nodeName(BSTR* name) override { return run(giveNodeName, name); }
  HRESULT raw_nodeType(DOMNodeType* type) override { return run(giveNodeType, type); }
  HRESULT raw_nodeTypeString(BSTR* type) override { return run(giveNodeTypeString, type); }
  HRESULT raw_nodeValue(VARIANT* value) override { return run(giveNodeValue, value); }
  HRESULT raw_putNodeValue(const VARIANT& value) override { return run(putValue, value); }
  HRESULT raw_text(BSTR* text) override { return run(giveNodeText, text); }
  HRESULT raw_baseName(BSTR* name) override { return run(giveBaseName, name); }
  HRESULT raw_namespaceURI(BSTR* uri) override { return run(giveNamespaceUri, uri); }
  HRESULT raw_xml(BSTR* text) override { return run(giveXml, text); }

  HRESULT raw_parentNode(IXMLDOMNode** parent) override { return run(giveParent, parent); }
  HRESULT raw_ownerDocument(IXMLDOMDocument** document) override {
    return run(giveOwnerDocument, document);
  }
  HRESULT raw_childNodes(IXMLDOMNodeList** children) override {
    return run(giveChildNodes, children);
  }
  HRESULT raw_firstChild(IXMLDOMNode** child) override { return run(giveFirstChild, child); }
  HRESULT raw_lastChild(IXMLDOMNode** child) override { return run(giveLastChild, child); }
  HRESULT raw_nextSibling(IXMLDOMNode** sibling) override { return run(giveNextSibling, sibling); }
  HRESULT raw_attributes(IXMLDOMNamedNodeMap** attributes) override {
    return run(giveAttributes, attributes);
  }

  HRESULT raw_appendChild(IXMLDOMNode* child, IXMLDOMNode** appended) override {
    return run(insertChild, child, nullptr, appended);
  }
  HRESULT raw_insertBefore(IXMLDOMNode* child, IXMLDOMNode* before,
                           IXMLDOMNode** inserted) override {
    return run(insertChild, child, before, inserted);
  }
  HRESULT raw_removeChild(IXMLDOMNode* child, IXMLDOMNode** removed) override {
    return run(takeChild, child, removed);
  }
  HRESULT raw_cloneNode(VARIANT_BOOL deep, IXMLDOMNode** copy) override {
    return run(copyNode, deep != VARIANT_FALSE, copy);
  }
  HRESULT raw_selectSingleNode(BSTR xpath, IXMLDOMNode** node) override {
    return run(selectFirst, xpath, node);
  }
  HRESULT raw_selectNodes(BSTR xpath, IXMLDOMNodeList** nodes) override {
    return run(selectAll, xpath, nodes);
  }

 protected:
  /// Calls `operation` with this node and returns its result, or the code of its exception.
  template <class Operation, class... Args>
  HRESULT run(Operation operation, const Args&... args) noexcept {
    return guarded([&] { return operation(static_cast<NodeObject&>(*this), args...); });
  }
};

}  // namespace qx::xml
