#include "qxframework/resources/xml_text.h"

namespace qx {

std::u16string escapeXml(std::u16string_view text) {
  // One pass over the input, so that no replacement is replaced again.
  std::u16string out;
  out.reserve(text.size());
  for (const char16_t unit : text) {
    switch (unit) {
      case u'&':
        out += u"&amp;";
        break;
      case u'"':
        out += u"&quot;";
        break;
      case u'\'':
        out += u"&apos;";
        break;
      case u'<':
        out += u"&lt;";
        break;
      case u'>':
        out += u"&gt;";
        break;
      default:
        out.push_back(unit);
    }
  }
  return out;
}

}  // namespace qx
