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

  std::array<char, 16> kind;
  std::array<char, 48> reserved;
  Holding tables;
};

static_assert(std::atomic<std::int64_t>::is_always_lock_free, "other processes share it");
static_assert(sizeof(LockFile::Contents) <= LockFile::Contents::kBytes);

}  // namespace qx::desk
