#include "qxframework/os/named_mutex.h"

#include "qxframework/os/shared_file.h"

#include <sys/file.h>

#include <mutex>

namespace qx {

struct NamedMutex::State {
  UniqueFd file;
  // Excludes threads that use the same object: flock() belongs to the open file, not to a thread.
  std::recursive_mutex threads;
  int depth = 0;  // guarded by `threads`; the file is locked while it is above 0
};

NamedMutex::NamedMutex(std::u16string_view name) : NamedMutex(name, runtimeFolder()) {}

NamedMutex::NamedMutex(std::u16string_view name, const std::filesystem::path& folder)
    : state_(std::make_unique<State>()) {
  state_->file = openSharedFile(folder, name, ".mutex");
}

NamedMutex::~NamedMutex() = default;

void NamedMutex::lock() {
  // Until release() the guard undoes this lock if the one on the file throws.
  std::unique_lock threads(state_->threads);
  if (state_->depth == 0) lockFile(state_->file.get(), LOCK_EX);
  ++state_->depth;
  threads.release();
}

bool NamedMutex::try_lock() {
  std::unique_lock threads(state_->threads, std::try_to_lock);
  if (!threads) return false;
  if (state_->depth == 0 && !lockFile(state_->file.get(), LOCK_EX | LOCK_NB)) return false;
  ++state_->depth;
  threads.release();
  return true;
}

void NamedMutex::unlock() {
  if (--state_->depth == 0) lockFile(state_->file.get(), LOCK_UN);
  state_->threads.unlock();
}

}  // namespace qx
