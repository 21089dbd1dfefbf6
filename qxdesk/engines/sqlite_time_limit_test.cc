// A statement on a file that runs away is stopped, by a clock that the test moves.

#include "qxdesk/engines/sqlite_time_limit.h"

#include "qxdesk/engines/open_database.h"
#include "qxdesk/engines/test_support.h"
#include "testing/temp_folder.h"

#include <gtest/gtest.h>

#include <optional>

namespace qx::desk {
namespace {

using namespace std::chrono_literals;

class SqliteTimeLimitTest : public testing::Test {
 protected:
  /// Opens a file with a table `n` of 36 rows. Its clock advances by `pace_` with every look.
  std::unique_ptr<Database> limitedTo(int seconds) {
    CompanyEnvironment environment = testEnvironment();
    environment.clock = [this] { return now_ += pace_; };
    environment.statementTimeoutSeconds = seconds;
    std::unique_ptr<Database> database = openDatabase(file_, environment);
    database->execute("CREATE TABLE [n] ([x] int)");
    database->execute(
        "WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM c WHERE x < 36) "
        "INSERT INTO [n] SELECT x FROM c");
    database->execute("CREATE TABLE [kept] ([x] int)");
    database->execute("INSERT INTO [kept] VALUES (0)");
    return database;
  }
  static void runToTheEnd(Database& database, const std::string& sql) {
    const auto rows = database.prepareGuarded(sql);
    while (rows->step()) {
    }
  }
  static void expectStopped(Database& database, const std::string& sql) {
    try {
      runToTheEnd(database, sql);
      ADD_FAILURE() << "not stopped: " << sql;
    } catch (const DatabaseError& error) {
      EXPECT_EQ(error.fault(), Fault::Cancelled);
      EXPECT_STREQ(error.what(), "it ran for 600 seconds");
    }
  }
  std::int64_t keptByAnother() const {
    return openDatabase(file_, testEnvironment())->queryInteger("SELECT [x] FROM [kept]");
  }

  static constexpr const char* kHuge = "FROM n A, n B, n C, n D, n E, n F";
  test::TempFolder folder_;
  const std::string file_ = folder_.file("limited.db");
  std::chrono::steady_clock::time_point now_;
  std::chrono::seconds pace_ = 0s;
};

TEST_F(SqliteTimeLimitTest, StopsAStatementThatRunsAway) {
  const auto database = limitedTo(600);
  pace_ = 100s;
  expectStopped(*database, std::string("SELECT COUNT(*) ") + kHuge);
  expectStopped(*database, std::string("SELECT COUNT(*) ") + kHuge);
  EXPECT_EQ(database->queryInteger("SELECT COUNT(*) FROM [n]"), 36);
}

TEST_F(SqliteTimeLimitTest, CountsTheTimeOfAllRowsOfAStatement) {
  const auto database = limitedTo(600);
  pace_ = 100s;
  expectStopped(*database, std::string("SELECT A.x ") + kHuge);
}

TEST_F(SqliteTimeLimitTest, LetsAStatementWithinItsTimeRunToTheEnd) {
  const auto database = limitedTo(600);
  pace_ = 10s;
  const auto before = now_;
  for (int i = 0; i < 8; ++i) {
    EXPECT_EQ(database->queryInteger("SELECT COUNT(*) FROM n A, n B, n C"), 46656);
  }
  EXPECT_GT(now_ - before, 600s);
}

TEST_F(SqliteTimeLimitTest, AZeroLimitStopsNothing) {
  const auto database = limitedTo(0);
  pace_ = 100'000s;
  EXPECT_EQ(database->queryInteger("SELECT COUNT(*) FROM n A, n B, n C"), 46656);
}

TEST_F(SqliteTimeLimitTest, AStoppedQueryLeavesTheTransactionOpen) {
  const auto database = limitedTo(600);
  database->begin();
  database->execute("UPDATE [kept] SET [x] = 1");
  pace_ = 100s;
  expectStopped(*database, std::string("SELECT COUNT(*) ") + kHuge);
  pace_ = 0s;
  EXPECT_TRUE(database->inTransaction());
  database->commit();
  EXPECT_EQ(keptByAnother(), 1);
}

// The engine cannot undo alone a change that it has begun.
TEST_F(SqliteTimeLimitTest, AStoppedChangeEndsTheTransaction) {
  const auto database = limitedTo(600);
  database->begin();
  database->execute("UPDATE [kept] SET [x] = 1");
  pace_ = 100s;
  expectStopped(*database, std::string("UPDATE n SET x = (SELECT COUNT(*) ") + kHuge + ")");
  pace_ = 0s;
  EXPECT_FALSE(database->inTransaction());
  EXPECT_EQ(keptByAnother(), 0);
}

}  // namespace
}  // namespace qx::desk
