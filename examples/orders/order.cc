#include "order.h"

using Persistence::CQXPersistenceSortField;
using Persistence::CQXValueContainer;
using Persistence::TyFieldValues;

Orders::Orders(const CComPtr<ICompany>& company) {
  Connect(company, u"@ORDERS", true);
  SetKeysOnly(false);  // the first query reads whole rows, not only their keys
}

void Orders::Open() {
  SetSortFields({CQXPersistenceSortField(u"U_Day", Persistence::so_Descending)});
  Load({u"U_No"}, {});
}

TyFieldValues Orders::Key(const CComBSTR& number) { return {{u"U_No", number}}; }

CachedOrders::CachedOrders(const CComPtr<ICompany>& company) {
  const std::vector<CComBSTR> keyFields{u"U_No"};
  Connect(company, u"@ORDERS", true, nullptr);
  GetLoadParameter()->SetKeyFields(&keyFields);
  GetLoadParameter()->SetPrefetchBehavior(Persistence::pb_AllRows, nullptr, -1);
}

template <class Collection>
void OrderRows<Collection>::MapToContainer(const TyFieldValues& row, CQXValueContainer& container) {
  auto& order = static_cast<Order&>(container);
  order.number = this->GetValue(row, u"U_No").bstrVal;
  order.customer = this->GetValue(row, u"U_Customer").bstrVal;
  order.day = this->GetValue(row, u"U_Day").date;
  order.total = this->GetValue(row, u"U_Total").dblVal;
  order.terms = this->GetValue(row, u"U_Terms").bstrVal;
}

// The framework sets "Code" and "Name" of new rows.
template <class Collection>
void OrderRows<Collection>::ContainerToMap(const CQXValueContainer& container, TyFieldValues& row) {
  const auto& order = static_cast<const Order&>(container);
  row.Add(u"U_No", order.number);
  row.Add(u"U_Customer", order.customer);
  row.Add(u"U_Day", order.day);
  row.Add(u"U_Total", order.total);
  row.Add(u"U_Terms", order.terms);
}

template class OrderRows<Persistence::CQXPersistentCollectionProxy>;
template class OrderRows<Persistence::CQXPersistentCollection_CacheBased>;

void takeIn(const CComPtr<ICompany>& company, const Order& order) {
  Orders orders(company);
  orders.Open();
  if (!orders.Exists(Orders::Key(order.number))) orders.Add(order);
}

bool isThere(const CComPtr<ICompany>& company, const CComBSTR& number) {
  Orders orders(company);
  orders.Open();
  return orders.Exists(Orders::Key(number));
}

void change(const CComPtr<ICompany>& company, const Order& order) {
  Orders orders(company);
  orders.Open();
  orders.Update(Orders::Key(order.number), order);
}

// The work runs again if another program has changed the order meanwhile, so it reads the order
// within itself, and does nothing else.
void addTo(const CComPtr<ICompany>& company, const CComBSTR& number, CQXCurrency amount) {
  qx::transact(company, [&] {
    Orders orders(company);
    orders.Open();
    Order order;
    orders.GetByKey(Orders::Key(number), order);
    order.total += amount;
    orders.Update(Orders::Key(number), order);
  });
}
