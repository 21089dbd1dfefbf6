// The example program `orders`, run twice on one company.

#include "testing/child_process.h"
#include "testing/machine.h"
#include "tests/media/company_fixture.h"

#include <gmock/gmock.h>

namespace {

using qx::test::ChildProcess;
using qx::test::Login;
using qx::test::medium;
using qx::test::Rows;
using testing::ElementsAre;

class OrdersExample : public testing::Test {
 protected:
  std::string run() const {
    ChildProcess orders({qx::test::buildProgram("orders").string(),
                         "embedded:?db=" + database + "&engine=" + medium().dialect +
                             "&play=" QX_TEST_DATA "/orders.play"},
                        {"QX_RUNTIME_DIR=" + (folder.path() / "run").string()});
    const std::string text = orders.rest();
    EXPECT_EQ(orders.wait(), 0);
    return text;
  }
  std::vector<std::string> orders() const {
    const Login login(database);
    Rows rows(login.company(), u"@ORDERS");
    rows.SetFields({u"Code", u"U_No", u"U_Customer", u"U_Day", u"U_Total"});
    rows.Load({u"U_No"}, {});
    return rows.all();
  }

  qx::test::TempFolder folder;
  std::string database = qx::test::CompanyStore::fresh(folder.path());
};

TEST_F(OrdersExample, AddsOrdersInTheFirstRunAndUpdatesThemInTheSecond) {
  EXPECT_EQ(run(),
            "info: 2 orders, 131.500000 in all, the newest of 2024-02-29\n"
            "shut the client down\n");
  EXPECT_THAT(orders(), ElementsAre("00000000|A-1|O'Brien|2024-02-29 00:00:00|109.5",
                                    "00000001|A-2|C2000|2024-01-31 00:00:00|22"));
  EXPECT_EQ(run(),
            "info: 2 orders, 141.500000 in all, the newest of 2024-02-29\n"
            "shut the client down\n");
  EXPECT_THAT(orders(), ElementsAre("00000000|A-1|O'Brien|2024-02-29 00:00:00|119.5",
                                    "00000001|A-2|C2000|2024-01-31 00:00:00|22"));
}

}  // namespace
