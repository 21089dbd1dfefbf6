#include "testing/fake_application.h"

#include "testing/fake_status_bar.h"

#include <utility>

namespace qx::test {
namespace {

// The form that owns the menu bar.
constexpr long kMenuBarFormType = 169;

/// The forms of a client in the order in which they were opened.
class FakeForms final : public StubForms {
 public:
  FakeForms(HostCalls& calls, CComPtr<FakeApplication> application)
      : calls_(calls), application_(std::move(application)) {}

  HRESULT raw_Count(long* out) override {
    *out = static_cast<long>(application_->forms.size());
    return calls_.enter("Forms.Count");
  }
  HRESULT raw_Item(const VARIANT& index, IForm** out) override {
    const HRESULT hr = calls_.enter("Forms.Item");
    if (hr < 0) return hr;
    if (index.vt == VT_BSTR) return giveObject<IForm>(find(index.bstrVal), out);
    const auto position = static_cast<std::size_t>(index.lVal);
    if (index.vt != VT_I4 || position >= application_->forms.size()) return E_INVALIDARG;
    return giveObject<IForm>(application_->forms[position].p, out);
  }
  HRESULT raw_GetFormByTypeAndCount(long type, long count, IForm** out) override {
    const HRESULT hr = calls_.enter("Forms.GetFormByTypeAndCount");
    if (hr < 0) return hr;
    if (type != kMenuBarFormType || count != 1) return E_INVALIDARG;
    return giveObject<IForm>(application_->menuBar.p, out);
  }

 private:
  /// Returns the form with that UID, or null.
  IForm* find(const OLECHAR* uid) const {
    for (const CComPtr<FakeForm>& form : application_->forms)
      if (form->uid == uid) return form.p;
    return nullptr;
  }

  HostCalls& calls_;
  CComPtr<FakeApplication> application_;
};

class FakeHostCompany final : public StubHostCompany {
 public:
  explicit FakeHostCompany(HostCalls& calls) : calls_(calls) {}
  HRESULT raw_GetConnectionContext(BSTR cookie, BSTR* out) override {
    const HRESULT hr = calls_.record("HostCompany.GetConnectionContext", narrow(cookie));
    return hr < 0 ? hr : giveText(u"CONTEXT", out);
  }

 private:
  HostCalls& calls_;
};

class FakeConnectionPoint final : public ComObject<IConnectionPoint> {
 public:
  static constexpr DWORD kCookie = 5;

  FakeConnectionPoint(HostCalls& calls, CComPtr<FakeApplication> application)
      : calls_(calls), application_(std::move(application)) {}
  HRESULT GetConnectionInterface(IID* iid) override {
    *iid = DIID_IApplicationEvents;
    return S_OK;
  }
  HRESULT Advise(IUnknown* sink, DWORD* cookie) override {
    const HRESULT hr = calls_.record("ConnectionPoint.Advise");
    if (hr < 0) return hr;
    // Without a reference: the sinks of the tests live on the stack.
    application_->sink = CComQIPtr<IDispatch>(sink);
    *cookie = kCookie;
    return S_OK;
  }
  HRESULT Unadvise(DWORD cookie) override {
    return calls_.record("ConnectionPoint.Unadvise", std::to_string(cookie));
  }

 private:
  HostCalls& calls_;
  CComPtr<FakeApplication> application_;
};

}  // namespace

FakeApplication::FakeApplication(HostCalls& calls)
    : menuBar(makeObject<FakeForm>(calls, u"MENUBAR")), calls_(calls) {}

FakeForm& FakeApplication::addForm(std::u16string uid, bool selected) {
  forms.push_back(makeObject<FakeForm>(calls_, std::move(uid), selected));
  return *forms.back();
}

HRESULT FakeApplication::raw_GetForms(IForms** out) {
  const HRESULT hr = calls_.enter("App.GetForms");
  return hr < 0 ? hr : giveObject<IForms>(makeObject<FakeForms>(calls_, this).p, out);
}

HRESULT FakeApplication::raw_GetCompanyInfo(IHostCompany** out) {
  const HRESULT hr = calls_.enter("App.GetCompanyInfo");
  return hr < 0 ? hr : giveObject<IHostCompany>(makeObject<FakeHostCompany>(calls_).p, out);
}

HRESULT FakeApplication::raw_GetAppId(long* out) {
  *out = appId;
  return calls_.enter("App.GetAppId");
}

HRESULT FakeApplication::raw_GetLanguage(HvLanguages* out) {
  *out = language;
  return calls_.enter("App.GetLanguage");
}

HRESULT FakeApplication::raw_MessageBox(BSTR text, long defaultButton, BSTR button1, BSTR button2,
                                        BSTR button3, long* out) {
  *out = 1;
  if (!pressedButtons.empty()) {
    *out = pressedButtons.front();
    pressedButtons.pop_front();
  }
  return calls_.record("App.MessageBox", narrow(text) + ", " + std::to_string(defaultButton) +
                                             ", " + narrow(button1) + ", " + narrow(button2) +
                                             ", " + narrow(button3));
}

HRESULT FakeApplication::raw_LoadBatchActions(BSTR xml) {
  const HRESULT hr = calls_.record("App.LoadBatchActions", narrow(xml));
  if (hr >= 0 && onBatch) onBatch(xml);
  return hr;
}

HRESULT FakeApplication::raw_GetLastBatchResults(BSTR* out) {
  const HRESULT hr = calls_.enter("App.GetLastBatchResults");
  return hr < 0 ? hr : giveText(u"<result/>", out);
}

HRESULT FakeApplication::raw_GetStatusBar(IStatusBar** out) {
  const HRESULT hr = calls_.enter("App.GetStatusBar");
  if (hr < 0) return hr;
  return giveObject<IStatusBar>(makeObject<FakeStatusBar>(calls_, barHeldFor).p, out);
}

HRESULT FakeApplication::raw_GetStartupDone(VARIANT_BOOL* out) {
  *out = startupDone;
  return calls_.enter("App.GetStartupDone");
}

HRESULT FakeApplication::raw_PutStartupDone(VARIANT_BOOL done) {
  startupDone = done;
  return calls_.record("App.PutStartupDone", std::to_string(done));
}

HRESULT FakeApplication::FindConnectionPoint(REFIID iid, IConnectionPoint** out) {
  const HRESULT hr = calls_.enter("App.FindConnectionPoint");
  if (hr < 0) return hr;
  if (iid != DIID_IApplicationEvents) return CONNECT_E_NOCONNECTION;
  return giveObject<IConnectionPoint>(makeObject<FakeConnectionPoint>(calls_, this).p, out);
}

}  // namespace qx::test
