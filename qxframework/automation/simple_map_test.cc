#include "qxframework/automation/simple_map.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace {

using Map = CSimpleMap<int, std::string>;

TEST(SimpleMap, FindsTheFirstOfTwoEqualKeys) {
  Map map;
  EXPECT_TRUE(map.Add(1, "one"));
  EXPECT_TRUE(map.Add(2, "two"));
  EXPECT_TRUE(map.Add(1, "again"));
  EXPECT_EQ(map.GetSize(), 3);
  EXPECT_EQ(map.FindKey(1), 0);
  EXPECT_EQ(map.Lookup(1), "one");
  EXPECT_EQ(map.GetKeyAt(2), 1);
  EXPECT_EQ(map.GetValueAt(2), "again");
}

TEST(SimpleMap, SetAtReplacesTheFirstOrAppends) {
  Map map;
  EXPECT_TRUE(map.SetAt(1, "one"));
  EXPECT_TRUE(map.Add(1, "again"));
  EXPECT_TRUE(map.SetAt(1, "changed"));
  EXPECT_EQ(map.GetSize(), 2);
  EXPECT_EQ(map.GetValueAt(0), "changed");
  EXPECT_EQ(map.GetValueAt(1), "again");
}

TEST(SimpleMap, RemoveKeepsTheOrderOfTheOthers) {
  Map map;
  for (const int key : {1, 2, 3}) map.Add(key, std::to_string(key));
  EXPECT_TRUE(map.Remove(2));
  EXPECT_FALSE(map.Remove(2));
  ASSERT_EQ(map.GetSize(), 2);
  EXPECT_EQ(map.GetKeyAt(0), 1);
  EXPECT_EQ(map.GetKeyAt(1), 3);
  map.RemoveAll();
  EXPECT_EQ(map.GetSize(), 0);
}

TEST(SimpleMap, AMissingKeyHasNoIndexAndADefaultValue) {
  const Map map;
  EXPECT_EQ(map.FindKey(1), -1);
  EXPECT_EQ(map.Lookup(1), "");
}

TEST(SimpleMap, AnIndexOutsideTheMapThrows) {
  Map map;
  map.Add(1, "one");
  EXPECT_THROW(map.GetKeyAt(1), std::out_of_range);
  EXPECT_THROW(map.GetValueAt(-1), std::out_of_range);
}

}  // namespace
