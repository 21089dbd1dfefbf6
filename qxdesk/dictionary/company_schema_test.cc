#include "qxdesk/dictionary/company_schema.h"

#include "qxdesk/dictionary/company_settings.h"
#include "qxdesk/dictionary/system_tables.h"
#include "qxdesk/dictionary/test_support.h"
#include "qxdesk/engines/engine_tables.h"

namespace qx::desk {
namespace {

class CompanySchemaTest : public DictionaryTest {
 protected:
  LoginTarget other(const std::string& file) const {
    LoginTarget place = target;
    place.database = folder.file(file);
    return place;
  }
};

TEST_F(CompanySchemaTest, EverySystemTableHasTheColumnsOfItsLayout) {
  ASSERT_EQ(systemTables().size(), 12U);
  for (const TableLayout& table : systemTables()) {
    std::string names;
    for (const ColumnLayout& column : table.columns) {
      names += (names.empty() ? "" : "/") + column.name;
    }
    EXPECT_EQ(rowsOf("SELECT name FROM pragma_table_info('" + table.name + "') ORDER BY cid"),
              names);
  }
  EXPECT_EQ(database->tables().version(*database), kSchemaVersion);
}

TEST_F(CompanySchemaTest, ANewCompanyHasItsSettings) {
  const CompanySettings settings = readSettings(*database);
  EXPECT_EQ(settings.name, u"Demo");
  EXPECT_EQ(settings.localCurrency, u"EUR");
  EXPECT_EQ(settings.dateForm, DateForm::DayMonthYear);
  EXPECT_EQ(settings.decimals, (std::array<int, 6>{2, 2, 6, 2, 2, 2}));
}

TEST_F(CompanySchemaTest, PeriodsAndRatesSurroundTheCurrentYear) {
  EXPECT_EQ(rowsOf("SELECT COUNT(*), MIN([F_RefDate]), MAX([T_RefDate]) FROM [OFPR]"),
            "36|2023-01-01 00:00:00|2025-12-31 00:00:00");
  EXPECT_EQ(rowsOf("SELECT [Currency], COUNT(*), MIN([RateDate]), MAX([RateDate]) FROM [HVRATE] "
                   "GROUP BY [Currency] ORDER BY [Currency]"),
            "GBP|731|2024-01-01 00:00:00|2025-12-31 00:00:00/"
            "HUF|731|2024-01-01 00:00:00|2025-12-31 00:00:00/"
            "USD|731|2024-01-01 00:00:00|2025-12-31 00:00:00");
}

TEST_F(CompanySchemaTest, ALongNameIsCutBetweenCharacters) {
  LoginTarget place = other("long.db");
  place.companyName = std::u16string(99, u'x') + u"\U0001F600";
  const auto opened = openDatabase(place.database, testEnvironment());
  ensureCompany(*opened, place, testEnvironment());
  EXPECT_EQ(opened->queryText("SELECT [CompanyName] FROM [HVCOMP]"), std::string(99, 'x'));
}

TEST_F(CompanySchemaTest, AnExistingCompanyStaysAsItIs) {
  LoginTarget renamed = target;
  renamed.companyName = u"Other";
  ensureCompany(*database, renamed, testEnvironment());
  EXPECT_EQ(rowsOf("SELECT [CompanyName] FROM [HVCOMP]"), "Demo");
}

TEST_F(CompanySchemaTest, ADatabaseOfSomethingElseIsRefusedAndLeftAlone) {
  const LoginTarget place = other("foreign.db");
  const auto opened = openDatabase(place.database, testEnvironment());
  opened->execute("CREATE TABLE theirs (x)");
  EXPECT_EQ(failureOf([&] { ensureCompany(*opened, place, testEnvironment()); }),
            "-2102 The database '" + place.database + "' has tables, but no company in it.");
  EXPECT_EQ(opened->queryText("SELECT group_concat(name) FROM sqlite_master"), "theirs");
}

TEST_F(CompanySchemaTest, ACompanyOfANewerVersionIsRefused) {
  database->tables().setVersion(*database, kSchemaVersion + 1);
  EXPECT_EQ(failureOf([&] { ensureCompany(*database, target, testEnvironment()); }),
            "-2102 The company database '" + target.database +
                "' was written by a newer version of this component.");
}

TEST_F(CompanySchemaTest, AFailureAtAnyStatementLeavesNoCompanyOrAWholeOne) {
  const LoginTarget place = other("failing.db");
  FaultPlan plan;
  const auto opened = failing(openDatabase(place.database, testEnvironment()), &plan);
  const auto looker = openDatabase(place.database, testEnvironment());
  int refused = 0;
  for (plan = {0, 2, Fault::Full};; plan = {0, plan.refuse + 1, Fault::Full}) {
    if (failureOf([&] { ensureCompany(*opened, place, testEnvironment()); }).empty()) break;
    // A failure after the commit leaves the company; the expectations below are about it, too.
    if (looker->queryInteger("SELECT COUNT(*) FROM sqlite_master") != 0) break;
    ++refused;
  }
  EXPECT_GT(refused, 20);
  // The first and the last rows of a new company.
  EXPECT_EQ(looker->queryInteger("SELECT COUNT(*) FROM [HVCOMP]"), 1);
  EXPECT_EQ(looker->queryInteger("SELECT COUNT(*) FROM [HVITEM]"), 2);
}

}  // namespace
}  // namespace qx::desk
