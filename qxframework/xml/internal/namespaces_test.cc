#include "qxframework/xml/internal/namespaces.h"

#include "qxframework/xml/test_document.h"

#include <string>

namespace qx::xml {
namespace {

/// Takes an attribute out of the root of a new document, which lives no longer.
CComPtr<IXMLDOMNode> attributeOf(std::u16string_view text, const char16_t* name) {
  return documentOf(text)->documentElement()->attributes()->removeNamedItem(name);
}

/// Returns the XML of `text` after its root has got the attributes.
std::string with(std::u16string_view text, std::initializer_list<CComPtr<IXMLDOMNode>> attributes) {
  const auto document = documentOf(text);
  for (const CComPtr<IXMLDOMNode>& each : attributes) {
    document->documentElement()->attributes()->setNamedItem(each);
  }
  return plain(document->documentElement()->xml());
}

TEST(Namespaces, AnAttributeDeclaresItsNamespaceWhereItIsUnknown) {
  EXPECT_EQ(with(u"<t/>", {attributeOf(u"<s xmlns:p='urn:p' p:a='1'/>", u"p:a")}),
            "<t xmlns:p=\"urn:p\" p:a=\"1\"/>");
}

TEST(Namespaces, AnAttributeUsesADeclarationThatIsThere) {
  EXPECT_EQ(with(u"<t xmlns:p='urn:p'/>", {attributeOf(u"<s xmlns:p='urn:p' p:a='1'/>", u"p:a")}),
            "<t xmlns:p=\"urn:p\" p:a=\"1\"/>");
}

TEST(Namespaces, AnotherPrefixOfTheSameNameIsNotUsed) {
  EXPECT_EQ(with(u"<t xmlns:q='urn:p'/>", {attributeOf(u"<s xmlns:p='urn:p' p:a='1'/>", u"p:a")}),
            "<t xmlns:q=\"urn:p\" xmlns:p=\"urn:p\" p:a=\"1\"/>");
}

TEST(Namespaces, TwoAttributesShareOneDeclaration) {
  const char16_t* const source = u"<s xmlns:p='urn:p' p:a='1' p:b='2'/>";
  EXPECT_EQ(with(u"<t/>", {attributeOf(source, u"p:a"), attributeOf(source, u"p:b")}),
            "<t xmlns:p=\"urn:p\" p:a=\"1\" p:b=\"2\"/>");
}

TEST(Namespaces, RemovedAttributesKeepTheirOwnPrefixes) {
  const auto document = documentOf(
      u"<s xmlns:p='urn:1' xmlns:q='urn:1' xmlns:r='urn:2' p:a='1' "
      u"q:b='2' r:c='3' p:d='4'/>");
  const CComPtr<IXMLDOMNamedNodeMap> map = document->documentElement()->attributes();
  for (const char16_t* name : {u"p:a", u"q:b", u"r:c", u"p:d"}) {
    const CComPtr<IXMLDOMNode> removed = map->removeNamedItem(name);
    EXPECT_EQ(removed->nodeName().View(), name);
    EXPECT_EQ(plain(removed->namespaceURI()), name[0] == u'r' ? "urn:2" : "urn:1");
  }
  EXPECT_EQ(map->length(), 0);
}

TEST(Namespaces, AnAttributeReplacesOneOfTheSameNamespaceUnderAnotherPrefix) {
  EXPECT_EQ(with(u"<t xmlns:q='urn:p' q:a='old' z='9'/>",
                 {attributeOf(u"<s xmlns:p='urn:p' p:a='new'/>", u"p:a")}),
            "<t xmlns:q=\"urn:p\" xmlns:p=\"urn:p\" p:a=\"new\" z=\"9\"/>");
}

TEST(Namespaces, AnAttributeKeepsNamesakesOfOtherNamespaces) {
  EXPECT_EQ(with(u"<t xmlns:q='urn:q' q:a='1' a='2' q:b='3'/>",
                 {attributeOf(u"<s xmlns:p='urn:p' p:a='4'/>", u"p:a")}),
            "<t xmlns:q=\"urn:q\" xmlns:p=\"urn:p\" q:a=\"1\" a=\"2\" q:b=\"3\" p:a=\"4\"/>");
}

TEST(Namespaces, ARemovedElementKeepsItsOwnDeclarations) {
  const auto document = documentOf(
      u"<r xmlns:q='urn:q'><a xmlns:p='urn:p' p:x='1'><b><p:c/><q:d/><q:e/></b></a></r>");
  const CComPtr<IXMLDOMElement> root = document->documentElement();
  const CComPtr<IXMLDOMNode> removed = root->removeChild(root->firstChild());
  EXPECT_EQ(plain(removed->xml()),
            "<a xmlns:p=\"urn:p\" xmlns:q=\"urn:q\" p:x=\"1\">\n"
            "  <b>\n"
            "    <p:c/>\n"
            "    <q:d/>\n"
            "    <q:e/>\n"
            "  </b>\n"
            "</a>");
}

// What is freed with a document is used by the next ones, so that a text that a moved node does not
// own would read differently.
TEST(Namespaces, MovedNodesOwnTheirTexts) {
  const auto target = documentOf(u"<t/>");
  {
    const auto source = documentOf(
        u"<s xmlns:pfx='urn:pfx'><abc pfx:def='ghi' jkl='m'>nop<!--qr--><?st uv?><![CDATA[wx]]>"
        u"</abc></s>");
    target->documentElement()->appendChild(source->documentElement()->firstChild());
  }
  for (int i = 0; i < 20; ++i) {
    documentOf(
        u"<z xmlns:zzz='urn:zzz'><zzz zzz:zzz='zzz' zzy='z'>zzz<!--zz--><?zz zz?>"
        u"<![CDATA[zz]]></zzz></z>");
  }
  EXPECT_EQ(plain(target->documentElement()->firstChild()->xml()),
            "<abc xmlns:pfx=\"urn:pfx\" pfx:def=\"ghi\" jkl=\"m\">nop<!--qr--><?st uv?>"
            "<![CDATA[wx]]></abc>");
}

}  // namespace
}  // namespace qx::xml
