#pragma once

// Keeps namespace pointers valid while nodes move. A node points to a declaration on itself or an
// ancestor; when it moves, it must not point to a declaration of its former ancestors any more.

#include <libxml/tree.h>

namespace qx::xml {

/// True for the namespace of the prefix "xml", which belongs to the document and is never declared.
bool isXmlNamespace(const xmlNs* ns);

/// Declares on `root` the namespaces that its subtree uses and that only its ancestors declare.
void declareWithin(xmlNode* root);

/// Returns an equal namespace that the document itself owns, for an attribute without element; null
/// for null.
xmlNs* keptByDocument(const xmlNs* ns, xmlDoc* document);

/// Returns an equal namespace for the attributes of `element`. It is declared on `element` if its
/// prefix is not in scope there. Returns null for null.
xmlNs* inScopeOf(xmlNode* element, const xmlNs* ns);

}  // namespace qx::xml
