#include "qxdesk/screens/batch/element_places.h"

#include <gtest/gtest.h>

#include <string>

namespace qx::screens {
namespace {

std::string placesIn(std::u16string_view text) {
  std::string out;
  for (const Place& place : elementPlaces(text)) {
    if (!out.empty()) out += ' ';
    out += std::to_string(place.line) + ":" + std::to_string(place.column);
  }
  return out;
}

TEST(ElementPlaces, CountLinesAndColumnsFromOne) {
  EXPECT_EQ(placesIn(u"<a>\n  <b x='1'/>\r\n\t<c></c></a>"), "1:1 2:3 3:2");
  EXPECT_EQ(placesIn(u""), "");
}

TEST(ElementPlaces, ATagMayGoOverSeveralLines) {
  EXPECT_EQ(placesIn(u"<a\n x='1'\n><b\n/><c/></a>"), "1:1 3:2 4:3");
}

TEST(ElementPlaces, MarkupInQuotesCommentsSectionsAndInstructionsIsNoElement) {
  EXPECT_EQ(placesIn(u"<?xml version='1.0'?><!-- <x y='>' --><a z=\"/><q>\"><![CDATA[<x>]]>"
                     u"<b w='\">'/><?p <x> ?><!--<y/>--></a>"),
            "1:39 1:67");
}

TEST(ElementPlaces, ADocumentTypeIsPassedOver) {
  EXPECT_EQ(placesIn(u"<!DOCTYPE a SYSTEM '<b>'><a/>"), "1:26");
  EXPECT_EQ(placesIn(u"<!DOCTYPE a [<!ELEMENT b (c)><!-- ' ]> --><?p ]> ?>"
                     u"<!NOTATION n SYSTEM \"]>\">] >\n<a/>"),
            "2:1");
}

TEST(ElementPlaces, ASurrogatePairIsOneColumn) {
  EXPECT_EQ(placesIn(u"<a x='\U0001F600\u00E4'><b/></a>"), "1:1 1:11");
}

}  // namespace
}  // namespace qx::screens
