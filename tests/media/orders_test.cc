// The example program `orders`, run twice on one company.

#include "testing/child_process.h"
#include "testing/file_content.h"
#include "testing/machine.h"
#include "tests/media/company_fixture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <regex>
#include <sstream>

namespace {

using qx::test::ChildProcess;
using qx::test::Login;
using qx::test::medium;
using qx::test::Rows;
using testing::ElementsAre;

class OrdersExample : public testing::Test {
 protected:
  /// `more` has further keys of the connection string, each preceded by "&".
  std::string run(const std::string& script, const std::string& more = {}) const {
    ChildProcess orders({qx::test::buildProgram("orders").string(),
                         "embedded:?db=" + database + "&engine=" + medium().dialect +
                             "&play=" QX_TEST_DATA "/" + script + more},
                        {"QX_RUNTIME_DIR=" + (folder.path() / "run").string(),
                         "QX_LOG_DIR=" + folder.path().string(),
                         "QX_LOG_SETTINGS=" + (folder.path() / "log.toml").string()});
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

  /// Returns the message of each record of level 1, which is recorded without any settings.
  std::vector<std::string> errors() const {
    std::istringstream log(qx::test::contentOfExisting(folder.path() / "ORDERS.log"));
    std::vector<std::string> messages;
    for (std::string line; std::getline(log, line);) {
      messages.push_back(line.substr(line.rfind('\t') + 1));
    }
    return messages;
  }

  qx::test::TempFolder folder;
  std::string database = qx::test::CompanyStore::fresh(folder.path());
};

/// Returns the beginnings of the records that the guide lists as no errors: the texts in quotes in
/// the first column of its table, up to an ellipsis.
std::vector<std::string> harmlessRecords() {
  const std::string guide = qx::test::contentOfExisting(QX_GUIDE);
  std::istringstream lines(guide.substr(guide.find("Some records of level 1 are not errors")));
  std::vector<std::string> texts;
  const std::regex quoted("[\"`]([^\"`]+?)( *\\.\\.\\.[^\"`]*)?[\"`]");
  for (std::string line; std::getline(lines, line) && !line.starts_with("`QX_TRACE=1`");) {
    const std::string cell = line.substr(0, line.find('|', 1));
    if (!line.starts_with('|')) continue;
    for (std::sregex_iterator each(cell.begin(), cell.end(), quoted), end; each != end; ++each) {
      texts.push_back((*each)[1]);
    }
  }
  return texts;
}

TEST_F(OrdersExample, TheGuideListsEveryErrorThatAGoodRunLogs) {
  run("orders.play");
  run("orders.play");
  const std::vector<std::string> listed = harmlessRecords();
  ASSERT_FALSE(errors().empty());
  for (const std::string& error : errors()) {
    EXPECT_TRUE(std::any_of(listed.begin(), listed.end(), [&](const std::string& text) {
      return error.starts_with(text);
    })) << error;
  }
}

TEST_F(OrdersExample, AddsOrdersInTheFirstRunAndUpdatesThemInTheSecond) {
  EXPECT_EQ(run("orders.play"),
            "info: 2 orders, 131.500000 in all, the newest of 2024-02-29\n"
            "shut the client down\n");
  EXPECT_THAT(orders(), ElementsAre("00000000|A-1|O'Brien|2024-02-29 00:00:00|109.5",
                                    "00000001|A-2|C2000|2024-01-31 00:00:00|22"));
  EXPECT_EQ(run("orders.play"),
            "info: 2 orders, 141.500000 in all, the newest of 2024-02-29\n"
            "shut the client down\n");
  EXPECT_THAT(orders(), ElementsAre("00000000|A-1|O'Brien|2024-02-29 00:00:00|119.5",
                                    "00000001|A-2|C2000|2024-01-31 00:00:00|22"));
}

// The user picks the entry again while the job runs, which changes nothing. The client ends before
// the job does.
TEST_F(OrdersExample, ItsLongJobShowsItsProgressAndEndsWithTheClient) {
  EXPECT_EQ(run("orders_samples.play"), R"X(picked menu ORD_SAMPLE
picked menu ORD_SAMPLE
+- Halvex Add-On Initialization ------------+
|                                           |
| Taking in orders                          |
|                                           |
| (_)(_)(_)(_)(_)(_)(_)(_)(_)(_)(_)(_)(_)(_)|
+-------------------------------------------+
 info: 2 orders, 131.500000 in all, the newest of 2024-02-29
shut the client down
)X");
  EXPECT_EQ(orders().size(), 23U);
}

TEST_F(OrdersExample, TriesARiseOutWithOneQueryAndChangesNothing) {
  constexpr char kReport[] =
      "info: 131.500000 now, 144.650000 after a rise of 10 percent (1 query, 2 loads from "
      "memory)\n";
  const std::string summary = "info: 2 orders, 131.500000 in all, the newest of 2024-02-29\n";
  EXPECT_EQ(run("orders_rise.play", "&accept=brackets"),
            summary + "picked menu ORD_RISE\n" + summary + kReport + "picked menu ORD_RISE\n" +
                summary + kReport + kReport + "shut the client down\n");
  EXPECT_THAT(orders(), ElementsAre("00000000|A-1|O'Brien|2024-02-29 00:00:00|109.5",
                                    "00000001|A-2|C2000|2024-01-31 00:00:00|22"));
}

TEST_F(OrdersExample, ReportsThatADb2ServerRefusesTheRecordCache) {
  const std::string output = run("orders_rise.play");
  EXPECT_EQ(output.find("error: the name [U_No] is not written as DB2 has it; write U_No (line 1, "
                        "column 8)\n") != std::string::npos,
            medium().is(qx::kDb2))
      << output;
}

// The user forgets the customer, chooses one from the list, and adds the order; then the user does
// the same in German.
TEST_F(OrdersExample, ItsFormAddsAnOrderWithACustomerFromTheList) {
  EXPECT_EQ(run("orders_form.play"), R"X(picked menu ORD_OPEN
typed "A-3" into item 221 of form ORDERS_1
pressed item 1 of form ORDERS_1: vetoed by the add-on
info: 2 orders, 131.500000 in all, the newest of 2024-02-29
error: Choose the customer of the order.
pressed item 226 of form ORDERS_1
clicked item 10805, column 10800020, row 0 of form QX_FCL_1
typed "hill" into item 10804 of form QX_FCL_1
QX_FCL_1 -1 "Choose from List" selected
  source 10807 "hill"
  source 10808 "3"
  source 10800011 "S1000"
  source 10800021 "Steel and Sons"
  1 button "Choose" default
  2 button "Cancel"
  10804 edit "hill" focus
  10803 static "Find"
  10805 matrix of 3 rows
    10806 "#" 10800010 "Number" 10800020 "Customer"
     "1" "C2000" "Harbour Supplies"
   * "2" "C1000" "Hillside Tools"
     "3" "S1000" "Steel and Sons"
  10802 static "Business partners (3 records)"
pressed item 1 of form QX_FCL_1
typed "1250.75" into item 224 of form ORDERS_1
chose "C" in item 225 of form ORDERS_1
pressed item 1 of form ORDERS_1
ORDERS_1 -1 "Orders" selected
  source ROW_NO "A-2"
  source ROW_CUST "C2000"
  source ROW_TOTAL "22.000000"
  source ROW_TERMS "I"
  source NEW_NO ""
  source NEW_CUST ""
  source NEW_TOTAL ""
  source NEW_TERMS "C"
  201 matrix of 3 rows
    211 "Number" 212 "Customer" 214 "Amount" 215 "Terms"
     "A-3" "C1000" "1250.750000" "C"
     "A-1" "O'Brien" "109.500000" "I"
     "A-2" "C2000" "22.000000" "I"
  ST_1 static "Number"
  221 edit ""
  ST_2 static "Customer"
  222 edit ""
  226 button "..."
  ST_3 static "Amount"
  224 edit ""
  ST_4 static "Terms"
  225 combo "Cash" key "C" of 2
  1 button "OK" default focus
  2 button "Cancel"
pressed item 2 of form ORDERS_1
changed the language to 9
picked menu ORD_OPEN
F_0 169 "Hauptmenü"
ORDERS_1 -1 "Aufträge" selected
typed "A-4" into item 221 of form ORDERS_1
pressed item 1 of form ORDERS_1: vetoed by the add-on
info: 2 orders, 131.500000 in all, the newest of 2024-02-29
error: Choose the customer of the order.
error: Wählen Sie den Kunden des Auftrags.
shut the client down
)X");
}

// The user takes the number of an order that is there: after No it stays, after Yes it changes.
TEST_F(OrdersExample, ItsFormAsksBeforeItChangesAnOrder) {
  EXPECT_EQ(run("orders_again.play"), R"X(picked menu ORD_OPEN
typed "A-1" into item 221 of form ORDERS_1
typed "C1000" into item 222 of form ORDERS_1
typed "50" into item 224 of form ORDERS_1
box "Order A-1 is there already. Change it?": answered with button 2
pressed item 1 of form ORDERS_1: vetoed by the add-on
box "Order A-1 is there already. Change it?": answered with button 1
pressed item 1 of form ORDERS_1
"Order A-1 is there already. Change it?" [Yes] [No] -> 2
"Order A-1 is there already. Change it?" [Yes] [No] -> 1
shut the client down
)X");
  const std::vector<std::string> stored = orders();
  ASSERT_EQ(stored.size(), 2U);
  EXPECT_TRUE(stored[0].starts_with("00000000|A-1|C1000|")) << stored[0];
  EXPECT_TRUE(stored[0].ends_with("|50")) << stored[0];
  EXPECT_EQ(stored[1], "00000001|A-2|C2000|2024-01-31 00:00:00|22");
}

}  // namespace
