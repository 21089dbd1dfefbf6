#include "qxframework/xml/internal/xpath.h"

#include "qxframework/xml/test_document.h"

#include <string>

namespace qx::xml {
namespace {

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

TEST(DomXPath, KnowsThePrefixesOfTheNodeThatIsAsked) {
  const auto document = documentOf(u"<r xmlns='urn:d'><a xmlns:p='urn:p'><p:b/></a></r>");
  const CComPtr<IXMLDOMNode> a = document->documentElement()->firstChild();
  EXPECT_EQ(plain(a->selectSingleNode(u"p:b")->nodeName()), "p:b");
  CComPtr<IXMLDOMNode> node;
  EXPECT_EQ(document->raw_selectSingleNode(CComBSTR(u"//p:b"), &node), E_INVALIDARG)
      << "the root does not know the prefix";
  EXPECT_EQ(document->raw_selectSingleNode(CComBSTR(u"//a"), &node), S_FALSE)
      << "a default namespace has no name in a path";
}

TEST(DomXPath, SelectsNoDeclarations) {
  const auto document = documentOf(u"<r xmlns:p='urn:p'><a/></r>");
  EXPECT_EQ(document->selectNodes(u"//namespace::*")->length(), 0);
  EXPECT_EQ(namesOf(document->selectNodes(u"//a | //namespace::*")), "a");
}

TEST(DomXPath, RefusesAPathThatTakesTooManySteps) {
  std::u16string text = u"<r>";
  for (int i = 0; i < 600; ++i) text += u"<a/>";
  const auto document = documentOf(text + u"</r>");
  CComPtr<IXMLDOMNode> node;
  EXPECT_EQ(
      document->raw_selectSingleNode(CComBSTR(u"//a[count(//a[count(//a) > 0]) = 600]"), &node),
      E_INVALIDARG);
  EXPECT_EQ(document->raw_selectSingleNode(CComBSTR(u"//a[count(//a) = 600]"), &node), S_OK);
}

// A table of ids would point to attributes that may be removed.
TEST(DomXPath, KnowsNoIds) {
  const auto document = documentOf(u"<r xml:id='x'><a xml:id='y'/></r>");
  EXPECT_EQ(document->selectNodes(u"id('x') | id('y')")->length(), 0);
}

TEST(DomXPath, ItsListHasAnEndAndABeginning) {
  const CComPtr<IXMLDOMNodeList> list = documentOf(u"<r><a/><b/></r>")->selectNodes(u"/r/*");
  CComPtr<IXMLDOMNode> node;
  EXPECT_EQ(list->raw_item(2, &node), S_FALSE);
  EXPECT_EQ(list->raw_item(-1, &node), S_FALSE);
  EXPECT_EQ(node.p, nullptr);
  EXPECT_EQ(plain(list->item(1)->nodeName()), "b");
  EXPECT_EQ(namesOf(list), "a b");
  EXPECT_EQ(list->raw_nextNode(&node), S_FALSE);
  list->reset();
  EXPECT_EQ(namesOf(list), "a b");
}

TEST(DomXPath, SelectionDoesNotChangeWithTheTree) {
  const auto document = documentOf(u"<r><a/><a/></r>");
  const CComPtr<IXMLDOMNodeList> list = document->selectNodes(u"//a");
  document->documentElement()->removeChild(list->item(0));
  EXPECT_EQ(list->length(), 2);
  EXPECT_EQ(namesOf(list), "a a");
}

}  // namespace
}  // namespace qx::xml
