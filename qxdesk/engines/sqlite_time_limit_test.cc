// A statement on a file that runs away is stopped, by a clock that the test moves.

#include "qxdesk/company/company_session.h"
#include "qxdesk/company/test_support.h"
#include "qxdesk/engines/open_database.h"

namespace qx::desk {
namespace {

using namespace std::chrono_literals;

class SqliteTimeLimitTest : public testing::Test {
 protected:
  /// A clock that goes on by `pace_` whenever it is looked at.
  CComPtr<ICompany> limitedTo(int seconds) {
    CompanyEnvironment environment = testEnvironment();
    environment.clock = [this] { return now_ += pace_; };
    environment.statementTimeoutSeconds = seconds;
    return connectTo(target(), environment);
  }
  LoginTarget target() const {
    return {place_.database("company.db"), kMssql, ln_English, u"manager", u"Demo"};
  }
  void expectStopped(const CComPtr<ICompany>& company, const std::u16string& sql) {
    const auto rows = businessObject<IRecordset>(company, kRecordset);
    EXPECT_EQ(raisedBy([&] { rows->DoQuery(CComBSTR(sql)); }), kSqlFailure);
    EXPECT_EQ(lastError(company).text,
              u"The statement was stopped before its end, by its time limit or by an administrator "
              u"(it ran for 600 seconds). Try again; if it happens again, ask for fewer rows at a "
              u"time or have the limit raised.");
  }

  static constexpr const char16_t* kHuge = u"FROM OFPR A, OFPR B, OFPR C, OFPR D, OFPR E, OFPR F";
  mutable TestPlace place_{Medium::Sqlite};
  std::chrono::steady_clock::time_point now_;
  std::chrono::seconds pace_ = 0s;
};

TEST_F(SqliteTimeLimitTest, StopsAStatementThatRunsAway) {
  const CComPtr<ICompany> company = limitedTo(600);
  pace_ = 100s;
  expectStopped(company, u"SELECT COUNT(*) " + std::u16string(kHuge));
  expectStopped(company, u"SELECT COUNT(*) " + std::u16string(kHuge));
  EXPECT_EQ(rowsOf(company, u"SELECT Country FROM HVCOMP"), u"DE");
}

TEST_F(SqliteTimeLimitTest, CountsOverAllRowsOfTheStatement) {
  const CComPtr<ICompany> company = limitedTo(600);
  pace_ = 100s;
  expectStopped(company, u"SELECT A.Code " + std::u16string(kHuge));
}

TEST_F(SqliteTimeLimitTest, LetsAStatementRunThatStaysWithinIt) {
  constexpr const char16_t* kSql = u"SELECT COUNT(*) FROM OFPR A, OFPR B, OFPR C";
  const CComPtr<ICompany> company = limitedTo(600);
  pace_ = 10s;
  const auto before = now_;
  for (int i = 0; i < 8; ++i) EXPECT_EQ(rowsOf(company, kSql), u"46656");
  EXPECT_GT(now_ - before, 600s);
}

TEST_F(SqliteTimeLimitTest, NoneMeansForEver) {
  const CComPtr<ICompany> company = limitedTo(0);
  pace_ = 100'000s;
  EXPECT_EQ(rowsOf(company, u"SELECT COUNT(*) FROM OFPR A, OFPR B, OFPR C"), u"46656");
}

TEST_F(SqliteTimeLimitTest, AStoppedQueryLeavesTheTransactionOpen) {
  const CComPtr<ICompany> company = limitedTo(600);
  company->StartTransaction();
  query(company, u"UPDATE HVCOMP SET Country = 'FR'");
  pace_ = 100s;
  expectStopped(company, u"SELECT COUNT(*) " + std::u16string(kHuge));
  pace_ = 0s;
  company->EndTransaction(VARIANT_TRUE);
  EXPECT_EQ(rowsOf(connectTo(target()), u"SELECT Country FROM HVCOMP"), u"FR");
}

// The engine cannot take a change back alone that it has begun.
TEST_F(SqliteTimeLimitTest, AStoppedChangeTakesTheTransactionAlong) {
  const CComPtr<ICompany> company = limitedTo(600);
  company->StartTransaction();
  query(company, u"UPDATE HVCOMP SET Country = 'FR'");
  pace_ = 100s;
  expectStopped(company,
                u"UPDATE HVITEM SET InStock = (SELECT COUNT(*) " + std::u16string(kHuge) + u")");
  pace_ = 0s;
  EXPECT_EQ(raisedBy([&] { company->EndTransaction(VARIANT_TRUE); }), kWrongTransactionState);
  EXPECT_EQ(rowsOf(company, u"SELECT Country FROM HVCOMP"), u"DE");
}

}  // namespace
}  // namespace qx::desk
