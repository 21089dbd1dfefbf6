#pragma once

#include <algorithm>
#include <chrono>
#include <optional>

namespace qx::web {

/// Allows `perSecond` events a second, and `burst` at once after a rest. The time is handed in.
class RateLimit {
 public:
  using Time = std::chrono::steady_clock::time_point;

  RateLimit(double perSecond, double burst) : perSecond_(perSecond), burst_(burst), left_(burst) {}

  /// Counts an event. Returns false if it comes too early; it then counts for nothing. A `now` that
  /// is before that of the last call counts as the same time.
  bool allow(Time now) {
    if (last_ && now > *last_) {
      const std::chrono::duration<double> passed = now - *last_;
      left_ = std::min(burst_, left_ + passed.count() * perSecond_);
    }
    last_ = last_ ? std::max(*last_, now) : now;
    if (left_ < 1) return false;
    left_ -= 1;
    return true;
  }

 private:
  double perSecond_;
  double burst_;
  double left_;
  std::optional<Time> last_;
};

}  // namespace qx::web
