#include "qxdesk/engines/write_ahead_log.h"

#include "testing/file_content.h"
#include "testing/temp_folder.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <string>

namespace qx::desk {
namespace {

constexpr std::size_t kHead = 32;
constexpr std::size_t kFrame = 24 + 4096;

/// A database whose log stays as it is, until the connection ends.
class WriteAheadLogTest : public testing::Test {
 protected:
  WriteAheadLogTest() {
    EXPECT_EQ(sqlite3_open(database.c_str(), &db_), SQLITE_OK);
    run("PRAGMA journal_mode = WAL; PRAGMA wal_autocheckpoint = 0; CREATE TABLE t (x)");
  }
  ~WriteAheadLogTest() override { sqlite3_close(db_); }

  void run(const std::string& sql) {
    EXPECT_EQ(sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
        << sqlite3_errmsg(db_);
  }
  void commitRows(int transactions) {
    for (int i = 0; i < transactions; ++i) run("INSERT INTO t VALUES (" + std::to_string(i) + ")");
  }
  std::string log() const { return test::contentOf(logOf(database)); }
  std::size_t frames() const { return (log().size() - kHead) / kFrame; }
  /// Looks at a copy with other content.
  bool isDamaged(const std::string& content) const {
    return hasUnreadableChanges(folder.write("copy.db-wal", content));
  }
  static std::string flipped(std::string content, std::size_t byte) {
    content[byte] = static_cast<char>(content[byte] ^ 0x10);
    return content;
  }

  test::TempFolder folder;
  std::filesystem::path database = folder.path() / "a.db";

 private:
  sqlite3* db_ = nullptr;
};

TEST_F(WriteAheadLogTest, AWholeLogHasNoUnreadableChanges) {
  commitRows(5);
  EXPECT_GE(frames(), 6U);
  EXPECT_TRUE(holdsFrames(logOf(database)));
  EXPECT_FALSE(hasUnreadableChanges(logOf(database)));
}

TEST_F(WriteAheadLogTest, AMissingLogAndAHeadAloneHaveNone) {
  EXPECT_FALSE(holdsFrames(folder.path() / "none"));
  EXPECT_FALSE(hasUnreadableChanges(folder.path() / "none"));
  EXPECT_FALSE(isDamaged(log().substr(0, kHead)));
  EXPECT_FALSE(holdsFrames(folder.path() / "copy.db-wal"));
}

TEST_F(WriteAheadLogTest, DamageAnywhereBeforeTheLastTransactionIsFound) {
  commitRows(5);
  const std::string whole = log();
  for (std::size_t byte = 0; byte < kHead; ++byte) {
    EXPECT_TRUE(isDamaged(flipped(whole, byte))) << byte;
  }
  // The checksum of the last frame but one is the start of that of the last.
  const std::size_t lastButOne = kHead + (frames() - 2) * kFrame;
  for (std::size_t byte = kHead; byte < lastButOne + 16; byte += 61) {
    EXPECT_TRUE(isDamaged(flipped(whole, byte))) << byte;
  }
}

TEST_F(WriteAheadLogTest, DamageAtTheVeryEndLooksLikeAWriteThatWasCutOff) {
  commitRows(5);
  const std::string whole = log();
  EXPECT_FALSE(isDamaged(flipped(whole, whole.size() - kFrame)));
  EXPECT_FALSE(isDamaged(flipped(whole, whole.size() - 1)));
}

TEST_F(WriteAheadLogTest, ALogThatWasCutOffIsNotDamaged) {
  commitRows(3);
  const std::string whole = log();
  for (std::size_t size = 0; size < whole.size(); size += 101) {
    EXPECT_FALSE(isDamaged(whole.substr(0, size))) << size;
  }
}

// A transaction that is too large for the cache writes to the log before its end.
TEST_F(WriteAheadLogTest, TheRestOfARolledBackTransactionIsNotDamage) {
  run("PRAGMA cache_size = 4; BEGIN; WITH RECURSIVE n (i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM "
      "n WHERE i < 200) INSERT INTO t SELECT hex(zeroblob(2000)) FROM n; ROLLBACK");
  const std::size_t before = frames();
  EXPECT_GT(before, 50U);
  commitRows(2);
  EXPECT_EQ(frames(), before);
  EXPECT_FALSE(hasUnreadableChanges(logOf(database)));
}

TEST_F(WriteAheadLogTest, TheFramesBehindANewStartOfTheLogAreNotDamage) {
  commitRows(20);
  const std::size_t before = frames();
  run("PRAGMA wal_checkpoint(RESTART)");
  commitRows(2);
  EXPECT_EQ(frames(), before);
  EXPECT_FALSE(hasUnreadableChanges(logOf(database)));
  EXPECT_TRUE(isDamaged(flipped(log(), kHead + 30)));
}

}  // namespace
}  // namespace qx::desk
