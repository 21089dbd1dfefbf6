#include "qxframework/xml/internal/node_object.h"

#include "qxframework/xml/internal/document_object.h"
#include "qxframework/xml/internal/dom_node.h"
#include "qxframework/xml/internal/element_object.h"

namespace qx::xml {
namespace {

// A node of a kind without its own interface: text, CDATA, comment, processing instruction.
class PlainNode final : public DomNode<IXMLDOMNode> {
 public:
  using DomNode::DomNode;
};

CComPtr<IXMLDOMNode> makeObjectOf(const TreePointer& tree, xmlNode* node) {
  switch (node->type) {
    case XML_ELEMENT_NODE:
      return CComPtr<IXMLDOMNode>(new ElementObject(tree, node));
    case XML_ATTRIBUTE_NODE:
      return CComPtr<IXMLDOMNode>(new AttributeObject(tree, node));
    case XML_DOCUMENT_NODE:
      return CComPtr<IXMLDOMNode>(new DocumentObject(tree));
    default:
      return CComPtr<IXMLDOMNode>(new PlainNode(tree, node));
  }
}

}  // namespace

// The former node must forget this object, else both nodes would point to it.
void NodeObject::bindTo(TreePointer tree, xmlNode* node) {
  node_->_private = nullptr;
  node_ = node;
  node_->_private = this;
  tree_ = std::move(tree);
}

CComPtr<IXMLDOMNode> objectOf(const TreePointer& tree, xmlNode* node) {
  if (node->_private != nullptr) return static_cast<NodeObject*>(node->_private)->asNode();
  return makeObjectOf(tree, node);
}

HRESULT giveNode(const TreePointer& tree, xmlNode* node, IXMLDOMNode** out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  if (node == nullptr) return S_FALSE;
  *out = objectOf(tree, node).Detach();
  return S_OK;
}

NodeObject& implementationOf(IUnknown* object) {
  if (object == nullptr) raiseError(E_POINTER);
  void* found = nullptr;
  if (object->QueryInterface(NodeObject::kIid, &found) < 0) raiseError(E_INVALIDARG);
  object->Release();  // the argument itself still holds a reference
  return *static_cast<NodeObject*>(found);
}

}  // namespace qx::xml
