#pragma once

// The places of the settings and of the log files, and the names of the log files.

#include <string>
#include <string_view>

namespace qx::logger {

/// Returns the path of the settings file: `QX_LOG_SETTINGS`, else `qxframework/log.toml` in the
/// user's configuration folder. Returns an empty text if the user has no such folder.
std::string settingsPath();

/// Returns the folder of the log files: `QX_LOG_DIR`, else `qxframework/log` in the user's state
/// folder. Returns an empty text if the user has no such folder.
std::string logFolder();

/// Returns the name, without folder and ending, of the log files of `module`.
///
/// ASCII letters and digits, "-", "_", "." except at the start, and all non-ASCII characters are
/// kept; every other byte becomes "%XX". A dot before a number at the end becomes "%2E", because
/// "name.1.log" is a rotated file of "name". A very long name is cut and ends in a hash. An empty
/// module is "nomodule".
std::string fileBaseName(std::u16string_view module);

}  // namespace qx::logger
