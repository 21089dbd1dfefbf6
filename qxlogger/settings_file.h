#pragma once

// The file that keeps the settings of the log.

#include "qxlogger/log_settings.h"

#include <string>

namespace qx::logger {

class FileApi;

/// The result of storing settings.
struct StoreResult {
  int error = 0;       ///< `errno` of the failed step, 0 for success
  std::string text{};  ///< a message for a person, empty for success
};

/// Returns the settings in the TOML file at `path`, moved into their ranges. A value that is
/// missing or of the wrong type becomes its default; all do if the file is missing or no TOML.
LogSettings loadSettings(FileApi& files, const std::string& path);

/// Replaces the settings in the file in one step: a reader sees the old file or the new one. Keeps
/// other keys of the file, but not its comments.
StoreResult storeSettings(FileApi& files, const std::string& path, const LogSettings& settings);

}  // namespace qx::logger
