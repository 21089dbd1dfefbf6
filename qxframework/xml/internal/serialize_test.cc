#include "qxframework/xml/internal/serialize.h"

#include "qxframework/xml/test_document.h"

#include <algorithm>
#include <string>

namespace qx::xml {
namespace {

/// Returns the XML of a document that is read from `text`.
std::string rewritten(std::u16string_view text) { return plain(documentOf(text)->xml()); }

TEST(Serialize, ADeclarationKeepsItsStandalone) {
  EXPECT_EQ(rewritten(u"<?xml version='1.0' standalone='no'?><r/>"),
            "<?xml version=\"1.0\" standalone=\"no\"?>\n<r/>\n");
  EXPECT_EQ(rewritten(u"<?xml version='1.0' encoding='UTF-8'?><r/>"),
            "<?xml version=\"1.0\"?>\n<r/>\n");
}

TEST(Serialize, SpaceIsPreservedByItsAttributeInAnyPlace) {
  for (const char* text :
       {"<r a=\"1\" xml:space=\"preserve\"> <a/></r>\n",
        "<r xml:lang=\"de\" xml:space=\"preserve\"><a> </a> </r>\n",
        "<r xml:space=\"preserve\" b=\"2\"> <a xml:space=\"default\">&#32;</a></r>\n"}) {
    EXPECT_EQ(rewritten(toUtf16(text)), text);
  }
}

TEST(Serialize, ABlankTextBesideOneSectionReadsBack) {
  for (const char* text : {"<r><![CDATA[b]]>&#32;<e/></r>\n", "<r><e/>&#9;<![CDATA[b]]></r>\n",
                           "<r>&#32;<![CDATA[b]]>&#10;</r>\n"}) {
    EXPECT_EQ(rewritten(toUtf16(text)), text);
  }
}

TEST(Serialize, NoOtherAttributePreservesSpace) {
  for (const char* text :
       {"<r xml:sort=\"preserve\">\n  <a/>\n</r>\n", "<r space=\"preserve\">\n  <a/>\n</r>\n",
        "<r xmlns:p=\"urn:p\" p:space=\"preserve\">\n  <a/>\n</r>\n",
        "<r xml:space=\"preserved\">\n  <a/>\n</r>\n"}) {
    EXPECT_EQ(rewritten(toUtf16(text)), text);
  }
}

TEST(Serialize, IndentsTheFirstThirtyLevels) {
  std::u16string text;
  for (int level = 0; level < 40; ++level) text += u"<a>";
  text += u"<b/>";
  for (int level = 0; level < 40; ++level) text += u"</a>";
  const std::string written = rewritten(text);
  std::size_t begin = 0;
  for (std::size_t line = 0; line < 81; ++line) {
    const std::size_t end = written.find('\n', begin);
    const std::size_t depth = line <= 40 ? line : 80 - line;
    EXPECT_EQ(written.substr(begin, end - begin).find('<'), 2 * std::min<std::size_t>(depth, 30))
        << line;
    begin = end + 1;
  }
  EXPECT_EQ(begin, written.size());
  EXPECT_EQ(rewritten(toUtf16(written)), written);
}

TEST(Serialize, TextsBesideSectionsAndCommentsReadBack) {
  for (const char* text : {"<r>a<!--b--> c</r>\n", "<r>\n  <!--a-->\n  <?b?>\n</r>\n",
                           "<r><![CDATA[a]]> <b/></r>\n", "<r>a<b>\n  <c/>\n</b></r>\n"}) {
    const std::string once = rewritten(toUtf16(text));
    EXPECT_EQ(rewritten(toUtf16(once)), once) << text;
  }
}

TEST(Serialize, ABlankTextIsReferredToOnlyAtItsBeginning) {
  const auto document = documentOf(u"<r><a/></r>");
  const auto a = document->documentElement()->firstChild();
  const auto add = [&](const char16_t* text) { a->appendChild(document->createTextNode(text)); };
  add(u" ");
  add(u" ");
  EXPECT_EQ(plain(a->xml()), "<a>&#32; </a>");
  add(u"x");
  EXPECT_EQ(plain(a->xml()), "<a>  x</a>");
  EXPECT_EQ(plain(a->firstChild()->xml()), " ");
}

}  // namespace
}  // namespace qx::xml
