#include "qxdesk/engines/sqlite_time_limit.h"

#include <sqlite3.h>

#include <utility>

namespace qx::desk {

namespace {

// The number of the engine's small steps between two callbacks, a fraction of a millisecond.
constexpr int kOperations = 10'000;

}  // namespace

SqliteTimeLimit::SqliteTimeLimit(std::function<TimePoint()> clock, int seconds)
    : clock_(std::move(clock)), most_(seconds) {}

void SqliteTimeLimit::watch(sqlite3* db) {
  if (most_.count() > 0) sqlite3_progress_handler(db, kOperations, askedByEngine, this);
}

SqliteTimeLimit::TimePoint SqliteTimeLimit::deadlineFromNow() const { return clock_() + most_; }

std::string SqliteTimeLimit::reason() const {
  return "it ran for " + std::to_string(most_.count()) + " seconds";
}

// A result other than 0 interrupts the statement.
int SqliteTimeLimit::askedByEngine(void* data) {
  return static_cast<SqliteTimeLimit*>(data)->isOver() ? 1 : 0;
}

}  // namespace qx::desk
