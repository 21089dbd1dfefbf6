#pragma once

// Counters in memory that the processes of a machine share. They exist while at least one process
// uses them, so the first process to open them finds zeros, even if earlier ones crashed.

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

  /// Opens or creates the block `name` in `folder`, which is the machine's runtime folder if not
  /// given (QX_RUNTIME_DIR, else "qxframework" in /run/lock or /tmp). Throws std::system_error if
  /// that fails.
  explicit SharedCounters(std::u16string_view name);
  SharedCounters(std::u16string_view name, const std::filesystem::path& folder);
  ~SharedCounters();
  SharedCounters(const SharedCounters&) = delete;
  SharedCounters& operator=(const SharedCounters&) = delete;

  /// Returns the counters, valid while this object lives. Other processes change them at any time:
  /// access them by std::atomic_ref or by the operations below.
  std::int32_t* data() const;

  /// Returns the value of counter `index`, which must be below kCount.
  std::int32_t get(std::size_t index) const;
  /// Adds `delta` to counter `index`, which must be below kCount, and returns the new value.
  std::int32_t add(std::size_t index, std::int32_t delta);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace qx
