#include "qxdesk/engines/sqlite_checkpoints.h"

#include "qxdesk/engines/lock_file_contents.h"

#include <sqlite3.h>

#include <utility>

namespace qx::desk {

namespace {

// The engine's own limit, in pages.
constexpr std::uint32_t kStep = 1000;
// 16 MB. The file of the log keeps its greatest size until the company is closed.
constexpr std::uint32_t kLong = 4 * kStep;

}  // namespace

void SqliteCheckpoints::watch(sqlite3* db, LockFile& locks) {
  db_ = db;
  locks_ = &locks;
  const auto note = [](void* data, sqlite3*, const char*, int pages) {
    static_cast<SqliteCheckpoints*>(data)->pages_ = static_cast<std::uint32_t>(pages);
    return SQLITE_OK;
  };
  sqlite3_wal_hook(db_, note, this);
}

// The connections share the size of the log at which the last one of them began. A log that is
// shorter than that has begun anew.
SqliteCheckpoints::Due SqliteCheckpoints::due() {
  const std::uint32_t pages = std::exchange(pages_, 0);
  if (pages == 0) return Due::No;
  std::atomic<std::uint32_t>& begun = locks_->contents().logPages;
  std::uint32_t last = begun;
  if (pages < last && begun.compare_exchange_strong(last, 0)) last = 0;
  if (pages < last || pages - last < kStep) return Due::No;
  if (!begun.compare_exchange_strong(last, pages)) return Due::No;
  return pages < kLong ? Due::Beside : Due::Alone;
}

void SqliteCheckpoints::run() {
  sqlite3_wal_checkpoint_v2(db_, nullptr, SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
}

}  // namespace qx::desk
