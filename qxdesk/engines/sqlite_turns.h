#pragma once

// When a connection to a file may write. All its statements ask here before their first step and
// report their end, so that the connection waits in the queue of writers and keeps its turn to the
// end of the statement, of the transaction, or of the draw of a code. What keeps the file beyond
// the queue, for example a program of another kind, is waited for in short pauses, until the time
// is over.

#include "qxdesk/engines/code_draws.h"
#include "qxdesk/engines/environment.h"
#include "qxdesk/engines/sqlite_checkpoints.h"
#include "qxdesk/engines/write_queue.h"

#include <memory>
#include <optional>
#include <set>
#include <string>

struct sqlite3;

namespace qx::desk {

/// Waits in short pauses, by the clock. The time begins with the first look at it.
class TimedWait {
 public:
  explicit TimedWait(const CompanyEnvironment& environment) : environment_(environment) {}
  WriteQueue::TimePoint end();
  /// Sleeps a moment. Returns false instead if the time is over.
  bool pause();
  void restart() { end_.reset(); }

 private:
  const CompanyEnvironment& environment_;
  std::optional<WriteQueue::TimePoint> end_;
  std::chrono::milliseconds pause_{1};
};

class SqliteTurns final : public CodeDraws {
 public:
  explicit SqliteTurns(const CompanyEnvironment& environment);
  SqliteTurns(const SqliteTurns&) = delete;
  SqliteTurns& operator=(const SqliteTurns&) = delete;

  /// Serves a connection, which this object must outlive.
  void watch(sqlite3* db);
  /// Joins the queue in the lock file, which must outlive this object.
  void join(LockFile& locks);
  const CompanyEnvironment& environment() const { return environment_; }

  /// Called before the first step of a statement and after its last one.
  void begin(bool writes);
  void end();

  bool runsTexts() const override { return false; }
  std::unique_ptr<Statement> draw(std::string_view table, std::string_view text) override;
  std::string highest(Database& database, std::string_view table) override;
  bool hasDrawn(std::string_view table) const override;
  std::unique_ptr<Statement> insert(std::string_view, std::string_view) override { return nullptr; }
  void inserted(std::string_view table) noexcept override;
  void giveUpOld() override;

 private:
  static int waitForLock(void* data, int tries);
  bool inTransaction() const;
  void endTurn();

  CompanyEnvironment environment_;
  TimedWait wait_;
  sqlite3* db_ = nullptr;
  std::optional<WriteQueue> queue_;
  SqliteCheckpoints checkpoints_;
  std::set<std::string, std::less<>> drawn_;  // the tables, in lower case
  WriteQueue::TimePoint drawnAt_;             // the latest draw
};

}  // namespace qx::desk
