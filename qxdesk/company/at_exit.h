#pragma once

// Work that must be done before the process ends, even if the object that it belongs to is never
// destroyed: an add-on may leak a reference, or end while one of its forms still holds it.

#include <sys/types.h>

#include <functional>
#include <thread>

namespace qx::desk {

/// Calls the action when the process ends by exit() or by the return of main, unless this object
/// has been destroyed by then. The action runs on the thread that made this object: if another
/// thread ends the process, or if the process that ends is a child made by fork(), it does not run.
/// It must neither throw nor destroy an AtExit.
class AtExit {
 public:
  explicit AtExit(std::function<void()> action);
  ~AtExit();
  AtExit(const AtExit&) = delete;
  AtExit& operator=(const AtExit&) = delete;

 private:
  struct Pending;
  static Pending& pending();
  static void runAll();
  bool isMine() const;

  std::function<void()> action_;
  std::thread::id thread_;
  pid_t process_;
};

}  // namespace qx::desk
