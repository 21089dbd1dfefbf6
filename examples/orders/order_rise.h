#pragma once

// What all orders would amount to after a rise in prices: tried out in a transaction that is rolled
// back, so nothing changes.

#include "order.h"

#include <string>

/// Browses the orders of the record cache. Several browsers need one query between them.
class OrderBrowser : public Persistence::CQXBusinessObjectBrowser {
 public:
  explicit OrderBrowser(const CComPtr<ICompany>& company);
  CQXCurrency Sum();

 protected:
  CachedOrders& AllOrders() const { return static_cast<CachedOrders&>(*getPCol()); }
  Order& Current() const { return static_cast<Order&>(*getCntr()); }
};

class OrderRise : public OrderBrowser {
 public:
  using OrderBrowser::OrderBrowser;
  /// Returns the sum of all orders as if each had risen by `percent`.
  CQXCurrency SumAfter(long percent);

 private:
  void RaiseAll(long percent);
};

/// Returns a line for the status bar: the sum before and after a rise, and how it was found.
std::u16string riseReport(const CComPtr<ICompany>& company, long percent);
