#pragma once

// The time that a statement of the embedded engine may run. The engine calls back in the middle of
// its work and asks if it may continue; the answer is no once the deadline of the statement that is
// stepping has passed.

#include <chrono>
#include <functional>
#include <optional>
#include <string>

struct sqlite3;

namespace qx::desk {

class SqliteTimeLimit {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  /// With `seconds` 0 no statement is stopped.
  SqliteTimeLimit(std::function<TimePoint()> clock, int seconds);
  SqliteTimeLimit(const SqliteTimeLimit&) = delete;
  SqliteTimeLimit& operator=(const SqliteTimeLimit&) = delete;

  /// Watches the statements of a connection, which this object must outlive.
  void watch(sqlite3* db);

  TimePoint deadlineFromNow() const;
  /// Sets the deadline for one step, until lift().
  void set(TimePoint deadline) { deadline_ = deadline; }
  void lift() { deadline_.reset(); }

  /// True if the statement that is stepping has passed its deadline.
  bool isOver() const { return deadline_ && clock_() >= *deadline_; }

  /// Returns why a statement was stopped, for its message.
  std::string reason() const;

 private:
  static int askedByEngine(void* data);

  std::function<TimePoint()> clock_;
  std::chrono::seconds most_;
  std::optional<TimePoint> deadline_;
};

}  // namespace qx::desk
