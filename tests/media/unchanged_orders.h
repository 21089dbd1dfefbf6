#pragma once

// A fixture for statements that must be refused: it checks that two orders are unchanged.

#include "tests/media/company_fixture.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace qx::test {

/// Fails a test after which the orders have changed or a partner is missing.
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
        << "a refused statement changed an order";
    EXPECT_EQ(login->rows(u"SELECT * FROM HVPARTN").size(), 3U);
  }
  std::vector<std::string> orders() const {
    Rows rows(company(), u"@ORDERS");
    rows.Load({u"Code"}, {});
    return rows.all();
  }
  /// Returns the failure of a query by Code, "no failure" if it succeeds.
  std::string loading(const OLECHAR* table, const Columns& fields,
                      const qx_ptr<Persistence::CConditions>& conditions = {}) const {
    Rows rows(company(), table);
    rows.SetFields(fields);
    return failureOf([&] { rows.Load({u"Code"}, conditions); });
  }
};

}  // namespace qx::test
