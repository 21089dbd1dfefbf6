#pragma once

#include "qxframework/automation/class_object.h"
#include "testing/scoped_variable.h"

#include <filesystem>
#include <optional>

namespace qx::test {

/// Makes `file` the registry of this process while it lives. The file need not exist.
class RegistryInUse {
 public:
  explicit RegistryInUse(const std::filesystem::path& file) {
    variable_.emplace("QX_REGISTRY", file.string());
    resetActivation();
  }
  ~RegistryInUse() {
    variable_.reset();
    resetActivation();
  }
  RegistryInUse(const RegistryInUse&) = delete;
  RegistryInUse& operator=(const RegistryInUse&) = delete;

 private:
  std::optional<ScopedVariable> variable_;
};

}  // namespace qx::test
