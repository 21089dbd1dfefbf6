#include "qxframework/xml/internal/node_lists.h"

#include "qxframework/xml/internal/node_edit.h"
#include "qxframework/xml/internal/utf.h"

namespace qx::xml {
namespace {

bool isChildOf(const CComPtr<IXMLDOMNode>& object, const xmlNode* parent) {
  return object.p != nullptr && implementationOf(object).node()->parent == parent;
}

}  // namespace

xmlNode* LiveChain::first() const {
  xmlNode* const parent = parent_.node();
  if (kind_ == Kind::kAttributes) return reinterpret_cast<xmlNode*>(parent->properties);
  // Attributes have their text as children in libxml2, but not in this model.
  const bool hasChildren = parent->type == XML_ELEMENT_NODE || parent->type == XML_DOCUMENT_NODE;
  return hasChildren ? parent->children : nullptr;
}

// The number of the state decides, because a remembered node may have been freed meanwhile.
void LiveChain::refresh() {
  if (generation_ == tree()->generation()) return;
  generation_ = tree()->generation();
  length_ = -1;
  index_ = 0;
  node_ = first();
}

long LiveChain::length() {
  refresh();
  if (length_ >= 0) return length_;
  length_ = 0;
  for (const xmlNode* node = first(); node != nullptr; node = node->next) ++length_;
  return length_;
}

xmlNode* LiveChain::at(long index) {
  refresh();
  if (index < 0 || first() == nullptr) return nullptr;
  // The chain is walked by its next links, so a lower index starts again at the front.
  if (index < index_) {
    index_ = 0;
    node_ = first();
  }
  while (index_ < index && node_->next != nullptr) {
    node_ = node_->next;
    ++index_;
  }
  return index_ == index ? node_ : nullptr;
}

HRESULT ChildList::raw_length(long* length) {
  if (length == nullptr) return E_POINTER;
  *length = chain_.length();
  return S_OK;
}

HRESULT ChildList::raw_item(long index, IXMLDOMNode** node) {
  return guarded([&] { return giveNode(chain_.tree(), chain_.at(index), node); });
}

xmlNode* ChildList::nextAtCursor() const {
  if (!started_) return chain_.first();
  const xmlNode* const parent = chain_.parent().node();
  // The successor is read from the tree as it is now, so that nodes inserted meanwhile are
  // returned.
  if (isChildOf(returned_, parent)) return implementationOf(returned_).node()->next;
  return isChildOf(successor_, parent) ? implementationOf(successor_).node() : nullptr;
}

HRESULT ChildList::raw_nextNode(IXMLDOMNode** node) {
  return guarded([&] {
    xmlNode* const next = nextAtCursor();
    const HRESULT result = giveNode(chain_.tree(), next, node);
    // The cursor stays at the end, so that nodes that are appended later are still returned.
    if (result != S_OK) return result;
    started_ = true;
    returned_ = *node;
    successor_ =
        next->next == nullptr ? CComPtr<IXMLDOMNode>() : objectOf(chain_.tree(), next->next);
    return result;
  });
}

HRESULT ChildList::raw_reset() {
  started_ = false;
  returned_.Release();
  successor_.Release();
  return S_OK;
}

HRESULT FixedList::raw_length(long* length) {
  if (length == nullptr) return E_POINTER;
  *length = static_cast<long>(nodes_.size());
  return S_OK;
}

HRESULT FixedList::raw_item(long index, IXMLDOMNode** node) {
  if (node == nullptr) return E_POINTER;
  *node = nullptr;
  if (index < 0 || index >= static_cast<long>(nodes_.size())) return S_FALSE;
  return nodes_[static_cast<std::size_t>(index)].CopyTo(node);
}

HRESULT FixedList::raw_nextNode(IXMLDOMNode** node) {
  const HRESULT result = raw_item(next_, node);
  if (result == S_OK) ++next_;
  return result;
}

HRESULT FixedList::raw_reset() {
  next_ = 0;
  return S_OK;
}

HRESULT AttributeMap::raw_length(long* length) {
  if (length == nullptr) return E_POINTER;
  *length = chain_.length();
  return S_OK;
}

HRESULT AttributeMap::raw_item(long index, IXMLDOMNode** attribute) {
  return guarded([&] { return giveNode(chain_.tree(), chain_.at(index), attribute); });
}

HRESULT AttributeMap::raw_getNamedItem(BSTR name, IXMLDOMNode** attribute) {
  return guarded([&] {
    xmlAttr* const found = findAttribute(chain_.parent().node(), viewOfBstr(name));
    return giveNode(chain_.tree(), reinterpret_cast<xmlNode*>(found), attribute);
  });
}

HRESULT AttributeMap::raw_setNamedItem(IXMLDOMNode* attribute, IXMLDOMNode** set) {
  if (set == nullptr) return E_POINTER;
  *set = nullptr;
  return guarded([&] {
    putAttribute(chain_.parent(), implementationOf(attribute));
    return giveObject(attribute, set);
  });
}

HRESULT AttributeMap::raw_removeNamedItem(BSTR name, IXMLDOMNode** removed) {
  // Refused before anything is removed.
  if (removed == nullptr) return E_POINTER;
  return guarded([&] {
    const TreePointer tree = chain_.tree();
    xmlAttr* const found = findAttribute(chain_.parent().node(), viewOfBstr(name));
    // The object is made before the attribute is detached, which is then not lost if memory is out.
    const HRESULT result = giveNode(tree, reinterpret_cast<xmlNode*>(found), removed);
    if (found != nullptr) tree->detach(reinterpret_cast<xmlNode*>(found));
    return result;
  });
}

}  // namespace qx::xml
