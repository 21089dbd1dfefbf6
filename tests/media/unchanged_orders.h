#pragma once

// Two orders that a test must leave as they are, whatever it asks for.

#include "tests/media/company_fixture.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace qx::test {

/// Fails the test behind which the orders are others, or a partner is missing.
class UnchangedOrders : public CompanyFixture {
 protected:
  UnchangedOrders() {
    addOrder(u"A", u"Ann", dateValue(2024, 1, 31), 12.5, 3);
    addOrder(u"B", u"Ben", dateValue(2024, 2, 1), -0.25, 2);
  }
  void TearDown() override {
    EXPECT_THAT(orders(),
                testing::ElementsAre("00000000|00000000|A|Ann|2024-01-31 00:00:00|12.5|3|",
                                     "00000001|00000001|B|Ben|2024-02-01 00:00:00|-0.25|2|"))
        << "nothing was changed";
    EXPECT_EQ(login->rows(u"SELECT * FROM HVPARTN").size(), 3U);
  }
  std::vector<std::string> orders() const {
    Rows rows(company(), u"@ORDERS");
    rows.Load({u"Code"}, {});
    return rows.all();
  }
  /// What becomes of a query by Code.
  std::string loading(const OLECHAR* table, const Columns& fields,
                      const qx_ptr<Persistence::CConditions>& conditions = {}) const {
    Rows rows(company(), table);
    rows.SetFields(fields);
    return failureOf([&] { rows.Load({u"Code"}, conditions); });
  }
};

}  // namespace qx::test
