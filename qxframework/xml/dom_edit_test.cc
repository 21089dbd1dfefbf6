#include "qxframework/automation/com_object.h"
#include "qxframework/xml/dom.h"
#include "qxframework/xml/test_document.h"

#include <string>
#include <vector>

namespace qx::xml {
namespace {

/// Appends `child` and returns the result code.
HRESULT append(const CComPtr<IXMLDOMNode>& parent, IXMLDOMNode* child) {
  CComPtr<IXMLDOMNode> appended;
  return parent->raw_appendChild(child, &appended);
}

// --- attributes ----------------------------------------------------------------------------

TEST(DomEdit, AChangedAttributeKeepsItsPlaceAndANewOneIsLast) {
  const auto document = documentOf(u"<r a='1' b='2'/>");
  const CComPtr<IXMLDOMElement> root = document->documentElement();
  root->attributes()->getNamedItem(u"a")->putNodeValue(u"x");
  root->setAttribute(u"b", 7);
  root->setAttribute(u"c", u"\"<&>\n\t'");
  EXPECT_EQ(plain(document->xml()), "<r a=\"x\" b=\"7\" c=\"&quot;&lt;&amp;&gt;&#10;&#9;'\"/>\n");
  EXPECT_EQ(plain(root->getAttribute(u"c")), "\"<&>\n\t'");
}

TEST(DomEdit, AttributeNodeIsCreatedFilledAndSet) {
  const auto document = documentOf(u"<r/>");
  const CComPtr<IXMLDOMAttribute> attribute = document->createAttribute(u"uid");
  EXPECT_EQ(plain(attribute->value()), "");
  attribute->putValue(u"QX_1");
  EXPECT_EQ(document->documentElement()->setAttributeNode(attribute).p, nullptr);
  EXPECT_EQ(plain(document->xml()), "<r uid=\"QX_1\"/>\n");
  EXPECT_EQ(plain(attribute->name()), "uid");
  EXPECT_EQ(document->documentElement()->getAttributeNode(u"uid").p, attribute.p);
}

TEST(DomEdit, AttributeNodeReplacesItsNamesakeInPlace) {
  const auto document = documentOf(u"<r a='1' b='2'/>");
  const CComPtr<IXMLDOMElement> root = document->documentElement();
  const CComPtr<IXMLDOMAttribute> attribute = document->createAttribute(u"a");
  attribute->putValue(u"new");
  const CComPtr<IXMLDOMAttribute> replaced = root->setAttributeNode(attribute);
  EXPECT_EQ(plain(replaced->value()), "1");
  EXPECT_EQ(plain(root->xml()), "<r a=\"new\" b=\"2\"/>");
  EXPECT_EQ(root->setAttributeNode(attribute).p, nullptr);  // it is there already
}

TEST(DomEdit, AttributeOfAnotherElementIsRefused) {
  const auto document = documentOf(u"<r><a x='1'/><b/></r>");
  const CComPtr<IXMLDOMElement> b(CComQIPtr<IXMLDOMElement>(document->selectSingleNode(u"//b")));
  const CComQIPtr<IXMLDOMAttribute> x(document->selectSingleNode(u"//@x"));
  CComPtr<IXMLDOMAttribute> replaced;
  EXPECT_EQ(b->raw_setAttributeNode(x, &replaced), E_INVALIDARG);
  EXPECT_EQ(b->raw_setAttributeNode(nullptr, &replaced), E_POINTER);
}

TEST(DomEdit, ARemovedAttributeStaysValidAndCanMove) {
  const auto document = documentOf(u"<p:r xmlns:p='urn:p' p:a='1' b='2'><s/></p:r>");
  const CComPtr<IXMLDOMElement> root = document->documentElement();
  const CComPtr<IXMLDOMNode> removed = root->attributes()->removeNamedItem(u"p:a");
  CComPtr<IXMLDOMNode> none;
  EXPECT_EQ(root->attributes()->raw_removeNamedItem(CComBSTR(u"p:a"), &none), S_FALSE);
  EXPECT_EQ(plain(removed->nodeName()), "p:a");
  EXPECT_EQ(plain(removed->namespaceURI()), "urn:p");
  EXPECT_EQ(root->raw_removeAttribute(CComBSTR(u"b")), S_OK);
  EXPECT_EQ(root->raw_removeAttribute(CComBSTR(u"b")), S_FALSE);
  root->firstChild()->attributes()->setNamedItem(removed);
  EXPECT_EQ(plain(document->xml()), "<p:r xmlns:p=\"urn:p\">\n  <s p:a=\"1\"/>\n</p:r>\n");
}

TEST(DomEdit, NothingIsRemovedWithoutAPlaceForTheResult) {
  const auto document = documentOf(u"<r a='1'><b/></r>");
  const CComPtr<IXMLDOMElement> root = document->documentElement();
  EXPECT_EQ(root->attributes()->raw_removeNamedItem(CComBSTR(u"a"), nullptr), E_POINTER);
  EXPECT_EQ(root->raw_removeChild(root->firstChild(), nullptr), E_POINTER);
  EXPECT_EQ(plain(root->xml()), "<r a=\"1\">\n  <b/>\n</r>");
}

TEST(DomEdit, NothingIsAddedWithoutAPlaceForTheResult) {
  const auto document = documentOf(u"<r a='1'/>");
  const CComPtr<IXMLDOMElement> root = document->documentElement();
  const CComPtr<IXMLDOMAttribute> attribute = document->createAttribute(u"a");
  const CComPtr<IXMLDOMElement> child = document->createElement(u"c");
  EXPECT_EQ(root->attributes()->raw_setNamedItem(attribute, nullptr), E_POINTER);
  EXPECT_EQ(root->raw_setAttributeNode(attribute, nullptr), E_POINTER);
  EXPECT_EQ(root->raw_appendChild(child, nullptr), E_POINTER);
  EXPECT_EQ(root->raw_insertBefore(child, nullptr, nullptr), E_POINTER);
  EXPECT_EQ(plain(root->xml()), "<r a=\"1\"/>");
}

TEST(DomEdit, AMovedAttributeDeclaresItsNamespaceInAnotherDocument) {
  CComPtr<IXMLDOMNode> attribute;
  {
    const auto source = documentOf(u"<p:r xmlns:p='urn:p' p:abc='longer text' xml:lang='de'/>");
    const CComPtr<IXMLDOMNamedNodeMap> map = source->documentElement()->attributes();
    attribute = map->removeNamedItem(u"p:abc");
    const auto language = map->removeNamedItem(u"xml:lang");
    const auto other = documentOf(u"<s/>");
    other->documentElement()->attributes()->setNamedItem(language);
    EXPECT_EQ(plain(other->xml()), "<s xml:lang=\"de\"/>\n");
  }
  const auto target = documentOf(u"<t xmlns:p='urn:other'/>");
  target->documentElement()->attributes()->setNamedItem(attribute);
  EXPECT_EQ(plain(target->xml()),
            "<t xmlns:p=\"urn:other\" xmlns:ns1=\"urn:p\" ns1:abc=\"longer text\"/>\n");
}

TEST(DomEdit, AMovedAttributeHidesNoPrefixFromDescendants) {
  const auto document =
      documentOf(u"<r xmlns:p='urn:1' xmlns:ns1='urn:2'><e><p:c/><ns1:d/></e></r>");
  const auto source = documentOf(u"<s xmlns:p='urn:other' p:a='1'/>");
  const auto attribute = source->documentElement()->attributes()->removeNamedItem(u"p:a");
  document->documentElement()->firstChild()->attributes()->setNamedItem(attribute);
  EXPECT_EQ(plain(document->documentElement()->firstChild()->xml()),
            "<e xmlns:ns2=\"urn:other\" ns2:a=\"1\">\n  <p:c/>\n  <ns1:d/>\n</e>");
}

// --- children ------------------------------------------------------------------------------

TEST(DomEdit, BuildsADocumentFromNothing) {
  const auto document = emptyDocument();
  EXPECT_EQ(plain(document->xml()), "");
  EXPECT_EQ(document->documentElement().p, nullptr);
  const CComPtr<IXMLDOMElement> root = document->createElement(u"items");
  document->appendChild(root);
  root->appendChild(document->createComment(u" first "));
  const auto item = root->appendChild(document->createElement(u"item"));
  item->appendChild(document->createTextNode(u"a < b & c"));
  EXPECT_EQ(plain(document->xml()),
            "<items>\n  <!-- first -->\n  <item>a &lt; b &amp; c</item>\n</items>\n");
}

TEST(DomEdit, InsertsBeforeAChildAndMovesWithinAParent) {
  const auto document = documentOf(u"<r><a/><b/></r>");
  const CComPtr<IXMLDOMElement> root = document->documentElement();
  root->insertBefore(document->createElement(u"n"), root->firstChild());
  root->insertBefore(root->lastChild(), root->firstChild());
  root->insertBefore(root->firstChild(), root->firstChild());
  EXPECT_EQ(namesOf(root->childNodes()), "b n a");
  root->insertBefore(root->firstChild(), nullptr);
  EXPECT_EQ(namesOf(root->childNodes()), "n a b");
  EXPECT_EQ(plain(root->lastChild()->nodeName()), "b");
}

TEST(DomEdit, AdjacentTextsStaySeparateNodes) {
  const auto document = documentOf(u"<r>a</r>");
  const CComPtr<IXMLDOMElement> root = document->documentElement();
  const CComPtr<IXMLDOMNode> added = document->createTextNode(u"b");
  root->appendChild(added);
  EXPECT_EQ(root->childNodes()->length(), 2);
  added->putNodeValue(u"c");
  EXPECT_EQ(plain(document->xml()), "<r>ac</r>\n");
}

TEST(DomEdit, RefusesImpossibleChildren) {
  const auto document = documentOf(u"<r x='1'><a><b/></a>t</r>");
  const CComPtr<IXMLDOMNode> root = document->documentElement().p;
  const CComPtr<IXMLDOMNode> b = document->selectSingleNode(u"//b");
  EXPECT_EQ(append(b, root), E_INVALIDARG);
  EXPECT_EQ(append(b, b), E_INVALIDARG);
  EXPECT_EQ(append(root, root->attributes()->item(0)), E_INVALIDARG);
  EXPECT_EQ(append(root, document), E_INVALIDARG);
  EXPECT_EQ(append(document.p, document->createElement(u"second")), E_INVALIDARG);
  EXPECT_EQ(append(document.p, document->createTextNode(u"t")), E_INVALIDARG);
  EXPECT_EQ(append(root->lastChild(), b), E_INVALIDARG);
  EXPECT_EQ(append(root->attributes()->item(0), b), E_INVALIDARG);
  EXPECT_EQ(append(root, nullptr), E_POINTER);
  CComPtr<IXMLDOMNode> out;
  EXPECT_EQ(root->raw_insertBefore(document->createElement(u"n"), b, &out), E_INVALIDARG);
  EXPECT_EQ(root->raw_removeChild(b, &out), E_INVALIDARG);
  EXPECT_EQ(root->raw_removeChild(root->attributes()->item(0), &out), E_INVALIDARG);
  EXPECT_EQ(plain(document->xml()), "<r x=\"1\"><a><b/></a>t</r>\n");
}

TEST(DomEdit, CommentsAndInstructionsMayBeBesideTheRoot) {
  const auto document = documentOf(u"<r><!--k--><?p i?></r>");
  const CComPtr<IXMLDOMElement> root = document->documentElement();
  document->appendChild(root->lastChild());
  document->insertBefore(root->firstChild(), root.p);
  EXPECT_EQ(plain(document->xml()), "<!--k-->\n<r/>\n<?p i?>\n");
  document->insertBefore(root, document->firstChild());
  EXPECT_EQ(plain(document->xml()), "<r/>\n<!--k-->\n<?p i?>\n");
  EXPECT_EQ(plain(document->lastChild()->nodeName()), "p");
}

TEST(DomEdit, AnAttributeIsNoPlaceToInsertBefore) {
  const auto document = documentOf(u"<r a='1'><b/></r>");
  const CComPtr<IXMLDOMElement> root = document->documentElement();
  CComPtr<IXMLDOMNode> out;
  EXPECT_EQ(
      root->raw_insertBefore(document->createElement(u"n"), root->attributes()->item(0), &out),
      E_INVALIDARG);
  EXPECT_EQ(out.p, nullptr);
  EXPECT_EQ(plain(root->xml()), "<r a=\"1\">\n  <b/>\n</r>");
}

TEST(DomEdit, AnEmptyParentHasNoLastChild) {
  const auto document = documentOf(u"<r><a/><b/></r>");
  const CComPtr<IXMLDOMElement> root = document->documentElement();
  root->removeChild(root->lastChild());
  EXPECT_EQ(plain(root->lastChild()->nodeName()), "a");
  root->removeChild(root->lastChild());
  CComPtr<IXMLDOMNode> none;
  EXPECT_EQ(root->raw_lastChild(&none), S_FALSE);
  root->insertBefore(document->createElement(u"c"), nullptr);
  EXPECT_EQ(plain(root->lastChild()->nodeName()), "c");
}

/// An object of another implementation.
class ForeignNode final : public ComObject<IUnknown> {};

TEST(DomEdit, RefusesNodesOfAnotherImplementation) {
  const auto document = documentOf(u"<r/>");
  const auto foreign = makeObject<ForeignNode>();
  // Only a cast can pass a pointer that has no node interface.
  auto* const forced = reinterpret_cast<IXMLDOMNode*>(static_cast<IUnknown*>(foreign.p));
  EXPECT_EQ(append(document.p, forced), E_INVALIDARG);
}

TEST(DomEdit, RemovedNodeStaysValidAndCanReturn) {
  const auto document = documentOf(u"<r><a><b/></a><c/></r>");
  const CComPtr<IXMLDOMElement> root = document->documentElement();
  const CComPtr<IXMLDOMNode> b = document->selectSingleNode(u"//b");
  const CComPtr<IXMLDOMNode> a = root->removeChild(root->firstChild());
  EXPECT_EQ(plain(document->xml()), "<r>\n  <c/>\n</r>\n");
  EXPECT_EQ(plain(a->xml()), "<a>\n  <b/>\n</a>");
  EXPECT_EQ(a->parentNode().p, nullptr);
  EXPECT_EQ(b->parentNode().p, a.p);
  root->appendChild(a);
  EXPECT_EQ(plain(document->xml()), "<r>\n  <c/>\n  <a>\n    <b/>\n  </a>\n</r>\n");
}

TEST(DomEdit, RootCanBeRemovedAndReplaced) {
  const auto document = documentOf(u"<?xml version='1.0'?><r/>");
  document->removeChild(document->documentElement());
  EXPECT_EQ(plain(document->xml()), "");
  document->appendChild(document->createElement(u"s"));
  EXPECT_EQ(plain(document->xml()), "<?xml version=\"1.0\"?>\n<s/>\n");
}

TEST(DomEdit, ASubtreeMovesToAnotherDocumentWithItsObjects) {
  const auto target = documentOf(u"<t/>");
  CComPtr<IXMLDOMNode> inner;
  CComPtr<IXMLDOMNode> attribute;
  {
    const auto source = documentOf(u"<s><a n='1'>t<b/><![CDATA[c]]><?p i?></a></s>");
    inner = source->selectSingleNode(u"//b");
    attribute = source->selectSingleNode(u"//@n");
    target->documentElement()->appendChild(source->selectSingleNode(u"//a"));
    EXPECT_EQ(plain(source->xml()), "<s/>\n");
  }
  EXPECT_EQ(inner->ownerDocument().p, target.p);
  EXPECT_EQ(attribute->ownerDocument().p, target.p);
  EXPECT_EQ(plain(target->xml()), "<t>\n  <a n=\"1\">t<b/><![CDATA[c]]><?p i?></a>\n</t>\n");
}

TEST(DomEdit, MovedNodeOutlivesItsNewDocumentToo) {
  CComPtr<IXMLDOMNode> moved;
  {
    const auto source = documentOf(u"<s><abc def='ghi'>jkl</abc></s>");
    const auto target = documentOf(u"<t/>");
    moved = source->documentElement()->firstChild();
    target->documentElement()->appendChild(moved);
  }
  EXPECT_EQ(plain(moved->parentNode()->xml()), "<t>\n  <abc def=\"ghi\">jkl</abc>\n</t>");
}

TEST(DomEdit, AMovedSubtreeDeclaresItsNamespaces) {
  CComPtr<IXMLDOMNode> moved;
  const auto target = documentOf(u"<t/>");
  {
    const auto source =
        documentOf(u"<s xmlns='urn:d' xmlns:p='urn:p'><a xml:lang='de' p:n='1'><p:b/></a></s>");
    moved = source->documentElement()->removeChild(source->documentElement()->firstChild());
  }
  EXPECT_EQ(plain(moved->xml()),
            "<a xmlns=\"urn:d\" xmlns:p=\"urn:p\" xml:lang=\"de\" p:n=\"1\">\n  <p:b/>\n</a>");
  target->documentElement()->appendChild(moved);
  EXPECT_EQ(target->loadXML(target->xml()), VARIANT_TRUE);
  EXPECT_EQ(plain(target->selectSingleNode(u"/t/*/*")->namespaceURI()), "urn:p");
}

TEST(DomEdit, AnElementWithThePrefixXmlOutlivesItsFormerDocument) {
  const auto target = documentOf(u"<t/>");
  {
    const auto source = documentOf(u"<s><xml:a><xml:b/></xml:a></s>");
    target->documentElement()->appendChild(source->documentElement()->firstChild());
  }
  EXPECT_EQ(plain(target->xml()), "<t>\n  <xml:a>\n    <xml:b/>\n  </xml:a>\n</t>\n");
  EXPECT_EQ(plain(target->selectSingleNode(u"/t/*")->namespaceURI()),
            "http://www.w3.org/XML/1998/namespace");
}

TEST(DomEdit, OrphansOfAReloadedDocumentMoveIntoItsNewTree) {
  const auto document = documentOf(u"<old/>");
  const CComPtr<IXMLDOMElement> orphan = document->createElement(u"kept");
  document->loadXML(u"<new/>");
  document->documentElement()->appendChild(orphan);
  EXPECT_EQ(plain(document->xml()), "<new>\n  <kept/>\n</new>\n");
}

TEST(DomEdit, CopiesAreIndependent) {
  const auto document = documentOf(u"<p:r xmlns:p='urn:p' a='1' p:b='2'><c>t</c></p:r>");
  const CComPtr<IXMLDOMElement> root = document->documentElement();
  EXPECT_EQ(plain(root->cloneNode(true)->xml()),
            "<p:r xmlns:p=\"urn:p\" a=\"1\" p:b=\"2\">\n  <c>t</c>\n</p:r>");
  EXPECT_EQ(plain(root->cloneNode(false)->xml()), "<p:r xmlns:p=\"urn:p\" a=\"1\" p:b=\"2\"/>");
  EXPECT_EQ(plain(root->attributes()->getNamedItem(u"p:b")->cloneNode(true)->xml()), "p:b=\"2\"");
  const CComPtr<IXMLDOMNode> copy = document->cloneNode(true);
  EXPECT_EQ(plain(copy->xml()), plain(document->xml()));
  EXPECT_NE(copy.p, static_cast<IXMLDOMNode*>(document.p));
  EXPECT_EQ(plain(document->cloneNode(false)->xml()), "");
  const std::string before = plain(document->xml());
  copy->firstChild()->removeChild(copy->firstChild()->firstChild());
  root->cloneNode(true)->attributes()->getNamedItem(u"a")->putNodeValue(u"changed");
  EXPECT_EQ(plain(document->xml()), before);
}

TEST(DomEdit, ACopiedAttributeKeepsItsNamespaceWhenTheOriginalMoves) {
  CComPtr<IXMLDOMNode> copy;
  {
    const auto source = documentOf(u"<p:r xmlns:p='urn:p' p:b='2'/>");
    const CComPtr<IXMLDOMNode> root = source->documentElement().p;
    copy = root->attributes()->item(0)->cloneNode(true);
    documentOf(u"<t/>")->documentElement()->appendChild(root);
  }
  EXPECT_EQ(plain(copy->namespaceURI()), "urn:p");
}

// --- values --------------------------------------------------------------------------------

TEST(DomEdit, ValuesOfOtherKindsBecomeText) {
  const auto document = documentOf(u"<r a='1'/>");
  const CComPtr<IXMLDOMNode> attribute = document->selectSingleNode(u"//@a");
  attribute->putNodeValue(42);
  EXPECT_EQ(plain(attribute->nodeValue()), "42");
  attribute->putNodeValue(CComVariant());
  EXPECT_EQ(plain(document->xml()), "<r a=\"\"/>\n");
  VARIANT null;
  null.vt = VT_NULL;
  EXPECT_EQ(attribute->raw_putNodeValue(null), DISP_E_TYPEMISMATCH);
}

TEST(DomEdit, ValuesMayHoldWhatHasAMeaningInXml) {
  const auto document = documentOf(u"<r a='1'>t<!--k--><?p i?><![CDATA[c]]></r>");
  const CComPtr<IXMLDOMElement> root = document->documentElement();
  const char16_t* const value = u"&amp; &#65; <x> ]]> \t\n";
  std::vector<CComPtr<IXMLDOMNode>> nodes{root->attributes()->item(0)};
  for (long i = 0; i < 4; ++i) nodes.push_back(root->childNodes()->item(i));
  for (const CComPtr<IXMLDOMNode>& node : nodes) {
    node->putNodeValue(value);
    EXPECT_EQ(plain(node->nodeValue()), toUtf8(value)) << plain(node->nodeName());
  }
  root->setAttribute(u"b", value);
  EXPECT_EQ(plain(root->getAttribute(u"b")), toUtf8(value));
  const auto again = documentOf(document->xml().View());
  EXPECT_EQ(plain(again->documentElement()->getAttribute(u"a")), toUtf8(value));
  EXPECT_EQ(plain(again->documentElement()->text()), plain(root->text()));
}

TEST(DomEdit, RefusesTextThatWouldNotReadBack) {
  const auto document = documentOf(u"<r a='1'><!--k--><?p i?><![CDATA[c]]></r>");
  const CComPtr<IXMLDOMElement> root = document->documentElement();
  const CComPtr<IXMLDOMNodeList> children = root->childNodes();
  const auto put = [](const CComPtr<IXMLDOMNode>& node, const CComVariant& value) {
    return node->raw_putNodeValue(value);
  };
  EXPECT_EQ(put(root->attributes()->item(0), u"\x0001"), E_INVALIDARG);
  EXPECT_EQ(put(root->attributes()->item(0), u"\xD800"), E_INVALIDARG);
  EXPECT_EQ(put(root->attributes()->item(0), u"\xFFFE"), E_INVALIDARG);
  EXPECT_EQ(put(root->attributes()->item(0), CComBSTR(std::u16string_view(u"a\0b", 3))),
            E_INVALIDARG);
  EXPECT_EQ(put(children->item(0), u"a--b"), E_INVALIDARG);
  EXPECT_EQ(put(children->item(0), u"a-"), E_INVALIDARG);
  EXPECT_EQ(put(children->item(1), u"a?>b"), E_INVALIDARG);
  EXPECT_EQ(put(children->item(2), u"a]]>b"), S_OK);
  EXPECT_EQ(root->raw_setAttribute(CComBSTR(u"b c"), CComVariant(1)), E_INVALIDARG);
  EXPECT_EQ(root->raw_setAttribute(CComBSTR(u"a"), CComVariant(u"\x0001")), E_INVALIDARG);
  CComPtr<IXMLDOMNode> node;
  EXPECT_EQ(document->raw_createTextNode(CComBSTR(u"\x0008"), &node), E_INVALIDARG);
  EXPECT_EQ(document->raw_createComment(CComBSTR(u"--"), &node), E_INVALIDARG);
  CComPtr<IXMLDOMAttribute> attribute;
  EXPECT_EQ(document->raw_createAttribute(CComBSTR(u""), &attribute), E_INVALIDARG);
  EXPECT_EQ(plain(document->xml()),
            "<r a=\"1\"><!--k--><?p i?><![CDATA[a]]]]><![CDATA[>b]]></r>\n");
}

TEST(DomEdit, BlankTextIsWrittenSoThatItReadsBack) {
  const auto document = documentOf(u"<r><a/><b/><c xml:space='preserve'/></r>");
  const CComPtr<IXMLDOMElement> root = document->documentElement();
  const auto add = [&](const char16_t* path, std::initializer_list<const char16_t*> texts) {
    for (const char16_t* text : texts) {
      document->selectSingleNode(path)->appendChild(document->createTextNode(text));
    }
  };
  add(u"//a", {u"", u" ", u"\n", u""});
  add(u"//b", {u" ", u"x", u" "});
  add(u"//c", {u" "});
  const std::string written =
      "<r>\n  <a>&#32;\n</a>\n  <b> x </b>\n  <c xml:space=\"preserve\"> </c>\n</r>\n";
  EXPECT_EQ(plain(document->xml()), written);
  EXPECT_EQ(plain(documentOf(document->xml().View())->xml()), written);
  EXPECT_EQ(plain(document->selectSingleNode(u"//a")->lastChild()->xml()), "");
}

TEST(DomEdit, AnAddedAttributePreservesSpaceAsOneThatWasRead) {
  const auto document = documentOf(u"<r><a>&#32;<b/></a></r>");
  const CComPtr<IXMLDOMElement> root = document->documentElement();
  root->setAttribute(u"xml:space", u"preserve");
  EXPECT_EQ(plain(document->xml()), "<r xml:space=\"preserve\"><a> <b/></a></r>\n");
  root->setAttribute(u"xml:space", u"default");
  EXPECT_EQ(plain(document->xml()), "<r xml:space=\"default\">\n  <a>&#32;<b/></a>\n</r>\n");
}

TEST(DomEdit, TextAndCommentTakeNewValues) {
  const auto document = documentOf(u"<r>abc<!--k--></r>");
  document->documentElement()->firstChild()->putNodeValue(u"x");
  document->documentElement()->lastChild()->putNodeValue(u"y");
  EXPECT_EQ(plain(document->xml()), "<r>x<!--y--></r>\n");
}

}  // namespace
}  // namespace qx::xml
