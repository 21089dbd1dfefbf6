#include "qxframework/automation/toml_depth.h"

#include <gtest/gtest.h>

#include <string>

namespace qx {
namespace {

/// Returns "line:column", or "" if no key is too deep.
std::string placeIn(std::string_view toml) {
  const auto place = findDeepKey(toml);
  return place ? std::to_string(place->line) + ":" + std::to_string(place->column) : "";
}

// A key of so many levels.
std::string key(int levels) {
  std::string text = "a";
  for (int i = 1; i < levels; ++i) text += ".a";
  return text;
}

TEST(TomlDepth, AKeyMayHaveThirtyTwoLevels) {
  EXPECT_EQ(placeIn(key(32) + " = 1\n"), "");
  EXPECT_EQ(placeIn(key(33) + " = 1\n"), "1:64");
}

TEST(TomlDepth, TheNameOfATableCountsAsAKey) {
  EXPECT_EQ(placeIn("x = 1\n[" + key(32) + "]\n"), "");
  EXPECT_EQ(placeIn("x = 1\n[" + key(33) + "]\n"), "2:65");
}

TEST(TomlDepth, AKeyInATableWithinALineCounts) {
  EXPECT_EQ(placeIn("x = {" + key(20) + " = 1, " + key(20) + " = 2}\n"), "");
  EXPECT_EQ(placeIn("x = {" + key(20) + " = 1, " + key(33) + " = 2}\n"), "1:114");
}

TEST(TomlDepth, BlanksAndQuotesDoNotHideLevels) {
  std::string text = "a";
  for (int i = 1; i < 33; ++i) text += " . \"b.c\"";
  EXPECT_NE(placeIn(text + " = 1\n"), "");
}

TEST(TomlDepth, DotsInValuesDoNotCount) {
  std::string numbers = "x = [1.5";
  for (int i = 0; i < 100; ++i) numbers += ", 2.5";
  EXPECT_EQ(placeIn(numbers + "]\n"), "");
  const std::string dots(100, '.');
  EXPECT_EQ(placeIn("x = \"" + dots + "\"\n"), "");
  EXPECT_EQ(placeIn("x = '" + dots + "'\n"), "");
  EXPECT_EQ(placeIn("x = \"\"\"\n" + dots + "\n\"" + dots + "\"\"\"\n"), "");
  EXPECT_EQ(placeIn("x = '''\n" + dots + "\n'" + dots + "'''\n"), "");
  EXPECT_EQ(placeIn("x = \"\\\"" + dots + "\"\n"), "");
  EXPECT_EQ(placeIn("# " + dots + "\nx = 1 # " + dots), "");
}

TEST(TomlDepth, WhatFollowsAStringOrACommentCounts) {
  EXPECT_EQ(placeIn("x = '\\'\n" + key(33)), "2:64");
  EXPECT_EQ(placeIn("x = \"open\n" + key(33)), "2:64");
  EXPECT_EQ(placeIn("x = '''open'''\n" + key(33)), "2:64");
  EXPECT_EQ(placeIn("#\n" + key(33)), "2:64");
}

TEST(TomlDepth, AnyTextIsTaken) {
  for (const char* text : {"", "\"", "'", "'''", "\"\\", "#", "..", "[", "\"\"\"x"}) {
    EXPECT_EQ(placeIn(text), "") << text;
  }
}

}  // namespace
}  // namespace qx
