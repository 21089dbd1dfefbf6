#pragma once

// The owner of a document's nodes. Every node object shares the ownership of its tree, so the nodes
// live as long as there is an object of any of them.
//
// A node without parent is an orphan: a created, copied or removed one. The tree owns its orphans
// until they get a parent or the tree is freed. An orphan is self-contained: the namespaces that it
// uses are declared within it. After parsing, nodes are linked and unlinked only here, since
// libxml2's own operations merge adjacent texts and free nodes that objects may still point to.

#include <libxml/tree.h>

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_set>

namespace qx::xml {

/// Owns a document and its orphans.
class DomTree {
 public:
  /// Takes ownership of the document.
  explicit DomTree(xmlDoc* document) : document_(document) { changed(); }
  ~DomTree();
  DomTree(const DomTree&) = delete;
  DomTree& operator=(const DomTree&) = delete;

  xmlDoc* document() const { return document_; }
  /// Returns a number for the state of the links. No other state of any tree has the same number.
  std::uint64_t generation() const { return generation_; }
  /// Must be called after each change of the links between nodes.
  void changed();

  /// Takes ownership of a node or attribute without parent.
  void keepOrphan(xmlNode* node);
  /// Removes a node or attribute from its parent and keeps it as an orphan.
  void detach(xmlNode* node);

  /// Links an orphan of `from` as a child of `parent`, a node of this tree, before `before` or
  /// last. `self` is the owner of this tree. The caller keeps `from` alive, because the objects of
  /// the moved nodes give up their shares of it.
  void attach(DomTree& from, const std::shared_ptr<DomTree>& self, xmlNode* orphan, xmlNode* parent,
              xmlNode* before);
  /// Links an orphaned attribute of `from` among the attributes of `element` in the same way.
  void attachAttribute(DomTree& from, const std::shared_ptr<DomTree>& self, xmlAttr* orphan,
                       xmlNode* element, xmlAttr* before);

 private:
  /// Moves an orphan with its objects from another tree to this one.
  void takeOver(DomTree& from, const std::shared_ptr<DomTree>& self, xmlNode* orphan);

  xmlDoc* document_;
  std::uint64_t generation_ = 0;
  std::unordered_set<xmlNode*> orphans_;
};

/// Replaces the text of an attribute.
void setAttributeText(xmlAttr* attribute, const std::string& text);

}  // namespace qx::xml
