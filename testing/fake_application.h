#pragma once

// The client of the tests: its number and language, its forms, boxes, batches and status bar, and
// the connection point of its events. Each call that changes something is recorded.

#include "qxframework/automation/connection_point.h"
#include "testing/host_calls.h"
#include "testing/host_stubs.h"

#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace qx::test {

class FakeForm final : public StubForm {
 public:
  FakeForm(HostCalls& calls, std::u16string formUid, bool isSelected = false)
      : uid(std::move(formUid)), selected(isSelected), calls_(calls) {}

  HRESULT raw_GetUniqueID(BSTR* out) override {
    const HRESULT hr = calls_.enter("Form.GetUniqueID");
    return hr < 0 ? hr : giveText(uid, out);
  }
  HRESULT raw_GetSelected(VARIANT_BOOL* out) override {
    *out = selected ? VARIANT_TRUE : VARIANT_FALSE;
    return S_OK;
  }
  HRESULT raw_Freeze(VARIANT_BOOL freeze) override {
    return calls_.record("Form.Freeze", std::to_string(freeze));
  }
  HRESULT raw_Update() override { return calls_.record("Form.Update"); }
  HRESULT raw_Close() override { return calls_.record("Form.Close", toUtf8(uid)); }
  HRESULT raw_PutVisible(VARIANT_BOOL visible) override {
    return calls_.record("Form.PutVisible", std::to_string(visible));
  }
  HRESULT raw_GetItems(IItems** out) override { return giveObject(items.p, out); }
  HRESULT raw_GetHeight(long* out) override { return *out = height, S_OK; }
  HRESULT raw_GetWidth(long* out) override { return *out = width, S_OK; }
  HRESULT raw_GetClientHeight(long* out) override { return *out = clientHeight, S_OK; }
  HRESULT raw_GetClientWidth(long* out) override { return *out = clientWidth, S_OK; }
  HRESULT raw_PutHeight(long value) override {
    return calls_.record("Form.PutHeight", std::to_string(value));
  }
  HRESULT raw_PutWidth(long value) override {
    return calls_.record("Form.PutWidth", std::to_string(value));
  }

  std::u16string uid;
  bool selected;
  long height = 100, width = 200, clientHeight = 100, clientWidth = 200;
  CComPtr<IItems> items;

 private:
  HostCalls& calls_;
};

/// The application is also the container of the connection point.
class FakeApplication final : public StubApplication<IConnectionPointContainer> {
 public:
  /// `calls` must outlive the application.
  explicit FakeApplication(HostCalls& calls);

  /// Opens a form as the user does.
  FakeForm& addForm(std::u16string uid, bool selected = false);

  HRESULT raw_GetForms(IForms** out) override;
  HRESULT raw_GetCompanyInfo(IHostCompany** out) override;
  HRESULT raw_GetAppId(long* out) override;
  HRESULT raw_GetLanguage(HvLanguages* out) override;
  HRESULT raw_MessageBox(BSTR text, long defaultButton, BSTR button1, BSTR button2, BSTR button3,
                         long* out) override;
  HRESULT raw_LoadBatchActions(BSTR xml) override;
  HRESULT raw_GetLastBatchResults(BSTR* out) override;
  HRESULT raw_GetStatusBar(IStatusBar** out) override;
  HRESULT raw_GetStartupDone(VARIANT_BOOL* out) override;
  HRESULT raw_PutStartupDone(VARIANT_BOOL done) override;
  HRESULT FindConnectionPoint(REFIID iid, IConnectionPoint** out) override;

  long appId = 7;
  HvLanguages language = ln_English;
  VARIANT_BOOL startupDone = VARIANT_FALSE;
  std::deque<long> pressedButtons;  // of the boxes to come; 1 if there is none
  int barHeldFor = 0;               // tries for which another process holds the progress bar
  std::vector<CComPtr<FakeForm>> forms;
  CComPtr<FakeForm> menuBar;
  IDispatch* sink = nullptr;  // advised at the connection point
  /// Applies a batch; a test may open forms in it.
  std::function<void(std::u16string_view xml)> onBatch;

 private:
  HostCalls& calls_;
};

}  // namespace qx::test
