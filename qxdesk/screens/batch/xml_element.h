#pragma once

// Reading a batch document: elements and attributes by their names in lower case, since the
// documents write them in either.

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
  /// Raises what the document raises.
  explicit XmlElement(const CComPtr<IXMLDOMNode>& node);

  /// Without prefix, in lower case.
  const std::u16string& name() const { return name_; }
  /// `name` in lower case; nothing when there is no such attribute.
  std::optional<std::u16string> attribute(std::u16string_view name) const;
  /// The attribute, or an empty text.
  std::u16string text(std::u16string_view name) const { return attribute(name).value_or(u""); }
  bool has(std::u16string_view name) const { return attributes_.contains(name); }
  /// All attributes by name.
  const std::map<std::u16string, std::u16string, std::less<>>& attributes() const {
    return attributes_;
  }
  /// The elements below, in order.
  std::vector<XmlElement> children() const;
  /// Those of that name in lower case.
  std::vector<XmlElement> children(std::u16string_view name) const;

 private:
  CComPtr<IXMLDOMNode> node_;
  std::u16string name_;
  std::map<std::u16string, std::u16string, std::less<>> attributes_;
};

/// The whole text as a decimal number with an optional sign; nothing for any other text, and for a
/// number that does not fit 32 bits.
std::optional<long> decimalNumber(std::u16string_view text);

}  // namespace qx::screens
