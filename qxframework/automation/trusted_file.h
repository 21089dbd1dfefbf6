#pragma once

// Files that decide what code a process runs. They count only if nobody but this user and root can
// have written them: a process of root that has another user's HOME must not load what that user
// names.

#include "qxframework/automation/export.h"

#include <cstddef>
#include <filesystem>
#include <string>

namespace qx {

/// Returns the environment variable `name`, empty if it is not set. A process with more rights than
/// the user who started it, by the set-user-id bit or by capabilities of the file, sees none, since
/// that user chose them.
QX_API std::string trustedVariable(const char* name);

/// Returns why the content of `file` must not be trusted, as a clause with the remedy: it or its
/// folder belongs to neither this user nor root, or others can write to it, or it is no plain file.
/// Empty if it may be trusted, and also if there is no such file.
QX_API std::string distrust(const std::filesystem::path& file);

/// The content of a trusted file, or why there is none.
struct TrustedText {
  std::string text;
  std::string problem;  ///< as of distrust(); empty if `text` is the content
};

/// Reads a file of at most `limit` bytes. The checks are made on the open file, so that it cannot
/// be replaced between a check and the reading.
QX_API TrustedText readTrusted(const std::filesystem::path& file, std::size_t limit);

}  // namespace qx
