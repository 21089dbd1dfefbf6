#pragma once

// Files that the processes of a machine share for locks and shared memory. They are in one folder
// that all users share.

#include "qxframework/os/unique_fd.h"

#include <filesystem>
#include <string_view>

namespace qx {

/// Returns the machine-wide folder: QX_RUNTIME_DIR if that is set, else "qxframework" in /run/lock
/// or, if that does not exist or is not writable, in /tmp. Creates it if it is missing, so that
/// every user can write but not remove the files of others. Throws std::system_error if all fail.
std::filesystem::path runtimeFolder();

/// Opens the file for `name` and `suffix` in `folder` for reading and writing; creates it, for
/// every user, if it is missing. Characters of `name` that are unsafe in a file name are escaped,
/// so that different names keep different files. Throws std::system_error if that fails.
UniqueFd openSharedFile(const std::filesystem::path& folder, std::u16string_view name,
                        std::string_view suffix);

/// Calls flock() with `operation`, again after each interruption by a signal. Returns false only if
/// LOCK_NB was given and the lock is taken. Throws std::system_error if it fails otherwise.
bool lockFile(int fd, int operation);

}  // namespace qx
