#pragma once

// Writing nodes as XML text.

#include <libxml/tree.h>

#include <string>

namespace qx::xml {

/// Returns the node as XML text in UTF-8, without naming an encoding.
///
/// Children of an element are each on their own line, two blanks deeper, unless there is text or
/// CDATA among them or xml:space preserves blanks. A text of blanks that would be dropped when it
/// is read begins with a character reference. A document ends in a line feed; an empty document is
/// an empty text.
std::string serialize(const xmlNode* node);

/// Returns "prefix:name" or "name".
std::string qualifiedName(const xmlNode* node);

}  // namespace qx::xml
