#pragma once

// The write-ahead file of the embedded engine, read without the engine. After a crash the engine
// reads the file up to the first frame whose checksum is wrong and takes the rest for a write that
// was cut off. If the rest holds whole transactions, the file was not cut off but damaged, and the
// engine would leave them out without a word.
//
// The layout of the file is that of SQLite's file format documentation, "The Write-Ahead Log".

#include <filesystem>

namespace qx::desk {

/// Returns the path of the log that belongs to a database file.
std::filesystem::path logOf(const std::filesystem::path& database);

/// Returns true if the log has at least one frame, whole or not.
bool holdsFrames(const std::filesystem::path& log);

/// Returns true if the log holds a committed transaction that the engine will not read, because the
/// log's head or an earlier frame is damaged. False for a missing log. Damage to the last frame of
/// the last transaction, or to the checksum of the frame before it, looks like a write that was cut
/// off and is not noticed. While another process writes, the answer may be wrong.
bool hasUnreadableChanges(const std::filesystem::path& log);

}  // namespace qx::desk
