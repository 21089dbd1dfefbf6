#pragma once

#include <cstdlib>
#include <optional>
#include <string>
#include <utility>

namespace qx::test {

/// Sets an environment variable of this process while it lives, or removes it if the value is null.
/// The destructor restores the previous state.
class ScopedVariable {
 public:
  ScopedVariable(std::string name, const char* value) : name_(std::move(name)) {
    if (const char* before = std::getenv(name_.c_str())) before_ = before;
    set(value);
  }
  ScopedVariable(std::string name, const std::string& value)
      : ScopedVariable(std::move(name), value.c_str()) {}
  ~ScopedVariable() { set(before_ ? before_->c_str() : nullptr); }
  ScopedVariable(const ScopedVariable&) = delete;
  ScopedVariable& operator=(const ScopedVariable&) = delete;

 private:
  void set(const char* value) const {
    if (value != nullptr) {
      setenv(name_.c_str(), value, 1);
    } else {
      unsetenv(name_.c_str());
    }
  }

  std::string name_;
  std::optional<std::string> before_;
};

}  // namespace qx::test
