#include "qxframework/xml/internal/namespaces.h"

#include "qxframework/xml/internal/utf.h"
#include "qxframework/xml/internal/walk.h"

#include <new>
#include <string>
#include <utility>
#include <vector>

namespace qx::xml {
namespace {

xmlNs* orRaise(xmlNs* ns) {
  if (ns == nullptr) throw std::bad_alloc();
  return ns;
}

bool sameNamespace(const xmlNs* a, const xmlNs* b) {
  return viewOfXml(a->prefix) == viewOfXml(b->prefix) && viewOfXml(a->href) == viewOfXml(b->href);
}

bool declaresPrefix(const xmlNode* element, std::string_view prefix) {
  for (const xmlNs* ns = element->nsDef; ns != nullptr; ns = ns->next) {
    if (viewOfXml(ns->prefix) == prefix) return true;
  }
  return false;
}

// Returns a prefix that neither `element` nor an ancestor declares, so that a declaration on
// `element` does not hide another one from its descendants.
std::string freshPrefix(xmlNode* element) {
  int number = 1;
  std::string prefix = "ns1";
  while (xmlSearchNs(element->doc, element, asXml(prefix)) != nullptr) {
    prefix = "ns" + std::to_string(++number);
  }
  return prefix;
}

// Declares the namespace of `like` on `element`, with the same prefix if that is free.
xmlNs* declareOn(xmlNode* element, const xmlNs* like, bool prefixIsFree) {
  if (prefixIsFree) return orRaise(xmlNewNs(element, like->href, like->prefix));
  return orRaise(xmlNewNs(element, like->href, asXml(freshPrefix(element))));
}

// True if `ns` is declared on `node` or an ancestor of it up to `root`.
bool declaredBetween(const xmlNode* node, const xmlNode* root, const xmlNs* ns) {
  for (;; node = node->parent) {
    for (const xmlNs* own = node->nsDef; own != nullptr; own = own->next) {
      if (own == ns) return true;
    }
    if (node == root) return false;
  }
}

// Replaces the declarations of a root's ancestors by equal ones on the root. Each declaration is
// replaced once, so that all nodes that share it share the new one too.
class Declarer {
 public:
  explicit Declarer(xmlNode* root) : root_(root) {}

  void settle(const xmlNode* element, xmlNs*& ns) {
    if (ns == nullptr || isXmlNamespace(ns) || declaredBetween(element, root_, ns)) return;
    for (const auto& [above, own] : replaced_) {
      if (above != ns) continue;
      ns = own;
      return;
    }
    // The root may declare the prefix for another namespace, which hides the one above it.
    xmlNs* const own = declareOn(root_, ns, !declaresPrefix(root_, viewOfXml(ns->prefix)));
    replaced_.emplace_back(ns, own);
    ns = own;
  }

 private:
  xmlNode* root_;
  std::vector<std::pair<const xmlNs*, xmlNs*>> replaced_;
};

// libxml2 makes the namespace at the first search and keeps it in the document.
xmlNs* xmlNamespaceOf(xmlDoc* document) {
  return orRaise(xmlSearchNs(document, reinterpret_cast<xmlNode*>(document),
                             reinterpret_cast<const xmlChar*>("xml")));
}

}  // namespace

bool isXmlNamespace(const xmlNs* ns) { return ns != nullptr && viewOfXml(ns->prefix) == "xml"; }

void declareWithin(xmlNode* root) {
  Declarer declarer(root);
  forEachNode(root, [&](xmlNode* node) {
    if (node->type != XML_ELEMENT_NODE) return;
    declarer.settle(node, node->ns);
    for (xmlAttr* attr = node->properties; attr != nullptr; attr = attr->next) {
      declarer.settle(node, attr->ns);
    }
  });
}

xmlNs* keptByDocument(const xmlNs* ns, xmlDoc* document) {
  if (ns == nullptr) return nullptr;
  // The namespace of "xml" is the first in the document's list of namespaces. Others are appended
  // to the list, which libxml2 frees with the document.
  xmlNs* last = xmlNamespaceOf(document);
  if (isXmlNamespace(ns)) return last;
  for (xmlNs* own = last; own != nullptr; own = own->next) {
    if (sameNamespace(own, ns)) return own;
    last = own;
  }
  last->next = orRaise(xmlNewNs(nullptr, ns->href, ns->prefix));
  return last->next;
}

xmlNs* inScopeOf(xmlNode* element, const xmlNs* ns) {
  if (ns == nullptr) return nullptr;
  if (isXmlNamespace(ns)) return xmlNamespaceOf(element->doc);
  // An attribute without prefix has no namespace, so the prefix must match and not only the name.
  xmlNs* const found = xmlSearchNs(element->doc, element, ns->prefix);
  if (found != nullptr && sameNamespace(found, ns)) return found;
  return declareOn(element, ns, found == nullptr);
}

}  // namespace qx::xml
