// An add-on that creates its table, prints a text of its string table, keeps records in its table
// and stops.

#include "qxframework/automation/text.h"
#include "qxframework/dbdef/db_def.h"
#include "qxframework/foundation/qx_bstr.h"
#include "qxframework/foundation/version.h"
#include "qxframework/host/application.h"
#include "qxframework/host/company.h"
#include "qxframework/resources/resource_loader.h"
#include "qxframework/runtime/addon.h"
#include "qxframework/runtime/qx_idispatch.h"
#include "records.h"

#include <iostream>

namespace {

class Handler : public CQXIDispatch {
 public:
  explicit Handler(CQXResourceLoader& loader) : loader_(loader) {}
  long OnApplicationLoad(IDispatch* application, ICompany* company) override {
    const CComQIPtr<IApplication> app(application);
    CQXDbDef tables(app, company, loader_, u"OUT", ln_English, GetModuleHandleW(nullptr));
    CQXVersion version(u"0.00.00.00.00");
    const long result = tables.Create(100, false, version);
    CQXBSTR text(ln_English);
    loader_.LoadStringW(text, 900, ln_English);
    std::cout << qx::toUtf8(text.View()) << ", tables " << result << ", version "
              << qx::toUtf8(version.GetVersionAsBSTR().View()) << "\n"
              << qx::toUtf8(useRecords(company)) << std::endl;
    return result;
  }
  long OnReservedEvent() override { return S_OK; }
  long OnMenuEvent(IMenuEvent*, short*) override { return S_OK; }
  long OnChangeLanguage() override { return S_OK; }
  long OnChangeCompany(ICompany*) override { return S_OK; }
  long OnApplicationUnload() override { return S_OK; }
  long OnFormLoad(IItemEvent*, short*) override { return S_OK; }
  long OnProgressBarEvent(IMenuEvent*, short*) override { return S_OK; }
  long OnStatusBarEvent(BSTR, long) override { return S_OK; }

 private:
  CQXResourceLoader& loader_;
};

class AddOn : public CQXAddOn {
 public:
  using CQXAddOn::CQXAddOn;
  CQXIDispatch* CreateDispatch() override { return new Handler(loader_); }
  CQXResourceLoader* GetResourceLoader() override { return &loader_; }

 private:
  CQXResourceLoader loader_;
};

}  // namespace

int main(int, char** argv) {
  if (!recordsRefuseWithoutACompany()) return 2;
  AddOn addOn(qx::toUtf16(argv[1]), u"OUTSIDE", u"");
  return addOn.Connect(1) == 0 && addOn.GetEventSink() != nullptr ? 0 : 1;
}
