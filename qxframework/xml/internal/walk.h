#pragma once

// Walking a tree by its links, without recursion, since a tree may be deeper than the stack allows.

#include <libxml/tree.h>

namespace qx::xml {

/// Returns the node after `node` in document order within the subtree of `root`, without
/// attributes; null at the end.
inline xmlNode* nextInTree(xmlNode* node, const xmlNode* root) {
  if (node->children != nullptr) return node->children;
  while (node != root && node->next == nullptr) node = node->parent;
  return node == root ? nullptr : node->next;
}

/// Calls `visit` for `root` and its descendants in document order, without attributes. `visit` must
/// not change the links of the tree.
template <class Visit>
void forEachNode(xmlNode* root, Visit visit) {
  for (xmlNode* node = root; node != nullptr; node = nextInTree(node, root)) visit(node);
}

}  // namespace qx::xml
