#pragma once

// An order, and the collections that move orders between the program and their table.

#include "qxframework/foundation/currency.h"
#include "qxframework/foundation/date_time.h"
#include "qxframework/qxframework.h"

struct Order : Persistence::CQXValueContainer {
  Order() = default;
  Order(const OLECHAR* no, const OLECHAR* who, const CQXDateTime& when, CQXCurrency amount)
      : number(no), customer(who), day(when), total(amount) {}

  CComBSTR number, customer;
  CQXDateTime day;
  CQXCurrency total;
  CComBSTR terms{u"I"};  // I on invoice, C cash
};

/// Converts a row to the record, and the record to the values to write, for both collections below.
template <class Collection>
class OrderRows : public Collection {
 public:
  void MapToContainer(const Persistence::TyFieldValues& row,
                      Persistence::CQXValueContainer& container) override;
  void ContainerToMap(const Persistence::CQXValueContainer& container,
                      Persistence::TyFieldValues& row) override;
};

/// The orders of the table, by their numbers.
class Orders : public OrderRows<Persistence::CQXPersistentCollectionProxy> {
 public:
  explicit Orders(const CComPtr<ICompany>& company);
  /// Runs the query; after it First() and Next() step through the orders, newest first.
  void Open();
  static Persistence::TyFieldValues Key(const CComBSTR& number);
};

/// The orders of the record cache: all collections of this class share the rows of one query.
class CachedOrders : public OrderRows<Persistence::CQXPersistentCollection_CacheBased> {
 public:
  explicit CachedOrders(const CComPtr<ICompany>& company);
};

/// Adds an order, unless there is one with its number.
void takeIn(const CComPtr<ICompany>& company, const Order& order);

/// Returns true if there is an order with this number.
bool isThere(const CComPtr<ICompany>& company, const CComBSTR& number);

/// Changes the order with the number of this one.
void change(const CComPtr<ICompany>& company, const Order& order);

/// Adds to the amount of an order. Several programs may do so at once, and no amount is lost.
void addTo(const CComPtr<ICompany>& company, const CComBSTR& number, CQXCurrency amount);
