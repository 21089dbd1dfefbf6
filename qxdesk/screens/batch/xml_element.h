#pragma once

// An element of a batch document with all that it holds. Element and attribute names are compared
// in lower case, since documents write them in either case.

#include "qxdesk/screens/batch/place.h"
#include "qxframework/xml/element_tree.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qx::screens {

class XmlElement {
 public:
  using List = std::vector<std::reference_wrapper<const XmlElement>>;

  explicit XmlElement(xml::ElementTree&& element);

  /// The name without its prefix, in lower case.
  const std::u16string& name() const { return name_; }
  /// The place of the start tag in the text of the document.
  const Place& place() const { return place_; }
  /// Returns the value, or nothing if there is no such attribute. `name` is in lower case, as in
  /// all operations here.
  std::optional<std::u16string> attribute(std::u16string_view name) const;
  /// Returns the value, or an empty text if there is no such attribute.
  std::u16string text(std::u16string_view name) const { return attribute(name).value_or(u""); }
  bool has(std::u16string_view name) const { return find(name) != nullptr; }
  /// The child elements in document order.
  const std::vector<XmlElement>& children() const { return children_; }
  /// Returns the child elements with that name.
  List children(std::u16string_view name) const;

 private:
  using Attribute = xml::ElementTree::Attribute;

  const Attribute* find(std::u16string_view name) const;

  std::u16string name_;
  Place place_;
  // Too few for a map to be faster.
  std::vector<Attribute> attributes_;
  std::vector<XmlElement> children_;
};

}  // namespace qx::screens
