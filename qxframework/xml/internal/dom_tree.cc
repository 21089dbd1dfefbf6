#include "qxframework/xml/internal/dom_tree.h"

#include "qxframework/xml/internal/namespaces.h"
#include "qxframework/xml/internal/node_object.h"
#include "qxframework/xml/internal/utf.h"
#include "qxframework/xml/internal/walk.h"

#include <atomic>
#include <new>

namespace qx::xml {
namespace {

// libxml2 frees attributes by another function than nodes, although both share their first fields.
void freeTree(xmlNode* root) {
  if (root->type == XML_ATTRIBUTE_NODE) {
    xmlFreeProp(reinterpret_cast<xmlAttr*>(root));
  } else {
    xmlFreeNode(root);
  }
}

// Copies a string that belongs to the dictionary of the former document. That document may be freed
// before the string, and the new one would free the string as its own.
template <class Text>
void ownText(Text*& text, xmlDict* former) {
  if (text == nullptr || former == nullptr || xmlDictOwns(former, text) == 0) return;
  xmlChar* const copy = xmlStrdup(text);
  if (copy == nullptr) throw std::bad_alloc();
  text = copy;
}

// The namespace of "xml" belongs to the former document and may be freed with it. All others are
// declared within the orphan and move with it; attachAttribute replaces that of an attribute
// without element.
void moveXmlNamespace(xmlNs*& ns, xmlDoc* to) {
  if (isXmlNamespace(ns)) ns = keptByDocument(ns, to);
}

void moveObject(void* object, const std::shared_ptr<DomTree>& to) {
  if (object != nullptr) static_cast<NodeObject*>(object)->moveTo(to);
}

void moveNode(xmlNode* node, const std::shared_ptr<DomTree>& to, xmlDict* former) {
  ownText(node->name, former);
  if (node->type != XML_ELEMENT_NODE) ownText(node->content, former);
  if (node->type == XML_ELEMENT_NODE) moveXmlNamespace(node->ns, to->document());
  node->doc = to->document();
  moveObject(node->_private, to);
}

void moveAttribute(xmlAttr* attribute, const std::shared_ptr<DomTree>& to, xmlDict* former) {
  ownText(attribute->name, former);
  attribute->doc = to->document();
  moveXmlNamespace(attribute->ns, to->document());
  for (xmlNode* text = attribute->children; text != nullptr; text = text->next) {
    moveNode(text, to, former);
  }
  moveObject(attribute->_private, to);
}

// Links a node before `before`, or last. Children and attributes have the same links, but only
// children have a pointer to the last one.
template <class Node>
void link(Node*& first, Node* last, Node* node, Node* before) {
  node->prev = before == nullptr ? last : before->prev;
  node->next = before;
  (node->prev == nullptr ? first : node->prev->next) = node;
  if (before != nullptr) before->prev = node;
}

xmlAttr* lastAttribute(xmlAttr* attribute) {
  while (attribute != nullptr && attribute->next != nullptr) attribute = attribute->next;
  return attribute;
}

}  // namespace

DomTree::~DomTree() {
  // Before the document, whose dictionary owns strings of the orphans.
  for (xmlNode* orphan : orphans_) freeTree(orphan);
  xmlFreeDoc(document_);
}

void DomTree::changed() {
  // Counted over all trees, because a list may see its parent move to another tree.
  static std::atomic<std::uint64_t> last{0};
  generation_ = last.fetch_add(1, std::memory_order_relaxed) + 1;
}

void DomTree::keepOrphan(xmlNode* node) { orphans_.insert(node); }

// The steps that may throw come before the links change, and the orphan is registered last of them:
// a node that is both linked and an orphan would be freed twice.
void DomTree::detach(xmlNode* node) {
  if (node->type == XML_ATTRIBUTE_NODE) {
    auto* const attribute = reinterpret_cast<xmlAttr*>(node);
    attribute->ns = keptByDocument(attribute->ns, document_);
  } else {
    declareWithin(node);
  }
  keepOrphan(node);
  xmlUnlinkNode(node);
  changed();
}

void DomTree::takeOver(DomTree& from, const std::shared_ptr<DomTree>& self, xmlNode* orphan) {
  from.orphans_.erase(orphan);
  if (&from == this) return;
  // Descendants and attributes keep their links; only their owner and their strings change.
  xmlDict* const former = from.document_->dict;
  if (orphan->type == XML_ATTRIBUTE_NODE) {
    moveAttribute(reinterpret_cast<xmlAttr*>(orphan), self, former);
    return;
  }
  forEachNode(orphan, [&](xmlNode* node) {
    moveNode(node, self, former);
    if (node->type != XML_ELEMENT_NODE) return;
    for (xmlAttr* attr = node->properties; attr != nullptr; attr = attr->next) {
      moveAttribute(attr, self, former);
    }
  });
}

void DomTree::attach(DomTree& from, const std::shared_ptr<DomTree>& self, xmlNode* orphan,
                     xmlNode* parent, xmlNode* before) {
  takeOver(from, self, orphan);
  link(parent->children, parent->last, orphan, before);
  if (before == nullptr) parent->last = orphan;
  orphan->parent = parent;
  changed();
}

void DomTree::attachAttribute(DomTree& from, const std::shared_ptr<DomTree>& self, xmlAttr* orphan,
                              xmlNode* element, xmlAttr* before) {
  takeOver(from, self, reinterpret_cast<xmlNode*>(orphan));
  // An attribute cannot declare a namespace itself, so its element does.
  orphan->ns = inScopeOf(element, orphan->ns);
  link(element->properties, lastAttribute(element->properties), orphan, before);
  orphan->parent = element;
  changed();
}

// Not by xmlNodeSetContent, which reads an "&" in the text of an attribute as the start of a
// reference.
void setAttributeText(xmlAttr* attribute, const std::string& text) {
  xmlNode* const content = xmlNewDocText(attribute->doc, asXml(text));
  if (content == nullptr) throw std::bad_alloc();
  xmlFreeNodeList(attribute->children);
  content->parent = reinterpret_cast<xmlNode*>(attribute);
  attribute->children = content;
  attribute->last = content;
}

}  // namespace qx::xml
