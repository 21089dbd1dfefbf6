#include "qxframework/xml/element_tree.h"

#include "qxframework/xml/test_document.h"

#include <gmock/gmock.h>

namespace qx::xml {
namespace {

// Writes an element as name@line:column[attribute=value ...](children).
std::string shown(const ElementTree& element) {
  std::string out = toUtf8(element.name) + "@" + std::to_string(element.line) + ":" +
                    std::to_string(element.column);
  for (const ElementTree::Attribute& each : element.attributes)
    out += "[" + toUtf8(each.name) + "=" + toUtf8(each.value) + "]";
  if (element.children.empty()) return out;
  out += "(";
  for (const ElementTree& child : element.children) out += " " + shown(child);
  return out + " )";
}

std::string treeOf(std::u16string_view text) {
  const ElementsRead read = readElements(text);
  return read.root ? shown(*read.root) : "refused: " + toUtf8(read.reason);
}

TEST(ElementTree, HasElementsAndAttributesInTheOrderOfTheDocument) {
  EXPECT_EQ(treeOf(u"<a x='1' b='2'><c/><d y=''><e/></d></a>"),
            "a@1:1[x=1][b=2]( c@1:16 d@1:20[y=]( e@1:28 ) )");
}

TEST(ElementTree, PlacesCountLinesAndCharacters) {
  EXPECT_EQ(treeOf(u"<?xml version='1.0'?>\r\n<!-- <x> -->\n<a\n b='\u00e9\U0001F600'><c/>"
                   u"\u00e9\U0001F600<d\n/></a>"),
            "a@3:1[b=\u00e9\U0001F600]( c@4:9 d@4:15 )");
}

TEST(ElementTree, PassesOverTextsCommentsAndInstructions) {
  EXPECT_EQ(treeOf(u"<a> text <!-- <b/> --> &amp; <?p <c/>?><![CDATA[<d/>]]><e>more</e></a>"),
            "a@1:1( e@1:56 )");
}

TEST(ElementTree, ValuesAreThoseOfTheDocumentWithNodes) {
  const std::u16string text = u"<a b='&lt;&gt;&amp;&quot;&apos;&#38;&#x1F600;' c=' x\n\ty&#10;'/>";
  const auto node = documentOf(text)->documentElement();
  const ElementsRead read = readElements(text);
  ASSERT_TRUE(read.root.has_value());
  ASSERT_EQ(read.root->attributes.size(), 2U);
  EXPECT_EQ(read.root->attributes[0].value, u"<>&\"'&\U0001F600");
  for (const ElementTree::Attribute& each : read.root->attributes)
    EXPECT_EQ(each.value, viewOfBstr(node->getAttribute(each.name).bstrVal));
}

TEST(ElementTree, LeavesOutPrefixesOfElementsAndDeclarationsOfNamespaces) {
  EXPECT_EQ(treeOf(u"<p:a xmlns:p='urn:p' xmlns='urn:q' p:b='1' c='2'/>"), "a@1:1[p:b=1][c=2]");
}

TEST(ElementTree, HasTheDefaultValuesOfADeclaration) {
  EXPECT_EQ(treeOf(u"<!DOCTYPE a [<!ATTLIST a b CDATA 'no' c CDATA 'd&amp;e'>]><a b='1'/>"),
            "a@1:59[b=1][c=d&e]");
}

TEST(ElementTree, KeepsTextsOfAnyLengthWithTheResult) {
  const std::string value(100'000, 'v');
  std::u16string text = u"<!DOCTYPE a [<!ATTLIST b c CDATA '" + toUtf16(value) + u"'>]><a>";
  for (int i = 0; i < 20; ++i) text += u"<b d=''/>";
  ElementsRead read = readElements(text + u"</a>");
  const ElementsRead moved = std::move(read);
  ASSERT_TRUE(moved.root.has_value());
  ASSERT_EQ(moved.root->children.size(), 20U);
  for (const ElementTree& child : moved.root->children) {
    ASSERT_EQ(child.attributes.size(), 2U);
    EXPECT_EQ(toUtf8(child.name), "b");
    EXPECT_EQ(child.attributes[0].value, u"");
    EXPECT_TRUE(toUtf8(child.attributes[1].value) == value);
  }
}

// The faults of a document, with and without a place.
class RefusedElements : public testing::TestWithParam<std::u16string> {};

TEST_P(RefusedElements, HaveTheReasonAndThePlaceOfTheDocumentWithNodes) {
  const auto document = emptyDocument();
  ASSERT_EQ(document->loadXML(_bstr_t(GetParam())), VARIANT_FALSE);
  const auto error = document->parseError();
  const ElementsRead read = readElements(GetParam());
  EXPECT_FALSE(read.root.has_value());
  EXPECT_EQ(toUtf8(read.reason), plain(error->reason()));
  EXPECT_EQ(read.line, error->line());
  EXPECT_EQ(read.column, error->linepos());
}

std::u16string nested(int levels) {
  std::u16string text;
  for (int i = 0; i < levels; ++i) text += u"<a>";
  for (int i = 0; i < levels; ++i) text += u"</a>";
  return text;
}

INSTANTIATE_TEST_SUITE_P(, RefusedElements,
                         testing::Values(u"", u"text", u"<a>", u"<a></b>", u"<a/><b/>",
                                         u"<a b='1' b='2'/>", u"<a b='<'/>", u"<a b=1/>",
                                         u"<a>&unknown;</a>", u"<a b='&unknown;'/>", u"<p:a/>",
                                         u"<a>\u0001</a>", u"<!-- b -- c --><a/>",
                                         u"<!DOCTYPE a [<!-- b -- ]><a/>", u"<a><!-- b",
                                         u"<a><?p b", u"<a><![CDATA[b", u"<a>]]></a>",
                                         u"<a>\xd800</a>", std::u16string(u"<a>\0</a>", 8),
                                         u"<!DOCTYPE a [<!ENTITY e 'x'>]><a>&e;</a>", nested(256)));

TEST(ElementTree, ReadsAsManyLevelsAsTheDocumentWithNodes) {
  EXPECT_TRUE(readElements(nested(255)).root.has_value());
}

}  // namespace
}  // namespace qx::xml
