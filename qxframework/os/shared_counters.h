#pragma once

// Counters that the processes of a user, or of a machine, share. They exist while at least one
// process uses them, so the first process to open them finds zeros, even if earlier ones crashed.
//
// They are in a small file that is read and written for each operation. It is not mapped: a process
// that uses a mapping dies if someone else shortens the file.

#include "qxframework/automation/export.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string_view>

namespace qx {

/// A block of kCount counters with a name.
class QX_API SharedCounters {
 public:
  static constexpr std::size_t kCount = 50;

  /// Opens or creates the block `name` in `folder`, which is runtimeFolder() (shared_file.h) if not
  /// given. Throws std::system_error if that fails, also for want of room on the disk.
  explicit SharedCounters(std::u16string_view name);
  SharedCounters(std::u16string_view name, const std::filesystem::path& folder);
  ~SharedCounters();
  SharedCounters(const SharedCounters&) = delete;
  SharedCounters& operator=(const SharedCounters&) = delete;

  /// Returns the value of counter `index`, which must be below kCount; 0 if it cannot be read.
  std::int32_t get(std::size_t index) const;
  /// Adds `delta` to counter `index`, which must be below kCount, and returns the new value. No
  /// other process's change gets lost. If it cannot be written, the counter stays as it was.
  std::int32_t add(std::size_t index, std::int32_t delta);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace qx
