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
//
// A change of turns costs more than a short statement: the next process wakes up and reads anew
// what the engine had in memory. So a connection whose statements follow each other closely keeps
// its turn for a millisecond. In between its statements the next in the queue may end the
// turn, and does so after a moment without a statement.

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
    if (hasTurn() || resume() || takeTurn()) return;
    waitForTurn(deadline());
  }
  bool hasTurn() const { return ticket_ && turn_ != LockFile::Turn::Kept; }
  /// Says what this connection does with its turn. The others are patient with it anew.
  void beginTransaction();
  void drawCode();
  void stillWrites();
  /// Ends the turn, or keeps it for the next statement if that is likely to follow at once.
  void endStatement();
  /// Ends the turn; the next connection goes on.
  void leave();

 private:
  using Ticket = std::uint64_t;
  /// A connection ahead in the queue, as it was last seen to change.
  struct Seen {
    std::uint64_t changes = 0;
    TimePoint at;
  };

  bool resume();
  bool takeTurn();
  bool takeTicket();
  bool isPlaceOfIdle(Ticket ticket) const;
  Ticket releaseTicket();
  void waitForTurn(TimePoint deadline);
  std::chrono::milliseconds timeToNextLook(Ticket ahead, bool isNext) const;
  bool isWaitedFor() const;
  void writePlace(LockFile::Turn turn);
  bool isNextAfter(Ticket ahead) const;
  std::optional<Ticket> firstAhead(TimePoint now);
  bool isPassedOver(Ticket ticket, TimePoint now);

  LockFile& locks_;
  const CompanyEnvironment& environment_;
  std::optional<Ticket> ticket_;
  LockFile::Turn turn_ = LockFile::Turn::Waiting;
  TimePoint turnBegan_;
  TimePoint lastEnd_;     // of a statement
  bool follows_ = false;  // the statements of this turn began soon after the one before
  std::map<Ticket, Seen> ahead_;
};

}  // namespace qx::desk
