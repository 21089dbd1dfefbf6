#pragma once

// Selecting nodes by XPath.

#include <libxml/tree.h>

#include <string>
#include <vector>

namespace qx::xml {

/// Returns the nodes that an XPath 1.0 expression selects from `node`, in document order. Throws
/// E_INVALIDARG for an expression that is malformed, takes too many steps or does not select nodes.
std::vector<xmlNode*> selectByPath(xmlNode* node, const std::string& expression);

}  // namespace qx::xml
