#pragma once

// Lists of nodes: the live children of a node, the live attributes of an element, and a fixed
// selection.

#include "qxframework/automation/com_object.h"
#include "qxframework/xml/internal/node_object.h"

#include <cstdint>
#include <vector>

namespace qx::xml {

/// A node's children or attributes by number. It remembers the last place it looked at, so that a
/// walk upwards is one step per node, and forgets it when the tree changes.
class LiveChain {
 public:
  enum class Kind { kChildren, kAttributes };

  LiveChain(NodeObject& parent, Kind kind)
      : object_(parent.asNode()), parent_(parent), kind_(kind) {}

  NodeObject& parent() const { return parent_; }
  const TreePointer& tree() const { return parent_.tree(); }
  xmlNode* first() const;
  long length();
  /// Null outside the chain.
  xmlNode* at(long index);

 private:
  void refresh();

  CComPtr<IXMLDOMNode> object_;  // keeps parent_
  NodeObject& parent_;
  Kind kind_;
  std::uint64_t generation_ = 0;
  long length_ = -1;  // not counted yet
  long index_ = 0;
  xmlNode* node_ = nullptr;
};

class ChildList final : public ComObject<IXMLDOMNodeList> {
 public:
  explicit ChildList(NodeObject& parent) : chain_(parent, LiveChain::Kind::kChildren) {}

  HRESULT raw_length(long* length) override;
  HRESULT raw_item(long index, IXMLDOMNode** node) override;
  HRESULT raw_nextNode(IXMLDOMNode** node) override;
  HRESULT raw_reset() override;

 private:
  xmlNode* nodeToGive() const;

  LiveChain chain_;
  bool started_ = false;
  // The cursor holds the node given last and the one behind it, to go on when the former is
  // removed.
  CComPtr<IXMLDOMNode> given_;
  CComPtr<IXMLDOMNode> behind_;
};

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
