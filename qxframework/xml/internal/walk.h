#pragma once

#include <libxml/tree.h>

namespace qx::xml {

/// The node behind `node` in document order within the tree under `root`, attributes left out; null
/// at the end.
inline xmlNode* nextInTree(xmlNode* node, const xmlNode* root) {
  if (node->children != nullptr) return node->children;
  while (node != root && node->next == nullptr) node = node->parent;
  return node == root ? nullptr : node->next;
}

/// Runs `visit` on every node under `root`, itself included, in document order, attributes left
/// out. `visit` does not change the tree's links.
template <class Visit>
void forEachNode(xmlNode* root, Visit visit) {
  for (xmlNode* node = root; node != nullptr; node = nextInTree(node, root)) visit(node);
}

}  // namespace qx::xml
