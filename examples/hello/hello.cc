// The smallest useful add-on: it creates a table of its own in the company, greets in the status
// bar, and checks the order forms of the client: an order without a customer cannot be confirmed.

#include "qxframework/qxframework.h"

#include <iostream>
#include <memory>

namespace {

// The client's order form, its OK button and the field with the customer.
constexpr OLECHAR kOrderType[] = u"3101", kOkButton[] = u"1", kCustomer[] = u"4";

// Represents one order form of the client and receives its events.
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

// Receives the events that no form has handled.
class Handler : public CQXIDispatch {
 public:
  explicit Handler(CQXAddOn* addOn) : m_AddOn(addOn) {}

  long OnApplicationLoad(IDispatch* application, ICompany* company) override {
    m_App = CComQIPtr<IApplication>(application);
    m_Company = company;
    const qx::TablesLock lock(m_App, company);  // other machines wait with their check
    CQXDbDef tables(m_App, company, *m_AddOn->GetResourceLoader(), u"HELLO", m_App->GetLanguage(),
                    GetModuleHandleW(nullptr));
    CQXDbDef::_DBCHECK state = CQXDbDef::dbc_Ok;
    tables.CheckVersion(state);
    CQXVersion version(u"0.00.00.00.00");
    const bool current = state == CQXDbDef::dbc_Ok || state == CQXDbDef::dbc_Newer;
    if (!current && tables.Create(100, false, version) < 0) return E_FAIL;
    CQXUtil::SetStatusBarInfoMessage(m_App, u"Hello from an add-on");
    return S_OK;
  }
  long OnFormLoad(IItemEvent* event, short*) override {
    if (event->GetFormTypeEx() != kOrderType) return S_OK;
    auto form = std::make_unique<OrderForm>(m_AddOn);
    form->PutCompany(m_Company);
    form->InitForm(m_App, m_App->GetForms()->GetFormByUID(event->GetFormUID()));
    form.release();  // the event sink owns it now and deletes it with the client's form
    return S_OK;
  }
  long OnChangeCompany(ICompany* company) override { return m_Company = company, S_OK; }
  // The other events need no reaction.
  long OnReservedEvent() override { return S_OK; }
  long OnMenuEvent(IMenuEvent*, short*) override { return S_OK; }
  long OnChangeLanguage() override { return S_OK; }
  long OnApplicationUnload() override { return S_OK; }
  long OnProgressBarEvent(IMenuEvent*, short*) override { return S_OK; }
  long OnStatusBarEvent(BSTR, long) override { return S_OK; }

 private:
  CQXAddOn* m_AddOn;
  CComPtr<IApplication> m_App;
  CComPtr<ICompany> m_Company;
};

class Hello : public CQXAddOn {
 public:
  using CQXAddOn::CQXAddOn;
  CQXIDispatch* CreateDispatch() override { return new Handler(this); }
  CQXResourceLoader* GetResourceLoader() override { return &m_Loader; }

 private:
  CQXResourceLoader m_Loader;
};

}  // namespace

int main(int argc, char** argv) {
  qx::installFaultGuard();  // a crash leaves its call stack on the standard output
  if (argc != 2) return std::cerr << "usage: hello CONNECTION\n", 2;
  Hello addOn(qx::toUtf16(argv[1]), u"HELLO", u"");
  if (addOn.Connect(1) != 0 || addOn.GetEventSink() == nullptr) return 1;
  addOn.SetWndHandle(CreateMessageWindow({}));
  return RunMessageLoop();
}
