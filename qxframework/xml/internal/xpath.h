#pragma once

#include <libxml/tree.h>

#include <string>
#include <vector>

namespace qx::xml {

/// The nodes that an XPath 1.0 expression selects from `node`, in document order. Raises
/// E_INVALIDARG for an expression that does not read, costs too much or does not select nodes.
std::vector<xmlNode*> selectByPath(xmlNode* node, const std::string& expression);

}  // namespace qx::xml
