#include "qxdesk/screens/batch/xml_element.h"

#include "qxframework/automation/ascii.h"

#include <algorithm>
#include <utility>

namespace qx::screens {

namespace {

// The names that mean something here are ASCII.
void toLowerInPlace(std::u16string& name) {
  std::transform(name.begin(), name.end(), name.begin(), toLowerAscii<char16_t>);
}

}  // namespace

XmlElement::XmlElement(xml::ElementTree&& element)
    : name_(std::move(element.name)),
      place_{element.line, element.column},
      attributes_(std::move(element.attributes)) {
  toLowerInPlace(name_);
  for (Attribute& attribute : attributes_) toLowerInPlace(attribute.name);
  children_.reserve(element.children.size());
  for (xml::ElementTree& child : element.children) children_.emplace_back(std::move(child));
}

// Of two names that differ in case only, the first counts.
const XmlElement::Attribute* XmlElement::find(std::u16string_view name) const {
  const auto found = std::find_if(attributes_.begin(), attributes_.end(),
                                  [&](const Attribute& each) { return each.name == name; });
  return found == attributes_.end() ? nullptr : &*found;
}

std::optional<std::u16string> XmlElement::attribute(std::u16string_view name) const {
  const Attribute* const found = find(name);
  if (found == nullptr) return std::nullopt;
  return found->value;
}

XmlElement::List XmlElement::children(std::u16string_view name) const {
  List out;
  for (const XmlElement& child : children_) {
    if (child.name() == name) out.emplace_back(child);
  }
  return out;
}

}  // namespace qx::screens
