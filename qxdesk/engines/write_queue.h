#pragma once

// The queue of the connections that write to a company in a file. The engine lets one connection
// write at a time, but it does not keep an order: one that waits tries again and again, and others
// go past it. Here each takes a ticket before it writes, and waits for those with lower numbers.
//
// The queue gives an order and is no lock: what protects the file is the engine's own lock. So it
// may be left: a ticket whose connection does nothing for a short time is passed over, for example
// that of a stopped process, and the engine decides. Only a connection in a transaction has the
// engine's lock for certain; the others wait for it as long as they wait for anything.
//
// Between reading the highest code of a table and inserting the row with the next one, a connection
// keeps its turn, so that no other one draws the same code.

#include "qxdesk/engines/environment.h"
#include "qxdesk/engines/lock_file.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>

namespace qx::desk {

class WriteQueue {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;
  /// The lock file outlives the queue.
  WriteQueue(LockFile& locks, const CompanyEnvironment& environment);
  ~WriteQueue();
  WriteQueue(const WriteQueue&) = delete;
  WriteQueue& operator=(const WriteQueue&) = delete;

  /// Waits for the turn of this connection, at most until the deadline, which `deadline()` returns
  /// if it has to wait at all. Does nothing if it has its turn already.
  template <class Deadline>
  void enter(Deadline&& deadline) {
    if (!ticket_ && !takeTurn()) waitForTurn(deadline());
  }
  bool hasTurn() const { return ticket_.has_value(); }
  /// Says what this connection does with its turn. The others are patient with it anew.
  void beginTransaction();
  void drawCode();
  void stillWrites();
  /// Ends the turn; the next connection goes on.
  void leave();

 private:
  using Ticket = std::uint64_t;
  /// A connection ahead in the queue, as it was last seen to change.
  struct Seen {
    std::uint64_t changes = 0;
    TimePoint at;
  };

  bool takeTurn();
  void waitForTurn(TimePoint deadline);
  void writePlace(LockFile::Turn turn);
  bool isNextAfter(Ticket ahead) const;
  std::optional<Ticket> firstAhead(TimePoint now);
  bool isPassedOver(Ticket ticket, TimePoint now);

  LockFile& locks_;
  const CompanyEnvironment& environment_;
  std::optional<Ticket> ticket_;
  LockFile::Turn turn_ = LockFile::Turn::Waiting;
  std::map<Ticket, Seen> ahead_;
};

}  // namespace qx::desk
