// Statements on a driver that plays the engine: each statement says what becomes of it.

#include "qxdesk/engines/odbc_statement.h"

#include "qxdesk/engines/open_database.h"
#include "qxdesk/engines/test_support.h"

#include <gtest/gtest.h>

#include <optional>

namespace qx::desk {
namespace {

class OdbcStatementTest : public testing::Test {
 protected:
  static std::unique_ptr<Database> open(const std::string& options = "",
                                        int statementTimeoutSeconds = 90) {
    CompanyEnvironment environment = testEnvironment();
    environment.statementTimeoutSeconds = statementTimeoutSeconds;
    environment.loginTimeoutSeconds = 7;
    return openDatabase("odbc:Driver=" QX_SCRIPTED_DRIVER ";" + options, environment);
  }
  /// The texts of all rows, and the words of the failure that ended them.
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
  /// The failure to connect: its fault, and its words in `words`.
  static std::optional<Fault> faultOfOpen(const std::string& options, std::string& words) {
    try {
      open(options);
    } catch (const DatabaseError& error) {
      words = error.what();
      return error.fault();
    }
    return std::nullopt;
  }
};

TEST_F(OdbcStatementTest, ATextBeyondItsDeclaredSizeIsReadInFull) {
  EXPECT_EQ(rowsOf(*open(), "ROW abcdefghijkl"), "abcdefghijkl|");
}

TEST_F(OdbcStatementTest, TheFailureOfALaterStatementOfABatchIsReported) {
  EXPECT_EQ(rowsOf(*open(), "ROW a;FAIL 22012"), "a|as the statement says");
  EXPECT_EQ(rowsOf(*open(), "ROW a;NOTHING;ROW b;FAIL 22012"), "a|as the statement says");
  EXPECT_EQ(rowsOf(*open(), "NOTHING;FAIL 22012"), "as the statement says");
  EXPECT_EQ(rowsOf(*open(), "NOTHING;NOTHING"), "");
}

TEST_F(OdbcStatementTest, ATransactionIsRepeatableIfTheDriverOffersThat) {
  const std::unique_ptr<Database> offered = open("Isolation=repeatable");
  offered->begin();
  offered->execute("NOTHING");
  offered->commit();
  offered->beginChangeOfTables();
  offered->rollback();
  EXPECT_EQ(rowsOf(*offered, "LOG"), "isolation 4|NOTHING|commit|isolation 2|rollback||");
  const std::unique_ptr<Database> missing = open();
  missing->begin();
  missing->execute("NOTHING");
  missing->commit();
  EXPECT_EQ(rowsOf(*missing, "LOG"), "NOTHING|commit||");
}

TEST_F(OdbcStatementTest, AConflictEndsTheTransactionAndItsIsolation) {
  const std::unique_ptr<Database> database = open("Isolation=repeatable");
  database->begin();
  EXPECT_EQ(rowsOf(*database, "FAIL 40001"), "as the statement says");
  EXPECT_FALSE(database->inTransaction());
  EXPECT_EQ(rowsOf(*database, "LOG"), "isolation 4|FAIL 40001|rollback|isolation 2||");
}

TEST_F(OdbcStatementTest, TheLockOfTheTablesIsGrantedWithoutAnEngineThatHasLocks) {
  const std::unique_ptr<Database> database = open();
  EXPECT_TRUE(database->lockTables(std::chrono::milliseconds(0)));
  EXPECT_TRUE(open()->lockTables(std::chrono::milliseconds(0)));
  database->unlockTables();
  EXPECT_FALSE(database->tablesHolder().has_value());
}

TEST_F(OdbcStatementTest, TheFirstRowsOfABatchAreItsRows) {
  EXPECT_EQ(rowsOf(*open(), "NOTHING;ROW a;ROW b"), "a|");
}

TEST_F(OdbcStatementTest, BracesAreRefusedIfTheDriverWouldRewriteThem) {
  const auto database = open("Attributes=refused");
  EXPECT_EQ(rowsOf(*database, "ROW {d '2024-01-31'}"),
            "the driver would rewrite the text between braces in this statement; write it in the "
            "engine's own SQL, without braces");
  EXPECT_EQ(rowsOf(*database, "ROW '{d}'"), "'{d}'|");
  EXPECT_EQ(rowsOf(*open(), "ROW {d '2024-01-31'}"), "{d '2024-01-31'}|");
}

TEST_F(OdbcStatementTest, HasTheTimeLimitOfTheEnvironment) {
  EXPECT_EQ(rowsOf(*open(), "TIMEOUT"), "90|");
  EXPECT_EQ(rowsOf(*open("", 0), "TIMEOUT"), "0|");
  EXPECT_EQ(rowsOf(*open("Attributes=refused"), "TIMEOUT"), "0|");
}

TEST_F(OdbcStatementTest, AStatementThatExceedsItsTimeIsCancelledAndNotLocked) {
  const auto database = open();
  const auto rows = database->prepareGuarded("FAIL HYT00");
  try {
    rows->step();
    ADD_FAILURE();
  } catch (const DatabaseError& error) {
    EXPECT_EQ(error.fault(), Fault::Cancelled);
  }
}

TEST_F(OdbcStatementTest, AServerThatDoesNotAnswerIsGivenUpAfterTheLoginTimeout) {
  std::string words;
  EXPECT_EQ(faultOfOpen("Server=silent", words), Fault::NoServer);
  EXPECT_EQ(words, "timeout of 7 s expired");
}

TEST_F(OdbcStatementTest, AConnectionThatFailsForAnUnknownReasonCountsAsNoServer) {
  for (const char* state : {"HY000", "42000", "XYZ99"}) {
    std::string words;
    EXPECT_EQ(faultOfOpen(std::string("Connect=") + state, words), Fault::NoServer) << state;
    EXPECT_EQ(words, "as the connection string says");
  }
}

}  // namespace
}  // namespace qx::desk
