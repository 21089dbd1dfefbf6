#include "testing/faulty_disk.h"

#include "testing/temp_folder.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <optional>
#include <string>

namespace qx::test {
namespace {

class FaultyDiskTest : public testing::Test {
 protected:
  void open() {
    ASSERT_EQ(sqlite3_open(folder.file("a.db").c_str(), &db), SQLITE_OK);
    sqlite3_extended_result_codes(db, 1);
  }
  int run(const char* sql) { return sqlite3_exec(db, sql, nullptr, nullptr, nullptr); }
  ~FaultyDiskTest() override { sqlite3_close(db); }

  TempFolder folder;
  std::optional<FaultyDisk> disk{std::in_place};
  sqlite3* db = nullptr;
};

TEST_F(FaultyDiskTest, CountsTheChangesOfEveryFile) {
  open();
  EXPECT_EQ(disk->changes, 0);
  EXPECT_EQ(run("CREATE TABLE t (x)"), SQLITE_OK);
  const int first = disk->changes;
  EXPECT_GT(first, 2);
  EXPECT_EQ(run("SELECT * FROM t"), SQLITE_OK);
  EXPECT_EQ(disk->changes, first);
  EXPECT_EQ(run("PRAGMA journal_mode = WAL"), SQLITE_OK);
  EXPECT_EQ(run("INSERT INTO t VALUES (1)"), SQLITE_OK);
  EXPECT_GT(disk->changes, first);
}

TEST_F(FaultyDiskTest, AFullDiskRefusesWritesUntilItHasSpaceAgain) {
  open();
  EXPECT_EQ(run("PRAGMA journal_mode = WAL; CREATE TABLE t (x)"), SQLITE_OK);
  disk->full = true;
  EXPECT_EQ(run("INSERT INTO t VALUES (1)"), SQLITE_FULL);
  disk->full = false;
  EXPECT_EQ(run("INSERT INTO t VALUES (1)"), SQLITE_OK);
}

TEST_F(FaultyDiskTest, FilesThatAreOpenedAfterItsEndAreOnTheRealDisk) {
  disk->full = true;
  disk.reset();
  open();
  EXPECT_EQ(run("CREATE TABLE t (x)"), SQLITE_OK);
}

}  // namespace
}  // namespace qx::test
