#include "qxdesk/sql/token_cursor.h"

#include <gtest/gtest.h>

#include <functional>

namespace qx::sql {
namespace {

// The lexed text must outlive the tokens, so only literals are passed.
TokenCursor cursorOver(std::string_view text) { return TokenCursor(lex(text)); }

std::string refusal(const std::function<void()>& step) {
  try {
    step();
    return {};
  } catch (const SqlError& error) {
    return error.what();
  }
}

TEST(TokenCursor, TakesTokensInOrderAndStaysAtTheEnd) {
  TokenCursor tokens = cursorOver("a 1");
  EXPECT_EQ(tokens.here().text, "a");
  EXPECT_EQ(tokens.take().text, "a");
  EXPECT_FALSE(tokens.atEnd());
  EXPECT_EQ(tokens.take().text, "1");
  EXPECT_TRUE(tokens.atEnd());
  EXPECT_EQ(tokens.take().kind, TokenKind::End);
  EXPECT_EQ(tokens.take().kind, TokenKind::End);
}

TEST(TokenCursor, LooksAheadNoFurtherThanTheEnd) {
  TokenCursor tokens = cursorOver("a b c");
  EXPECT_EQ(tokens.ahead(0).text, "a");
  EXPECT_EQ(tokens.ahead(2).text, "c");
  EXPECT_EQ(tokens.ahead(3).kind, TokenKind::End);
  EXPECT_EQ(tokens.ahead(100).kind, TokenKind::End);
  EXPECT_EQ(tokens.here().text, "a");
  tokens.skip(2);
  EXPECT_EQ(tokens.here().text, "c");
  tokens.skip(100);
  EXPECT_TRUE(tokens.atEnd());
}

TEST(TokenCursor, KeepsTakenTokensValid) {
  TokenCursor tokens = cursorOver("first second third");
  const Token& first = tokens.take();
  tokens.skip(2);
  EXPECT_EQ(first.text, "first");
}

TEST(TokenCursor, AcceptsOnlyTheNextWordOrSymbol) {
  TokenCursor tokens = cursorOver("Order by (");
  EXPECT_FALSE(tokens.acceptWord("BY"));
  EXPECT_TRUE(tokens.acceptWord("ORDER"));
  EXPECT_FALSE(tokens.acceptSymbol("("));
  EXPECT_TRUE(tokens.acceptWord("BY"));
  EXPECT_FALSE(tokens.acceptSymbol(")"));
  EXPECT_TRUE(tokens.acceptSymbol("("));
  EXPECT_FALSE(tokens.acceptWord(""));
  EXPECT_FALSE(tokens.acceptSymbol(""));
}

TEST(TokenCursor, TakesNoQuotedNameForAKeywordAndNoTextForASymbol) {
  TokenCursor tokens = cursorOver("[SELECT] \"SELECT\" @T '('");
  EXPECT_FALSE(tokens.isWord("SELECT"));
  tokens.skip(1);
  EXPECT_FALSE(tokens.isWord("SELECT"));
  tokens.skip(1);
  EXPECT_FALSE(tokens.isWord("@T"));
  tokens.skip(1);
  EXPECT_FALSE(tokens.isSymbol("("));
}

TEST(TokenCursor, RefusesAnUnexpectedTokenWithItsPosition) {
  TokenCursor tokens = cursorOver("a\r\n  N'x''y'");
  tokens.take();
  const std::string place = " near 'N'x''y'' (line 2, column 3)";
  EXPECT_EQ(refusal([&] { tokens.expectWord("FROM"); }), "FROM is expected" + place);
  EXPECT_EQ(refusal([&] { tokens.expectSymbol("("); }), "'(' is expected" + place);
  EXPECT_EQ(refusal([&] { tokens.failExpected("a name"); }), "a name is expected" + place);
  EXPECT_EQ(refusal([&] { tokens.fail("no"); }), "no (line 2, column 3)");
  EXPECT_EQ(tokens.here().text, "x'y");
}

TEST(TokenCursor, RefusesAMissingTokenWithThePositionOfTheEnd) {
  TokenCursor tokens = cursorOver("a ");
  tokens.expectWord("A");
  EXPECT_EQ(refusal([&] { tokens.expectSymbol(")"); }),
            "')' is expected at the end (line 1, column 3)");
}

TEST(TokenCursor, ReadsWholeNumbersUpTo64Bits) {
  TokenCursor tokens = cursorOver("007 9223372036854775807 9223372036854775808 1.0 1e2 '5'");
  EXPECT_EQ(tokens.expectWhole("a length"), 7);
  EXPECT_EQ(tokens.expectWhole("a length"), INT64_MAX);
  EXPECT_EQ(refusal([&] { tokens.expectWhole("a length"); }),
            "the number 9223372036854775808 is too large (line 1, column 25)");
  tokens.skip(1);
  EXPECT_EQ(refusal([&] { tokens.expectWhole("a length"); }),
            "a length is expected near '1.0' (line 1, column 45)");
  tokens.skip(1);
  EXPECT_EQ(refusal([&] { tokens.expectWhole("a length"); }),
            "a length is expected near '1e2' (line 1, column 49)");
  tokens.skip(1);
  EXPECT_EQ(refusal([&] { tokens.expectWhole("a length"); }),
            "a length is expected near ''5'' (line 1, column 53)");
}

TEST(Excerpt, CutsLongTextsBetweenCharacters) {
  EXPECT_EQ(excerpt(""), "");
  EXPECT_EQ(excerpt("abcdefghijklmnopqrstuvwx"), "abcdefghijklmnopqrstuvwx");
  EXPECT_EQ(excerpt("abcdefghijklmnopqrstuvwxy"), "abcdefghijklmnopqrstuvwx...");
  EXPECT_EQ(excerpt("12345678901234567890123\u00E9"), "12345678901234567890123\u00E9");
  EXPECT_EQ(excerpt("12345678901234567890123\u6F22\u6F22"), "12345678901234567890123\u6F22...");
}

}  // namespace
}  // namespace qx::sql
