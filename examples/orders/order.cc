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

void Orders::MapToContainer(const TyFieldValues& row, CQXValueContainer& container) {
  auto& order = static_cast<Order&>(container);
  order.number = GetValue(row, u"U_No").bstrVal;
  order.customer = GetValue(row, u"U_Customer").bstrVal;
  order.day = GetValue(row, u"U_Day").date;
  order.total = GetValue(row, u"U_Total").dblVal;
  order.terms = GetValue(row, u"U_Terms").bstrVal;
}

// The framework sets "Code" and "Name" of new rows.
void Orders::ContainerToMap(const CQXValueContainer& container, TyFieldValues& row) {
  const auto& order = static_cast<const Order&>(container);
  row.Add(u"U_No", order.number);
  row.Add(u"U_Customer", order.customer);
  row.Add(u"U_Day", order.day);
  row.Add(u"U_Total", order.total);
  row.Add(u"U_Terms", order.terms);
}

void takeIn(const CComPtr<ICompany>& company, const Order& order) {
  Orders orders(company);
  orders.Open();
  if (!orders.Exists(Orders::Key(order.number))) orders.Add(order);
}
