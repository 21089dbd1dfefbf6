#pragma once

// A form document with the places of its parts. Values come from the document object that the
// framework itself uses, places from a scan of the text.

#include "tools/formcheck/finding.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qx::formcheck {

struct Attribute {
  std::u16string name;    ///< as written
  std::u16string value;   ///< as written
  std::u16string result;  ///< what the client gets; equal to `value` before symbols are replaced
  Place namePlace;
  Place place;          ///< of the value
  bool cut = false;     ///< `result` is less than what is written, and a finding says so
  bool mapped = false;  ///< the symbol table has replaced a symbol
};

struct Element {
  std::u16string name;  ///< as written, without a prefix
  std::u16string key;   ///< in lower case, as the client compares names
  Place place;
  std::vector<Attribute> attributes;
  std::vector<Element> children;
  long nodeCount = 0;  ///< the children of any kind: comments count, blank text does not

  /// Returns the attribute, whose name is compared without case; null if there is none.
  const Attribute* attribute(std::u16string_view lowerName) const;
  /// Returns what the client gets as the attribute's value; empty if there is none.
  std::u16string_view text(std::u16string_view lowerName) const;
  /// Returns the number in the attribute; nothing if it is missing or no number.
  std::optional<long> number(std::u16string_view lowerName) const;
  /// Returns false if the attribute is "0".
  bool flag(std::u16string_view lowerName) const { return text(lowerName) != u"0"; }
  /// Returns the place of the attribute's value, or of the element without that attribute.
  Place placeOf(std::u16string_view lowerName) const;
  /// Returns the first child with that name, or null.
  const Element* child(std::u16string_view wanted) const;
};

/// Returns the root element of a text, which the framework would read from its first "<" on.
/// Returns nothing after a finding for a text that is not well-formed.
std::optional<Element> readDocument(std::u16string_view text, Findings& findings);

}  // namespace qx::formcheck
