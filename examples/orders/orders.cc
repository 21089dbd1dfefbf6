// Keeps orders in a table of its own. At its start it adds two orders, adds to the amount of one of
// them in a transaction (order.h), and shows a summary in the status bar. One menu entry opens a
// form with all orders (order_form.h), one takes in many (sample_orders.h), and one tries a rise in
// prices out (order_rise.h).

#include "order.h"
#include "order_form.h"
#include "order_rise.h"
#include "qxframework/stock/addon_menu.h"
#include "sample_orders.h"

#include <iostream>
#include <memory>
#include <vector>

namespace {

constexpr char16_t kAddOns[] = u"43523";  // the client's popup for add-ons
constexpr char16_t kOrdersEntry[] = u"ORD_OPEN";
constexpr char16_t kSamplesEntry[] = u"ORD_SAMPLE";
constexpr char16_t kRiseEntry[] = u"ORD_RISE";
constexpr unsigned kOrdersText = 230;
constexpr unsigned kSamplesText = 234;
constexpr unsigned kTakingInText = 235;
constexpr unsigned kRiseText = 236;
constexpr long kRise = 10;

std::u16string summary(const CComPtr<ICompany>& company) {
  Orders orders(company);
  orders.Open();
  Order order;
  CQXCurrency sum;
  if (orders.First(order) != 0) return u"No orders";
  const CComBSTR newest = order.day.GetDateAsBSTR_ISO8601();
  for (long row = 0; row == 0; row = orders.Next(order)) sum += order.total;
  return qx::format(u"%d orders, %s in all, the newest of %s", orders.GetRecordCount(),
                    sum.ToString(), newest);
}

// Receives the events of the client.
class Handler : public CQXIDispatch {
 public:
  explicit Handler(CQXAddOn* addOn) : m_AddOn(addOn) {}

  long OnApplicationLoad(IDispatch* application, ICompany* company) override {
    m_App = CComQIPtr<IApplication>(application);
    m_Company = company;
    CQXDbDef tables(m_App, company, *m_AddOn->GetResourceLoader(), u"ORDER", m_App->GetLanguage(),
                    GetModuleHandleW(nullptr));
    CQXVersion version(u"0.00.00.00.00");
    if (tables.Create(100, false, version) < 0) return E_FAIL;
    Report([&] {
      takeIn(company, {u"A-1", u"O'Brien", {2024, 2, 29, 0, 0, 0}, 99.5});
      takeIn(company, {u"A-2", u"C2000", {2024, 1, 31, 0, 0, 0}, 22});
      addTo(company, u"A-1", 10);
      return summary(company);
    });
    AddMenu();
    return S_OK;
  }
  // Entries of add-ons are gone when the client has changed its language or company.
  long OnChangeLanguage() override { return AddMenu(); }
  long OnChangeCompany(ICompany* company) override {
    m_Samples.reset();
    m_Company = company;
    return AddMenu();
  }
  long OnApplicationUnload() override {
    m_Menu.clear();
    m_Samples.reset();
    m_Company.Release();
    return S_OK;
  }
  long OnMenuEvent(IMenuEvent* event, short*) override {
    if (event->GetBeforeAction() != VARIANT_FALSE) return S_OK;
    const CComBSTR entry = event->GetMenuUID();
    if (entry.View() == kOrdersEntry) {
      qx::openForm(std::make_unique<OrderForm>(m_AddOn), m_App, m_Company);
    } else if (entry.View() == kSamplesEntry) {
      TakeInSamples();
    } else if (entry.View() == kRiseEntry) {
      Report([&] { return riseReport(m_Company, kRise); });
    }
    return S_OK;
  }
  long OnFormLoad(IItemEvent*, short*) override { return S_OK; }
  long OnReservedEvent() override { return S_OK; }
  long OnProgressBarEvent(IMenuEvent*, short*) override { return S_OK; }
  long OnStatusBarEvent(BSTR, long) override { return S_OK; }

 private:
  // Shows the text that `work` returns in the status bar, or how it failed. A transaction reports
  // its failures as plain texts.
  template <class Work>
  void Report(Work work) {
    try {
      CQXUtil::SetStatusBarInfoMessage(m_App, CComBSTR(work()));
    } catch (const Persistence::CQXPersistenceException& failure) {
      CQXUtil::SetStatusBarErrorMessage(m_App, failure.GetErrorString());
    } catch (const _com_error& failure) {
      CQXUtil::SetStatusBarErrorMessage(m_App, LastError(failure));
    } catch (const char* failure) {
      CQXUtil::SetStatusBarErrorMessage(m_App, CComBSTR(qx::toUtf16(failure)));
    }
  }
  CComBSTR LastError(const _com_error& failure) {
    long code = 0;
    CComBSTR text;
    m_Company->GetLastError(code, text);
    return code == failure.Error() ? text : CComBSTR(failure.ErrorMessage());
  }
  long AddMenu() {
    m_Menu.clear();  // before the new entries: their UIDs are the same
    const CComPtr<IMenuItem> addOns = m_App->GetMenus()->Item(CComVariant(kAddOns));
    const auto add = [&](const OLECHAR* uid, unsigned text) {
      m_Menu.push_back(std::make_unique<CQXAddOnMenu>(addOns, m_App, uid, Text(text), mt_String, -1,
                                                      VARIANT_TRUE, VARIANT_FALSE));
    };
    add(kOrdersEntry, kOrdersText);
    add(kSamplesEntry, kSamplesText);
    add(kRiseEntry, kRiseText);
    return S_OK;
  }
  void TakeInSamples() {
    if (m_Samples != nullptr && m_Samples->IsRunning()) return;
    m_Samples = std::make_shared<SampleOrders>(m_App, m_Company, m_AddOn, Text(kTakingInText));
    m_Samples->Start();
  }
  CComBSTR Text(unsigned id) {
    CQXBSTR text(m_App->GetLanguage());
    m_AddOn->GetResourceLoader()->LoadStringW(text, id, m_App->GetLanguage());
    return text;
  }

  CQXAddOn* m_AddOn;
  CComPtr<IApplication> m_App;
  CComPtr<ICompany> m_Company;
  std::vector<std::unique_ptr<CQXAddOnMenu>> m_Menu;
  std::shared_ptr<SampleOrders> m_Samples;
};

class OrdersAddOn : public CQXAddOn {
 public:
  using CQXAddOn::CQXAddOn;
  CQXIDispatch* CreateDispatch() override { return new Handler(this); }
  CQXResourceLoader* GetResourceLoader() override { return &m_Loader; }

 private:
  CQXResourceLoader m_Loader;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return std::cerr << "usage: orders CONNECTION\n", 2;
  OrdersAddOn addOn(qx::toUtf16(argv[1]), u"ORDERS", u"");
  if (addOn.Connect(1) != 0 || addOn.GetEventSink() == nullptr) return 1;
  addOn.SetWndHandle(CreateMessageWindow({}));
  return RunMessageLoop();
}
