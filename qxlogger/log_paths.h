#pragma once

#include <string>
#include <string_view>

namespace qx::logger {

/// The settings file: `QX_LOG_SETTINGS`, else `qxframework/log.toml` in the user's configuration
/// folder. Empty when the user has no folders at all.
std::string settingsPath();

/// The folder of the log files: `QX_LOG_DIR`, else `qxframework/log` in the user's state folder.
/// Empty when the user has no folders at all.
std::string logFolder();

/// The name, without folder and ending, under which the records of `module` are kept.
///
/// ASCII letters and digits, "-", "_", inner "." and whatever is not ASCII stand as they are; every
/// other byte becomes "%XX". A dot before a closing number becomes "%2E", since "name.1.log" is a
/// rotated file of "name". Very long names end in a hash. No module at all is "nomodule".
std::string fileBaseName(std::u16string_view module);

}  // namespace qx::logger
