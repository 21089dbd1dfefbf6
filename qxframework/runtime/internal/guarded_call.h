#pragma once

// The two rules for every call into the code of a form or an add-on: what it throws goes no
// further, and a veto stays a veto.

#include "qxframework/logging/function_log.h"

namespace qx {

/// Runs `call`; false when it threw, whatever that was.
template <class Call>
bool endedWell(Call&& call) {
  try {
    call();
    return true;
  } catch (...) {
    return false;
  }
}

/// Sets a veto that stood before the call again behind it: `bubble` only ever goes from -1 to 0.
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

/// Takes the result of `call` as the scope's. When it throws, `message` is logged as an error and
/// the scope's result stays as it was.
template <class Call, class... Args>
bool callAddOn(CReturnValue<long>& hr, Call&& call, const OLECHAR* message, const Args&... args) {
  if (endedWell([&] { hr = call(); })) return true;
  hr.LogError(message, args...);
  return false;
}

/// The same for a call that carries a veto. When it throws, the scope's result becomes 1.
template <class Call, class... Args>
void callWithBubble(CReturnValue<long>& hr, short* bubble, Call&& call, const OLECHAR* message,
                    const Args&... args) {
  const BubbleRule rule(bubble);
  if (!callAddOn(hr, call, message, args...)) hr = S_FALSE;
}

}  // namespace qx
