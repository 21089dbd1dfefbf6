#pragma once

// Counters in memory that all processes of the machine share. They live as long as somebody uses
// them: the first process to open them finds zeros, and what crashed processes left behind is gone
// with the last user, however that user ended.

#include "qxframework/automation/export.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string_view>

namespace qx {

class QX_API SharedCounters {
 public:
  static constexpr std::size_t kCount = 50;

  /// Opens the block `name` in the machine's runtime folder (QX_RUNTIME_DIR, else "qxframework" in
  /// /run/lock or /tmp). Throws std::system_error.
  explicit SharedCounters(std::u16string_view name);
  SharedCounters(std::u16string_view name, const std::filesystem::path& folder);
  ~SharedCounters();
  SharedCounters(const SharedCounters&) = delete;
  SharedCounters& operator=(const SharedCounters&) = delete;

  /// The counters themselves, valid while this object lives. Other processes change them: go
  /// through std::atomic_ref, or through the operations below.
  std::int32_t* data() const;

  /// The value of counter `index`, below kCount.
  std::int32_t get(std::size_t index) const;
  /// Adds `delta` to counter `index`, below kCount; gives the new value.
  std::int32_t add(std::size_t index, std::int32_t delta);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace qx
