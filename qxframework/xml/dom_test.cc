#include "qxframework/xml/dom.h"

#include "qxframework/xml/test_document.h"
#include "testing/raised_by.h"

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

// --- XPath ---------------------------------------------------------------------------------

TEST(DomXPath, SelectsInDocumentOrder) {
  const auto document = documentOf(u"<r><a n='1'/><b><a n='2'/></b><a n='3'/></r>");
  const CComPtr<IXMLDOMNodeList> all = document->selectNodes(u"//a/@n | //b");
  EXPECT_EQ(all->length(), 4);
  EXPECT_EQ(namesOf(all), "n b n n");
  EXPECT_EQ(plain(document->selectSingleNode(u"//a[@n>1]/@n")->nodeValue()), "2");
  EXPECT_EQ(plain(document->selectSingleNode(u"/r/b")->selectSingleNode(u"a")->xml()),
            "<a n=\"2\"/>");
}

TEST(DomXPath, ReturnsNullWithoutAMatchAndRefusesOtherExpressions) {
  const auto document = documentOf(u"<r/>");
  CComPtr<IXMLDOMNode> node;
  EXPECT_EQ(document->raw_selectSingleNode(CComBSTR(u"//database"), &node), S_FALSE);
  EXPECT_EQ(node.p, nullptr);
  EXPECT_EQ(document->selectNodes(u"//database")->length(), 0);
  EXPECT_EQ(document->raw_selectSingleNode(CComBSTR(u"//["), &node), E_INVALIDARG);
  EXPECT_EQ(document->raw_selectSingleNode(CComBSTR(u"count(//r)"), &node), E_INVALIDARG);
  EXPECT_EQ(document->raw_selectSingleNode(nullptr, &node), E_INVALIDARG);
  EXPECT_EQ(emptyDocument()->raw_selectSingleNode(CComBSTR(u"//r"), &node), S_FALSE);
}

TEST(DomXPath, KnowsThePrefixesInScope) {
  const auto document = documentOf(u"<r xmlns:p='urn:p'><p:a/></r>");
  EXPECT_EQ(plain(document->selectSingleNode(u"//p:a")->nodeName()), "p:a");
}

TEST(DomXPath, SelectionDoesNotChangeWithTheTree) {
  const auto document = documentOf(u"<r><a/><a/></r>");
  const CComPtr<IXMLDOMNodeList> list = document->selectNodes(u"//a");
  document->documentElement()->removeChild(list->item(0));
  EXPECT_EQ(list->length(), 2);
  EXPECT_EQ(namesOf(list), "a a");
}

// --- errors of arguments -------------------------------------------------------------------

TEST(DomNode, ThrowsTheErrorsOfItsOperations) {
  const auto document = documentOf(u"<r><a/></r>");
  const CComPtr<IXMLDOMElement> root = document->documentElement();
  EXPECT_EQ(raisedBy([&] { root->appendChild(nullptr); }), E_POINTER);
  EXPECT_EQ(raisedBy([&] { root->removeChild(root.p); }), E_INVALIDARG);
  EXPECT_EQ(raisedBy([&] { root->putNodeValue(u"x"); }), E_FAIL);
  EXPECT_EQ(raisedBy([&] { document->createElement(u"two words"); }), E_INVALIDARG);
}

}  // namespace
}  // namespace qx::xml
