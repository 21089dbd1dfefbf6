#pragma once

// Lists of nodes: the live children of a node, the live attributes of an element, and the fixed
// result of a selection.

#include "qxframework/automation/com_object.h"
#include "qxframework/xml/internal/node_object.h"

#include <cstdint>
#include <vector>

namespace qx::xml {

/// A node's children or attributes by index. It remembers the last node that it returned, so that a
/// walk by ascending index is one step per node, and forgets it when the tree changes.
class LiveChain {
 public:
  enum class Kind { kChildren, kAttributes };

  LiveChain(NodeObject& parent, Kind kind)
      : object_(parent.asNode()), parent_(parent), kind_(kind) {}

  NodeObject& parent() const { return parent_; }
  const TreePointer& tree() const { return parent_.tree(); }
  /// Returns the first node; null if there is none.
  xmlNode* first() const;
  long length();
  /// Returns the node at `index`; null outside the chain.
  xmlNode* at(long index);

 private:
  /// Forgets the remembered place and length if the tree has changed.
  void refresh();

  CComPtr<IXMLDOMNode> object_;  // keeps parent_ alive
  NodeObject& parent_;
  Kind kind_;
  std::uint64_t generation_ = 0;
  long length_ = -1;  // not counted yet
  long index_ = 0;
  xmlNode* node_ = nullptr;
};

/// The live list of a node's children.
class ChildList final : public ComObject<IXMLDOMNodeList> {
 public:
  explicit ChildList(NodeObject& parent) : chain_(parent, LiveChain::Kind::kChildren) {}

  HRESULT raw_length(long* length) override;
  HRESULT raw_item(long index, IXMLDOMNode** node) override;
  HRESULT raw_nextNode(IXMLDOMNode** node) override;
  HRESULT raw_reset() override;

 private:
  /// Returns the node that nextNode stores next; null at the end.
  xmlNode* nextAtCursor() const;

  LiveChain chain_;
  bool started_ = false;
  // The cursor holds the node that was returned last and its successor then, with which the walk
  // continues if the former was removed.
  CComPtr<IXMLDOMNode> returned_;
  CComPtr<IXMLDOMNode> successor_;
};

/// A list of selected nodes, which does not follow the tree.
class FixedList final : public ComObject<IXMLDOMNodeList> {
 public:
  explicit FixedList(std::vector<CComPtr<IXMLDOMNode>> nodes) : nodes_(std::move(nodes)) {}

  HRESULT raw_length(long* length) override;
  HRESULT raw_item(long index, IXMLDOMNode** node) override;
  HRESULT raw_nextNode(IXMLDOMNode** node) override;
  HRESULT raw_reset() override;

 private:
  std::vector<CComPtr<IXMLDOMNode>> nodes_;
  long next_ = 0;
};

/// The live map of an element's attributes.
class AttributeMap final : public ComObject<IXMLDOMNamedNodeMap> {
 public:
  explicit AttributeMap(NodeObject& element) : chain_(element, LiveChain::Kind::kAttributes) {}

  HRESULT raw_length(long* length) override;
  HRESULT raw_item(long index, IXMLDOMNode** attribute) override;
  HRESULT raw_getNamedItem(BSTR name, IXMLDOMNode** attribute) override;
  HRESULT raw_setNamedItem(IXMLDOMNode* attribute, IXMLDOMNode** set) override;
  HRESULT raw_removeNamedItem(BSTR name, IXMLDOMNode** removed) override;

 private:
  LiveChain chain_;
};

}  // namespace qx::xml
