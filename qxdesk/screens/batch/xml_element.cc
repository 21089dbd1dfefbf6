#include "qxdesk/screens/batch/xml_element.h"

#include "qxframework/automation/text.h"

namespace qx::screens {

XmlElement::XmlElement(const CComPtr<IXMLDOMNode>& node)
    : node_(node), name_(toLower(node->baseName().View())) {
  const auto map = node->attributes();
  if (map == nullptr) return;
  // Read once: a form with many items asks for a dozen attributes of each. Of two names that differ
  // in case only, the first counts.
  for (long i = 0, count = map->length(); i < count; ++i) {
    const auto attribute = map->item(i);
    const CComVariant value = attribute->nodeValue();
    attributes_.emplace(toLower(attribute->nodeName().View()),
                        value.vt == VT_BSTR ? viewOfBstr(value.bstrVal) : std::u16string_view());
  }
}

std::optional<std::u16string> XmlElement::attribute(std::u16string_view name) const {
  const auto found = attributes_.find(name);
  if (found == attributes_.end()) return std::nullopt;
  return found->second;
}

std::vector<XmlElement> XmlElement::children() const {
  std::vector<XmlElement> out;
  const auto nodes = node_->childNodes();
  while (const auto node = nodes->nextNode()) {
    // Texts and comments between elements mean nothing here.
    if (node->nodeType() == NODE_ELEMENT) out.emplace_back(node);
  }
  return out;
}

std::vector<XmlElement> XmlElement::children(std::u16string_view name) const {
  std::vector<XmlElement> out = children();
  std::erase_if(out, [&](const XmlElement& child) { return child.name() != name; });
  return out;
}

}  // namespace qx::screens
