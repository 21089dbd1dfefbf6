#include "qxdesk/screens/browser/state_difference.h"

#include "testing/cases.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <random>
#include <string>

namespace qx::screens {
namespace {

using nlohmann::json;

std::string difference(const char* from, const char* to) {
  const json before = json::parse(from);
  const json after = json::parse(to);
  const json operations = differenceOf(before, after);
  EXPECT_EQ(before.patch(operations), after);
  return operations.dump();
}

TEST(StateDifference, IsEmptyForEqualStates) {
  EXPECT_EQ(difference(R"({"a":[1,{"b":2}]})", R"({"a":[1,{"b":2}]})"), "[]");
}

TEST(StateDifference, OfOneTextIsOneOperation) {
  EXPECT_EQ(difference(R"({"forms":{"F_1":{"items":{"4":{"text":"a","x":1}}}}})",
                       R"({"forms":{"F_1":{"items":{"4":{"text":"b","x":1}}}}})"),
            R"([{"op":"replace","path":"/forms/F_1/items/4/text","value":"b"}])");
}

TEST(StateDifference, AddsAndRemovesKeysWhateverTheyAre) {
  EXPECT_EQ(difference(R"({"a/b":1,"":2})", R"({"~x":3,"":2})"),
            R"([{"op":"remove","path":"/a~1b"},{"op":"add","path":"/~0x","value":3}])");
  EXPECT_EQ(difference(R"({"":1})", R"({"":2})"), R"([{"op":"replace","path":"/","value":2}])");
}

TEST(StateDifference, ReplacesAValueOfAnotherKind) {
  EXPECT_EQ(difference(R"({"box":null})", R"({"box":{"number":1}})"),
            R"([{"op":"replace","path":"/box","value":{"number":1}}])");
}

TEST(StateDifference, OfAListThatHasMovedOnIsItsEnds) {
  EXPECT_EQ(difference("[1,2,3,4]", "[2,3,4,5]"),
            R"([{"op":"remove","path":"/0"},{"op":"add","path":"/3","value":5}])");
}

TEST(StateDifference, OfAListInTheMiddleIsThatPart) {
  EXPECT_EQ(difference(R"(["a","b","c"])", R"(["a","x","b","c"])"),
            R"([{"op":"add","path":"/1","value":"x"}])");
  EXPECT_EQ(difference(R"(["a","b","c","d"])", R"(["a","d"])"),
            R"([{"op":"remove","path":"/2"},{"op":"remove","path":"/1"}])");
  EXPECT_EQ(difference("[1,2,3]", "[1,9,3]"), R"([{"op":"replace","path":"/1","value":9}])");
}

// A small value of any kind; few different ones, so that parts repeat.
json randomValue(std::mt19937& random, int depth) {
  const auto pick = [&](unsigned most) { return static_cast<unsigned>(random() % most); };
  if (depth == 0 || pick(3) == 0) return pick(4);
  json out = pick(2) == 0 ? json::array() : json::object();
  for (unsigned count = pick(5); count > 0; --count) {
    if (out.is_array()) {
      out.push_back(randomValue(random, depth - 1));
    } else {
      out[std::string(1, "ab/~"[pick(4)])] = randomValue(random, depth - 1);
    }
  }
  return out;
}

TEST(StateDifference, AppliedToTheFirstStateGivesTheSecond) {
  std::mt19937 random(15);
  for (int i = 0; i < static_cast<int>(test::cases(2000)); ++i) {
    const json from = randomValue(random, 4);
    const json to = randomValue(random, 4);
    ASSERT_EQ(from.patch(differenceOf(from, to)), to) << from << "\n" << to;
  }
}

}  // namespace
}  // namespace qx::screens
