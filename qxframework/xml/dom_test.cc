#include "qxframework/xml/dom.h"

#include "qxframework/xml/test_document.h"
#include "testing/raised_by.h"

#include <iterator>
#include <string>

namespace qx::xml {
namespace {

using test::raisedBy;

// --- reading -------------------------------------------------------------------------------

TEST(DomNode, HasTheNameTypeAndValueOfItsKind) {
  const auto document = documentOf(u"<?go now?><r a='1'>t<![CDATA[c]]><!--k--></r>");
  std::string described;
  const auto describe = [&](const CComPtr<IXMLDOMNode>& node) {
    described += plain(node->nodeName()) + "|" + std::to_string(node->nodeType()) + "|" +
                 plain(node->nodeTypeString()) + "|" + plain(node->nodeValue()) + "|" +
                 plain(node->baseName()) + "|" + plain(node->text()) + "\n";
  };
  describe(document.p);
  describe(document->firstChild());
  const CComPtr<IXMLDOMElement> root = document->documentElement();
  describe(root.p);
  describe(root->attributes()->item(0));
  for (long i = 0; i < root->childNodes()->length(); ++i) describe(root->childNodes()->item(i));
  EXPECT_EQ(described,
            "#document|9|document|[1]||tc\n"
            "go|7|processinginstruction|now|go|now\n"
            "r|1|element|[1]|r|tc\n"
            "a|2|attribute|1|a|1\n"
            "#text|3|text|t||t\n"
            "#cdata-section|4|cdatasection|c||c\n"
            "#comment|8|comment|k||k\n");
}

TEST(DomNode, ReturnsSFalseForPartsThatItDoesNotHave) {
  const auto document = documentOf(u"<r/>");
  const CComPtr<IXMLDOMElement> root = document->documentElement();
  CComBSTR text;
  CComVariant value;
  CComPtr<IXMLDOMNode> node;
  CComPtr<IXMLDOMNamedNodeMap> map;
  CComPtr<IXMLDOMDocument> owner;
  EXPECT_EQ(document->raw_baseName(&text.m_str), S_FALSE);
  EXPECT_EQ(plain(text), "");
  EXPECT_EQ(root->raw_nodeValue(&value), S_FALSE);
  EXPECT_EQ(value.vt, VT_NULL);
  EXPECT_EQ(root->raw_firstChild(&node), S_FALSE);
  EXPECT_EQ(root->raw_nextSibling(&node), S_FALSE);
  EXPECT_EQ(document->raw_parentNode(&node), S_FALSE);
  EXPECT_EQ(document->raw_attributes(&map), S_FALSE);
  EXPECT_EQ(document->raw_ownerDocument(&owner), S_FALSE);
  EXPECT_FALSE(node.p != nullptr || map.p != nullptr || owner.p != nullptr);
}

TEST(DomNode, RefusesNullOutPointers) {
  const auto document = documentOf(u"<r/>");
  const CComPtr<IXMLDOMElement> root = document->documentElement();
  EXPECT_EQ(root->raw_nodeName(nullptr), E_POINTER);
  EXPECT_EQ(root->raw_nodeType(nullptr), E_POINTER);
  EXPECT_EQ(root->raw_nodeValue(nullptr), E_POINTER);
  EXPECT_EQ(root->raw_childNodes(nullptr), E_POINTER);
  EXPECT_EQ(root->raw_attributes(nullptr), E_POINTER);
  EXPECT_EQ(root->raw_firstChild(nullptr), E_POINTER);
  EXPECT_EQ(document->raw_parseError(nullptr), E_POINTER);
  EXPECT_EQ(document->raw_loadXML(nullptr, nullptr), E_POINTER);
  EXPECT_EQ(document->raw_createElement(nullptr, nullptr), E_POINTER);
  EXPECT_EQ(document->raw_documentElement(nullptr), E_POINTER);
  EXPECT_EQ(createDocument(nullptr), E_POINTER);
}

/// Returns the texts of the root's children, in brackets; the name of a child that is no text.
std::string contentOf(std::u16string_view text) {
  const auto document = documentOf(text);
  const CComPtr<IXMLDOMNodeList> children = document->documentElement()->childNodes();
  std::string out;
  for (CComPtr<IXMLDOMNode> node = children->nextNode(); node.p != nullptr;
       node = children->nextNode()) {
    const bool isText = node->nodeType() == NODE_TEXT || node->nodeType() == NODE_CDATA_SECTION;
    out += isText ? "[" + plain(node->text()) + "]" : plain(node->nodeName());
  }
  return out;
}

TEST(DomNode, OmitsTextOfWhiteSpaceOnly) {
  const auto document = documentOf(
      u"<r>\n  <a> </a>\r\n\t<b>\n</b> <![CDATA[ ]]> <c xml:space='default'>  </c>\n</r>\n");
  const CComPtr<IXMLDOMNodeList> children = document->documentElement()->childNodes();
  EXPECT_EQ(namesOf(children), "a b #cdata-section c");
  EXPECT_EQ(children->item(0)->childNodes()->length(), 0);
  EXPECT_EQ(children->item(1)->childNodes()->length(), 0);
  EXPECT_EQ(children->item(3)->childNodes()->length(), 0);
  EXPECT_EQ(contentOf(u"<r>\r\n <!--k--> \r\n<?p?>\t</r>"), "#commentp");
  EXPECT_EQ(contentOf(u"<r>x<a/> <b/>\n</r>"), "[x]ab");
}

TEST(DomNode, KeepsWhiteSpaceThatIsPreserved) {
  EXPECT_EQ(contentOf(u"<r xml:space='preserve'> <a/>\n</r>"), "[ ]a[\n]");
  EXPECT_EQ(contentOf(u"<r xml:space='preserve'> </r>"), "[ ]");
  EXPECT_EQ(contentOf(u"<r xml:space='other'> </r>"), "");
  EXPECT_EQ(contentOf(u"<r space='preserve'> </r>"), "");
  const auto inner = [](const char16_t* text) {
    return plain(documentOf(text)->selectSingleNode(u"//a")->text());
  };
  EXPECT_EQ(inner(u"<r xml:space='preserve'><b><a>\t</a></b></r>"), "\t");
  EXPECT_EQ(inner(u"<r xml:space='preserve'><b xml:space='default'><a>\t</a></b></r>"), "");
  EXPECT_EQ(inner(u"<r><b xml:space='preserve'/><a>\t</a></r>"), "");
}

TEST(DomNode, KeepsWhiteSpaceWrittenAsReferences) {
  EXPECT_EQ(contentOf(u"<r>&#32;</r>"), "[ ]");
  EXPECT_EQ(contentOf(u"<r>&#x20;&#10;</r>"), "[ \n]");
  EXPECT_EQ(contentOf(u"<r>\n <a/>\n &#9; \n<b/>\n</r>"), "a[\n \t \n]b");
  EXPECT_EQ(contentOf(u"<r>\r\n&#13;\r\n</r>"), "[\n\r\n]");
}

TEST(DomNode, KeepsWhiteSpaceBetweenSections) {
  EXPECT_EQ(contentOf(u"<r><![CDATA[b]]> <![CDATA[c]]>\n<![CDATA[d]]><e/></r>"),
            "[b][ ][c][\n][d]e");
  EXPECT_EQ(contentOf(u"<r> <![CDATA[b]]> <e/> <![CDATA[c]]> </r>"), "[b]e[c]");
}

TEST(DomNode, KeepsWhiteSpaceBesideOtherText) {
  const auto document = documentOf(u"<r> x <b/>\n y</r>");
  EXPECT_EQ(plain(document->text()), " x \n y");
  EXPECT_EQ(contentOf(u"<r> \r\n x&amp; &amp;\t\r\n</r>"), "[ \n x& &\t\n]");
}

TEST(DomNode, HasANamespaceAndABaseName) {
  const auto document =
      documentOf(u"<p:r xmlns:p='urn:p' xmlns='urn:d' p:a='1' xml:lang='de'><b/></p:r>");
  const CComPtr<IXMLDOMElement> root = document->documentElement();
  EXPECT_EQ(plain(root->nodeName()), "p:r");
  EXPECT_EQ(plain(root->tagName()), "p:r");
  EXPECT_EQ(plain(root->baseName()), "r");
  EXPECT_EQ(plain(root->namespaceURI()), "urn:p");
  EXPECT_EQ(plain(root->firstChild()->namespaceURI()), "urn:d");
  EXPECT_EQ(root->attributes()->length(), 2);
  EXPECT_EQ(plain(root->attributes()->getNamedItem(u"p:a")->baseName()), "a");
  EXPECT_EQ(plain(root->getAttribute(u"xml:lang")), "de");
  EXPECT_EQ(plain(root->getAttribute(u"a")), "[1]");
}

TEST(DomNode, IsTheSameObjectOnEveryPathToIt) {
  const auto document = documentOf(u"<r><a/></r>");
  const CComPtr<IXMLDOMNode> first = document->documentElement()->firstChild();
  EXPECT_EQ(document->selectSingleNode(u"//a").p, first.p);
  EXPECT_EQ(document->documentElement()->childNodes()->item(0).p, first.p);
  EXPECT_EQ(first->ownerDocument().p, document.p);
}

TEST(DomNode, HasTheInterfacesOfItsKind) {
  const auto document = documentOf(u"<r a='1'>t</r>");
  const CComPtr<IXMLDOMNode> root = document->documentElement().p;
  EXPECT_NE(CComQIPtr<IXMLDOMElement>(root).p, nullptr);
  EXPECT_EQ(CComQIPtr<IXMLDOMAttribute>(root).p, nullptr);
  EXPECT_NE(CComQIPtr<IXMLDOMAttribute>(root->attributes()->item(0)).p, nullptr);
  EXPECT_EQ(CComQIPtr<IXMLDOMElement>(root->firstChild()).p, nullptr);
  EXPECT_NE(CComQIPtr<IXMLDOMNode>(document).p, nullptr);
  CComPtr<IUnknown> unknown;
  EXPECT_EQ(root.QueryInterface(&unknown), S_OK);
  EXPECT_NE(unknown.p, nullptr);
}

TEST(DomNode, KeepsItsTreeAlive) {
  CComPtr<IXMLDOMNode> node = documentOf(u"<r><a><b/></a></r>")->selectSingleNode(u"//b");
  EXPECT_EQ(plain(node->parentNode()->parentNode()->nodeName()), "r");
  EXPECT_EQ(plain(node->ownerDocument()->xml()), "<r>\n  <a>\n    <b/>\n  </a>\n</r>\n");
}

TEST(DomNode, KeepsItsFormerTreeWhenTheDocumentIsLoadedAgain) {
  const auto document = documentOf(u"<old><a/></old>");
  const CComPtr<IXMLDOMNode> former = document->selectSingleNode(u"//a");
  document->loadXML(u"<new/>");
  EXPECT_EQ(plain(former->ownerDocument()->xml()), "<old>\n  <a/>\n</old>\n");
  EXPECT_NE(former->ownerDocument().p, document.p);
  EXPECT_EQ(plain(document->xml()), "<new/>\n");
}

// --- lists ---------------------------------------------------------------------------------

TEST(DomNode, AnAttributeHasNoPlaceAmongNodes) {
  const auto document = documentOf(u"<r a='1' b='2'>t</r>");
  const CComPtr<IXMLDOMNode> attribute = document->documentElement()->attributes()->item(0);
  CComPtr<IXMLDOMNode> node;
  EXPECT_EQ(attribute->raw_parentNode(&node), S_FALSE);
  EXPECT_EQ(attribute->raw_nextSibling(&node), S_FALSE);
  EXPECT_EQ(attribute->raw_firstChild(&node), S_FALSE);
  EXPECT_EQ(attribute->raw_lastChild(&node), S_FALSE);
  EXPECT_EQ(document->raw_nextSibling(&node), S_FALSE);
  EXPECT_EQ(document->documentElement()->firstChild()->raw_lastChild(&node), S_FALSE);
}

TEST(DomNode, ReturnsSOkForPartsThatItHas) {
  const auto document = documentOf(u"<r xmlns='urn:r'><a/></r>");
  const CComPtr<IXMLDOMElement> root = document->documentElement();
  CComBSTR text;
  EXPECT_EQ(root->raw_namespaceURI(&text.m_str), S_OK);
  EXPECT_EQ(plain(text), "urn:r");
  text.Empty();
  EXPECT_EQ(document->raw_namespaceURI(&text.m_str), S_FALSE);
  EXPECT_EQ(plain(text), "");
  text.Empty();
  EXPECT_EQ(root->raw_baseName(&text.m_str), S_OK);
  EXPECT_EQ(plain(text), "r");
  text.Empty();
  EXPECT_EQ(document->createTextNode(u"t")->raw_namespaceURI(&text.m_str), S_FALSE);
}

TEST(DomNodeList, ReturnsItemsByIndexAndNullOutside) {
  const auto document = documentOf(u"<r><a/><b/><c/></r>");
  const CComPtr<IXMLDOMNodeList> list = document->documentElement()->childNodes();
  CComPtr<IXMLDOMNode> node;
  EXPECT_EQ(list->length(), 3);
  EXPECT_EQ(plain(list->item(2)->nodeName()), "c");
  EXPECT_EQ(plain(list->item(0)->nodeName()), "a");
  EXPECT_EQ(plain(list->item(1)->nodeName()), "b");
  EXPECT_EQ(list->raw_item(3, &node), S_FALSE);
  EXPECT_EQ(list->raw_item(-1, &node), S_FALSE);
  EXPECT_EQ(plain(list->item(1)->nodeName()), "b");
}

TEST(DomNodeList, IsEmptyForKindsWithoutChildren) {
  const auto document = documentOf(u"<r a='1'>t</r>");
  const CComPtr<IXMLDOMElement> root = document->documentElement();
  EXPECT_EQ(root->firstChild()->childNodes()->length(), 0);
  EXPECT_EQ(root->attributes()->item(0)->childNodes()->length(), 0);
  EXPECT_EQ(root->attributes()->item(0)->childNodes()->item(0).p, nullptr);
  EXPECT_EQ(emptyDocument()->childNodes()->nextNode().p, nullptr);
}

TEST(DomNodeList, FollowsChangesOfTheTree) {
  const auto document = documentOf(u"<r><a/><b/></r>");
  const CComPtr<IXMLDOMElement> root = document->documentElement();
  const CComPtr<IXMLDOMNodeList> list = root->childNodes();
  EXPECT_EQ(list->length(), 2);
  EXPECT_EQ(plain(list->item(1)->nodeName()), "b");
  root->removeChild(root->firstChild());
  root->appendChild(document->createElement(u"c"));
  root->appendChild(document->createElement(u"d"));
  EXPECT_EQ(list->length(), 3);
  EXPECT_EQ(plain(list->item(1)->nodeName()), "c");
  root->removeChild(root->firstChild());
  EXPECT_EQ(list->length(), 2);
}

TEST(DomNodeList, SeesEachChildThatIsAdded) {
  const auto document = documentOf(u"<r/>");
  const CComPtr<IXMLDOMElement> root = document->documentElement();
  const CComPtr<IXMLDOMNodeList> list = root->childNodes();
  for (long count = 1; count <= 3; ++count) {
    root->appendChild(document->createElement(u"c"));
    EXPECT_EQ(list->length(), count);
    EXPECT_NE(list->item(count - 1).p, nullptr);
  }
}

TEST(DomAttributes, SeeEachAttributeThatIsAdded) {
  const auto document = documentOf(u"<r/>");
  const CComPtr<IXMLDOMElement> root = document->documentElement();
  const CComPtr<IXMLDOMNamedNodeMap> map = root->attributes();
  for (const char16_t* name : {u"a", u"b", u"c", u"d"}) {
    const long former = map->length();
    root->setAttribute(name, former);
    EXPECT_EQ(map->length(), former + 1);
    EXPECT_EQ(plain(map->item(former)->nodeValue()), std::to_string(former));
  }
  EXPECT_EQ(plain(root->xml()), "<r a=\"0\" b=\"1\" c=\"2\" d=\"3\"/>");
}

TEST(DomNodeList, FollowsANewLoadOfItsDocument) {
  const auto document = documentOf(u"<old/>");
  const CComPtr<IXMLDOMNodeList> list = document->childNodes();
  EXPECT_EQ(plain(list->item(0)->nodeName()), "old");
  document->loadXML(u"<!--k--><new/>");
  EXPECT_EQ(list->length(), 2);
  EXPECT_EQ(plain(list->item(1)->nodeName()), "new");
}

TEST(DomNodeList, ContinuesAfterARemovedNode) {
  const auto document = documentOf(u"<r><!--1--><a/><!--2--><!--3--><b/></r>");
  const CComPtr<IXMLDOMElement> root = document->documentElement();
  const CComPtr<IXMLDOMNodeList> list = root->childNodes();
  std::string seen;
  for (CComPtr<IXMLDOMNode> node = list->nextNode(); node.p != nullptr; node = list->nextNode()) {
    seen += plain(node->nodeName()) + " ";
    if (node->nodeType() == NODE_COMMENT) root->removeChild(node);
  }
  EXPECT_EQ(seen, "#comment a #comment #comment b ");
  EXPECT_EQ(plain(root->xml()), "<r>\n  <a/>\n  <b/>\n</r>");
}

TEST(DomNodeList, EndsIfTheSuccessorOfARemovedNodeIsGoneToo) {
  const auto document = documentOf(u"<r><a/><b/><c/></r>");
  const CComPtr<IXMLDOMElement> root = document->documentElement();
  const CComPtr<IXMLDOMNodeList> list = root->childNodes();
  const CComPtr<IXMLDOMNode> a = list->nextNode();
  root->removeChild(a);
  root->removeChild(root->firstChild());
  EXPECT_EQ(list->nextNode().p, nullptr);
  list->reset();
  EXPECT_EQ(namesOf(list), "c");
}

TEST(DomNodeList, ReturnsNodesAppendedDuringTheWalk) {
  const auto document = documentOf(u"<r><a/></r>");
  const CComPtr<IXMLDOMElement> root = document->documentElement();
  const CComPtr<IXMLDOMNodeList> list = root->childNodes();
  list->nextNode();
  EXPECT_EQ(list->nextNode().p, nullptr);
  root->appendChild(document->createElement(u"b"));
  EXPECT_EQ(namesOf(list), "b");
}

TEST(DomNodeList, WalksManyChildrenByIndexInOnePass) {
  constexpr long kChildren = 200'000;
  std::u16string text = u"<r>";
  for (long i = 0; i < kChildren; ++i) text += u"<a/>";
  const auto document = documentOf(text + u"</r>");
  const CComPtr<IXMLDOMNodeList> list = document->documentElement()->childNodes();
  long elements = 0;
  for (long i = 0; i < list->length(); ++i) elements += list->item(i)->nodeType();
  EXPECT_EQ(elements, kChildren);  // a quadratic walk would run into the time-out
}

TEST(DomAttributes, AreFoundByTheirExactName) {
  const auto document = documentOf(u"<r b='2' a='1'/>");
  const CComPtr<IXMLDOMNamedNodeMap> map = document->documentElement()->attributes();
  CComPtr<IXMLDOMNode> node;
  EXPECT_EQ(map->length(), 2);
  EXPECT_EQ(plain(map->item(0)->nodeName()), "b");
  EXPECT_EQ(plain(map->getNamedItem(u"a")->nodeValue()), "1");
  EXPECT_EQ(map->raw_getNamedItem(CComBSTR(u"A"), &node), S_FALSE);
  EXPECT_EQ(node.p, nullptr);
  EXPECT_EQ(map->raw_getNamedItem(nullptr, &node), S_FALSE);
  EXPECT_EQ(map->raw_item(2, &node), S_FALSE);
  EXPECT_EQ(map->raw_item(-1, &node), S_FALSE);
}

// --- errors of arguments -------------------------------------------------------------------

TEST(DomNode, RefusesNullOutPointersOfEveryOperation) {
  const auto document = documentOf(u"<r a='1'/>");
  const CComPtr<IXMLDOMElement> root = document->documentElement();
  const CComPtr<IXMLDOMNode> node = root.p;
  const CComPtr<IXMLDOMNodeList> lists[] = {root->childNodes(), document->selectNodes(u"//r")};
  const CComPtr<IXMLDOMNamedNodeMap> map = root->attributes();
  const CComPtr<IXMLDOMParseError> error = document->parseError();
  const CComBSTR name(u"a");
  const CComVariant value(u"x");
  const HRESULT results[] = {node->raw_baseName(nullptr),
                             node->raw_namespaceURI(nullptr),
                             node->raw_text(nullptr),
                             node->raw_xml(nullptr),
                             node->raw_nodeTypeString(nullptr),
                             node->raw_parentNode(nullptr),
                             node->raw_lastChild(nullptr),
                             node->raw_nextSibling(nullptr),
                             node->raw_ownerDocument(nullptr),
                             node->raw_selectSingleNode(name, nullptr),
                             node->raw_selectNodes(name, nullptr),
                             node->raw_cloneNode(VARIANT_TRUE, nullptr),
                             root->raw_tagName(nullptr),
                             root->raw_getAttribute(name, nullptr),
                             root->raw_getAttributeNode(name, nullptr),
                             document->raw_createAttribute(name, nullptr),
                             document->raw_createTextNode(name, nullptr),
                             document->raw_createComment(name, nullptr),
                             document->raw_load(value, nullptr),
                             lists[0]->raw_length(nullptr),
                             lists[0]->raw_item(0, nullptr),
                             lists[0]->raw_nextNode(nullptr),
                             lists[1]->raw_length(nullptr),
                             lists[1]->raw_item(0, nullptr),
                             lists[1]->raw_nextNode(nullptr),
                             map->raw_length(nullptr),
                             map->raw_item(0, nullptr),
                             map->raw_getNamedItem(name, nullptr),
                             error->raw_errorCode(nullptr),
                             error->raw_reason(nullptr),
                             error->raw_line(nullptr),
                             error->raw_linepos(nullptr),
                             error->raw_url(nullptr)};
  for (std::size_t i = 0; i < std::size(results); ++i) EXPECT_EQ(results[i], E_POINTER) << i;
}

TEST(DomNode, AFailureStoresNull) {
  const auto document = documentOf(u"<r/>");
  const CComPtr<IXMLDOMElement> root = document->documentElement();
  const CComBSTR bad(u"a b");
  auto* element = root.p;
  EXPECT_EQ(document->raw_createElement(bad, &element), E_INVALIDARG);
  EXPECT_EQ(element, nullptr);
  auto* attribute = reinterpret_cast<IXMLDOMAttribute*>(root.p);
  EXPECT_EQ(document->raw_createAttribute(bad, &attribute), E_INVALIDARG);
  EXPECT_EQ(attribute, nullptr);
  for (const auto create :
       {&IXMLDOMDocument::raw_createTextNode, &IXMLDOMDocument::raw_createComment}) {
    IXMLDOMNode* node = root.p;
    EXPECT_EQ((document.p->*create)(CComBSTR(u"\x01"), &node), E_INVALIDARG);
    EXPECT_EQ(node, nullptr);
  }
  IXMLDOMNode* found = root.p;
  EXPECT_EQ(root->raw_selectSingleNode(CComBSTR(u"//["), &found), E_INVALIDARG);
  EXPECT_EQ(found, nullptr);
  auto* list = reinterpret_cast<IXMLDOMNodeList*>(root.p);
  EXPECT_EQ(root->raw_selectNodes(CComBSTR(u"//["), &list), E_INVALIDARG);
  EXPECT_EQ(list, nullptr);
}

TEST(DomNode, ThrowsTheErrorsOfItsOperations) {
  const auto document = documentOf(u"<r><a/></r>");
  const CComPtr<IXMLDOMElement> root = document->documentElement();
  EXPECT_EQ(raisedBy([&] { root->appendChild(nullptr); }), E_POINTER);
  EXPECT_EQ(raisedBy([&] { root->removeChild(root.p); }), E_INVALIDARG);
  EXPECT_EQ(raisedBy([&] { root->putNodeValue(u"x"); }), E_FAIL);
  EXPECT_EQ(raisedBy([&] { document->putNodeValue(u"x"); }), E_FAIL);
  EXPECT_EQ(raisedBy([&] { document->createElement(u"two words"); }), E_INVALIDARG);
  EXPECT_EQ(raisedBy([&] { document->createElement(CComBSTR(std::u16string_view(u"a\0b", 3))); }),
            E_INVALIDARG);
}

}  // namespace
}  // namespace qx::xml
