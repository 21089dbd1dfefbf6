#include "order_rise.h"

#include "qxframework/cache/db_record_cache.h"

using Persistence::CacheCounters;
using Persistence::CDBRecordCache;

OrderBrowser::OrderBrowser(const CComPtr<ICompany>& company) : CQXBusinessObjectBrowser(company) {
  setPCol(new CachedOrders(company));  // the browser deletes both
  setCntr(new Order);
}

CQXCurrency OrderBrowser::Sum() {
  CQXCurrency sum;
  for (long row = First(); row == 0; row = Next()) sum += Current().total;
  return sum;
}

// The record cache holds the raised orders back until a commit, but every collection reads them at
// once. The rollback discards them, and the next reader asks the database again.
CQXCurrency OrderRise::SumAfter(long percent) {
  TransactionStart();
  try {
    RaiseAll(percent);
    const CQXCurrency sum = OrderBrowser(m_ptrCompany).Sum();
    TransactionRollBack();
    return sum;
  } catch (...) {
    TransactionRollBack();
    throw;
  }
}

void OrderRise::RaiseAll(long percent) {
  for (long row = First(); row == 0; row = Next()) {
    Order& order = Current();
    order.total += order.total * percent / CQXCurrency(100L);
    AllOrders().Update(Orders::Key(order.number), order);
  }
}

std::u16string riseReport(const CComPtr<ICompany>& company, long percent) {
  // The counts are those of the process, so the report has their difference.
  const auto counts = [] {
    CacheCounters all;
    for (const CacheCounters& each : CDBRecordCache::AllCounters()) {
      all.hits += each.hits;
      all.misses.notLoaded += each.misses.total();
    }
    return all;
  };
  const CacheCounters before = counts();
  const CQXCurrency now = OrderBrowser(company).Sum();
  const CQXCurrency then = OrderRise(company).SumAfter(percent);
  const CacheCounters after = counts();
  return qx::format(u"%s now, %s after a rise of %d percent (%d query, %d loads from memory)",
                    now.ToString(), then.ToString(), percent,
                    after.misses.total() - before.misses.total(), after.hits - before.hits);
}
