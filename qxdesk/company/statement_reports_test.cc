#include "qxdesk/company/statement_reports.h"

#include "qxdesk/company/test_support.h"
#include "qxframework/automation/com_object.h"

#include <string>
#include <vector>

namespace qx::desk {
namespace {

class Listener final : public ComObject<IStatementListener> {
 public:
  void StatementRan(const StatementReport& report) noexcept override {
    lines.push_back(std::string(report.text, report.length) + " | " + std::to_string(report.rows) +
                    " | " + std::to_string(report.code));
    EXPECT_GE(report.microseconds, 0);
  }

  std::vector<std::string> lines;
};

class StatementReportsTest : public CompanyTest {
 protected:
  ~StatementReportsTest() override { log_->Detach(listener_); }

  CComPtr<IStatementLog> log_ = makeStatementLog();
  CComPtr<Listener> listener_ = makeObject<Listener>();
};

INSTANTIATE_TEST_SUITE_P(Sqlite, StatementReportsTest, testing::Values(Engine::Sqlite));

TEST_P(StatementReportsTest, EachStatementIsReportedWithItsRows) {
  ASSERT_EQ(log_->Attach(listener_), S_OK);
  rowsOf(company, u"SELECT CompanyName FROM HVCOMP");
  EXPECT_EQ(listener_->lines, std::vector<std::string>{"SELECT CompanyName FROM HVCOMP | 1 | 0"});
}

TEST_P(StatementReportsTest, AStatementThatFailsIsReportedWithItsCode) {
  log_->Attach(listener_);
  const auto rows = businessObject<IRecordset>(company, kRecordset);
  EXPECT_EQ(rows->raw_DoQuery(CComBSTR(u"SELECT Nothing FROM HVCOMP")), kSqlFailure);
  ASSERT_EQ(listener_->lines.size(), 1U);
  EXPECT_EQ(listener_->lines[0],
            "SELECT Nothing FROM HVCOMP | -1 | " + std::to_string(kSqlFailure));
}

TEST_P(StatementReportsTest, NothingIsReportedAfterDetach) {
  log_->Attach(listener_);
  EXPECT_EQ(log_->Detach(listener_), S_OK);
  EXPECT_EQ(log_->Detach(listener_), E_INVALIDARG);
  EXPECT_EQ(log_->Attach(nullptr), E_POINTER);
  rowsOf(company, u"SELECT CompanyName FROM HVCOMP");
  EXPECT_TRUE(listener_->lines.empty());
}

TEST_P(StatementReportsTest, LongTextsAreCutAndPasswordsMasked) {
  log_->Attach(listener_);
  StatementReports::instance().report("a" + std::string(kStatementExcerpt, 'x'), 0, {}, 0);
  // A character of two bytes at the end of the excerpt is left out whole.
  StatementReports::instance().report(std::string(kStatementExcerpt - 1, 'y') + "\xC3\xA4", 0, {},
                                      0);
  StatementReports::instance().report("odbc:DSN=a;PWD=secret;UID=b", 0, {}, 0);
  ASSERT_EQ(listener_->lines.size(), 3U);
  EXPECT_EQ(listener_->lines[0], "a" + std::string(kStatementExcerpt - 1, 'x') + " | 0 | 0");
  EXPECT_EQ(listener_->lines[1], std::string(kStatementExcerpt - 1, 'y') + " | 0 | 0");
  EXPECT_EQ(listener_->lines[2], "odbc:DSN=a;PWD=***;UID=b | 0 | 0");
}

}  // namespace
}  // namespace qx::desk
