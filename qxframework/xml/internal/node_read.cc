#include "qxframework/xml/internal/node_read.h"

#include "qxframework/xml/internal/node_lists.h"
#include "qxframework/xml/internal/serialize.h"
#include "qxframework/xml/internal/utf.h"
#include "qxframework/xml/internal/walk.h"
#include "qxframework/xml/internal/xpath.h"

#include <string>
#include <string_view>

namespace qx::xml {
namespace {

// libxml2 has the numbers of DOMNodeType for all kinds in a tree, so giveNodeType converts by a
// cast.
static_assert(int{XML_ELEMENT_NODE} == int{NODE_ELEMENT});
static_assert(int{XML_ATTRIBUTE_NODE} == int{NODE_ATTRIBUTE});
static_assert(int{XML_TEXT_NODE} == int{NODE_TEXT});
static_assert(int{XML_CDATA_SECTION_NODE} == int{NODE_CDATA_SECTION});
static_assert(int{XML_PI_NODE} == int{NODE_PROCESSING_INSTRUCTION});
static_assert(int{XML_COMMENT_NODE} == int{NODE_COMMENT});
static_assert(int{XML_DOCUMENT_NODE} == int{NODE_DOCUMENT});

bool isElementOrDocument(const xmlNode* node) {
  return node->type == XML_ELEMENT_NODE || node->type == XML_DOCUMENT_NODE;
}

std::string fixedName(const xmlNode* node) {
  switch (node->type) {
    case XML_TEXT_NODE:
      return "#text";
    case XML_CDATA_SECTION_NODE:
      return "#cdata-section";
    case XML_COMMENT_NODE:
      return "#comment";
    case XML_DOCUMENT_NODE:
      return "#document";
    default:
      return qualifiedName(node);
  }
}

std::string_view kindOf(const xmlNode* node) {
  switch (node->type) {
    case XML_ELEMENT_NODE:
      return "element";
    case XML_ATTRIBUTE_NODE:
      return "attribute";
    case XML_TEXT_NODE:
      return "text";
    case XML_CDATA_SECTION_NODE:
      return "cdatasection";
    case XML_PI_NODE:
      return "processinginstruction";
    case XML_COMMENT_NODE:
      return "comment";
    default:
      return "document";
  }
}

// The value of an attribute is in its children in libxml2, in pieces if it was read with
// references.
std::string valueOf(const xmlNode* node) {
  if (node->type != XML_ATTRIBUTE_NODE) return std::string(viewOfXml(node->content));
  std::string out;
  for (const xmlNode* text = node->children; text != nullptr; text = text->next) {
    out += viewOfXml(text->content);
  }
  return out;
}

std::string textBelow(xmlNode* root) {
  std::string out;
  forEachNode(root, [&](const xmlNode* node) {
    const bool isText = node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE;
    if (isText) out += viewOfXml(node->content);
  });
  return out;
}

// Stores a text and returns S_OK, or S_FALSE for an empty one.
HRESULT giveUtf8OrNone(std::string_view text, BSTR* out) {
  const HRESULT result = giveUtf8(text, out);
  return result == S_OK && text.empty() ? S_FALSE : result;
}

}  // namespace

HRESULT giveNodeName(NodeObject& node, BSTR* out) { return giveUtf8(fixedName(node.node()), out); }

HRESULT giveNodeType(NodeObject& node, DOMNodeType* out) {
  if (out == nullptr) return E_POINTER;
  *out = static_cast<DOMNodeType>(node.node()->type);
  return S_OK;
}

HRESULT giveNodeTypeString(NodeObject& node, BSTR* out) {
  return giveUtf8(kindOf(node.node()), out);
}

HRESULT giveNodeValue(NodeObject& node, VARIANT* out) {
  if (out == nullptr) return E_POINTER;
  *out = VARIANT();
  if (isElementOrDocument(node.node())) {
    out->vt = VT_NULL;
    return S_FALSE;
  }
  const HRESULT result = giveUtf8(valueOf(node.node()), &out->bstrVal);
  if (result == S_OK) out->vt = VT_BSTR;
  return result;
}

HRESULT giveNodeText(NodeObject& node, BSTR* out) {
  xmlNode* const root = node.node();
  return giveUtf8(isElementOrDocument(root) ? textBelow(root) : valueOf(root), out);
}

HRESULT giveBaseName(NodeObject& node, BSTR* out) {
  const std::string name = fixedName(node.node());
  if (name.starts_with('#')) return giveUtf8OrNone("", out);
  return giveUtf8(std::string_view(name).substr(name.find(':') + 1), out);
}

HRESULT giveNamespaceUri(NodeObject& node, BSTR* out) {
  const auto type = node.node()->type;
  // A document has another field in the place of the namespace.
  const bool canHave = type == XML_ELEMENT_NODE || type == XML_ATTRIBUTE_NODE;
  const xmlNs* const ns = canHave ? node.node()->ns : nullptr;
  return giveUtf8OrNone(ns == nullptr ? std::string_view() : viewOfXml(ns->href), out);
}

HRESULT giveXml(NodeObject& node, BSTR* out) { return giveUtf8(serialize(node.node()), out); }

HRESULT giveParent(NodeObject& node, IXMLDOMNode** out) {
  // The parent field of an attribute is its element, which is no parent in this model.
  const bool isAttribute = node.node()->type == XML_ATTRIBUTE_NODE;
  return giveNode(node.tree(), isAttribute ? nullptr : node.node()->parent, out);
}

HRESULT giveOwnerDocument(NodeObject& node, IXMLDOMDocument** out) {
  if (out == nullptr) return E_POINTER;
  const bool isDocument = node.node()->type == XML_DOCUMENT_NODE;
  return giveNodeAs(node.tree(), isDocument ? nullptr : node.tree()->document(), out);
}

HRESULT giveChildNodes(NodeObject& node, IXMLDOMNodeList** out) {
  return giveObject<IXMLDOMNodeList>(makeObject<ChildList>(node).p, out);
}

HRESULT giveFirstChild(NodeObject& node, IXMLDOMNode** out) {
  xmlNode* const self = node.node();
  return giveNode(node.tree(), isElementOrDocument(self) ? self->children : nullptr, out);
}

HRESULT giveLastChild(NodeObject& node, IXMLDOMNode** out) {
  xmlNode* const self = node.node();
  return giveNode(node.tree(), isElementOrDocument(self) ? self->last : nullptr, out);
}

HRESULT giveNextSibling(NodeObject& node, IXMLDOMNode** out) {
  const auto type = node.node()->type;
  // Attributes are linked to each other by the same field.
  const bool hasSiblings = type != XML_ATTRIBUTE_NODE && type != XML_DOCUMENT_NODE;
  return giveNode(node.tree(), hasSiblings ? node.node()->next : nullptr, out);
}

HRESULT giveAttributes(NodeObject& node, IXMLDOMNamedNodeMap** out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  if (node.node()->type != XML_ELEMENT_NODE) return S_FALSE;
  return giveObject<IXMLDOMNamedNodeMap>(makeObject<AttributeMap>(node).p, out);
}

HRESULT selectFirst(NodeObject& node, BSTR xpath, IXMLDOMNode** out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  const auto found = selectByPath(node.node(), utf8OrRaise(viewOfBstr(xpath)));
  return giveNode(node.tree(), found.empty() ? nullptr : found.front(), out);
}

HRESULT selectAll(NodeObject& node, BSTR xpath, IXMLDOMNodeList** out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  // Objects and not nodes, so that the list keeps its nodes alive when they are removed.
  std::vector<CComPtr<IXMLDOMNode>> objects;
  for (xmlNode* found : selectByPath(node.node(), utf8OrRaise(viewOfBstr(xpath)))) {
    objects.push_back(objectOf(node.tree(), found));
  }
  return giveObject<IXMLDOMNodeList>(makeObject<FixedList>(std::move(objects)).p, out);
}

}  // namespace qx::xml
