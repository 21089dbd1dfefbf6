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

TEST(LikePattern, PiecesAreFoundInTheirOrderWithoutOverlap) {
  EXPECT_TRUE(plain("abcabc", "%bc%bc"));
  EXPECT_FALSE(plain("abc", "%bc%bc"));
  EXPECT_FALSE(plain("aba", "ab%ba"));
  EXPECT_TRUE(plain("abba", "ab%ba"));
  EXPECT_TRUE(plain("aabaabaaab", "%aabaaab"));
  EXPECT_TRUE(plain("xaabaabaaabx", "%aabaaab%"));
  EXPECT_FALSE(plain("xaabaabaabx", "%aabaaab%"));
  EXPECT_TRUE(plain("ababababc", "%ababc%"));
  EXPECT_TRUE(plain("one two three", "%o%t_o%ee%"));
  EXPECT_FALSE(plain("one two three", "%two%one%"));
  EXPECT_TRUE(sets("x1y2", "%[0-9]%[0-9]%"));
  EXPECT_FALSE(sets("x1y", "%[0-9]%[0-9]%"));
  EXPECT_TRUE(plain("abc", "%abc%"));
  EXPECT_TRUE(plain("abc", "a%%c"));
}

// Each pair of a text and a pattern of three letters, against a match that tries everything.
bool tried(std::string_view text, std::string_view pattern) {
  if (pattern.empty()) return text.empty();
  if (pattern[0] == '%') {
    return tried(text, pattern.substr(1)) || (!text.empty() && tried(text.substr(1), pattern));
  }
  return !text.empty() && (pattern[0] == '_' || pattern[0] == text[0]) &&
         tried(text.substr(1), pattern.substr(1));
}

std::string ofLetters(unsigned number, unsigned count, std::string_view letters) {
  std::string text;
  for (; number > 0; number /= count) text += letters[number % count];
  return text;
}

TEST(LikePattern, MatchesWhatATrialOfEverythingMatches) {
  for (unsigned t = 0; t < 64; ++t) {
    const std::string text = ofLetters(t, 2, "ab");
    for (unsigned p = 0; p < 1024; ++p) {
      const std::string pattern = ofLetters(p, 4, "ab%_");
      ASSERT_EQ(plain(text, pattern), tried(text, pattern)) << text << " LIKE " << pattern;
    }
  }
}

// Counts the questions of a search, each after 65,536 steps.
TEST(LikePattern, APlainPieceIsFoundInTimeThatGrowsWithTheText) {
  int questions = 0;
  const std::string text(200'000, 'a');
  const std::string piece = std::string(4000, 'a') + "b";
  EXPECT_FALSE(likeMatches(text, "%" + piece + "%", LikeSets::Off, std::nullopt, [&] {
    ++questions;
    return false;
  }));
  EXPECT_EQ(questions, 3);
}

TEST(LikePattern, ALongSearchIsGivenUpWhenAsked) {
  const std::string text(200'000, 'a');
  EXPECT_THROW(likeMatches(text, "%_b%", LikeSets::Off, std::nullopt, [] { return true; }),
               LikeStopped);
}

TEST(LikePattern, CharactersAreCountedAndBytesThatAreNone) {
  EXPECT_EQ(characterCount("gr\xC3\xB6\xC3\x9F"
                           "e"),
            5U);
  EXPECT_EQ(characterCount("a\xFF\xFE"), 3U);
}

}  // namespace
}  // namespace qx::sql
