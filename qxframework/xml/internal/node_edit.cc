#include "qxframework/xml/internal/node_edit.h"

#include "qxframework/xml/internal/document_object.h"
#include "qxframework/xml/internal/namespaces.h"
#include "qxframework/xml/internal/serialize.h"
#include "qxframework/xml/internal/utf.h"

#include <new>

namespace qx::xml {
namespace {

void require(bool condition) {
  if (!condition) raiseError(E_INVALIDARG);
}

template <class Node>
Node* orRaise(Node* node) {
  if (node == nullptr) throw std::bad_alloc();
  return node;
}

// True if the text can be written as the content of such a node and reads back the same. A CDATA
// section may contain "]]>", because it is written as two sections then.
bool canHold(xmlElementType type, std::string_view text) {
  if (!isXmlText(text)) return false;
  if (type == XML_COMMENT_NODE) return text.find("--") == text.npos && !text.ends_with('-');
  return type != XML_PI_NODE || text.find("?>") == text.npos;
}

bool isRootLevelKind(xmlElementType type) {
  return type == XML_ELEMENT_NODE || type == XML_COMMENT_NODE || type == XML_PI_NODE;
}

bool isBelowOrSame(const xmlNode* node, const xmlNode* ancestor) {
  for (; node != nullptr; node = node->parent) {
    if (node == ancestor) return true;
  }
  return false;
}

// Throws if `child` cannot become a child of `parent`.
void requirePossibleChild(xmlNode* parent, const xmlNode* child) {
  const auto type = child->type;
  if (parent->type == XML_DOCUMENT_NODE) {
    require(isRootLevelKind(type));
    const xmlNode* const root = xmlDocGetRootElement(reinterpret_cast<xmlDoc*>(parent));
    // The present root may be moved among the comments beside it.
    require(type != XML_ELEMENT_NODE || root == nullptr || root == child);
    return;
  }
  require(parent->type == XML_ELEMENT_NODE);
  require(isRootLevelKind(type) || type == XML_TEXT_NODE || type == XML_CDATA_SECTION_NODE);
  require(!isBelowOrSame(parent, child));
}

std::string validName(std::u16string_view name) {
  std::string out = utf8OrRaise(name);
  // libxml2 would check only the part before a zero.
  require(out.find('\0') == out.npos && xmlValidateQName(asXml(out), 0) == 0);
  return out;
}

std::string validText(xmlElementType type, std::u16string_view text) {
  std::string out = utf8OrRaise(text);
  require(canHold(type, out));
  return out;
}

// True if an element cannot have both attributes: they have the same qualified name, or the same
// local name in the same namespace under two prefixes.
bool sameAttribute(const xmlAttr* a, const xmlAttr* b) {
  const auto nameOf = [](const xmlAttr* x) {
    return qualifiedName(reinterpret_cast<const xmlNode*>(x));
  };
  if (nameOf(a) == nameOf(b)) return true;
  return a->ns != nullptr && b->ns != nullptr && viewOfXml(a->name) == viewOfXml(b->name) &&
         viewOfXml(a->ns->href) == viewOfXml(b->ns->href);
}

xmlAttr* findRival(const xmlNode* element, const xmlAttr* attribute) {
  for (xmlAttr* own = element->properties; own != nullptr; own = own->next) {
    if (sameAttribute(own, attribute)) return own;
  }
  return nullptr;
}

HRESULT copyDocument(const xmlDoc* document, bool deep, IXMLDOMNode** out) {
  DocumentHandle copy(orRaise(xmlCopyDoc(const_cast<xmlDoc*>(document), deep ? 1 : 0)));
  // Released only after the tree owns it.
  const auto tree = std::make_shared<DomTree>(copy.get());
  return giveNode(tree, reinterpret_cast<xmlNode*>(copy.release()), out);
}

xmlNode* copyWithin(xmlNode* node, xmlDoc* document, bool deep) {
  if (node->type == XML_ATTRIBUTE_NODE) {
    auto* const attribute = reinterpret_cast<xmlAttr*>(node);
    // Without an element, xmlCopyProp leaves the namespace out, and sometimes the document.
    xmlAttr* const copy = orRaise(xmlCopyProp(nullptr, attribute));
    copy->doc = document;
    for (xmlNode* text = copy->children; text != nullptr; text = text->next) text->doc = document;
    copy->ns = keptByDocument(attribute->ns, document);
    return reinterpret_cast<xmlNode*>(copy);
  }
  // The third argument of xmlDocCopyNode.
  constexpr int kDeep = 1;
  constexpr int kAttributesOnly = 2;
  return orRaise(xmlDocCopyNode(node, document, deep ? kDeep : kAttributesOnly));
}

}  // namespace

HRESULT putValue(NodeObject& node, const VARIANT& value) {
  xmlNode* const self = node.node();
  if (self->type == XML_ELEMENT_NODE || self->type == XML_DOCUMENT_NODE) return E_FAIL;
  const std::string text = textOf(value);
  require(canHold(self->type, text));
  if (self->type == XML_ATTRIBUTE_NODE) {
    setAttributeText(reinterpret_cast<xmlAttr*>(self), text);
  } else {
    xmlNodeSetContent(self, asXml(text));
  }
  return S_OK;
}

HRESULT insertChild(NodeObject& parent, IXMLDOMNode* child, IXMLDOMNode* before,
                    IXMLDOMNode** out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  NodeObject& moved = implementationOf(child);
  xmlNode* place = before == nullptr ? nullptr : implementationOf(before).node();
  require(place == nullptr || place->parent == parent.node());
  // An attribute has its element as parent, but it is not a child.
  require(place == nullptr || place->type != XML_ATTRIBUTE_NODE);
  requirePossibleChild(parent.node(), moved.node());
  // A child that is inserted before itself keeps its place.
  if (place == moved.node()) place = place->next;
  // A copy of the pointer: the former tree must outlive the objects' change to the new one.
  const TreePointer from = moved.tree();
  if (moved.node()->parent != nullptr) from->detach(moved.node());
  const TreePointer to = parent.tree();
  to->attach(*from, to, moved.node(), parent.node(), place);
  return giveObject(child, out);
}

HRESULT takeChild(NodeObject& parent, IXMLDOMNode* child, IXMLDOMNode** out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  xmlNode* const removed = implementationOf(child).node();
  require(removed->parent == parent.node() && removed->type != XML_ATTRIBUTE_NODE);
  parent.tree()->detach(removed);
  return giveObject(child, out);
}

HRESULT copyNode(NodeObject& node, bool deep, IXMLDOMNode** out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  xmlDoc* const document = node.tree()->document();
  if (node.node()->type == XML_DOCUMENT_NODE) return copyDocument(document, deep, out);
  xmlNode* const copy = copyWithin(node.node(), document, deep);
  node.tree()->keepOrphan(copy);
  return giveNode(node.tree(), copy, out);
}

xmlAttr* findAttribute(const xmlNode* element, std::u16string_view name) {
  const std::string wanted = utf8OrRaise(name);
  for (xmlAttr* attr = element->properties; attr != nullptr; attr = attr->next) {
    // Compares the local name first, without putting a qualified name together.
    if (!wanted.ends_with(viewOfXml(attr->name))) continue;
    if (qualifiedName(reinterpret_cast<const xmlNode*>(attr)) == wanted) return attr;
  }
  return nullptr;
}

xmlAttr* putAttribute(NodeObject& element, NodeObject& attribute) {
  require(attribute.node()->type == XML_ATTRIBUTE_NODE);
  auto* const added = reinterpret_cast<xmlAttr*>(attribute.node());
  if (added->parent == element.node()) return nullptr;  // it is set already
  require(added->parent == nullptr);
  const TreePointer to = element.tree();
  const TreePointer from = attribute.tree();
  xmlAttr* const rival = findRival(element.node(), added);
  // Read before the rival is detached, which clears its links.
  xmlAttr* const place = rival == nullptr ? nullptr : rival->next;
  if (rival != nullptr) to->detach(reinterpret_cast<xmlNode*>(rival));
  to->attachAttribute(*from, to, added, element.node(), place);
  return rival;
}

void putAttributeValue(NodeObject& element, std::u16string_view name, const VARIANT& value) {
  const std::string text = textOf(value);
  require(isXmlText(text));
  const TreePointer tree = element.tree();
  xmlAttr* attribute = findAttribute(element.node(), name);
  if (attribute == nullptr) {
    attribute = newAttribute(*tree, name);
    tree->attachAttribute(*tree, tree, attribute, element.node(), nullptr);
  }
  setAttributeText(attribute, text);
}

xmlNode* newElement(DomTree& tree, std::u16string_view name) {
  const std::string valid = validName(name);
  xmlNode* const node = orRaise(xmlNewDocNode(tree.document(), nullptr, asXml(valid), nullptr));
  tree.keepOrphan(node);
  return node;
}

xmlAttr* newAttribute(DomTree& tree, std::u16string_view name) {
  const std::string valid = validName(name);
  xmlAttr* const attribute = orRaise(xmlNewDocProp(tree.document(), asXml(valid), nullptr));
  tree.keepOrphan(reinterpret_cast<xmlNode*>(attribute));
  return attribute;
}

xmlNode* newText(DomTree& tree, std::u16string_view text) {
  const std::string valid = validText(XML_TEXT_NODE, text);
  xmlNode* const node = orRaise(xmlNewDocText(tree.document(), asXml(valid)));
  tree.keepOrphan(node);
  return node;
}

xmlNode* newComment(DomTree& tree, std::u16string_view text) {
  const std::string valid = validText(XML_COMMENT_NODE, text);
  xmlNode* const node = orRaise(xmlNewDocComment(tree.document(), asXml(valid)));
  tree.keepOrphan(node);
  return node;
}

}  // namespace qx::xml
