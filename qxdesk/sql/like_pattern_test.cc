#include "qxdesk/sql/like_pattern.h"

#include <gtest/gtest.h>

#include <string>

namespace qx::sql {
namespace {

bool plain(std::string_view text, std::string_view pattern) {
  return likeMatches(text, pattern, LikeSets::Off, std::nullopt);
}

bool sets(std::string_view text, std::string_view pattern) {
  return likeMatches(text, pattern, LikeSets::On, std::nullopt);
}

TEST(LikePattern, PatternMatchesTheWholeTextWithItsCase) {
  EXPECT_TRUE(plain("abc", "abc"));
  EXPECT_FALSE(plain("abc", "ABC"));
  EXPECT_FALSE(plain("abcd", "abc"));
  EXPECT_FALSE(plain("abc ", "abc"));
  EXPECT_TRUE(plain("", ""));
}

TEST(LikePattern, PercentMatchesAnyTextAndUnderscoreOneCharacter) {
  EXPECT_TRUE(plain("abc", "%"));
  EXPECT_TRUE(plain("", "%%"));
  EXPECT_TRUE(plain("abcbc", "a%bc"));
  EXPECT_TRUE(plain("größe", "gr__e"));
  EXPECT_FALSE(plain("größe", "gr_e"));
  EXPECT_FALSE(plain("", "_"));
}

TEST(LikePattern, BracketAfterTheLastSetIsText) {
  EXPECT_TRUE(sets("b[c", "[ab][c"));
  EXPECT_FALSE(sets("bc", "[ab][c"));
  const std::string open(200'000, '[');
  EXPECT_TRUE(sets("b" + open, "[ab]" + open));
}

TEST(LikePattern, EscapedCharacterStandsForItself) {
  EXPECT_TRUE(likeMatches("10%", "10!%", LikeSets::Off, U'!'));
  EXPECT_FALSE(likeMatches("10x", "10!%", LikeSets::Off, U'!'));
  EXPECT_TRUE(likeMatches("[a", "![a", LikeSets::On, U'!'));
  EXPECT_TRUE(likeMatches("a!", "a!", LikeSets::Off, U'!'));
}

TEST(LikePattern, SetsMatchOnlyIfSwitchedOn) {
  EXPECT_TRUE(sets("b1", "[a-c][0-9]"));
  EXPECT_FALSE(sets("d1", "[a-c][0-9]"));
  EXPECT_TRUE(sets("d", "[^a-c]"));
  EXPECT_TRUE(sets("100%", "100[%]"));
  EXPECT_FALSE(sets("1000", "100[%]"));
  EXPECT_TRUE(sets("-", "[a-]"));
  EXPECT_FALSE(sets("x", "[]"));
  EXPECT_TRUE(plain("[a-c]", "[a-c]"));
}

TEST(LikePattern, UnclosedSetIsText) {
  EXPECT_TRUE(sets("[a", "[a"));
  EXPECT_TRUE(sets("[", "["));
}

TEST(LikePattern, ManyWildcardsTakeNoExponentialTime) {
  std::string pattern;
  for (int i = 0; i < 1000; ++i) pattern += "%a";
  EXPECT_FALSE(plain(std::string(2000, 'a') + "b", pattern));
}

}  // namespace
}  // namespace qx::sql
