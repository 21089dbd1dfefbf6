#pragma once

// Keeps namespace pointers valid while nodes move: a node points to a declaration that stands on
// an element above it, and must not go on doing so once it stands elsewhere.

#include <libxml/tree.h>

namespace qx::xml {

/// Whether it is the namespace of the prefix "xml", which every document declares by itself.
bool isXmlNamespace(const xmlNs* ns);

/// Declares on `root` what is used within its tree and declared only above it.
void declareWithin(xmlNode* root);

/// The same namespace in the keeping of the document itself, for an attribute without element;
/// null for null.
xmlNs* keptByDocument(const xmlNs* ns, xmlDoc* document);

/// The same namespace as `element`'s attributes are to name it, declared there if need be; null for
/// null.
xmlNs* inScopeOf(xmlNode* element, const xmlNs* ns);

}  // namespace qx::xml
