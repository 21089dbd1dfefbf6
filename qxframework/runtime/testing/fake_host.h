#pragma once

// A host for tests. Operations that change something are recorded in one list of calls, in order. A
// test can make any operation fail or run a hook, by the operation's name.

#include "qxframework/automation/connection_point.h"
#include "qxframework/automation/format.h"
#include "qxframework/automation/text.h"
#include "qxframework/host/gui_api.h"
#include "testing/fake_type_library.h"
#include "testing/host_calls.h"
#include "testing/host_stubs.h"

#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace qx::test {

class FakeApplication;
class FakeForm;

/// The state of the fakes.
class FakeHost : public HostCalls {
 public:
  /// Registers itself for HalvexGuiApi and the company class; the destructor revokes both.
  FakeHost();
  ~FakeHost();
  FakeHost(const FakeHost&) = delete;
  FakeHost& operator=(const FakeHost&) = delete;

  bool called(const std::string& call) const { return has(call); }
  /// Adds a form of the client.
  FakeForm& addForm(std::u16string uid, bool selected = false);
  /// Delivers one event to the sink; `args` in the order of the call.
  HRESULT fire(DISPID id, std::vector<VARIANT> args);

  // Entry object and application.
  long connectAnswer = 0;
  bool givesApplication = true;
  FakeLibrary library;
  long appId = 7;
  HvLanguages language = ln_English;
  VARIANT_BOOL startupDone = VARIANT_FALSE;
  std::deque<long> pressedButtons;  // answers of the boxes to come; 1 when there is none
  CComPtr<FakeApplication> application;
  std::vector<CComPtr<FakeForm>> forms;
  CComPtr<FakeForm> menuBar;
  IDispatch* sink = nullptr;

  // Company.
  std::deque<long> companyAnswers;  // of Connect, 0 when there is none
  std::u16string lastError;
  int liveCompanies = 0;
  long engine = 1;

  // The version table has a row, or no row, or does not exist.
  struct VersionRow {
    std::u16string version;
    std::u16string status;
    std::u16string fix;
  };
  std::optional<VersionRow> versionRow = VersionRow{u"9.20.00.01", u"Installed", u"00"};
  bool hasVersionTable = true;
  bool hasVersionField = true;
  long versionFieldSize = 15;
  CComVariant helperAnswer;  // what the data helper gives back

 private:
  DWORD guiCookie_ = 0;
  DWORD companyCookie_ = 0;
};

class FakeForm final : public StubForm {
 public:
  FakeForm(FakeHost& host, std::u16string formUid) : uid(std::move(formUid)), host_(host) {}

  HRESULT raw_GetUniqueID(BSTR* out) override {
    const HRESULT hr = host_.enter("Form.GetUniqueID");
    return hr < 0 ? hr : giveText(uid, out);
  }
  HRESULT raw_GetSelected(VARIANT_BOOL* out) override {
    *out = selected ? VARIANT_TRUE : VARIANT_FALSE;
    return S_OK;
  }
  HRESULT raw_Freeze(VARIANT_BOOL freeze) override {
    return host_.record("Form.Freeze", std::to_string(freeze));
  }
  HRESULT raw_Update() override { return host_.record("Form.Update"); }
  HRESULT raw_Close() override { return host_.record("Form.Close", toUtf8(uid)); }
  HRESULT raw_GetItems(IItems** out) override { return giveObject(items.p, out); }
  HRESULT raw_GetHeight(long* out) override { return *out = height, S_OK; }
  HRESULT raw_GetWidth(long* out) override { return *out = width, S_OK; }
  HRESULT raw_GetClientHeight(long* out) override { return *out = clientHeight, S_OK; }
  HRESULT raw_GetClientWidth(long* out) override { return *out = clientWidth, S_OK; }
  HRESULT raw_PutHeight(long value) override {
    return host_.record("Form.PutHeight", std::to_string(value));
  }
  HRESULT raw_PutWidth(long value) override {
    return host_.record("Form.PutWidth", std::to_string(value));
  }

  std::u16string uid;
  bool selected = false;
  long height = 100, width = 200, clientHeight = 100, clientWidth = 200;
  CComPtr<IItems> items;

 private:
  FakeHost& host_;
};

/// The application is also the container of the connection point.
class FakeApplication final : public StubApplication<IConnectionPointContainer> {
 public:
  explicit FakeApplication(FakeHost& host) : host_(host) {}

  HRESULT raw_GetForms(IForms** out) override;
  HRESULT raw_GetCompanyInfo(IHostCompany** out) override;
  HRESULT raw_GetAppId(long* out) override {
    *out = host_.appId;
    return host_.enter("App.GetAppId");
  }
  HRESULT raw_GetLanguage(HvLanguages* out) override {
    *out = host_.language;
    return host_.enter("App.GetLanguage");
  }
  HRESULT raw_MessageBox(BSTR text, long defaultButton, BSTR button1, BSTR button2, BSTR button3,
                         long* out) override;
  HRESULT raw_LoadBatchActions(BSTR xml) override {
    return host_.record("App.LoadBatchActions", narrow(xml));
  }
  HRESULT raw_GetLastBatchResults(BSTR* out) override {
    const HRESULT hr = host_.enter("App.GetLastBatchResults");
    return hr < 0 ? hr : giveText(u"<result/>", out);
  }
  HRESULT raw_GetStatusBar(IStatusBar** out) override;
  HRESULT raw_GetStartupDone(VARIANT_BOOL* out) override {
    *out = host_.startupDone;
    return host_.enter("App.GetStartupDone");
  }
  HRESULT raw_PutStartupDone(VARIANT_BOOL done) override {
    host_.startupDone = done;
    return host_.record("App.PutStartupDone", std::to_string(done));
  }
  HRESULT FindConnectionPoint(REFIID iid, IConnectionPoint** out) override;

 private:
  FakeHost& host_;
};

}  // namespace qx::test
