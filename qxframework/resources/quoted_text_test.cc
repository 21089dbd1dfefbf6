#include "qxframework/resources/quoted_text.h"

#include "qxframework/automation/text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

namespace qx {
namespace {

using ::testing::ElementsAre;

constexpr std::u16string_view kOpeners[] = {u"id=\"", u"title=\""};
enum Opener : std::size_t { kId, kTitle };

class QuotedTextTest : public ::testing::Test {
 protected:
  /// Replaces the values of an opener by `value` and notes each former value with its line.
  void pass(QuotedText& text, Opener opener, const std::u16string& value) {
    text.rewrite(opener, [&](std::u16string_view former, const auto& line) {
      seen.push_back(toUtf8(former) + ":" + std::to_string(line()));
      return value;
    });
  }
  static std::string plain(const QuotedText& text) { return toUtf8(text.text().View()); }

  std::vector<std::string> seen;
};

TEST_F(QuotedTextTest, ReplacesTheValuesOfOneOpenerInTheirOrder) {
  QuotedText text(u"<a id=\"1\" title=\"t\">\n<b myid=\"\"\nid=\"2\n\"/>", kOpeners);
  pass(text, kId, u"new");
  EXPECT_THAT(seen, ElementsAre("1:1", ":2", "2\n:4"));
  EXPECT_EQ(plain(text), "<a id=\"new\" title=\"t\">\n<b myid=\"new\"\nid=\"new\"/>");
}

TEST_F(QuotedTextTest, KeepsATextWithoutItsOpeners) {
  for (const char16_t* each : {u"", u"\"", u"id=", u"id='1'", u"ID=\"1\"", u"=\"1\"", u"d=\"1\"",
                               u"idx=\"1\"", u"\"id=1\"", u"id =\"1\""}) {
    QuotedText text(each, kOpeners);
    pass(text, kId, u"new");
    EXPECT_EQ(text.text().View(), std::u16string_view(each));
  }
  EXPECT_THAT(seen, ElementsAre());
}

TEST_F(QuotedTextTest, AValueWithoutItsClosingMarkIsKept) {
  QuotedText text(u"<a id=\"1\" id=\"2", kOpeners);
  pass(text, kId, u"new");
  EXPECT_THAT(seen, ElementsAre("1:1"));
  EXPECT_EQ(plain(text), "<a id=\"new\" id=\"2");
}

TEST_F(QuotedTextTest, AValueIsNoOpenerInItsOwnPass) {
  QuotedText text(u"id=\"id=\"id=\"x\"", kOpeners);
  pass(text, kId, u"id=");
  EXPECT_THAT(seen, ElementsAre("id=:1", "x:1"));
  EXPECT_EQ(plain(text), "id=\"id=\"id=\"id=\"");
}

TEST_F(QuotedTextTest, ALaterPassReadsWhatAnEarlierOneWrote) {
  QuotedText text(u"<a id=\"1\" b=\"2\"\n c=\"3\"/>", kOpeners);
  pass(text, kId, u"\n\ntitle=");
  pass(text, kTitle, u"new");
  EXPECT_THAT(seen, ElementsAre("1:1", " b=:3"));
  EXPECT_EQ(plain(text), "<a id=\"\n\ntitle=\"new\"2\"\n c=\"3\"/>");
}

TEST_F(QuotedTextTest, AReplacedValueIsNoLongerTheOpenerThatItWas) {
  QuotedText text(u"<a id=\"title=\" b=\"2\"/>", kOpeners);
  pass(text, kId, u"new");
  pass(text, kTitle, u"never");
  EXPECT_EQ(plain(text), "<a id=\"new\" b=\"2\"/>");
}

TEST_F(QuotedTextTest, CountsTheLinesOfAnEarlierPass) {
  QuotedText text(u"\n<a id=\"x\ny\" title=\"t\"\n id=\"z\"/>", kOpeners);
  pass(text, kId, u"one line");
  pass(text, kTitle, u"three\n\nlines");
  pass(text, kId, u"");
  EXPECT_THAT(seen, ElementsAre("x\ny:3", "z:4", "t:2", "one line:2", "one line:5"));
  EXPECT_EQ(plain(text), "\n<a id=\"\" title=\"three\n\nlines\"\n id=\"\"/>");
}

TEST_F(QuotedTextTest, AValueMayBeAnyLength) {
  const std::u16string value(100'000, u'v');
  const std::u16string all = u"<a id=\"" + value + u"\" title=\"\"/>";
  QuotedText text(all, kOpeners);
  pass(text, kTitle, value);
  EXPECT_TRUE(text.text().View() == u"<a id=\"" + value + u"\" title=\"" + value + u"\"/>");
  pass(text, kId, u"");
  EXPECT_TRUE(text.text().View() == u"<a id=\"\" title=\"" + value + u"\"/>");
}

TEST_F(QuotedTextTest, ReturnsTheStartOfTheText) {
  QuotedText text(u"<a id=\"1\" b=\"2\"/>", kOpeners);
  pass(text, kId, u"new");
  const std::u16string all = u"<a id=\"new\" b=\"2\"/>";
  for (std::size_t length = 0; length <= all.size() + 1; ++length) {
    EXPECT_EQ(text.start(length), all.substr(0, length)) << length;
  }
}

TEST_F(QuotedTextTest, TheStartFollowsThePasses) {
  QuotedText text(u"<a id=\"1\" title=\"2\"/>", kOpeners);
  EXPECT_EQ(text.start(9), u"<a id=\"1\"");
  pass(text, kId, u"new");
  EXPECT_EQ(text.start(9), u"<a id=\"ne");
  pass(text, kTitle, u"2");
  EXPECT_EQ(text.start(9), u"<a id=\"ne");
  EXPECT_EQ(text.start(4), u"<a i");
}

// The same pass as a search in one text, which copies it.
std::u16string searched(std::u16string_view all, std::u16string_view opener,
                        const std::u16string& value) {
  std::u16string out;
  std::size_t copied = 0;
  for (std::size_t at = all.find(opener); at != all.npos; at = all.find(opener, copied)) {
    const std::size_t start = at + opener.size();
    const std::size_t end = all.find(u'"', start);
    if (end == all.npos) break;
    (out += all.substr(copied, start - copied)) += value;
    copied = end;
  }
  return out += all.substr(copied);
}

TEST_F(QuotedTextTest, DoesWhatASearchInTheWholeTextDoes) {
  std::mt19937 random(20261122);
  const std::u16string_view parts[] = {u"id=", u"title=", u"\"", u"\"", u"\"", u"x", u"=", u"i"};
  for (int round = 0; round < 3'000; ++round) {
    std::u16string all;
    for (auto count = random() % 20; count > 0; --count) all += parts[random() % std::size(parts)];
    const std::u16string first(parts[random() % 2]);
    QuotedText text(all, kOpeners);
    pass(text, kId, first);
    pass(text, kTitle, u"new");
    EXPECT_EQ(text.text().View(), std::u16string_view(searched(searched(all, kOpeners[kId], first),
                                                               kOpeners[kTitle], u"new")))
        << toUtf8(all);
  }
}

}  // namespace
}  // namespace qx
