#include "qxdesk/sql/lexer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace qx::sql {
namespace {

std::vector<std::string> texts(std::string_view text) {
  std::vector<std::string> result;
  for (const Token& token : lex(text)) result.push_back(token.text);
  return result;
}

TEST(Lexer, DecodesNamesAndLiterals) {
  EXPECT_EQ(texts("[a]]b] \"c\"\"d\" 'e''f' N'g' n'h' @T U_1$"),
            (std::vector<std::string>{"a]b", "c\"d", "e'f", "g", "h", "@T", "U_1$", ""}));
}

TEST(Lexer, ReadsNumbersWithPointAndExponent) {
  EXPECT_EQ(texts("1 1.5 .5 2. 1E5 1.5e-07 2E+3"),
            (std::vector<std::string>{"1", "1.5", ".5", "2.", "1E5", "1.5e-07", "2E+3", ""}));
}

TEST(Lexer, ReadsTheLongestSymbolFirst) {
  EXPECT_EQ(texts("<=<>>=!=||<="),
            (std::vector<std::string>{"<=", "<>", ">=", "!=", "||", "<=", ""}));
}

TEST(Lexer, CountsLinesAndCharactersFromOne) {
  const std::vector<Token> tokens = lex("é a\r\nb\rc\nd 'x\ny' e");
  std::vector<std::pair<int, int>> places;
  for (const Token& token : tokens) places.emplace_back(token.at.line, token.at.column);
  EXPECT_EQ(places, (std::vector<std::pair<int, int>>{
                        {1, 1}, {1, 3}, {2, 1}, {3, 1}, {4, 1}, {4, 3}, {5, 4}, {5, 5}}));
}

TEST(Lexer, KeepsTheSourceOfATokenForMessages) {
  const std::vector<Token> tokens = lex("SELECT N'a''b'");
  EXPECT_EQ(tokens[1].source, "N'a''b'");
  EXPECT_EQ(tokens[2].source, "");
}

TEST(Lexer, AcceptsNamesInAnyScript) {
  EXPECT_EQ(texts("größe 漢字"), (std::vector<std::string>{"größe", "漢字", ""}));
}

TEST(Lexer, SkipsCommentsAndEveryKindOfBlank) {
  EXPECT_EQ(texts("a\t\n\v\f\r b--c\nd /* e /* f */ g */ h --"),
            (std::vector<std::string>{"a", "b", "d", "h", ""}));
}

TEST(Lexer, DistinguishesAPointAfterANameFromADecimalPoint) {
  EXPECT_EQ(texts("T0.a T0 .5 a.*"),
            (std::vector<std::string>{"T0", ".", "a", "T0", ".5", "a", ".", "*", ""}));
}

TEST(Lexer, AssignsEveryTokenItsKind) {
  std::vector<TokenKind> kinds;
  for (const Token& token : lex("a @b [c] \"d\" 'e' N'f' 1 +")) kinds.push_back(token.kind);
  EXPECT_EQ(kinds,
            (std::vector<TokenKind>{TokenKind::Name, TokenKind::AtName, TokenKind::BracketName,
                                    TokenKind::QuotedName, TokenKind::Text, TokenKind::Text,
                                    TokenKind::Number, TokenKind::Symbol, TokenKind::End}));
}

}  // namespace
}  // namespace qx::sql
