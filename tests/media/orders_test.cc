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
  std::string run() const {
    ChildProcess orders({qx::test::buildProgram("orders").string(),
                         "embedded:?db=" + database + "&engine=" + medium().dialect +
                             "&play=" QX_TEST_DATA "/orders.play"},
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
  run();
  run();
  const std::vector<std::string> listed = harmlessRecords();
  ASSERT_FALSE(errors().empty());
  for (const std::string& error : errors()) {
    EXPECT_TRUE(std::any_of(listed.begin(), listed.end(), [&](const std::string& text) {
      return error.starts_with(text);
    })) << error;
  }
}

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
