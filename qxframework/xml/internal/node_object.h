#pragma once

// The object that stands for one node. There is at most one per node at a time: the node points to
// it, so that it is found again and follows the node into another tree.

#include "qxframework/automation/com_object.h"
#include "qxframework/xml/dom.h"
#include "qxframework/xml/internal/dom_tree.h"

#include <libxml/tree.h>

#include <memory>
#include <utility>

namespace qx::xml {

using TreePointer = std::shared_ptr<DomTree>;

/// What all node objects have. A NodeObject is always the base of a COM object that owns itself.
class NodeObject {
 public:
  /// Private to this implementation: an object of another one does not know it.
  static constexpr GUID kIid{
      0x3192c87f, 0xd413, 0x4cf9, {0xa5, 0x33, 0xe5, 0xdc, 0x93, 0x9d, 0x0e, 0xf0}};

  NodeObject(TreePointer tree, xmlNode* node) : tree_(std::move(tree)), node_(node) {
    node_->_private = this;
  }
  NodeObject(const NodeObject&) = delete;
  NodeObject& operator=(const NodeObject&) = delete;

  xmlNode* node() const { return node_; }
  const TreePointer& tree() const { return tree_; }
  void moveTo(const TreePointer& tree) { tree_ = tree; }
  virtual IXMLDOMNode* asNode() = 0;

 protected:
  virtual ~NodeObject() { node_->_private = nullptr; }
  /// Lets the object stand for another node.
  void standFor(TreePointer tree, xmlNode* node);

 private:
  TreePointer tree_;
  xmlNode* node_;
};

/// The object of `node`, made if there is none.
CComPtr<IXMLDOMNode> objectOf(const TreePointer& tree, xmlNode* node);
/// Gives the object of `node` away; null and S_FALSE for a null node.
HRESULT giveNode(const TreePointer& tree, xmlNode* node, IXMLDOMNode** out);
/// The implementation behind an argument, borrowed from it; raises E_POINTER for null and
/// E_INVALIDARG for an object of another implementation.
NodeObject& implementationOf(IUnknown* object);

/// As giveNode for the kinds that have an interface of their own; `node` is of that kind or null.
template <class Interface>
HRESULT giveNodeAs(const TreePointer& tree, void* node, Interface** out) {
  IXMLDOMNode* object = nullptr;
  const HRESULT result = giveNode(tree, static_cast<xmlNode*>(node), &object);
  *out = static_cast<Interface*>(object);
  return result;
}

}  // namespace qx::xml
