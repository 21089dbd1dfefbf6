#include "qxdesk/engines/side_thread.h"

#include <pthread.h>

#include <csignal>
#include <system_error>
#include <utility>

namespace qx::desk {

namespace {

// A thread that begins now leaves the program's signals to the program's threads. The signals of
// its own mistakes stay.
class ForeignSignalsBlocked {
 public:
  ForeignSignalsBlocked() {
    sigset_t foreign;
    sigfillset(&foreign);
    for (const int own : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT}) sigdelset(&foreign, own);
    pthread_sigmask(SIG_BLOCK, &foreign, &before_);
  }
  ~ForeignSignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  ForeignSignalsBlocked(const ForeignSignalsBlocked&) = delete;
  ForeignSignalsBlocked& operator=(const ForeignSignalsBlocked&) = delete;

 private:
  sigset_t before_{};
};

}  // namespace

std::thread startSideThread(std::function<void()> body) {
  const ForeignSignalsBlocked blocked;
  try {
    return std::thread(std::move(body));
  } catch (const std::system_error&) {
    return {};
  }
}

}  // namespace qx::desk
