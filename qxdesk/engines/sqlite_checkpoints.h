#pragma once

// Moves the write-ahead log of a company's file into the file, as the engine would do at the commit
// that makes the log long. That takes longer than a hundred commits, as it waits for the disk, and
// the engine does it while the connection still has its turn to write. Here the connection gives
// its turn back first, so that the others write on meanwhile.
//
// A log to which others write meanwhile never becomes empty, and an empty one alone begins anew. So
// if it has become too long, the connection keeps its turn.

#include "qxdesk/engines/lock_file.h"

struct sqlite3;

namespace qx::desk {

class SqliteCheckpoints {
 public:
  enum class Due { No, Beside, Alone };

  /// Takes the place of the engine's own work on the log; both must outlive this object's use. To
  /// be called for a connection that is in the queue of writers.
  void watch(sqlite3* db, LockFile& locks);
  /// Returns what is to be done after the last commit of this connection: nothing, or run(), with
  /// or without the turn. Of all connections one gets the work.
  Due due();
  /// Moves what no reader needs any more. A failure does not matter: the log stays as it is.
  void run();

 private:
  sqlite3* db_ = nullptr;
  LockFile* locks_ = nullptr;
  std::uint32_t pages_ = 0;  // of the log after a commit; 0 after due()
};

}  // namespace qx::desk
