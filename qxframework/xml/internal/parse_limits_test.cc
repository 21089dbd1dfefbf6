// Limits that keep short documents from taking much time.

#include "qxframework/xml/element_tree.h"
#include "qxframework/xml/internal/parse.h"
#include "qxframework/xml/test_document.h"
#include "testing/temp_folder.h"

#include <cstdint>
#include <filesystem>
#include <string>

namespace qx::xml {
namespace {

constexpr char kTooManyAttributes[] =
    "An element has more than 2000 attributes and declarations of namespaces.\n";
constexpr char kTooManyNamespaces[] =
    "More than 500 declarations of namespaces hold for an element.\n";

/// Returns attributes, or declarations of namespaces for `name` "xmlns:a", one per line.
std::u16string manyOf(const std::string& name, int count) {
  std::string text;
  for (int i = 0; i < count; ++i) text += "\n" + name + std::to_string(i) + "='u'";
  return toUtf16(text);
}

std::u16string withAttributes(int count) { return u"<r><e" + manyOf("a", count) + u"/></r>"; }

std::string placed(const ParseFault& fault) {
  return fault.reason + std::to_string(fault.line) + ":" + std::to_string(fault.position);
}

std::string faultOf(const std::u16string& text) { return placed(parseText(text).fault); }

TEST(ParseLimits, ReadsTwoThousandAttributesOfAnElement) {
  const auto document = documentOf(withAttributes(2'000));
  EXPECT_EQ(document->documentElement()->firstChild()->attributes()->length(), 2'000);
}

TEST(ParseLimits, RefusesMoreAttributesAtTheEndOfTheirTag) {
  EXPECT_EQ(faultOf(withAttributes(2'001)), std::string(kTooManyAttributes) + "2002:10");
  EXPECT_EQ(faultOf(u"<r><e" + manyOf("a", 1'600) + manyOf("xmlns:n", 401) + u"/></r>"),
            std::string(kTooManyAttributes) + "2002:15");
}

// The tag has no end that could be waited for.
TEST(ParseLimits, RefusesAttributesWithoutEndWhileTheyAreRead) {
  const ParseFault fault = parseText(u"<r><e" + manyOf("a", 40'000)).fault;
  EXPECT_EQ(fault.reason, kTooManyAttributes);
  EXPECT_GT(fault.line, 2'000);
  EXPECT_LT(fault.line, 8'000);
  EXPECT_GE(fault.position, 1);
}

TEST(ParseLimits, RefusesAttributesWithoutEndInEveryEncoding) {
  const test::TempFolder folder;
  const std::u16string text = u"<r><e" + manyOf("a", 40'000);
  std::string wide("\xFF\xFE", 2);
  for (const char16_t unit : text) (wide += static_cast<char>(unit)) += '\0';
  const std::string latin = "<?xml version='1.0' encoding='ISO-8859-1'?>" + toUtf8(text);
  for (const std::string& bytes : {toUtf8(text), wide, latin}) {
    const ParseFault fault = parseFile(folder.write("long.xml", bytes).string()).fault;
    EXPECT_EQ(fault.reason, kTooManyAttributes);
    EXPECT_GT(fault.line, 2'000);
    EXPECT_LT(fault.line, 16'000);
  }
}

TEST(ParseLimits, CountsTheNamespacesOfAnElementAndThoseAroundIt) {
  const auto nested = [](int inner) {
    return u"<r" + manyOf("xmlns:a", 250) + u"><e" + manyOf("xmlns:b", inner) + u"/></r>";
  };
  EXPECT_EQ(parseText(nested(250)).fault.code, S_OK);
  EXPECT_EQ(faultOf(nested(251)), std::string(kTooManyNamespaces) + "502:15");
}

TEST(ParseLimits, ElementsBesideEachOtherShareNoLimit) {
  const std::u16string each = u"<e" + manyOf("a", 1'400) + manyOf("xmlns:n", 400) + u"/>";
  EXPECT_EQ(parseText(u"<r>" + each + each + each + u"</r>").fault.code, S_OK);
}

// Forms and definitions are read as elements.
TEST(ParseLimits, HoldForElementsWithoutADocument) {
  EXPECT_TRUE(readElements(withAttributes(2'000)).root.has_value());
  const ElementsRead refused = readElements(withAttributes(2'001));
  EXPECT_FALSE(refused.root.has_value());
  EXPECT_EQ(toUtf8(refused.reason), kTooManyAttributes);
  EXPECT_EQ(refused.line, 2'002);
  EXPECT_EQ(refused.column, 10);
}

TEST(ParseLimits, ALongDocumentHasItsElementsAtTheirPlaces) {
  std::u16string text = u"<r>\n";
  for (int i = 0; i < 20'000; ++i) text += u" <e a='\u00e4'>t</e>\n";
  const ElementsRead read = readElements(text + u"</r>");
  ASSERT_TRUE(read.root.has_value());
  ASSERT_EQ(read.root->children.size(), 20'000U);
  EXPECT_EQ(read.root->children.back().line, 20'001);
  EXPECT_EQ(read.root->children.back().column, 2);
  EXPECT_EQ(read.root->children[777].line, 779);
  EXPECT_EQ(read.root->children[777].column, 2);
}

// A piece of the input may end anywhere, also between the parts of a text.
TEST(ParseLimits, ALongDocumentIsReadLikeAShortOne) {
  const std::u16string row =
      u"<e>a&#13;&#10;b <![CDATA[ c ]]>\n<![CDATA[d]]> &#32; </e>\n<f> &#10; </f><!-- \u00e4 -->";
  const auto reading = [&](int rows) {
    std::u16string text = u"<r>";
    for (int i = 0; i < rows; ++i) text += row;
    return plain(documentOf(text + u"</r>")->xml());
  };
  const std::string one = reading(1);
  const std::string head = "<r>\n";
  const std::string tail = "</r>\n";
  const std::string body = one.substr(head.size(), one.size() - head.size() - tail.size());
  std::string expected = head;
  for (int i = 0; i < 3'000; ++i) expected += body;
  EXPECT_EQ(reading(3'000), expected + tail);
}

// The element alone says what is refused; a tree of so many would take a while.
std::u16string ofSize(std::size_t size) {
  const std::u16string head = u"<r><!--";
  const std::u16string tail = u"--></r>";
  return head + std::u16string(size - head.size() - tail.size(), u'c') + tail;
}

TEST(ParseLimits, RefusesADocumentOfMoreThanThirtyMillionBytes) {
  const std::string reason = "The document is longer than 30000000 bytes.\n0:0";
  EXPECT_NE(faultOf(ofSize(30'000'000)), reason);
  EXPECT_EQ(faultOf(ofSize(30'000'001)), reason);
  // Two bytes of UTF-8 each.
  EXPECT_EQ(faultOf(std::u16string(15'000'001, u'\u00e4')), reason);
}

TEST(ParseLimits, ReadsNoMoreOfAFileThanShowsThatItIsTooLong) {
  const test::TempFolder folder;
  const auto file = folder.write("long.xml", "<r>");
  std::filesystem::resize_file(file, std::uintmax_t{1} << 40);
  EXPECT_EQ(placed(parseFile(file.string()).fault),
            "The document is longer than 30000000 bytes.\n0:0");
}

}  // namespace
}  // namespace qx::xml
