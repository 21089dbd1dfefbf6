#include "qxframework/business/transact.h"

#include "qxframework/business/internal/retry_pause.h"
#include "qxframework/business/internal/transact_try.h"
#include "qxframework/business/transaction.h"
#include "qxframework/cache/db_record_cache.h"
#include "qxframework/os/clock.h"

namespace qx {
namespace {

using Persistence::CDBRecordCache;

/// Does `work` where another exception is on its way to the caller. Returns false if it throws.
template <class Work>
bool succeeds(Work&& work) noexcept {
  try {
    work();
    return true;
  } catch (...) {
    return false;
  }
}

// A Start that fails after it has counted its level would make the next one an inner one.
qx_ptr<CQXTransaction> startOutermost(CComPtr<ICompany>& company) {
  try {
    return CQXTransactionManager::Start(company);
  } catch (...) {
    if (CQXTransactionManager::GetCurrentDepth() > 0) {
      succeeds([&] { CQXTransactionManager::Rollback(company); });
    }
    throw;
  }
}

// Rolls back and returns true if the work may run again. A company that has ended the transaction
// by itself has nothing to roll back, but the record cache holds what belonged to it.
bool rollBack(const qx_ptr<CQXTransaction>& transaction, const TransactTry& run) {
  TransactTry::noteFailure();
  const bool rolledBack = succeeds([&] { transaction->Rollback(); });
  const bool forgotten =
      run.cacheHasForgotten() || succeeds([] { CDBRecordCache::BeforeTransaction_Rollback(); });
  return rolledBack && forgotten && run.lostAgainstOthers();
}

void runOnce(CComPtr<ICompany> company, const std::function<void()>& work) {
  const qx_ptr<CQXTransaction> level = CQXTransactionManager::Start(company);
  try {
    work();
    level->Commit();
  } catch (...) {
    succeeds([&] { level->Rollback(); });
    throw;
  }
}

// Returns false if the work has to run again.
bool runOutermost(CComPtr<ICompany> company, const std::function<void()>& work, bool isLast) {
  const qx_ptr<CQXTransaction> transaction = startOutermost(company);
  const TransactTry run(company);
  try {
    // The rows in memory were read ahead of the transaction, which does not protect them. The
    // caches stay, since the work may use collections that were made before.
    CDBRecordCache::ClearAllRows();
    work();
    transaction->Commit();
    return true;
  } catch (...) {
    if (!rollBack(transaction, run) || isLast) throw;
    run.restoreCaches();
    return false;
  }
}

}  // namespace

void transact(const CComPtr<ICompany>& company, const std::function<void()>& work, int tries) {
  if (CQXTransactionManager::GetCurrentDepth() > 0) return runOnce(company, work);
  for (int number = 1; !runOutermost(company, work, number >= tries); ++number) {
    currentClock().sleepFor(retryPause(number));
  }
}

}  // namespace qx
