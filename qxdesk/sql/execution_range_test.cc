// Values at the ends of their range on real databases: both engines reach the same ends, and refuse
// a value beyond them instead of returning another one.
#include "qxdesk/sql/test_support.h"

#include <gtest/gtest.h>

#include <string>

namespace qx::sql {
namespace {

using test::answerOf;
using test::CompanyDatabase;
using test::engineName;
using test::engines;
using test::EngineTest;
using test::kRefusedByEngine;

class ExecutionDate : public EngineTest {};
class ExecutionWhole : public EngineTest {};

std::string moved(CompanyDatabase& database, const std::string& unit, const std::string& count,
                  const std::string& date) {
  return answerOf(database, "SELECT DATEADD(" + unit + ", " + count + ", CONVERT(datetime, '" +
                                date + "', 120))");
}

TEST_P(ExecutionDate, ArithmeticReachesTheFirstAndTheLastSecond) {
  CompanyDatabase database = company(Dialect::Mssql);
  const auto at = [&](const char* unit, const char* count, const char* date) {
    return moved(database, unit, count, date);
  };
  EXPECT_EQ(at("second", "1", "9999-12-31 23:59:58"), "9999-12-31 23:59:59");
  EXPECT_EQ(at("second", "1", "9999-12-31 23:59:59"), kRefusedByEngine);
  EXPECT_EQ(at("day", "1", "9999-12-30 23:59:59"), "9999-12-31 23:59:59");
  EXPECT_EQ(at("day", "1", "9999-12-31"), kRefusedByEngine);
  EXPECT_EQ(at("week", "1", "9999-12-25"), kRefusedByEngine);
  EXPECT_EQ(at("second", "-1", "0001-01-01 00:00:01"), "0001-01-01 00:00:00");
  EXPECT_EQ(at("second", "-1", "0001-01-01"), kRefusedByEngine);
  EXPECT_EQ(at("day", "-1", "0001-01-02"), "0001-01-01 00:00:00");
  EXPECT_EQ(at("day", "-1", "0001-01-01 23:59:59"), kRefusedByEngine);
  EXPECT_EQ(at("second", "315537897599", "0001-01-01"), "9999-12-31 23:59:59");
  EXPECT_EQ(at("second", "315537897600", "0001-01-01"), kRefusedByEngine);
  EXPECT_EQ(at("day", "-3652058", "9999-12-31"), "0001-01-01 00:00:00");
  EXPECT_EQ(at("day", "-3652059", "9999-12-31"), kRefusedByEngine);
}

TEST_P(ExecutionDate, ArithmeticRefusesHugeCounts) {
  CompanyDatabase database = company(Dialect::Mssql);
  for (const char* unit : {"second", "minute", "hour", "day", "week"}) {
    for (const char* count :
         {"999999999999", "-999999999999", "4611686018427387904", "-4611686018427387904",
          "9223372036854775807", "-9223372036854775807", "1e18", "1e300", "-1e300"}) {
      EXPECT_EQ(moved(database, unit, count, "2024-01-31"), kRefusedByEngine)
          << unit << ' ' << count;
    }
  }
  for (const char* unit : {"hour", "day", "week"}) {
    for (const char* count : {"2147483647", "-2147483648", "2147483648", "-2147483649",
                              "4294967296", "-4294967296", "999999999", "-999999999"}) {
      EXPECT_EQ(moved(database, unit, count, "2024-01-31"), kRefusedByEngine)
          << unit << ' ' << count;
    }
  }
}

TEST_P(ExecutionDate, FailedArithmeticChangesNoRow) {
  CompanyDatabase database = company(Dialect::Mssql);
  database.run("UPDATE [@T] SET U_Date = '99991231' WHERE Code = '2'");
  EXPECT_EQ(answerOf(database, "UPDATE [@T] SET U_Date = U_Date + 1"), kRefusedByEngine);
  EXPECT_EQ(answerOf(database, "UPDATE [@T] SET U_Date = DATEADD(week, U_B, U_Date)"),
            kRefusedByEngine);
  EXPECT_EQ(database.run("SELECT U_Date FROM [@T] ORDER BY Code"),
            "2024-01-31 00:00:00/9999-12-31 00:00:00/NULL/2023-12-31 00:00:00/2024-01-31 00:00:00");
  database.run("UPDATE [@T] SET U_Date = DATEADD(day, 1, U_Date) WHERE Code IN ('1', '3')");
  EXPECT_EQ(database.run("SELECT U_Date, DATEADD(day, NULL, U_Date), U_Date - 1 FROM [@T] WHERE "
                         "Code IN ('1', '3') ORDER BY Code"),
            "2024-02-01 00:00:00|NULL|2024-01-31 00:00:00/NULL|NULL|NULL");
  EXPECT_EQ(answerOf(database, "SELECT Code FROM [@T] WHERE U_Date + 1 > '20240101'"),
            kRefusedByEngine);
}

// ---- whole numbers at the ends of 64 bits

TEST_P(ExecutionWhole, ArithmeticReachesTheEndsOf64BitsAndRefusesMore) {
  CompanyDatabase database = company(Dialect::Mssql);
  const auto of = [&](const std::string& expression) {
    return answerOf(database, "SELECT " + expression + " FROM [@T] WHERE Code = '1'");
  };
  EXPECT_EQ(of("U_B + 9223372036854775797"), "9223372036854775807");
  EXPECT_EQ(of("U_B + 9223372036854775798"), kRefusedByEngine);
  EXPECT_EQ(of("0 - U_B - 9223372036854775798"), "-9223372036854775808");
  EXPECT_EQ(of("0 - U_B - 9223372036854775799"), kRefusedByEngine);
  EXPECT_EQ(of("U_B * 922337203685477580"), "9223372036854775800");
  EXPECT_EQ(of("U_B * 922337203685477581"), kRefusedByEngine);
  EXPECT_EQ(of("(U_B * 922337203685477581 - 9223372036854775807) % 7"), kRefusedByEngine);
  EXPECT_EQ(of("1 + U_B * 922337203685477581 / 922337203685477581"), kRefusedByEngine);
  EXPECT_EQ(of("(0 - U_B - 9223372036854775798) / (U_B - 11)"), kRefusedByEngine);
  EXPECT_EQ(of("U_B + 9223372036854775808"), kRefusedByEngine);
  EXPECT_EQ(of("U_B - 9223372036854775808"), kRefusedByEngine);
  EXPECT_EQ(of("9223372036854775808 / U_B"), kRefusedByEngine);
  EXPECT_EQ(of("U_B + -9223372036854775808"), "-9223372036854775798");
  EXPECT_EQ(of("9223372036854775807 % 00000000000000000000010"), "7");
  EXPECT_EQ(of("U_B + (U_B - 2) * (U_B % 4 + 1) - 30 / U_B"), "31");
  EXPECT_EQ(of("1.5 * (U_B + 2) - U_B * 2"), "-2");
  EXPECT_EQ(of("ROUND(U_B, 2) + ROUND(U_B * 2 + 1, 0)"), "31");
  EXPECT_EQ(of("(SELECT 1 FROM [@L] WHERE 1 = 0 UNION SELECT 0.5) + U_B"), "10.5");
}

TEST_P(ExecutionWhole, SumsReachTheEndsOf64BitsAndRefuseMore) {
  CompanyDatabase database = company(Dialect::Mssql);
  EXPECT_EQ(database.run("SELECT SUM(U_B * 200000000000000000) FROM [@T]"), "8400000000000000000");
  EXPECT_EQ(answerOf(database, "SELECT SUM(U_B * 220000000000000000) FROM [@T]"), kRefusedByEngine);
  EXPECT_EQ(database.run("SELECT SUM(U_B) + 1, SUM(U_B) * 2, SUM(U_Price) FROM [@T]"), "43|84|116");
}

TEST_P(ExecutionWhole, CastsReachTheEndsOf64BitsAndRefuseMore) {
  CompanyDatabase database = company(Dialect::Mssql);
  EXPECT_EQ(database.run("SELECT CAST('9223372036854775807' AS bigint), CAST(1e18 AS int), "
                         "CAST(-1.5e18 AS int), CAST('-9223372036854775808' AS int)"),
            "9223372036854775807|1000000000000000000|-1500000000000000000|-9223372036854775808");
  for (const char* number :
       {"1e19", "-1e19", "9.3e18", "'9223372036854775808'", "CAST('1e300' AS float)"}) {
    EXPECT_EQ(answerOf(database, "SELECT CAST(" + std::string(number) + " AS int)"),
              kRefusedByEngine)
        << number;
  }
}

INSTANTIATE_TEST_SUITE_P(AllEngines, ExecutionWhole, engines(), engineName);
INSTANTIATE_TEST_SUITE_P(AllEngines, ExecutionDate, engines(), engineName);

}  // namespace
}  // namespace qx::sql
