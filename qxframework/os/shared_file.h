#pragma once

// Files through which the processes of a machine meet: locks and shared memory. They lie in one
// folder that several users share.

#include "qxframework/os/unique_fd.h"

#include <filesystem>
#include <string_view>

namespace qx {

/// The machine-wide folder: QX_RUNTIME_DIR if that is set, else "qxframework" in /run/lock or,
/// where that does not exist or may not be written, in /tmp. It is created if need be, for
/// everybody to write but not to remove others' files. Throws std::system_error when there is none.
std::filesystem::path runtimeFolder();

/// Opens the file for `name` and `suffix` in `folder` for reading and writing, and creates it first
/// if need be, for every user. Characters of `name` that do not belong into a file name are
/// replaced without making two names equal. Throws std::system_error.
UniqueFd openSharedFile(const std::filesystem::path& folder, std::u16string_view name,
                        std::string_view suffix);

/// flock() with `operation`, again after each interruption. False only when LOCK_NB was given and
/// the lock is taken. Throws std::system_error.
bool lockFile(int fd, int operation);

}  // namespace qx
