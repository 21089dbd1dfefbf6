// Reads documents from arbitrary text: UTF-16 units if the first byte is odd, else UTF-8.
//
// The reader of plain elements must read the same or refuse for the same reason. A text that parses
// is walked, written and read back, and must be written the same again. Then nodes are moved,
// removed, copied and released in an order that the input decides. The documents must stay
// well-formed, and no node may be freed too early or too late.

#include "qxframework/automation/text.h"
#include "qxframework/xml/dom.h"
#include "qxframework/xml/dom_document.h"
#include "qxframework/xml/element_tree.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace {

using Document = CComPtr<IXMLDOMDocument>;
using Node = CComPtr<IXMLDOMNode>;

void require(bool condition) {
  if (!condition) std::abort();
}

std::u16string textOf(const uint8_t* data, std::size_t size) {
  if (size == 0) return {};
  const auto* const bytes = reinterpret_cast<const char*>(data + 1);
  if (data[0] % 2 == 0) return qx::toUtf16({bytes, size - 1});
  std::u16string text((size - 1) / 2, u'\0');
  std::memcpy(text.data(), bytes, text.size() * 2);
  return text;
}

Document newDocument() {
  Document document;
  require(qx::createDocument(&document) == S_OK);
  return document;
}

// Visits the node and its descendants, checks that lists and maps agree with the links, and adds
// all nodes to `seen`.
void walk(const Node& node, std::vector<Node>& seen) {
  seen.push_back(node);
  node->nodeName(), node->baseName(), node->nodeValue(), node->text(), node->namespaceURI();
  if (const auto attributes = node->attributes(); attributes.p != nullptr) {
    for (long i = 0; i < attributes->length(); ++i) {
      const Node attribute = attributes->item(i);
      require(attributes->getNamedItem(attribute->nodeName().m_str).p != nullptr);
      seen.push_back(attribute);
    }
  }
  const auto children = node->childNodes();
  long count = 0;
  for (Node child = children->nextNode(); child.p != nullptr; child = children->nextNode()) {
    require(children->item(count++).p == child.p);
    require(child->parentNode().p == node.p);
    walk(child, seen);
  }
  require(count == children->length());
}

void requireSame(const Node& node, const qx::xml::ElementTree& element) {
  require(element.line > 0 && element.column > 0);
  require(node->baseName().View() == element.name);
  const auto attributes = node->attributes();
  require(attributes->length() == static_cast<long>(element.attributes.size()));
  for (std::size_t i = 0; i < element.attributes.size(); ++i) {
    const Node attribute = attributes->item(static_cast<long>(i));
    require(attribute->nodeName().View() == element.attributes[i].name);
    require(attribute->text().View() == element.attributes[i].value);
  }
  std::size_t next = 0;
  const auto children = node->childNodes();
  for (Node child = children->nextNode(); child.p != nullptr; child = children->nextNode()) {
    if (child->nodeType() != NODE_ELEMENT) continue;
    require(next < element.children.size());
    requireSame(child, element.children[next++]);
  }
  require(next == element.children.size());
}

void requireSame(const Document& document, std::u16string_view text) {
  const qx::xml::ElementsRead read = qx::xml::readElements(text);
  const auto root = document->documentElement();
  require(read.root.has_value() == (root.p != nullptr));
  if (read.root) return requireSame(Node(root.p), *read.root);
  const auto error = document->parseError();
  require(read.reason == error->reason().View());
  require(read.line == error->line() && read.column == error->linepos());
}

// The document's text must read back and be written the same again.
void requireStable(const Document& document) {
  const CComBSTR once = document->xml();
  const Document again = newDocument();
  require(again->loadXML(once) == VARIANT_TRUE);
  require(again->xml().View() == once.View());
}

// Makes random choices that depend only on the input, so that every failure can be repeated.
class Choice {
 public:
  Choice(const uint8_t* data, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) state_ = (state_ ^ data[i]) * 0x100000001B3u;
  }
  std::size_t below(std::size_t bound) {
    state_ ^= state_ << 13;
    state_ ^= state_ >> 7;
    state_ ^= state_ << 17;
    return static_cast<std::size_t>(state_ >> 16) % bound;
  }

 private:
  std::uint64_t state_ = 0xCBF29CE484222325u;
};

// Makes one change. It may be refused; only the state afterwards matters.
void change(std::vector<Node>& nodes, Choice& choice) {
  const Node one = nodes[choice.below(nodes.size())];
  const Node other = nodes[choice.below(nodes.size())];
  Node out;
  switch (choice.below(6)) {
    case 0:
    case 1:
      one->raw_insertBefore(other, one->firstChild(), &out);
      break;
    case 2:
      one->raw_appendChild(other, &out);
      break;
    case 3:
      if (const Node parent = other->parentNode(); parent.p != nullptr) parent->removeChild(other);
      break;
    case 4:
      if (const auto map = one->attributes(); map.p != nullptr) {
        map->raw_removeNamedItem(other->nodeName(), &out);
        map->raw_setNamedItem(other, &out);
      }
      break;
    default:
      // A copy comes in and a random node goes, which may release the last pointer to its tree.
      if (other->nodeType() != NODE_DOCUMENT) nodes.push_back(other->cloneNode(true));
      std::swap(nodes[choice.below(nodes.size())], nodes.back());
      if (nodes.size() > 1) nodes.pop_back();
  }
}

void moveAbout(const Document& first, const Document& second, Choice choice) {
  std::vector<Node> nodes;
  walk(first.p, nodes);
  walk(second.p, nodes);
  for (int i = 0; i < 24; ++i) change(nodes, choice);
  for (const Document& document : {first, second}) {
    if (document->documentElement().p == nullptr) continue;  // the root was removed
    require(newDocument()->loadXML(document->xml()) == VARIANT_TRUE);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  const std::u16string text = textOf(data, size);
  const Document document = newDocument();
  const bool parses = document->loadXML(text) == VARIANT_TRUE;
  requireSame(document, text);
  if (!parses) {
    // A refused text leaves a reason and an empty document.
    require(document->parseError()->reason().View().ends_with(u'\n'));
    require(document->firstChild().p == nullptr);
    return 0;
  }
  requireStable(document);
  const Document second = newDocument();
  require(second->loadXML(u"<t xmlns='urn:d' xmlns:p='urn:p' p:a='1' b='2'>x<p:c/><!--k--></t>") ==
          VARIANT_TRUE);
  moveAbout(document, second, Choice(data, size));
  return 0;
}
