#pragma once

#include <libxml/tree.h>

#include <string>

namespace qx::xml {

/// The node as XML text, in UTF-8 that names no encoding.
///
/// An element whose children hold no text and no CDATA has each child on a line of its own, two
/// blanks deeper. A document ends in a line feed; an empty document is an empty text.
std::string serialize(const xmlNode* node);

/// "prefix:name" or "name".
std::string qualifiedName(const xmlNode* node);

}  // namespace qx::xml
