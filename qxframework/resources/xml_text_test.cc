#include "qxframework/resources/xml_text.h"

#include <gtest/gtest.h>

namespace {

TEST(EscapeXml, ReplacesTheFiveCharactersOfMarkup) {
  EXPECT_EQ(qx::escapeXml(u"a & \"b\" 'c' <d>"), u"a &amp; &quot;b&quot; &apos;c&apos; &lt;d&gt;");
}

TEST(EscapeXml, EscapesAnEntityOnceMore) { EXPECT_EQ(qx::escapeXml(u"&lt;"), u"&amp;lt;"); }

TEST(EscapeXml, KeepsEverythingElse) {
  EXPECT_EQ(qx::escapeXml(u""), u"");
  EXPECT_EQ(qx::escapeXml(u"\t\n\u00E4\U0001F600;%@"), u"\t\n\u00E4\U0001F600;%@");
}

}  // namespace
