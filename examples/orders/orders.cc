// Keeps orders in a table of its own: a record, the proxy that moves it between the program and the
// table, and an add-on that uses both. It adds two orders, raises the amount of one of them in a
// transaction, and shows a summary in the status bar.

#include "qxframework/foundation/currency.h"
#include "qxframework/foundation/date_time.h"
#include "qxframework/qxframework.h"

#include <iostream>

namespace {

using Persistence::CQXPersistenceSortField;
using Persistence::CQXValueContainer;
using Persistence::TyFieldValues;

struct Order : CQXValueContainer {
  Order() = default;
  Order(const OLECHAR* no, const OLECHAR* who, const CQXDateTime& when, CQXCurrency amount)
      : number(no), customer(who), day(when), total(amount) {}

  CComBSTR number, customer;
  CQXDateTime day;
  CQXCurrency total;
};

// The orders of the table, by their numbers.
class Orders : public Persistence::CQXPersistentCollectionProxy {
 public:
  explicit Orders(const CComPtr<ICompany>& company) {
    Connect(company, u"@ORDERS", true);
    SetKeysOnly(false);  // the first query reads whole rows, not only their keys
  }
  // Runs the query; after it First() and Next() step through the orders, newest first.
  void Open() {
    SetSortFields({CQXPersistenceSortField(u"U_Day", Persistence::so_Descending)});
    Load({u"U_No"}, {});
  }
  static TyFieldValues Key(const CComBSTR& number) { return {{u"U_No", number}}; }
  // The next two functions convert a row to the record, and the record to the values to write. The
  // framework sets "Code" and "Name" of new rows.
  void MapToContainer(const TyFieldValues& row, CQXValueContainer& container) override {
    auto& order = static_cast<Order&>(container);
    order.number = GetValue(row, u"U_No").bstrVal;
    order.customer = GetValue(row, u"U_Customer").bstrVal;
    order.day = GetValue(row, u"U_Day").date;
    order.total = GetValue(row, u"U_Total").dblVal;
  }
  void ContainerToMap(const CQXValueContainer& container, TyFieldValues& row) override {
    const auto& order = static_cast<const Order&>(container);
    row.Add(u"U_No", order.number);
    row.Add(u"U_Customer", order.customer);
    row.Add(u"U_Day", order.day);
    row.Add(u"U_Total", order.total);
  }
};

void takeIn(const CComPtr<ICompany>& company, const Order& order) {
  Orders orders(company);
  orders.Open();
  if (!orders.Exists(Orders::Key(order.number))) orders.Add(order);
}

// Changes the order completely or not at all.
void addTo(const CComPtr<ICompany>& company, const CComBSTR& number, CQXCurrency amount) {
  company->StartTransaction();
  try {
    Orders orders(company);
    orders.Open();
    Order order;
    orders.GetByKey(Orders::Key(number), order);
    order.total += amount;
    orders.Update(Orders::Key(number), order);
    company->EndTransaction(VARIANT_TRUE);
  } catch (...) {
    company->raw_EndTransaction(VARIANT_FALSE);
    throw;
  }
}

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

// Receives the events of the client and uses the first one only.
class Handler : public CQXIDispatch {
 public:
  explicit Handler(CQXAddOn* addOn) : m_AddOn(addOn) {}

  long OnApplicationLoad(IDispatch* application, ICompany* company) override {
    const CComQIPtr<IApplication> app(application);
    CQXDbDef tables(app, company, *m_AddOn->GetResourceLoader(), u"ORDER", app->GetLanguage(),
                    GetModuleHandleW(nullptr));
    CQXVersion version(u"0.00.00.00.00");
    if (tables.Create(100, false, version) < 0) return E_FAIL;
    try {
      takeIn(company, {u"A-1", u"O'Brien", {2024, 2, 29, 0, 0, 0}, 99.5});
      takeIn(company, {u"A-2", u"C2000", {2024, 1, 31, 0, 0, 0}, 22});
      addTo(company, u"A-1", 10);
      CQXUtil::SetStatusBarInfoMessage(app, CComBSTR(summary(company)));
    } catch (const Persistence::CQXPersistenceException& failure) {
      CQXUtil::SetStatusBarErrorMessage(app, failure.GetErrorString());
    }
    return S_OK;
  }
  long OnFormLoad(IItemEvent*, short*) override { return S_OK; }
  long OnReservedEvent() override { return S_OK; }
  long OnMenuEvent(IMenuEvent*, short*) override { return S_OK; }
  long OnChangeLanguage() override { return S_OK; }
  long OnChangeCompany(ICompany*) override { return S_OK; }
  long OnApplicationUnload() override { return S_OK; }
  long OnProgressBarEvent(IMenuEvent*, short*) override { return S_OK; }
  long OnStatusBarEvent(BSTR, long) override { return S_OK; }

 private:
  CQXAddOn* m_AddOn;
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
