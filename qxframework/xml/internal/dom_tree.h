#pragma once

// The owner of a document's nodes. Every node object shares the ownership of its tree, so the nodes
// live as long as anything points to one of them.
//
// A node without parent is an orphan: created, copied or removed. The tree keeps its orphans until
// they are put somewhere or the tree itself goes. An orphan stands on its own: the namespaces that
// it uses are declared within it. Below, nodes are linked and unlinked here and nowhere else, since
// libxml2's own operations merge adjacent texts and free what node objects may still point to.

#include <libxml/tree.h>

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_set>

namespace qx::xml {

class DomTree {
 public:
  /// Takes over the document.
  explicit DomTree(xmlDoc* document) : document_(document) { changed(); }
  ~DomTree();
  DomTree(const DomTree&) = delete;
  DomTree& operator=(const DomTree&) = delete;

  xmlDoc* document() const { return document_; }
  /// A number that no other state of any tree bears.
  std::uint64_t generation() const { return generation_; }
  /// To be called after each change of the links between nodes.
  void changed();

  /// Takes over a node that has no parent.
  void keepOrphan(xmlNode* node);
  /// Takes a node from its parent and keeps it as an orphan. An attribute likewise.
  void detach(xmlNode* node);

  /// Puts an orphan of `from` under `parent`, a node of this tree, ahead of `before` or last. The
  /// caller holds `from`, which the node's objects leave.
  void attach(DomTree& from, const std::shared_ptr<DomTree>& self, xmlNode* orphan, xmlNode* parent,
              xmlNode* before);
  /// The same for an attribute and the element's attributes.
  void attachAttribute(DomTree& from, const std::shared_ptr<DomTree>& self, xmlAttr* orphan,
                       xmlNode* element, xmlAttr* before);

 private:
  void takeOver(DomTree& from, const std::shared_ptr<DomTree>& self, xmlNode* orphan);

  xmlDoc* document_;
  std::uint64_t generation_ = 0;
  std::unordered_set<xmlNode*> orphans_;
};

/// Replaces the text of an attribute.
void setAttributeText(xmlAttr* attribute, const std::string& text);

}  // namespace qx::xml
