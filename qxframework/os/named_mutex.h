#pragma once

// A lock that all processes of the machine share by its name. It is a lock on a file, so it ends
// with the process that holds it, however that process ends; nobody waits for a dead holder.
//
// A child that is forked while the lock is held keeps it alive until it ends or calls exec.

#include "qxframework/automation/export.h"

#include <filesystem>
#include <memory>
#include <string_view>

namespace qx {

/// Not owned at first. The thread that holds it may lock it again through the same object and
/// unlocks it as often; two objects of one name exclude each other, also in one process. It meets
/// the needs of std::lock_guard.
class QX_API NamedMutex {
 public:
  /// Opens the mutex or creates it, in the machine's runtime folder (QX_RUNTIME_DIR, else
  /// "qxframework" in /run/lock or /tmp). Throws std::system_error.
  explicit NamedMutex(std::u16string_view name);
  NamedMutex(std::u16string_view name, const std::filesystem::path& folder);
  ~NamedMutex();
  NamedMutex(const NamedMutex&) = delete;
  NamedMutex& operator=(const NamedMutex&) = delete;

  /// Waits without a time limit. Throws std::system_error when the lock cannot be had.
  void lock();
  /// False when another holds it.
  bool try_lock();
  /// To be called by the thread that holds it.
  void unlock();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace qx
