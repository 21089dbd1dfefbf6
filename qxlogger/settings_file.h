#pragma once

#include "qxlogger/log_settings.h"

#include <string>

namespace qx::logger {

class FileApi;

/// Why settings could not be stored.
struct StoreResult {
  int error = 0;       ///< `errno` of the failed step, 0 for success
  std::string text{};  ///< what failed, for a person
};

/// The settings in the TOML file at `path`, moved into their ranges. A value that is missing or of
/// the wrong kind is its default, and so are all when the file is missing or is no TOML.
LogSettings loadSettings(FileApi& files, const std::string& path);

/// Replaces the settings in the file, as one step: a reader sees the old file or the new one.
/// Whatever else stands in the file is kept, but for comments.
StoreResult storeSettings(FileApi& files, const std::string& path, const LogSettings& settings);

}  // namespace qx::logger
