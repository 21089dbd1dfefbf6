#include "qxdesk/engines/sqlite_turns.h"

#include "qxdesk/engines/table_layout.h"

#include <sqlite3.h>

#include <algorithm>

namespace qx::desk {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kLongestPause{10};

}  // namespace

WriteQueue::TimePoint TimedWait::end() {
  if (!end_) {
    end_ = environment_.clock() + milliseconds(environment_.busyTimeoutMs);
    pause_ = milliseconds(1);
  }
  return *end_;
}

bool TimedWait::pause() {
  const auto left = std::chrono::ceil<milliseconds>(end() - environment_.clock());
  if (left <= milliseconds(0)) return false;
  environment_.sleep(static_cast<int>(std::min(pause_, left).count()));
  pause_ = std::min(2 * pause_, kLongestPause);
  return true;
}

SqliteTurns::SqliteTurns(const CompanyEnvironment& environment)
    : environment_(environment), wait_(environment_) {}

void SqliteTurns::watch(sqlite3* db) {
  db_ = db;
  sqlite3_busy_handler(db_, waitForLock, this);
}

void SqliteTurns::join(LockFile& locks) {
  queue_.emplace(locks, environment_);
  checkpoints_.watch(db_, locks);
}

// The engine calls this while a lock is taken; 0 gives up. Its own sqlite3_busy_timeout would sleep
// by itself, which a test could not control.
int SqliteTurns::waitForLock(void* data, int /*tries*/) {
  SqliteTurns& turns = *static_cast<SqliteTurns*>(data);
  if (!turns.wait_.pause()) return 0;
  // Those behind are to wait in the queue and not here.
  if (turns.queue_ && turns.queue_->hasTurn()) turns.queue_->stillWrites();
  return 1;
}

bool SqliteTurns::inTransaction() const { return sqlite3_get_autocommit(db_) == 0; }

void SqliteTurns::begin(bool writes) {
  wait_.restart();
  if (writes && queue_) queue_->enter([this] { return wait_.end(); });
}

// Also after a failure, with which the engine may have ended the transaction.
void SqliteTurns::end() {
  if (!queue_ || !queue_->hasTurn()) return;
  if (inTransaction()) {
    // A transaction protects its draws itself.
    drawn_.clear();
    queue_->beginTransaction();
  } else if (drawn_.empty()) {
    endTurn();
  }
}

void SqliteTurns::endTurn() {
  const SqliteCheckpoints::Due due = checkpoints_.due();
  if (due == SqliteCheckpoints::Due::Alone) checkpoints_.run();
  if (due != SqliteCheckpoints::Due::Beside) return queue_->endStatement();
  queue_->leave();
  checkpoints_.run();
}

std::string SqliteTurns::highest(Database& database, std::string_view table) {
  draw(table, {});
  return database.queryText("SELECT MAX([Code]) FROM " + bracketed(table));
}

// A transaction has the engine's lock from its beginning.
std::unique_ptr<Statement> SqliteTurns::draw(std::string_view table, std::string_view /*text*/) {
  if (!queue_ || inTransaction()) return nullptr;
  begin(true);
  drawn_.insert(lowerName(table));
  drawnAt_ = environment_.clock();
  queue_->drawCode();
  return nullptr;
}

bool SqliteTurns::hasDrawn(std::string_view table) const {
  return !drawn_.empty() && drawn_.contains(lowerName(table));
}

void SqliteTurns::inserted(std::string_view table) noexcept {
  drawn_.erase(lowerName(table));
  end();
}

void SqliteTurns::giveUpOld() {
  if (drawn_.empty()) return;
  if (environment_.clock() - drawnAt_ < milliseconds(environment_.drawTimeoutMs)) return;
  drawn_.clear();
  end();
}

}  // namespace qx::desk
