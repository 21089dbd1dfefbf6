#pragma once

// Sets what the logging component records, and waits until it honours it.

#include "qxframework/automation/class_object.h"
#include "qxframework/logging/function_log.h"

namespace qx::bench {

/// False, with a word to the user, when the component is not there.
inline bool recordUpTo(QXLoggerLib::HvSeverityLevel level, long megabytes) {
  const auto logger = createLogger();
  if (logger == nullptr || logger->WriteSettings(2, megabytes, level, nullptr) != S_OK) {
    std::fprintf(stderr, "bench: the logging component does not answer; is QX_REGISTRY set?\n");
    return false;
  }
  return true;
}

}  // namespace qx::bench
