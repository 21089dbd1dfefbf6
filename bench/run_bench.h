#pragma once

// The main function of a benchmark with a company: sets up the log and reports errors.

#include "bench/log_settings.h"
#include "qxframework/automation/com_error.h"
#include "qxframework/automation/text.h"
#include "qxframework/query/persistence_exception.h"

#include <cstdio>
#include <exception>
#include <string>

namespace qx::bench {

/// Prints an error and returns the exit code of a failure.
inline int failed(const std::string& why) {
  std::fprintf(stderr, "bench: %s\n", why.c_str());
  return 1;
}

/// Runs `measure` and returns the exit code of the program.
inline int run(void (*measure)()) {
  if (!recordUpTo(QXLoggerLib::sl_Error, 1)) return 1;
  try {
    measure();
    return 0;
  } catch (const Persistence::CQXPersistenceException& error) {
    return failed(toUtf8(viewOf(error.GetErrorString())));
  } catch (const _com_error& error) {
    return failed(toUtf8(viewOf(error.ErrorMessage())));
  } catch (const std::exception& error) {
    return failed(error.what());
  }
}

}  // namespace qx::bench
