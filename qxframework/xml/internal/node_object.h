#pragma once

// The object of a node. There is at most one per node at a time. The node points to its object, so
// that the object is found again and follows the node into another tree.

#include "qxframework/automation/com_object.h"
#include "qxframework/xml/dom.h"
#include "qxframework/xml/internal/dom_tree.h"

#include <libxml/tree.h>

#include <memory>
#include <utility>

namespace qx::xml {

using TreePointer = std::shared_ptr<DomTree>;

/// The base of all node objects: a node and a share of its tree. A NodeObject is always a base of a
/// COM object that deletes itself.
class NodeObject {
 public:
  /// The private id by which an object of this implementation is recognised.
  static constexpr GUID kIid{
      0x3192c87f, 0xd413, 0x4cf9, {0xa5, 0x33, 0xe5, 0xdc, 0x93, 0x9d, 0x0e, 0xf0}};

  NodeObject(TreePointer tree, xmlNode* node) : tree_(std::move(tree)), node_(node) {
    node_->_private = this;
  }
  NodeObject(const NodeObject&) = delete;
  NodeObject& operator=(const NodeObject&) = delete;

  xmlNode* node() const { return node_; }
  const TreePointer& tree() const { return tree_; }
  /// Gives up the share of the present tree for one of `tree`, to which the node has moved.
  void moveTo(const TreePointer& tree) { tree_ = tree; }
  /// Returns this object as its COM interface, without a new reference.
  virtual IXMLDOMNode* asNode() = 0;

 protected:
  virtual ~NodeObject() { node_->_private = nullptr; }
  /// Makes this the object of another node.
  void bindTo(TreePointer tree, xmlNode* node);

 private:
  TreePointer tree_;
  xmlNode* node_;
};

/// Returns the object of `node`, a new one if the node has none.
CComPtr<IXMLDOMNode> objectOf(const TreePointer& tree, xmlNode* node);
/// Stores the object of `node` in `*out`. Stores null and returns S_FALSE for a null node.
HRESULT giveNode(const TreePointer& tree, xmlNode* node, IXMLDOMNode** out);
/// Returns the implementation of an argument, which keeps it alive. Throws E_POINTER for null and
/// E_INVALIDARG for an object of another implementation.
NodeObject& implementationOf(IUnknown* object);

/// Stores the object of `node` as giveNode does, for the kinds that have their own interface.
/// `node` is of that kind or null.
template <class Interface>
HRESULT giveNodeAs(const TreePointer& tree, void* node, Interface** out) {
  IXMLDOMNode* object = nullptr;
  const HRESULT result = giveNode(tree, static_cast<xmlNode*>(node), &object);
  *out = static_cast<Interface*>(object);
  return result;
}

}  // namespace qx::xml
