// The smallest useful add-on: it gives the company a table of its own, greets in the status bar, and
// watches the order forms of the client: an order without a customer cannot be confirmed.

#include <iostream>
#include <string>

#include "qxframework/automation/text.h"
#include "qxframework/dbdef/db_def.h"
#include "qxframework/dbdef/qx_util.h"
#include "qxframework/foundation/version.h"
#include "qxframework/os/message_loop.h"
#include "qxframework/resources/resource_loader.h"
#include "qxframework/runtime/addon.h"
#include "qxframework/runtime/addon_form.h"
#include "qxframework/runtime/qx_idispatch.h"

namespace {

constexpr OLECHAR kOrderType[] = u"139";  // the client's order form
constexpr OLECHAR kOkButton[] = u"1";
constexpr OLECHAR kCustomer[] = u"4";

// Stands for one order form of the client and gets its events.
class OrderForm : public CQXAddOnForm {
  DECLARE_XML_FORM_EX(u"HELLO", -1, u"HELLO")
 public:
  explicit OrderForm(const CQXAddOn* addOn) : CQXAddOnForm(addOn, -1) {}

  long OnItemEvent(CComPtr<IItemEvent> event, short* bubble) override {
    const bool okPressed = event->GetEventType() == qx::kItemPressed &&
                           event->GetBeforeAction() == VARIANT_TRUE &&
                           event->GetItemUID() == kOkButton;
    if (okPressed && GetFormItemSpecific<IEditText>(kCustomer)->GetString().IsEmpty()) {
      CQXUtil::SetStatusBarErrorMessage(m_ptrApp, u"Who is it for? Choose a customer first.");
      *bubble = VARIANT_FALSE;  // the client does not confirm the order
    }
    return S_OK;
  }
};

// Gets the events that no form has taken.
class Handler : public CQXIDispatch {
 public:
  explicit Handler(CQXAddOn* addOn, CQXResourceLoader& loader) : m_AddOn(addOn), m_Loader(loader) {}

  long OnApplicationLoad(IDispatch* application, ICompany* company) override {
    m_App = CComQIPtr<IApplication>(application);
    m_Company = company;
    CQXDbDef tables(m_App, company, m_Loader, u"HELLO", m_App->GetLanguage(),
                    GetModuleHandleW(nullptr));
    CQXDbDef::_DBCHECK state = CQXDbDef::dbc_Ok;
    tables.CheckVersion(state);
    CQXVersion version(u"0.00.00.00.00");
    if (state != CQXDbDef::dbc_Ok && tables.Create(100, false, version) < 0) return E_FAIL;
    CQXUtil::SetStatusBarInfoMessage(m_App, u"Hello from an add-on");
    return S_OK;
  }
  long OnFormLoad(IItemEvent* event, short*) override {
    if (event->GetFormTypeEx() != kOrderType) return S_OK;
    auto* form = new OrderForm(m_AddOn);  // passes to the event sink, which deletes it
    form->PutCompany(m_Company);
    return form->InitForm(m_App, m_App->GetForms()->GetFormByUID(event->GetFormUID())), S_OK;
  }
  long OnReservedEvent() override { return S_OK; }
  long OnMenuEvent(IMenuEvent*, short*) override { return S_OK; }
  long OnChangeLanguage() override { return S_OK; }
  long OnChangeCompany(ICompany* company) override { return m_Company = company, S_OK; }
  long OnApplicationUnload() override { return S_OK; }
  long OnProgressBarEvent(IMenuEvent*, short*) override { return S_OK; }
  long OnStatusBarEvent(BSTR, long) override { return S_OK; }

 private:
  CQXAddOn* m_AddOn;
  CQXResourceLoader& m_Loader;
  CComPtr<IApplication> m_App;
  CComPtr<ICompany> m_Company;
};

class Hello : public CQXAddOn {
 public:
  using CQXAddOn::CQXAddOn;
  CQXIDispatch* CreateDispatch() override { return new Handler(this, m_Loader); }
  CQXResourceLoader* GetResourceLoader() override { return &m_Loader; }

 private:
  CQXResourceLoader m_Loader;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return std::cerr << "usage: hello CONNECTION\n", 2;
  Hello addOn(qx::toUtf16(argv[1]), u"HELLO", u"");
  if (addOn.Connect(1) != 0 || addOn.GetEventSink() == nullptr) return 1;
  addOn.SetWndHandle(CreateMessageWindow({}));
  return RunMessageLoop();
}
