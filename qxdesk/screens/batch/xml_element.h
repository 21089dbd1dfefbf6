#pragma once

// An element of a batch document. Element and attribute names are compared in lower case, since
// documents write them in either case.

#include "qxframework/xml/dom.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qx::screens {

class XmlElement {
 public:
  /// Throws what the document throws.
  explicit XmlElement(const CComPtr<IXMLDOMNode>& node);

  /// The name without its prefix, in lower case.
  const std::u16string& name() const { return name_; }
  /// Returns the value, or nothing if there is no such attribute. `name` is in lower case, as in
  /// all operations here.
  std::optional<std::u16string> attribute(std::u16string_view name) const;
  /// Returns the value, or an empty text if there is no such attribute.
  std::u16string text(std::u16string_view name) const { return attribute(name).value_or(u""); }
  bool has(std::u16string_view name) const { return attributes_.contains(name); }
  /// Returns the child elements in document order.
  std::vector<XmlElement> children() const;
  /// Returns the child elements with that name.
  std::vector<XmlElement> children(std::u16string_view name) const;

 private:
  CComPtr<IXMLDOMNode> node_;
  std::u16string name_;
  std::map<std::u16string, std::u16string, std::less<>> attributes_;
};

}  // namespace qx::screens
