#pragma once

// The objects of elements and attributes.

#include "qxframework/xml/internal/dom_node.h"

namespace qx::xml {

class ElementObject final : public DomNode<IXMLDOMElement> {
 public:
  using DomNode::DomNode;

  HRESULT raw_tagName(BSTR* name) override;
  HRESULT raw_getAttribute(BSTR name, VARIANT* value) override;
  HRESULT raw_setAttribute(BSTR name, const VARIANT& value) override;
  HRESULT raw_getAttributeNode(BSTR name, IXMLDOMAttribute** attribute) override;
  HRESULT raw_setAttributeNode(IXMLDOMAttribute* attribute, IXMLDOMAttribute** replaced) override;
  HRESULT raw_removeAttribute(BSTR name) override;
};

class AttributeObject final : public DomNode<IXMLDOMAttribute> {
 public:
  using DomNode::DomNode;

  HRESULT raw_name(BSTR* name) override { return raw_nodeName(name); }
  HRESULT raw_value(VARIANT* value) override { return raw_nodeValue(value); }
  HRESULT raw_putValue(const VARIANT& value) override { return raw_putNodeValue(value); }
};

}  // namespace qx::xml
