// Every statement that the framework runs, compared word for word in each dialect, and its result
// on each engine.

#include "qxframework/foundation/date_time.h"
#include "qxframework/host/application.h"
#include "testing/param_name.h"
#include "testing/spying_company.h"
#include "tests/media/company_fixture.h"
#include "tests/media/statement_cases.h"

#include <gmock/gmock.h>

namespace qx::test {

std::string textOfAll(Rows& rows) {
  std::string text;
  for (const std::string& row : rows.all()) text += (text.empty() ? "" : "\n") + row;
  return text;
}

namespace {

class Statements : public CompanyFixture, public testing::WithParamInterface<StatementCase> {
 protected:
  Statements() {
    addOrder(u"A", u"Ann", dateValue(2024, 1, 31), 12.5, 3);
    addOrder(u"B", u"O'Brien", dateValue(2024, 2, 1), -0.25, 2);
    addOrder(u"C", u"Cid", dateValue(2023, 12, 31), 1234.5, 2);
    addLine(u"A", u"I1", 1.5);
    addLine(u"A", u"I2", 2);
    addLine(u"Z", u"I3", 3);
    login->query(u"DELETE FROM OFPR");
    addPeriod(1, 1, 31);
    addPeriod(2, 2, 29);
  }
  /// Adds a period from the first to the last day of a month of 2024.
  void addPeriod(int entry, int month, int lastDay) {
    add(u"OFPR", Record{{u"PeriodNo", entry},
                        {u"Code", entry == 1 ? u"2024-01" : u"2024-02"},
                        {u"Category", u"2024"},
                        {u"SubNum", entry},
                        {u"F_RefDate", dateValue(2024, month, 1)},
                        {u"T_RefDate", dateValue(2024, month, lastDay)}});
  }
  static std::vector<std::string> expectedTexts() {
    std::vector<std::string> texts;
    for (const Golden& each : GetParam().statements) {
      const std::string& text = each.of(medium().dialect);
      if (text != "-") texts.push_back(text);
    }
    return texts;
  }

  static const std::string& expectedAnswer() {
    const StatementCase& each = GetParam();
    const auto other = each.otherAnswers.find(medium().dialect);
    return other == each.otherAnswers.end() ? each.answer : other->second;
  }

  StatementLog log;
};

TEST_P(Statements, HaveTheExpectedTextAndResult) {
  const StatementContext context{spyOn(company(), &log), login->application(), database};
  EXPECT_EQ(GetParam().work(context), expectedAnswer());
  EXPECT_THAT(log.texts, testing::ElementsAreArray(expectedTexts()));
}

const auto kName = nameOf<StatementCase>;
INSTANTIATE_TEST_SUITE_P(OneRow, Statements, testing::ValuesIn(oneRowStatements()), kName);
INSTANTIATE_TEST_SUITE_P(Collection, Statements, testing::ValuesIn(collectionStatements()), kName);
INSTANTIATE_TEST_SUITE_P(Join, Statements, testing::ValuesIn(joinStatements()), kName);
INSTANTIATE_TEST_SUITE_P(Utility, Statements, testing::ValuesIn(utilityStatements()), kName);

}  // namespace
}  // namespace qx::test
