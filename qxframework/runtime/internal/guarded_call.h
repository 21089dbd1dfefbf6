#pragma once

// The two rules for every call into the code of a form or an add-on: no exception gets past the
// call, and a veto is never taken back.

#include "qxframework/logging/function_log.h"

namespace qx {

/// Runs `call`. Returns false if it threw anything.
template <class Call>
bool endedWell(Call&& call) {
  try {
    call();
    return true;
  } catch (...) {
    return false;
  }
}

/// Restores a veto that was set before the call: `bubble` can only change from -1 to 0.
class BubbleRule {
 public:
  explicit BubbleRule(short* bubble) : bubble_(bubble), before_(*bubble) {}
  ~BubbleRule() {
    if (before_ == 0) *bubble_ = 0;
  }
  BubbleRule(const BubbleRule&) = delete;
  BubbleRule& operator=(const BubbleRule&) = delete;

 private:
  short* bubble_;
  short before_;
};

/// Makes the result of `call` the scope's result and returns true. If `call` throws, logs `message`
/// as an error, leaves the scope's result unchanged and returns false.
template <class Call, class... Args>
bool callAddOn(CReturnValue<long>& hr, Call&& call, const OLECHAR* message, const Args&... args) {
  if (endedWell([&] { hr = call(); })) return true;
  hr.LogError(message, args...);
  return false;
}

/// Calls `operation` with the add-on's handler as callAddOn does. Without a handler there is
/// nothing to call: returns true, and the scope's result is unchanged.
template <class Handler, class Operation>
bool askHandler(CReturnValue<long>& hr, Handler* handler, const OLECHAR* message,
                Operation operation) {
  if (handler == nullptr) return true;
  return callAddOn(
      hr, [&] { return operation(*handler); }, message);
}

/// Does what callAddOn does for a call that carries a veto. If `call` throws, the scope's result
/// becomes 1.
template <class Call, class... Args>
void callWithBubble(CReturnValue<long>& hr, short* bubble, Call&& call, const OLECHAR* message,
                    const Args&... args) {
  const BubbleRule rule(bubble);
  if (!callAddOn(hr, call, message, args...)) hr = S_FALSE;
}

}  // namespace qx
