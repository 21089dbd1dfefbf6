#pragma once

// The content of a lock file, which all connections to a company have in their memory. The layout
// is frozen: programs of different releases share the file.

#include "qxdesk/engines/lock_file.h"

#include <array>
#include <atomic>
#include <cstddef>

namespace qx::desk {

/// A program's name, cut to its place, without a terminator if it fills it.
using LockFileName = std::array<char, 40>;

struct LockFile::Contents {
  static constexpr std::size_t kBytes = 4096;

  struct Holding {
    std::atomic<std::int64_t> process;
    LockFileName program;
  };

  /// The connection whose ticket has this place, the ticket's number modulo kPlaces.
  struct Place {
    std::atomic<std::uint64_t> ticket;  // of the connection that has written here last
    std::atomic<std::uint32_t> calls;   // changes when the connection is to look again
    std::atomic<Turn> turn;
    std::atomic<std::uint64_t> changes;  // counts what the connection does
    std::atomic<std::int64_t> since;     // the time of the last change, by the machine's clock
  };
  static constexpr std::size_t kPlaces = 64;

  std::array<char, 16> kind;
  std::atomic<std::uint64_t> nextTicket;
  std::atomic<std::uint32_t> logPages;  // of the log, when it was last begun to be moved
  std::array<char, 36> reserved;
  Holding tables;
  std::array<char, 80> reservedToo;
  std::array<Place, kPlaces> places;
};

static_assert(std::atomic<std::int64_t>::is_always_lock_free, "other processes share it");
static_assert(sizeof(LockFile::Contents) <= LockFile::Contents::kBytes);

}  // namespace qx::desk
