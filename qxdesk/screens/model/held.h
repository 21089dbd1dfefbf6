#pragma once

// A variable that has another value within a scope.

#include <utility>

namespace qx::screens {

/// Sets a variable while it lives and restores the old value at its end, also after an exception.
template <class T>
class Held {
 public:
  Held(T& place, T value) : place_(place), before_(std::exchange(place, value)) {}
  ~Held() { place_ = before_; }
  Held(const Held&) = delete;
  Held& operator=(const Held&) = delete;

 private:
  T& place_;
  T before_;
};

}  // namespace qx::screens
