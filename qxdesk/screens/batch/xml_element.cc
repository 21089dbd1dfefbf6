#include "qxdesk/screens/batch/xml_element.h"

#include "qxframework/automation/ascii.h"

#include <algorithm>

namespace qx::screens {
namespace {

// The names that mean something here are ASCII.
bool isName(std::u16string_view written, std::u16string_view lower) {
  return std::equal(written.begin(), written.end(), lower.begin(), lower.end(),
                    [](char16_t a, char16_t b) { return toLowerAscii(a) == b; });
}

}  // namespace

std::u16string XmlElement::name() const {
  std::u16string out(element_->name);
  std::transform(out.begin(), out.end(), out.begin(), toLowerAscii<char16_t>);
  return out;
}

bool XmlElement::is(std::u16string_view name) const { return isName(element_->name, name); }

std::optional<std::u16string_view> XmlElement::attribute(std::u16string_view name) const {
  for (const xml::ElementTree::Attribute& each : element_->attributes) {
    if (isName(each.name, name)) return each.value;
  }
  return std::nullopt;
}

void XmlElement::read(std::u16string_view name, std::u16string& out) const {
  if (const auto value = attribute(name)) out = *value;
}

}  // namespace qx::screens
