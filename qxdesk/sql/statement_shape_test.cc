#include "qxdesk/sql/statement_shape.h"

#include "qxdesk/sql/lexer.h"
#include "qxdesk/sql/sql_error.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace qx::sql {
namespace {

/// Returns the key with its marks as words, then the literals; "none" without a shape.
std::string shapeOf(const std::string& text) {
  StatementShape shape;
  if (!findShape(text, shape)) return "none";
  std::string result;
  constexpr const char* kMarks[] = {"", "<text>", "<text[>", "<whole>", "<decimal>"};
  for (const char c : shape.key) {
    result += c > '\x00' && c < '\x05' ? kMarks[static_cast<int>(c)] : std::string(1, c);
  }
  for (const ShapeLiteral& literal : shape.literals) {
    result += " |" + std::string(literal.source) + "@" + std::to_string(literal.at);
  }
  return result;
}

TEST(StatementShape, LiteralsAreLiftedOut) {
  EXPECT_EQ(shapeOf("SELECT a1 FROM [@T] WHERE b='x' AND c = N'y''z' AND d>=-12 OR e<1.50"),
            "SELECT a1 FROM [@T] WHERE b=<text> AND c = <text> AND d>=-<whole> OR e<<decimal> "
            "|x@28 |y''z@40 |12@56 |1.50@64");
}

TEST(StatementShape, KindsOfLiteralsAreKeptApart) {
  EXPECT_EQ(shapeOf("1"), "<whole> |1@0");
  EXPECT_EQ(shapeOf("1.0"), "<decimal> |1.0@0");
  EXPECT_EQ(shapeOf(".5"), "<decimal> |.5@0");
  EXPECT_EQ(shapeOf("'[a]%'"), "<text[> |[a]%@0");
  EXPECT_EQ(shapeOf("''"), "<text> |@0");
}

TEST(StatementShape, LongNumbersStayInTheKey) {
  EXPECT_EQ(shapeOf("999999999999999999"), "<whole> |999999999999999999@0");
  EXPECT_EQ(shapeOf("1000000000000000000"), "1000000000000000000");
}

TEST(StatementShape, NamesAreNoLiterals) {
  EXPECT_EQ(shapeOf("T0.U_1 [a '1] \"b '2\" @T3 N4 \u00E45"),
            "T0.U_1 [a '1] \"b '2\" @T3 N4 \u00E45");
  EXPECT_EQ(shapeOf("[a]]'b'] 1"), "[a]]'b'] <whole> |1@9");
}

TEST(StatementShape, OddTextsHaveNone) {
  for (const char* text : {"SELECT 1 -- a", "SELECT /* a */ 1", "'open", "[open", "\"open", "1a",
                           "1.2.3", "1e5", "a \x01 b", "a ? b", "'\xFF'"}) {
    EXPECT_EQ(shapeOf(text), "none") << text;
  }
  EXPECT_EQ(shapeOf(std::string("'a\0b'", 5)), "none");
  EXPECT_EQ(shapeOf(std::string(kMaxShapeBytes + 1, 'a')), "none");
}

TEST(StatementShape, ValueOfATextHasItsQuotesUndone) {
  StatementShape shape;
  const std::string text = "N'O''Brien''''s'";
  ASSERT_TRUE(findShape(text, shape));
  EXPECT_EQ(valueOf(shape.literals.at(0)), "O'Brien''s");
}

// The shape is found by a scan of its own. Whatever it takes, the lexer has to cut at the same
// places.
TEST(StatementShape, LiteralsAreThoseOfTheLexer) {
  constexpr const char* kPieces[] = {
      "a",  "N", "'", "''", "1", ".",  "5",    "[",   "]",   "\"",     "-", "/", "*", " ",   "e",
      "@T", "_", "=", "<",  "(", "\n", "N'x'", "'y'", "2.5", "\u00E4", ",", "+", "$", "\x02"};
  std::mt19937 random(20261122U);
  int compared = 0;
  for (int i = 0; i < 200'000; ++i) {
    std::string text;
    for (int n = static_cast<int>(random() % 12); n >= 0; --n)
      text += kPieces[random() % std::size(kPieces)];
    StatementShape shape;
    std::vector<Token> tokens;
    if (!findShape(text, shape)) continue;
    try {
      tokens = lex(text);
    } catch (const SqlError&) {
      continue;
    }
    std::size_t next = 0;
    for (const Token& token : tokens) {
      if (token.kind != TokenKind::Text && token.kind != TokenKind::Number) continue;
      ASSERT_LT(next, shape.literals.size()) << text;
      const ShapeLiteral& literal = shape.literals[next++];
      ASSERT_EQ(literal.at, static_cast<std::size_t>(token.source.data() - text.data())) << text;
      ASSERT_EQ(token.kind == TokenKind::Text ? valueOf(literal) : std::string(literal.source),
                token.text)
          << text;
    }
    ASSERT_EQ(next, shape.literals.size()) << text;
    ++compared;
  }
  EXPECT_GT(compared, 10'000);
}

}  // namespace
}  // namespace qx::sql
