#include "qxframework/runtime/testing/fake_host.h"

#include "qxframework/automation/class_object.h"
#include "testing/fake_form_list.h"
#include "testing/fake_rows.h"

namespace qx::test {
namespace {

class FakeGuiApi final : public NoDispatch<ComObject<IHalvexGuiApi>> {
 public:
  explicit FakeGuiApi(FakeHost& host) : host_(host) {}
  HRESULT GetTypeInfo(UINT, LCID, ITypeInfo** out) override {
    return host_.library.giveTypeInfo(out);
  }
  HRESULT raw_Connect(BSTR connection, long* out) override {
    *out = host_.connectAnswer;
    return host_.record("Gui.Connect", narrow(connection));
  }
  HRESULT raw_GetApplication(long which, IApplication** out) override {
    const HRESULT hr = host_.record("Gui.GetApplication", std::to_string(which));
    if (hr != S_OK || !host_.givesApplication) return hr;
    return giveObject<IApplication>(host_.application.p, out);
  }
  HRESULT raw_PutAddOnIdentifier(BSTR identifier) override {
    return host_.record("Gui.PutAddOnIdentifier", narrow(identifier));
  }

 private:
  FakeHost& host_;
};

class FakeForms final : public FakeFormList<FakeForm> {
 public:
  explicit FakeForms(FakeHost& host) : FakeFormList(host, host.forms), host_(host) {}
  HRESULT raw_GetFormByTypeAndCount(long type, long count, IForm** out) override {
    const HRESULT hr = host_.enter("Forms.GetFormByTypeAndCount");
    if (hr < 0) return hr;
    if (type != 169 || count != 1) return E_INVALIDARG;
    return giveObject<IForm>(host_.menuBar.p, out);
  }

 private:
  FakeHost& host_;
};

class FakeHostCompany final : public StubHostCompany {
 public:
  explicit FakeHostCompany(FakeHost& host) : host_(host) {}
  HRESULT raw_GetConnectionContext(BSTR cookie, BSTR* out) override {
    const HRESULT hr = host_.record("HostCompany.GetConnectionContext", narrow(cookie));
    return hr < 0 ? hr : giveText(u"CONTEXT", out);
  }

 private:
  FakeHost& host_;
};

class FakeProgressBar final : public StubProgressBar {
 public:
  HRESULT raw_PutText(BSTR) override { return S_OK; }
  HRESULT raw_PutValue(long) override { return S_OK; }
  HRESULT raw_Stop() override { return S_OK; }
};

class FakeStatusBar final : public StubStatusBar {
 public:
  HRESULT raw_CreateProgressBar(BSTR, long, VARIANT_BOOL, IProgressBar** out) override {
    return giveObject<IProgressBar>(makeObject<FakeProgressBar>().p, out);
  }
};

class FakeConnectionPoint final : public ComObject<IConnectionPoint> {
 public:
  static constexpr DWORD kCookie = 5;
  explicit FakeConnectionPoint(FakeHost& host) : host_(host) {}
  HRESULT GetConnectionInterface(IID* iid) override {
    *iid = DIID_IApplicationEvents;
    return S_OK;
  }
  HRESULT Advise(IUnknown* sink, DWORD* cookie) override {
    const HRESULT hr = host_.record("ConnectionPoint.Advise");
    if (hr < 0) return hr;
    host_.sink = CComQIPtr<IDispatch>(sink);
    *cookie = kCookie;
    return S_OK;
  }
  HRESULT Unadvise(DWORD cookie) override {
    return host_.record("ConnectionPoint.Unadvise", std::to_string(cookie));
  }

 private:
  FakeHost& host_;
};

CComVariant textValue(std::u16string_view text) { return CComVariant(text); }

/// Returns the result of a statement: at most one row.
HRESULT runStatement(FakeHost& host, std::u16string_view text, FakeRows& rows) {
  host.record("SQL", toUtf8(text));
  const auto begins = [&](std::u16string_view head) { return text.starts_with(head); };
  if (begins(u"select") && !host.hasVersionTable) return E_FAIL;
  if (begins(u"select U_Version") && host.versionRow) {
    rows.push_back({textValue(host.versionRow->version), textValue(host.versionRow->status)});
  } else if (begins(u"select (case") && host.versionRow) {
    rows.push_back({textValue(host.versionRow->fix)});
  } else if (begins(u"SELECT")) {
    rows.push_back({textValue(u"")});
  }
  return host.enter(std::string("SQL ") + toUtf8(text.substr(0, 6)));
}

CComPtr<FakeRecordset> makeRecordset(FakeHost& host, FakeRows rows = {}) {
  const auto run = [&host](std::u16string_view text, FakeRows& found) {
    return runStatement(host, text, found);
  };
  return makeObject<FakeRecordset>(host, run, std::move(rows));
}

class FakeUserFields final : public StubUserFieldsMD {
 public:
  explicit FakeUserFields(FakeHost& host) : host_(host) {}
  HRESULT raw_GetByKey(BSTR table, long index, VARIANT_BOOL* out) override {
    *out = host_.hasVersionField ? VARIANT_TRUE : VARIANT_FALSE;
    return host_.record("UserFields.GetByKey", narrow(table) + ", " + std::to_string(index));
  }
  HRESULT raw_GetSize(long* out) override { return *out = host_.versionFieldSize, S_OK; }
  HRESULT raw_PutSize(long size) override { return put("PutSize", std::to_string(size)); }
  HRESULT raw_PutEditSize(long size) override { return put("PutEditSize", std::to_string(size)); }
  HRESULT raw_Update(long* out) override {
    *out = 0;
    return name_.empty() ? host_.record("UserFields.Update") : S_OK;
  }
  HRESULT raw_PutTableName(BSTR) override { return S_OK; }
  HRESULT raw_PutName(BSTR name) override { return name_ = narrow(name), S_OK; }
  HRESULT raw_PutDescription(BSTR) override { return S_OK; }
  HRESULT raw_PutType(long) override { return S_OK; }
  HRESULT raw_PutSubType(long) override { return S_OK; }
  HRESULT raw_PutDefaultValue(BSTR) override { return S_OK; }
  HRESULT raw_Add(long* out) override {
    *out = 0;
    return host_.record("UserFields.Add", name_);
  }

 private:
  // Only a field that GetByKey has found can be changed; a new one is only described.
  HRESULT put(const std::string& what, const std::string& arguments) {
    return name_.empty() ? host_.record("UserFields." + what, arguments) : S_OK;
  }

  FakeHost& host_;
  std::string name_;
};

class FakeUserTables final : public StubUserTablesMD {
 public:
  explicit FakeUserTables(FakeHost& host) : host_(host) {}
  HRESULT raw_GetByKey(BSTR, VARIANT_BOOL* out) override {
    *out = host_.hasVersionTable ? VARIANT_TRUE : VARIANT_FALSE;
    return S_OK;
  }
  HRESULT raw_PutTableName(BSTR name) override { return name_ = narrow(name), S_OK; }
  HRESULT raw_PutTableDescription(BSTR) override { return S_OK; }
  HRESULT raw_Add(long* out) override {
    *out = 0;
    return host_.record("UserTables.Add", name_);
  }

 private:
  FakeHost& host_;
  std::string name_;
};

class FakeDataHelper final : public StubDataHelper {
 public:
  explicit FakeDataHelper(FakeHost& host) : host_(host) {}
  HRESULT raw_FormatStringToDate(BSTR text, IRecordset** out) override {
    const HRESULT hr = host_.record("DataHelper.FormatStringToDate", narrow(text));
    return hr < 0 ? hr : answer(out);
  }
  HRESULT raw_FormatDateToString(DATE date, IRecordset** out) override {
    const HRESULT hr =
        host_.record("DataHelper.FormatDateToString", std::to_string(static_cast<long>(date)));
    return hr < 0 ? hr : answer(out);
  }

 private:
  HRESULT answer(IRecordset** out) {
    return giveObject<IRecordset>(makeRecordset(host_, {FakeRow{host_.helperAnswer}}).p, out);
  }

  FakeHost& host_;
};

class FakeCompany final : public StubCompany {
 public:
  explicit FakeCompany(FakeHost& host) : host_(host) { ++host_.liveCompanies; }
  ~FakeCompany() override { --host_.liveCompanies; }

  HRESULT GetTypeInfo(UINT, LCID, ITypeInfo** out) override {
    return host_.library.giveTypeInfo(out);
  }
  HRESULT raw_Connect(long* out) override {
    *out = 0;
    if (!host_.companyAnswers.empty()) {
      *out = host_.companyAnswers.front();
      host_.companyAnswers.pop_front();
    }
    return host_.record("Company.Connect");
  }
  HRESULT raw_Disconnect() override { return host_.record("Company.Disconnect"); }
  HRESULT raw_PutLanguage(HvLanguages language) override {
    return host_.record("Company.PutLanguage", std::to_string(language));
  }
  HRESULT raw_GetLastError(long* code, BSTR* text) override {
    *code = 0;
    return giveText(host_.lastError, text);
  }
  HRESULT raw_GetBusinessObject(long type, IDispatch** out) override {
    const HRESULT hr = host_.enter("Company.GetBusinessObject " + std::to_string(type));
    if (hr < 0) return hr;
    switch (type) {
      case kRecordset:
        return giveObject<IDispatch>(makeRecordset(host_).p, out);
      case kUserFieldsMD:
        return giveObject<IDispatch>(makeObject<FakeUserFields>(host_).p, out);
      case kUserTablesMD:
        return giveObject<IDispatch>(makeObject<FakeUserTables>(host_).p, out);
      case kDataHelper:
        return giveObject<IDispatch>(makeObject<FakeDataHelper>(host_).p, out);
      default:
        return E_INVALIDARG;
    }
  }
  HRESULT raw_GetContextCookie(BSTR* out) override {
    const HRESULT hr = host_.record("Company.GetContextCookie");
    return hr < 0 ? hr : giveText(u"COOKIE", out);
  }
  HRESULT raw_PutLoginContext(BSTR context) override {
    return host_.record("Company.PutLoginContext", narrow(context));
  }
  HRESULT raw_PutConnectionString(BSTR connection) override {
    return host_.record("Company.PutConnectionString", narrow(connection));
  }
  HRESULT raw_PutUiApplication(IDispatch* application) override {
    return host_.record("Company.PutUiApplication", application == nullptr ? "null" : "app");
  }
  HRESULT raw_GetDbServerType(long* out) override { return *out = host_.engine, S_OK; }

 private:
  FakeHost& host_;
};

}  // namespace

FakeHost::FakeHost() {
  application = makeObject<FakeApplication>(*this);
  menuBar = makeObject<FakeForm>(*this, u"MENUBAR");
  const auto gui = makeFactory([this] {
    if (const HRESULT hr = enter("create Gui"); hr < 0) raiseError(hr);
    return makeObject<FakeGuiApi>(*this);
  });
  const auto company = makeFactory([this] {
    if (const HRESULT hr = enter("create Company"); hr < 0) raiseError(hr);
    return makeObject<FakeCompany>(*this);
  });
  CoRegisterClassObject(CLSID_HalvexGuiApi, gui, CLSCTX_ALL, 0, &guiCookie_);
  CoRegisterClassObject(CLSID_HalvexCompany, company, CLSCTX_ALL, 0, &companyCookie_);
}

FakeHost::~FakeHost() {
  CoRevokeClassObject(guiCookie_);
  CoRevokeClassObject(companyCookie_);
}

FakeForm& FakeHost::addForm(std::u16string uid, bool selected) {
  forms.push_back(makeObject<FakeForm>(*this, std::move(uid)));
  forms.back()->selected = selected;
  return *forms.back();
}

HRESULT FakeHost::fire(DISPID id, std::vector<VARIANT> args) {
  std::reverse(args.begin(), args.end());
  DISPPARAMS params;
  params.rgvarg = args.data();
  params.cArgs = static_cast<UINT>(args.size());
  return sink->Invoke(id, GUID{}, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params, nullptr, nullptr,
                      nullptr);
}

HRESULT FakeApplication::raw_GetForms(IForms** out) {
  const HRESULT hr = host_.enter("App.GetForms");
  return hr < 0 ? hr : giveObject<IForms>(makeObject<FakeForms>(host_).p, out);
}

HRESULT FakeApplication::raw_GetCompanyInfo(IHostCompany** out) {
  const HRESULT hr = host_.enter("App.GetCompanyInfo");
  return hr < 0 ? hr : giveObject<IHostCompany>(makeObject<FakeHostCompany>(host_).p, out);
}

HRESULT FakeApplication::raw_MessageBox(BSTR text, long defaultButton, BSTR button1, BSTR button2,
                                        BSTR button3, long* out) {
  *out = 1;
  if (!host_.pressedButtons.empty()) {
    *out = host_.pressedButtons.front();
    host_.pressedButtons.pop_front();
  }
  return host_.record("App.MessageBox", narrow(text) + ", " + std::to_string(defaultButton) + ", " +
                                            narrow(button1) + ", " + narrow(button2) + ", " +
                                            narrow(button3));
}

HRESULT FakeApplication::raw_GetStatusBar(IStatusBar** out) {
  return giveObject<IStatusBar>(makeObject<FakeStatusBar>().p, out);
}

HRESULT FakeApplication::FindConnectionPoint(REFIID iid, IConnectionPoint** out) {
  const HRESULT hr = host_.enter("App.FindConnectionPoint");
  if (hr < 0) return hr;
  if (iid != DIID_IApplicationEvents) return CONNECT_E_NOCONNECTION;
  return giveObject<IConnectionPoint>(makeObject<FakeConnectionPoint>(host_).p, out);
}

}  // namespace qx::test
