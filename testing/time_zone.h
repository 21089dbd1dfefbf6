#pragma once

#include "testing/scoped_variable.h"

#include <ctime>
#include <optional>

namespace qx::test {

/// Sets the local time zone of this process while it lives. The destructor restores the previous
/// one.
class ScopedTimeZone {
 public:
  explicit ScopedTimeZone(const char* zone) {
    variable_.emplace("TZ", zone);
    tzset();
  }
  ~ScopedTimeZone() {
    variable_.reset();
    tzset();
  }
  ScopedTimeZone(const ScopedTimeZone&) = delete;
  ScopedTimeZone& operator=(const ScopedTimeZone&) = delete;

 private:
  std::optional<ScopedVariable> variable_;
};

}  // namespace qx::test
