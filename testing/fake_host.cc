#include "testing/fake_host.h"

#include "qxframework/automation/class_object.h"
#include "testing/forwarding_company.h"

#include <algorithm>

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

/// A company as the class factory creates it. The objects are counted, so that a test sees whether
/// the framework releases the one before it creates the next.
class CountedCompany final : public ForwardingCompany {
 public:
  explicit CountedCompany(FakeHost& host)
      : ForwardingCompany(CComPtr<ICompany>(host.company.p)), host_(host) {
    ++host_.liveCompanies;
  }
  ~CountedCompany() override { --host_.liveCompanies; }
  HRESULT GetTypeInfo(UINT, LCID, ITypeInfo** out) override {
    return host_.library.giveTypeInfo(out);
  }

 private:
  FakeHost& host_;
};

}  // namespace

FakeHost::FakeHost()
    : application(makeObject<FakeApplication>(*this)),
      company(makeScriptedCompany(*this)),
      helper(makeObject<FakeDataHelper>(*company)) {
  company->helper = helper.p;
  const auto guiFactory = makeFactory([this] {
    if (const HRESULT hr = enter("create Gui"); hr < 0) raiseError(hr);
    return makeObject<FakeGuiApi>(*this);
  });
  const auto companyFactory = makeFactory([this] {
    if (const HRESULT hr = enter("create Company"); hr < 0) raiseError(hr);
    return makeObject<CountedCompany>(*this);
  });
  CoRegisterClassObject(CLSID_HalvexGuiApi, guiFactory, CLSCTX_ALL, 0, &guiCookie_);
  CoRegisterClassObject(CLSID_HalvexCompany, companyFactory, CLSCTX_ALL, 0, &companyCookie_);
}

FakeHost::~FakeHost() {
  CoRevokeClassObject(guiCookie_);
  CoRevokeClassObject(companyCookie_);
}

HRESULT FakeHost::fire(DISPID id, std::vector<VARIANT> args) {
  // A DISPPARAMS lists the arguments from the last to the first.
  std::reverse(args.begin(), args.end());
  DISPPARAMS params;
  params.rgvarg = args.data();
  params.cArgs = static_cast<UINT>(args.size());
  return application->sink->Invoke(id, GUID{}, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params,
                                   nullptr, nullptr, nullptr);
}

}  // namespace qx::test
