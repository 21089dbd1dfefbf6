#include "qxdesk/engines/sqlite_checkpoints.h"

#include "qxdesk/engines/lock_file_contents.h"
#include "qxdesk/engines/test_support.h"
#include "testing/temp_folder.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

namespace qx::desk {
namespace {

using Due = SqliteCheckpoints::Due;

/// One of the connections to a file in write-ahead mode.
class Writer {
 public:
  explicit Writer(const std::filesystem::path& file) : locks_(open(file)) {
    checkpoints.watch(db_, *locks_);
  }
  ~Writer() { sqlite3_close(db_); }
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;

  /// Writes a bit more than so many pages in one transaction.
  void write(int pages) {
    run("INSERT INTO t VALUES (zeroblob(4096 * " + std::to_string(pages) + "))");
  }
  void run(const std::string& sql) {
    EXPECT_EQ(sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << sql;
  }
  SqliteCheckpoints checkpoints;

 private:
  std::unique_ptr<LockFile> open(const std::filesystem::path& file) {
    EXPECT_EQ(sqlite3_open(file.c_str(), &db_), SQLITE_OK);
    run("PRAGMA journal_mode = WAL; CREATE TABLE IF NOT EXISTS t (x)");
    return LockFile::open(file, testEnvironment());
  }

  sqlite3* db_ = nullptr;
  std::unique_ptr<LockFile> locks_;
};

class SqliteCheckpointsTest : public testing::Test {
 protected:
  std::uintmax_t pagesInFile() const { return std::filesystem::file_size(file_) / 4096; }

  test::TempFolder folder_;
  std::filesystem::path file_ = folder_.path() / "company.db";
  Writer first_{file_};
  Writer second_{file_};
};

TEST_F(SqliteCheckpointsTest, AShortLogStays) {
  EXPECT_EQ(first_.checkpoints.due(), Due::No);
  first_.write(900);
  EXPECT_EQ(first_.checkpoints.due(), Due::No);
}

TEST_F(SqliteCheckpointsTest, OneConnectionMovesALongLog) {
  first_.write(500);
  second_.write(600);
  EXPECT_EQ(first_.checkpoints.due(), Due::No);
  EXPECT_EQ(second_.checkpoints.due(), Due::Beside);
  first_.write(1);
  EXPECT_EQ(first_.checkpoints.due(), Due::No);
  EXPECT_EQ(second_.checkpoints.due(), Due::No);
}

TEST_F(SqliteCheckpointsTest, TheEngineDoesNotMoveItByItself) {
  first_.write(1100);
  second_.write(100);
  EXPECT_LT(pagesInFile(), 10U);
  second_.checkpoints.run();
  EXPECT_GT(pagesInFile(), 1200U);
}

TEST_F(SqliteCheckpointsTest, AfterTheMoveTheLogBeginsAnew) {
  first_.write(1100);
  EXPECT_EQ(first_.checkpoints.due(), Due::Beside);
  first_.checkpoints.run();
  for (int i = 0; i < 9; ++i) {
    second_.write(100);
    EXPECT_EQ(second_.checkpoints.due(), Due::No) << i;
  }
  second_.write(100);
  EXPECT_EQ(second_.checkpoints.due(), Due::Beside);
}

TEST_F(SqliteCheckpointsTest, ALogThatGrowsAllTheSameIsMovedAlone) {
  for (int i = 1; i <= 3; ++i) {
    first_.write(1000);
    EXPECT_EQ(first_.checkpoints.due(), Due::Beside) << i;
  }
  first_.write(1000);
  EXPECT_EQ(first_.checkpoints.due(), Due::Alone);
  first_.write(500);
  EXPECT_EQ(first_.checkpoints.due(), Due::No);
  first_.write(600);
  EXPECT_EQ(first_.checkpoints.due(), Due::Alone);
}

TEST_F(SqliteCheckpointsTest, ALogInUseStaysAndHindersNoWriter) {
  second_.run("BEGIN; SELECT * FROM t");
  first_.write(1100);
  EXPECT_EQ(first_.checkpoints.due(), Due::Beside);
  first_.checkpoints.run();
  second_.checkpoints.run();
  first_.write(1);
  second_.run("COMMIT");
}

}  // namespace
}  // namespace qx::desk
