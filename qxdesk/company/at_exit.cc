#include "qxdesk/company/at_exit.h"

#include <unistd.h>

#include <cstdlib>
#include <mutex>
#include <utility>
#include <vector>

namespace qx::desk {

struct AtExit::Pending {
  std::mutex lock;
  std::vector<AtExit*> objects;
};

// Never destroyed: statics of the add-on may end after the actions have run, and may then still
// release objects that have one.
AtExit::Pending& AtExit::pending() {
  static auto* const all = [] {
    std::atexit(runAll);
    return new Pending;
  }();
  return *all;
}

void AtExit::runAll() {
  std::vector<AtExit*> objects;
  {
    const std::lock_guard guard(pending().lock);
    objects = std::exchange(pending().objects, {});
  }
  // The latest first, as destructors would run.
  for (auto at = objects.rbegin(); at != objects.rend(); ++at) {
    if ((*at)->isMine()) (*at)->action_();
  }
}

AtExit::AtExit(std::function<void()> action)
    : action_(std::move(action)), thread_(std::this_thread::get_id()), process_(getpid()) {
  const std::lock_guard guard(pending().lock);
  pending().objects.push_back(this);
}

AtExit::~AtExit() {
  const std::lock_guard guard(pending().lock);
  std::erase(pending().objects, this);
}

bool AtExit::isMine() const {
  return thread_ == std::this_thread::get_id() && process_ == getpid();
}

}  // namespace qx::desk
