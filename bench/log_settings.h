#pragma once

// The settings of the logging component for a benchmark.

#include "qxframework/automation/class_object.h"
#include "qxframework/logging/function_log.h"

namespace qx::bench {

/// Records messages up to `level` in `files` files of `megabytes`, at once. Returns false and
/// prints a message if the component is unavailable.
inline bool recordUpTo(QXLoggerLib::HvSeverityLevel level, long megabytes, long files = 2) {
  const auto logger = createLogger();
  if (logger == nullptr || logger->WriteSettings(files, megabytes, level, nullptr) != S_OK) {
    std::fprintf(stderr, "bench: the logging component does not answer; is QX_REGISTRY set?\n");
    return false;
  }
  return true;
}

}  // namespace qx::bench
