#pragma once

// The status bar of a fake client, whose progress bar another process may hold.

#include "testing/host_calls.h"
#include "testing/host_stubs.h"

#include <string>

namespace qx::test {

class FakeProgressBar final : public StubProgressBar {
 public:
  explicit FakeProgressBar(HostCalls& calls) : calls_(calls) {}

  HRESULT raw_PutText(BSTR text) override { return calls_.record("Bar.PutText", narrow(text)); }
  HRESULT raw_PutValue(long value) override {
    return calls_.record("Bar.PutValue", std::to_string(value));
  }
  HRESULT raw_Stop() override { return calls_.record("Bar.Stop", ""); }

 private:
  HostCalls& calls_;
};

class FakeStatusBar final : public StubStatusBar {
 public:
  /// `heldFor` counts down the tries for which the progress bar is refused.
  FakeStatusBar(HostCalls& calls, int& heldFor) : calls_(calls), heldFor_(heldFor) {}

  HRESULT raw_CreateProgressBar(BSTR text, long maximum, VARIANT_BOOL stoppable,
                                IProgressBar** out) override {
    const HRESULT hr =
        calls_.record("StatusBar.CreateProgressBar", narrow(text) + ", " + std::to_string(maximum) +
                                                         ", " + std::to_string(stoppable));
    if (hr < 0) return hr;
    if (heldFor_ > 0) {
      --heldFor_;
      return E_ACCESSDENIED;
    }
    return giveObject<IProgressBar>(makeObject<FakeProgressBar>(calls_).p, out);
  }
  HRESULT raw_SetText(BSTR text, long displayTime, HvStatusBarMessageType type) override {
    return calls_.record("StatusBar.SetText", narrow(text) + ", " + std::to_string(displayTime) +
                                                  ", " + std::to_string(type));
  }

 private:
  HostCalls& calls_;
  int& heldFor_;
};

}  // namespace qx::test
