#include "qxdesk/screens/batch/xml_element.h"

#include "qxframework/automation/text.h"

#include <limits>

namespace qx::screens {

XmlElement::XmlElement(const CComPtr<IXMLDOMNode>& node)
    : node_(node), name_(toLower(node->baseName().View())) {
  const auto map = node->attributes();
  if (map == nullptr) return;
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
    if (node->nodeType() == NODE_ELEMENT) out.emplace_back(node);
  }
  return out;
}

std::vector<XmlElement> XmlElement::children(std::u16string_view name) const {
  std::vector<XmlElement> out = children();
  std::erase_if(out, [&](const XmlElement& child) { return child.name() != name; });
  return out;
}

std::optional<long> decimalNumber(std::u16string_view text) {
  const bool negative = text.starts_with(u'-');
  if (negative || text.starts_with(u'+')) text.remove_prefix(1);
  if (text.empty() || text.size() > 10) return std::nullopt;
  long value = 0;
  for (const char16_t unit : text) {
    if (unit < u'0' || unit > u'9') return std::nullopt;
    value = value * 10 + (unit - u'0');
  }
  if (negative) value = -value;
  if (value != static_cast<std::int32_t>(value)) return std::nullopt;
  return value;
}

}  // namespace qx::screens
