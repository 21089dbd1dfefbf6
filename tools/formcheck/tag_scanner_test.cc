#include "tools/formcheck/tag_scanner.h"

#include "qxframework/automation/text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qx::formcheck {
namespace {

using ::testing::ElementsAre;

std::string text(const Place& place) {
  return std::to_string(place.line) + ":" + std::to_string(place.column);
}

/// Returns "NAME PLACE" of each tag with "NAME PLACE VALUE_PLACE" of each attribute.
std::vector<std::string> scanned(std::u16string_view source) {
  std::vector<std::string> out;
  for (const ScannedTag& tag : scanTags(source)) {
    std::string line = toUtf8(tag.name) + " " + text(tag.place);
    for (const ScannedAttribute& attribute : tag.attributes) {
      line += ", " + toUtf8(attribute.name) + " " + text(attribute.place) + " " +
              text(attribute.valuePlace);
    }
    out.push_back(line);
  }
  return out;
}

TEST(TagScanner, ReturnsThePlacesOfTagsAttributesAndValues) {
  EXPECT_THAT(scanned(u"<a>\n  <b x='1' y = \"2\"/>text</a>"),
              ElementsAre("a 1:1", "b 2:3, x 2:6 2:9, y 2:12 2:17"));
}

TEST(TagScanner, ReadsATagOverSeveralLines) {
  EXPECT_THAT(scanned(u"<a\n\tx=\n\"1\"\r\n  y='\n'\n>\n<b/></a>"),
              ElementsAre("a 1:1, x 2:2 3:2, y 4:3 4:6", "b 7:1"));
}

TEST(TagScanner, PassesOverCommentsSectionsAndInstructions) {
  EXPECT_THAT(scanned(u"<?xml version='1.0'?><!-- <x y='>' --><a><![CDATA[<x>]]]><b/><?p <x> ?>"
                      u"<!--<y/>--></a>"),
              ElementsAre("a 1:39", "b 1:58"));
}

TEST(TagScanner, PassesOverADocumentType) {
  EXPECT_THAT(scanned(u"<!DOCTYPE a SYSTEM 'x>'>\n<a/>"), ElementsAre("a 2:1"));
  EXPECT_THAT(scanned(u"<!DOCTYPE a SYSTEM '<b>'><a/>"), ElementsAre("a 1:26"));
  EXPECT_THAT(scanned(u"<!DOCTYPE a [<!ELEMENT b (c)><!-- ' ]> --><?p ]> ?>"
                      u"<!NOTATION n SYSTEM \"]>\">] >\n<a/>"),
              ElementsAre("a 2:1"));
}

TEST(TagScanner, AQuotedMarkOfAnElementsEndIsText) {
  EXPECT_THAT(scanned(u"<a x='/>' y=\"'>\"><b/></a>"),
              ElementsAre("a 1:1, x 1:4 1:7, y 1:11 1:14", "b 1:18"));
}

TEST(TagScanner, CountsCharactersAndNotUnits) {
  EXPECT_THAT(scanned(u"<a x='𝄞ä' y=''/>"), ElementsAre("a 1:1, x 1:4 1:7, y 1:11 1:14"));
  // The first and the last pair, and the character that follows the pairs.
  EXPECT_THAT(scanned(u"<a x='\U00010000\U0010FFFF\uE000' y=''/>"),
              ElementsAre("a 1:1, x 1:4 1:7, y 1:12 1:15"));
}

// The scan must end within any text, although only well-formed ones have a meaning.
TEST(TagScanner, EndsWithATextThatIsCutAnywhere) {
  const std::u16string whole =
      u"<!DOCTYPE a [<!ELEMENT a \"x\">]><?p q?><!-- c --><a x='1'\n y=\"2\"><![CDATA[d]]></a>";
  EXPECT_THAT(scanned(whole), ElementsAre("a 1:49, x 1:52 1:55, y 2:2 2:5"));
  for (std::size_t size = 0; size < whole.size(); ++size)
    EXPECT_LE(scanned(std::u16string_view(whole).substr(0, size)).size(), 2U) << size;
}

}  // namespace
}  // namespace qx::formcheck
