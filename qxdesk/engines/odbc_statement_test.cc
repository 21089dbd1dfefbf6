// Statements on a driver that plays what an engine does with them.

#include "qxdesk/engines/odbc_statement.h"

#include "qxdesk/company/test_support.h"
#include "qxdesk/engines/open_database.h"
#include "qxframework/automation/text.h"

namespace qx::desk {
namespace {

class OdbcStatementTest : public testing::Test {
 protected:
  static std::unique_ptr<Database> open(const std::string& options = "") {
    return openDatabase("odbc:Driver=" QX_SCRIPTED_DRIVER ";" + options, environmentOf(90));
  }
  static CompanyEnvironment environmentOf(int statementTimeoutSeconds) {
    CompanyEnvironment environment = testEnvironment();
    environment.statementTimeoutSeconds = statementTimeoutSeconds;
    environment.loginTimeoutSeconds = 7;
    return environment;
  }
  /// The texts of all rows, and the fault that ended them.
  static std::string rowsOf(Database& database, const std::string& sql) {
    std::string text;
    try {
      const auto rows = database.prepareGuarded(sql);
      while (rows->step()) text += std::string(rows->text(0)) + "|";
      EXPECT_FALSE(rows->step());
    } catch (const DatabaseError& error) {
      text += error.what();
    }
    return text;
  }
  static std::u16string failureOf(const std::string& options) {
    const CComPtr<ICompany> company = companyFor(
        {"odbc:Driver=" QX_SCRIPTED_DRIVER ";" + options, kMssql, ln_English, u"m", u"D"},
        environmentOf(0));
    EXPECT_EQ(company->Connect(), kOpenFailed);
    return lastError(company).text;
  }
};

TEST_F(OdbcStatementTest, ATextBeyondItsDeclaredSizeIsReadInFull) {
  EXPECT_EQ(rowsOf(*open(), "ROW abcdefghijkl"), "abcdefghijkl|");
}

TEST_F(OdbcStatementTest, TheFailureOfALaterStatementOfABatchIsTold) {
  EXPECT_EQ(rowsOf(*open(), "ROW a;FAIL 22012"), "a|as the statement says");
  EXPECT_EQ(rowsOf(*open(), "ROW a;NOTHING;ROW b;FAIL 22012"), "a|as the statement says");
  EXPECT_EQ(rowsOf(*open(), "NOTHING;FAIL 22012"), "as the statement says");
  EXPECT_EQ(rowsOf(*open(), "NOTHING;NOTHING"), "");
}

TEST_F(OdbcStatementTest, TheFirstRowsOfABatchAreItsRows) {
  EXPECT_EQ(rowsOf(*open(), "NOTHING;ROW a;ROW b"), "a|");
}

TEST_F(OdbcStatementTest, BracesAreRefusedWhereTheDriverWouldRewriteThem) {
  const auto database = open("Attributes=refused");
  EXPECT_EQ(rowsOf(*database, "ROW {d '2024-01-31'}"),
            "the driver would rewrite what stands in braces in this statement; write it in the "
            "engine's own words, without braces");
  EXPECT_EQ(rowsOf(*database, "ROW '{d}'"), "'{d}'|");
  EXPECT_EQ(rowsOf(*open(), "ROW {d '2024-01-31'}"), "{d '2024-01-31'}|");
}

TEST_F(OdbcStatementTest, MayTakeAsLongAsTheEnvironmentSays) {
  EXPECT_EQ(rowsOf(*open(), "TIMEOUT"), "90|");
  EXPECT_EQ(rowsOf(*openDatabase("odbc:Driver=" QX_SCRIPTED_DRIVER, environmentOf(0)), "TIMEOUT"),
            "0|");
  EXPECT_EQ(rowsOf(*open("Attributes=refused"), "TIMEOUT"), "0|");
}

TEST_F(OdbcStatementTest, TheEndOfItsTimeIsNoLock) {
  const auto database = open();
  const auto rows = database->prepareGuarded("FAIL HYT00");
  try {
    rows->step();
    ADD_FAILURE();
  } catch (const DatabaseError& error) {
    EXPECT_EQ(error.fault(), Fault::Cancelled);
  }
}

TEST_F(OdbcStatementTest, AServerThatDoesNotAnswerIsToldAfterTheTimeThatTheDriverWasGiven) {
  EXPECT_EQ(failureOf("Server=silent"),
            u"The database server cannot be reached (timeout of 7 s expired).");
}

TEST_F(OdbcStatementTest, AConnectionThatFailsForWhateverReasonIsToldAsThat) {
  for (const char* state : {"HY000", "42000", "XYZ99"}) {
    EXPECT_EQ(failureOf(std::string("Connect=") + state),
              u"The database server cannot be reached (as the connection string says).");
  }
}

TEST_F(OdbcStatementTest, AFailureAfterTheConnectionIsToldWithItsPlace) {
  const std::u16string driver = toUtf16(QX_SCRIPTED_DRIVER);
  EXPECT_EQ(failureOf("Pwd=secret;Refuse=CREATE"),
            u"The company database 'odbc:Driver=" + driver +
                u";Pwd=***;Refuse=CREATE' cannot be opened: syntax error near CREATE.");
}

}  // namespace
}  // namespace qx::desk
