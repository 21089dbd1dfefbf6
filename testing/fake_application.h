#pragma once

// A client for tests: its number, its language, its forms, and a status bar whose progress bar may
// be held by somebody else for a while.

#include "testing/fake_form_list.h"
#include "testing/host_calls.h"
#include "testing/host_stubs.h"

#include <string>
#include <vector>

namespace qx::test {

class FakeApplication;

class FakeForm final : public StubForm {
 public:
  FakeForm(std::u16string formUid, bool isSelected)
      : uid(std::move(formUid)), selected(isSelected) {}

  HRESULT raw_GetUniqueID(BSTR* out) override { return giveText(uid, out); }
  HRESULT raw_GetSelected(VARIANT_BOOL* out) override {
    *out = selected ? VARIANT_TRUE : VARIANT_FALSE;
    return S_OK;
  }

  std::u16string uid;
  bool selected;
};

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

class FakeApplication final : public StubApplication<> {
 public:
  explicit FakeApplication(HostCalls& calls) : calls_(calls) {}

  HRESULT raw_GetAppId(long* out) override {
    *out = appId;
    return S_OK;
  }
  HRESULT raw_GetLanguage(HvLanguages* out) override {
    *out = language;
    return calls_.enter("App.GetLanguage");
  }
  HRESULT raw_GetStatusBar(IStatusBar** out) override {
    const HRESULT hr = calls_.enter("App.GetStatusBar");
    if (hr < 0) return hr;
    return giveObject<IStatusBar>(makeObject<FakeStatusBar>(calls_, barHeldFor).p, out);
  }
  HRESULT raw_GetForms(IForms** out) override {
    return giveObject<IForms>(makeObject<FakeFormList<FakeForm>>(calls_, forms).p, out);
  }

  long appId = 7;
  HvLanguages language = ln_English;
  int barHeldFor = 0;  // tries for which another holder has the bar
  std::vector<CComPtr<FakeForm>> forms;

 private:
  HostCalls& calls_;
};

}  // namespace qx::test
