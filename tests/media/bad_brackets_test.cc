// Unbalanced brackets of conditions, in every kind of statement that writes brackets.

#include "qxframework/automation/text.h"
#include "tests/media/unchanged_orders.h"

#include <gmock/gmock.h>

namespace {

using Persistence::co_Equal;
using qx::test::Conditions;
using qx::test::failureOf;
using qx::test::OneRow;
using qx::test::Rows;
using testing::HasSubstr;
using testing::MatchesRegex;

class BadBrackets : public qx::test::UnchangedOrders {
 protected:
  static qx_ptr<Persistence::CConditions> bracketed(long open, long close) {
    return Conditions().add(u"U_No", co_Equal, u"A").brackets(open, close).get();
  }
  /// Returns the failure of a SELECT.
  std::string failureOfSelect(long open, long close) const {
    return loading(u"@ORDERS", {u"U_No"}, bracketed(open, close));
  }
  /// Returns the failure of the DELETE of an object, which writes the brackets. Its SELECT omits
  /// them, so that it succeeds.
  std::string failureOfDelete(const qx_ptr<Persistence::CConditions>& conditions) const {
    OneRow row;
    row.Connect(company(), u"@ORDERS", true);
    row.Load(conditions);
    return failureOf([&] { row.Remove(); });
  }
};

TEST_F(BadBrackets, AreRefusedWithTheirPositionInASelect) {
  EXPECT_THAT(failureOfSelect(1, 0),
              MatchesRegex("-2000: '\\)' is expected near 'ORDER' \\(line 1, column [0-9]+\\)"));
  EXPECT_THAT(failureOfSelect(0, 1),
              MatchesRegex("-2000: one statement per call; unexpected text near "
                           "'\\)' \\(line 1, column [0-9]+\\)"));
  EXPECT_THAT(failureOfSelect(3, 2),
              MatchesRegex("-2000: '\\)' is expected near 'ORDER' \\(line 1, column [0-9]+\\)"));
  EXPECT_THAT(failureOfSelect(10000, 10000), HasSubstr("nested too deeply"));
}

TEST_F(BadBrackets, AreRefusedWithTheirPositionInADelete) {
  EXPECT_THAT(failureOfDelete(bracketed(1, 0)),
              MatchesRegex("-2000: '\\)' is expected at the end \\(line 1, column [0-9]+\\)"));
  EXPECT_THAT(failureOfDelete(bracketed(0, 1)),
              MatchesRegex("-2000: one statement per call; unexpected text near '\\)' "
                           "\\(line 1, column [0-9]+\\)"));
  EXPECT_THAT(failureOfDelete(bracketed(10000, 10000)), HasSubstr("nested too deeply"));
}

// The opening bracket is written before the word that joins the conditions.
TEST_F(BadBrackets, AreRefusedInALaterConditionOfADelete) {
  Conditions conditions;
  conditions.add(u"U_No", co_Equal, u"A");
  conditions.add(u"U_Who", co_Equal, u"Ann").brackets(1, 1);
  EXPECT_THAT(failureOfDelete(conditions.get()), HasSubstr("-2000: "));
}

TEST_F(BadBrackets, AreNotWrittenForNegativeCounts) {
  EXPECT_EQ(failureOfSelect(-1, -1), "no failure");
  EXPECT_EQ(failureOfSelect(-2000000000, -2), "no failure");
  EXPECT_THAT(failureOfSelect(-1, 1), HasSubstr("near ')'"));
  EXPECT_THAT(failureOfSelect(1, -1), HasSubstr("')' is expected"));
  EXPECT_THAT(failureOfDelete(bracketed(-1, 1)), HasSubstr("near ')'"));
  EXPECT_THAT(failureOfDelete(bracketed(1, -1)), HasSubstr("')' is expected"));
  addOrder(u"C", u"Cid", qx::test::dateValue(2024, 3, 1), 1, 1);
  EXPECT_EQ(failureOfDelete(Conditions().add(u"U_No", co_Equal, u"C").brackets(-1, -3).get()),
            "no failure");
}

}  // namespace
