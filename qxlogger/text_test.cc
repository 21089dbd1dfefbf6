#include "qxlogger/text.h"

#include <gtest/gtest.h>

namespace qx::logger {
namespace {

std::string escaped(std::u16string_view text) {
  std::string out;
  appendEscaped(out, text);
  return out;
}

TEST(LogText, KeepsPlainAndForeignText) {
  EXPECT_EQ(escaped(u"Form F_42 [S_OK]"), "Form F_42 [S_OK]");
  EXPECT_EQ(escaped(u"Stra\u00DFe \u4E2D\u6587 \U0001F600"),
            "Stra\xC3\x9F"
            "e \xE4\xB8\xAD\xE6\x96\x87 \xF0\x9F\x98\x80");
}

TEST(LogText, EscapesLineEndsAndControlCharacters) {
  EXPECT_EQ(escaped(u"a\nb\rc\td"), "a\\nb\\rc\\td");
  EXPECT_EQ(escaped(u"\u0001\u001B[31m\u007F\u0085\u2028\u2029"),
            "\\u0001\\u001b[31m\\u007f\\u0085\\u2028\\u2029");
  EXPECT_EQ(escaped(std::u16string_view(u"a\0b", 3)), "a\\u0000b");
}

TEST(LogText, EscapesABackslash) { EXPECT_EQ(escaped(u"C:\\new"), "C:\\\\new"); }

TEST(LogText, ReplacesUnpairedSurrogates) {
  const char16_t text[] = {u'a', 0xD83D, u'b', 0xDE00, 0xD83D};
  EXPECT_EQ(escaped({text, 5}),
            "a\xEF\xBF\xBD"
            "b\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST(LogText, RemovesLineEndsAtTheEndOnly) {
  EXPECT_EQ(withoutLineEnds(u"\na\r\n\n"), u"\na");
  EXPECT_EQ(withoutLineEnds(u"a "), u"a ");
  EXPECT_EQ(withoutLineEnds(u"\n"), u"");
  EXPECT_EQ(withoutLineEnds(u""), u"");
}

}  // namespace
}  // namespace qx::logger
