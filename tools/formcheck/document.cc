#include "tools/formcheck/document.h"

#include "qxframework/automation/ascii.h"
#include "qxframework/automation/com_error.h"
#include "qxframework/automation/decimal_number.h"
#include "qxframework/automation/text.h"
#include "qxframework/automation/text_place.h"
#include "qxframework/xml/dom.h"
#include "qxframework/xml/dom_document.h"
#include "tools/formcheck/tag_scanner.h"
#include "tools/input/shown.h"

#include <algorithm>
#include <stdexcept>

namespace qx::formcheck {
namespace {

// Both trees have the same elements in the same order, so one step in the list of tags goes with
// one step in the document.
class Reader {
 public:
  explicit Reader(std::vector<ScannedTag> tags) : tags_(std::move(tags)) {}

  // The recursion is bounded: the parser refuses deep documents.
  Element read(IXMLDOMNode* node) {
    if (next_ == tags_.size() || node->nodeName().View() != tags_[next_].name)
      throw std::logic_error("the scan of the document has lost its place");
    const ScannedTag& tag = tags_[next_++];
    Element out;
    out.name = node->baseName().View();
    out.key = toLower(out.name);
    out.place = tag.place;
    readAttributes(node, tag, out);
    const auto children = node->childNodes();
    out.nodeCount = children->length();
    while (const auto child = children->nextNode()) {
      if (child->nodeType() == NODE_ELEMENT) out.children.push_back(read(child));
    }
    return out;
  }

 private:
  static void readAttributes(IXMLDOMNode* node, const ScannedTag& tag, Element& out) {
    const auto attributes = node->attributes();
    for (long i = 0, count = attributes->length(); i < count; ++i) {
      const auto each = attributes->item(i);
      Attribute attribute;
      attribute.name = each->nodeName().View();
      attribute.value = attribute.result = each->text().View();
      const auto scanned =
          std::find_if(tag.attributes.begin(), tag.attributes.end(),
                       [&](const auto& candidate) { return candidate.name == attribute.name; });
      attribute.namePlace = scanned == tag.attributes.end() ? tag.place : scanned->place;
      attribute.place = scanned == tag.attributes.end() ? tag.place : scanned->valuePlace;
      out.attributes.push_back(std::move(attribute));
    }
  }

  std::vector<ScannedTag> tags_;
  std::size_t next_ = 0;
};

// The parser does not see what precedes the first "<". A fault of the text as a whole has no line.
Place placeInWhole(std::u16string_view ahead, long line, long position) {
  const Place place = PlaceCounter(ahead).at(ahead.size());
  if (line < 1) return place;
  const auto column = static_cast<std::size_t>(position);
  if (line == 1) return {place.line, place.column + column - 1};
  return {place.line + static_cast<std::size_t>(line) - 1, column};
}

void reportRefusal(IXMLDOMDocument* document, std::u16string_view ahead, Findings& findings) {
  const auto error = document->parseError();
  // The parser quotes the document, line ends included.
  std::string reason = toUtf8(trimmed(error->reason().View(), u" \r\n."));
  std::replace(reason.begin(), reason.end(), '\n', ' ');
  findings.error(placeInWhole(ahead, error->line(), error->linepos()),
                 "the document is not well-formed: " + input::shown(reason), "correct the XML");
}

}  // namespace

const Attribute* Element::attribute(std::u16string_view lowerName) const {
  const auto found = std::find_if(attributes.begin(), attributes.end(), [&](const auto& each) {
    return toLower(each.name) == lowerName;
  });
  return found == attributes.end() ? nullptr : &*found;
}

std::u16string_view Element::text(std::u16string_view lowerName) const {
  const Attribute* const found = attribute(lowerName);
  return found == nullptr ? std::u16string_view() : std::u16string_view(found->result);
}

std::optional<long> Element::number(std::u16string_view lowerName) const {
  return decimalNumber(text(lowerName));
}

Place Element::placeOf(std::u16string_view lowerName) const {
  const Attribute* const found = attribute(lowerName);
  return found == nullptr ? place : found->place;
}

const Element* Element::child(std::u16string_view wanted) const {
  const auto found = std::find_if(children.begin(), children.end(),
                                  [&](const auto& each) { return each.key == wanted; });
  return found == children.end() ? nullptr : &*found;
}

std::optional<Element> readDocument(std::u16string_view text, Findings& findings) {
  if (text.starts_with(u'\uFEFF')) text.remove_prefix(1);  // editors do not count it
  const std::size_t begin = text.find(u'<');
  if (begin == std::u16string_view::npos) {
    findings.error({}, "the file holds no XML",
                   "give a form document, in UTF-8, ISO-8859-1 or little-endian UTF-16");
    return std::nullopt;
  }
  CComPtr<IXMLDOMDocument> document;
  raiseIfFailed(createDocument(&document.p));
  if (document->loadXML(CComBSTR(text.substr(begin))) == VARIANT_FALSE) {
    reportRefusal(document, text.substr(0, begin), findings);
    return std::nullopt;
  }
  const auto root = document->documentElement();
  return Reader(scanTags(text)).read(root);
}

}  // namespace qx::formcheck
