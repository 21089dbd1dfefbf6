#pragma once

// How long a statement of the embedded engine may run. The engine asks in the middle of its work
// whether to go on; the answer is no when the deadline of the statement that is stepping is past.

#include <chrono>
#include <functional>
#include <optional>
#include <string>

struct sqlite3;

namespace qx::desk {

class SqliteTimeLimit {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  /// No statement is stopped when `seconds` is 0.
  SqliteTimeLimit(std::function<TimePoint()> clock, int seconds);
  SqliteTimeLimit(const SqliteTimeLimit&) = delete;
  SqliteTimeLimit& operator=(const SqliteTimeLimit&) = delete;

  /// The connection asks from now on; this must outlive it.
  void watch(sqlite3* db);

  TimePoint deadlineFromNow() const;
  /// For one step, until lift().
  void set(TimePoint deadline) { deadline_ = deadline; }
  void lift() { deadline_.reset(); }

  /// Why a statement was stopped.
  std::string reason() const;

 private:
  static int isOver(void* data);

  std::function<TimePoint()> clock_;
  std::chrono::seconds most_;
  std::optional<TimePoint> deadline_;
};

}  // namespace qx::desk
