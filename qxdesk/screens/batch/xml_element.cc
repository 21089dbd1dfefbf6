#include "qxdesk/screens/batch/xml_element.h"

#include "qxframework/automation/text.h"

namespace qx::screens {

XmlElement XmlElement::rootOf(IXMLDOMDocument& document, std::u16string_view text) {
  const std::vector<Place> places = elementPlaces(text);
  std::span<const Place> left(places);
  return XmlElement(CComPtr<IXMLDOMNode>(document.documentElement().p), left);
}

XmlElement::XmlElement(const CComPtr<IXMLDOMNode>& node, std::span<const Place>& places)
    : name_(toLower(node->baseName().View())) {
  if (!places.empty()) {
    place_ = places.front();
    places = places.subspan(1);
  }
  // Of two names that differ in case only, the first counts.
  const auto map = node->attributes();
  for (long i = 0, count = map->length(); i < count; ++i) {
    const auto attribute = map->item(i);
    const CComVariant value = attribute->nodeValue();
    attributes_.emplace(toLower(attribute->nodeName().View()),
                        value.vt == VT_BSTR ? viewOfBstr(value.bstrVal) : std::u16string_view());
  }
  const auto nodes = node->childNodes();
  while (const auto child = nodes->nextNode()) {
    // Texts and comments between elements mean nothing here.
    if (child->nodeType() == NODE_ELEMENT) children_.push_back(XmlElement(child, places));
  }
}

std::optional<std::u16string> XmlElement::attribute(std::u16string_view name) const {
  const auto found = attributes_.find(name);
  if (found == attributes_.end()) return std::nullopt;
  return found->second;
}

XmlElement::List XmlElement::children(std::u16string_view name) const {
  List out;
  for (const XmlElement& child : children_) {
    if (child.name() == name) out.emplace_back(child);
  }
  return out;
}

}  // namespace qx::screens
