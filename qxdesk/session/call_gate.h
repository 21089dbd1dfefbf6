#pragma once

// The edge of the host's objects: every operation runs inside hostCall(), which lets no exception
// out and can, for tests, refuse the n-th call into the library. Each of the host's two libraries
// has its own gate, which is activated by class id.

#include "qxframework/automation/com_object.h"
#include "qxframework/host/ids.h"

#include <cstddef>
#include <vector>

namespace qx::desk {

inline constexpr CLSID kScreensGateClass = hostId(0x0301);
inline constexpr CLSID kCompanyGateClass = hostId(0x0302);

/// Lets a test play a host that refuses a call.
class ICallGate : public IUnknown {
 public:
  static constexpr GUID kIid = hostId(0x0300);
  /// Starts counting from 0. Call number `call`, from 1, then returns `code` without running; with
  /// 0 no call is refused.
  virtual HRESULT RefuseCall(long call, HRESULT code) = 0;
  /// Stores the number of calls since the last RefuseCall.
  virtual HRESULT GetCallCount(long* out) = 0;

 protected:
  ~ICallGate() = default;
};

/// Learns that operations of host objects have ended, each of which may have changed something.
class CallWatcher {
 public:
  virtual void callEnded() noexcept = 0;

 protected:
  ~CallWatcher() = default;
};

/// The gate of the library that this is linked into. Not locked, since host objects live on one
/// thread.
class CallGate {
 public:
  static CallGate& instance() {
    static CallGate gate;
    return gate;
  }
  void refuse(long call, HRESULT code) {
    count_ = 0;
    refused_ = call;
    code_ = code;
  }
  long count() const { return count_; }
  HRESULT enter() { return ++count_ == refused_ ? code_ : S_OK; }
  /// Reports the end of an operation to the watchers.
  void leave() noexcept {
    if (!watchers_.empty()) tellWatchers();
  }
  void watch(CallWatcher* watcher) { watchers_.push_back(watcher); }
  void endWatch(CallWatcher* watcher) { std::erase(watchers_, watcher); }

 private:
  // By index: a watcher may end a watch.
  void tellWatchers() noexcept {
    for (std::size_t i = 0; i < watchers_.size(); ++i) watchers_[i]->callEnded();
  }

  long count_ = 0;
  long refused_ = 0;
  HRESULT code_ = E_FAIL;
  std::vector<CallWatcher*> watchers_;
};

class CallGateObject final : public ComObject<ICallGate> {
 public:
  HRESULT RefuseCall(long call, HRESULT code) override {
    CallGate::instance().refuse(call, resultCode(code));
    return S_OK;
  }
  HRESULT GetCallCount(long* out) override {
    if (out == nullptr) return E_POINTER;
    *out = CallGate::instance().count();
    return S_OK;
  }
};

/// Runs the body of an operation of a host object. Returns its code, or that of the exception which
/// left it.
template <class Body>
HRESULT hostCall(Body&& body) noexcept {
  if (const HRESULT refused = CallGate::instance().enter(); refused != S_OK) return refused;
  const HRESULT result = guarded(std::forward<Body>(body));
  CallGate::instance().leave();
  return result;
}

}  // namespace qx::desk
