#pragma once

// Files that the processes of a user, or of all users of a machine, share for locks and counters.
// They are in one folder, which no one can fill with files of another user's making: it is this
// user's own, or an administrator has made it for all.

#include "qxframework/os/unique_fd.h"

#include <filesystem>
#include <string_view>

namespace qx {

/// Where runtimeFolder() looks.
struct RuntimePlaces {
  /// A folder for every user. It counts only if it belongs to root, is sticky and can be written by
  /// all, which an administrator has to bring about; it is never created.
  std::filesystem::path everyUsers;
  /// Folders in which the user's own "qxframework" is, if they are this user's and no one else can
  /// write to them; empty ones are left out.
  std::filesystem::path users;
  std::filesystem::path environments;
  /// The user's home, where both are missing: in it, ".local/state/qxframework/run" counts by the
  /// same rules. It comes before the last one, which another user can take first.
  std::filesystem::path home;
  /// The user's own folder where there is no home either.
  std::filesystem::path last;
};

/// Returns /run/lock/qxframework, /run/user/UID, XDG_RUNTIME_DIR, the home that the user database
/// names (HOME, if it names none), and /tmp/qxframework-UID.
RuntimePlaces standardRuntimePlaces();

/// Returns QX_RUNTIME_DIR if that is set, else the first of the places that is safe. Creates a
/// user's own folder if it is missing. A process with more rights than its user ignores the
/// environment. Throws std::system_error if there is none, or QX_RUNTIME_DIR is not a full path.
std::filesystem::path runtimeFolder();
std::filesystem::path runtimeFolder(const RuntimePlaces& places);

/// Opens the file for `name` and `suffix` in `folder` for reading and writing, and creates it if it
/// is missing: for every user in a folder for every user, else for this user alone. Characters of
/// `name` that are unsafe in a file name are escaped, so that different names keep different files.
/// Throws std::system_error if that fails, and for a link, for what is not a plain file, and for
/// another user's file outside of a folder for every user.
UniqueFd openSharedFile(const std::filesystem::path& folder, std::u16string_view name,
                        std::string_view suffix);

/// Calls flock() with `operation`, again after each interruption by a signal. Returns false only if
/// LOCK_NB was given and the lock is taken. Throws std::system_error if it fails otherwise.
bool lockFile(int fd, int operation);

}  // namespace qx
