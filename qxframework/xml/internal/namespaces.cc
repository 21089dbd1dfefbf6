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

/// A prefix that nothing at or above `element` declares, so that it hides none from what is below.
std::string freshPrefix(xmlNode* element) {
  int number = 1;
  std::string prefix = "ns1";
  while (xmlSearchNs(element->doc, element, asXml(prefix)) != nullptr) {
    prefix = "ns" + std::to_string(++number);
  }
  return prefix;
}

/// A new declaration on `element`, under the prefix of `like` if that is free for it.
xmlNs* declareOn(xmlNode* element, const xmlNs* like, bool prefixIsFree) {
  if (prefixIsFree) return orRaise(xmlNewNs(element, like->href, like->prefix));
  return orRaise(xmlNewNs(element, like->href, asXml(freshPrefix(element))));
}

bool declaredBetween(const xmlNode* node, const xmlNode* root, const xmlNs* ns) {
  for (;; node = node->parent) {
    for (const xmlNs* own = node->nsDef; own != nullptr; own = own->next) {
      if (own == ns) return true;
    }
    if (node == root) return false;
  }
}

/// Replaces the declarations from above a tree by ones on its root.
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
    xmlNs* const own = declareOn(root_, ns, !declaresPrefix(root_, viewOfXml(ns->prefix)));
    replaced_.emplace_back(ns, own);
    ns = own;
  }

 private:
  xmlNode* root_;
  std::vector<std::pair<const xmlNs*, xmlNs*>> replaced_;
};

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
  xmlNs* last = xmlNamespaceOf(document);  // stands first in the document's own list
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
  xmlNs* const found = xmlSearchNs(element->doc, element, ns->prefix);
  if (found != nullptr && sameNamespace(found, ns)) return found;
  return declareOn(element, ns, found == nullptr);
}

}  // namespace qx::xml
