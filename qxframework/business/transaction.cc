#include "qxframework/business/transaction.h"

#include "qxframework/business/internal/transact_try.h"
#include "qxframework/cache/db_record_cache.h"
#include "qxframework/foundation/thrown_text.h"

#include <limits>

namespace {

using Persistence::CDBRecordCache;

constexpr int kFinished = -1;

// A company whose answer is a failure throws: it is unknown then whether to go on.
bool isInTransaction(const CComPtr<ICompany>& company) {
  return company->GetInTransaction() == VARIANT_TRUE;
}

// Rolls the host back at the end of its scope, also if the caches cannot be forgotten: an open
// transaction would take in all that is written from then on, and lose it.
struct HostRollback {
  const CComPtr<ICompany>& company;
  ~HostRollback() { company->raw_EndTransaction(et_RollBack); }
};

}  // namespace

CQXTransaction::CQXTransaction() : m_nDepth(kFinished) {}
CQXTransaction::CQXTransaction(const CQXTransaction& other) = default;
CQXTransaction& CQXTransaction::operator=(const CQXTransaction& other) = default;
CQXTransaction::~CQXTransaction() = default;

void CQXTransaction::Commit() {
  const int depth = CQXTransactionManager::GetCurrentDepth();
  if (depth < 1 || m_nDepth < 0) qx::throwText("Not in Transaction, can't commit");
  if (depth != m_nDepth + 1) {
    qx::throwText("Wrong depth, the transaction should only commit it's own transaction");
  }
  RequireCompany();
  CQXTransactionManager::Commit(m_ptrCompany);
  Finish();
}

void CQXTransaction::Rollback() {
  if (m_nDepth < 0) qx::throwText("Not in Transaction, can't Rollback");
  RequireCompany();
  CQXTransactionManager::Rollback(m_ptrCompany);
  Finish();
}

void CQXTransaction::RequireCompany() const {
  if (m_ptrCompany == nullptr) {
    qx::throwText("Invalid company pointer in CQXTransaction object");
  }
}

void CQXTransaction::Finish() {
  m_nDepth = kFinished;
  m_ptrCompany.Release();
}

int CQXTransactionManager::sm_nCurrentCount = 0;

int CQXTransactionManager::GetCurrentDepth() { return sm_nCurrentCount; }

qx_ptr<CQXTransaction> CQXTransactionManager::Start(CComPtr<ICompany>& company) {
  if (sm_nCurrentCount < 0 || sm_nCurrentCount == std::numeric_limits<int>::max()) {
    qx::throwText("Invalid transaction depth");
  }
  ++sm_nCurrentCount;
  if (sm_nCurrentCount == 1) {
    if (isInTransaction(company)) {
      sm_nCurrentCount = 0;
      qx::throwText("In outside transaction, not supported");
    }
    CDBRecordCache::BeforeTransaction_Start();
    if (company->raw_StartTransaction() < 0) {
      sm_nCurrentCount = 0;
      qx::throwText("Failed to start transaction");
    }
  }
  const qx_ptr<CQXTransaction> transaction(new CQXTransaction, true);
  transaction->m_nDepth = sm_nCurrentCount - 1;
  transaction->m_ptrCompany = company;
  return transaction;
}

void CQXTransactionManager::Commit(CComPtr<ICompany>& company) {
  if (sm_nCurrentCount < 1) qx::throwText("Invalid transaction depth when commit");
  if (!isInTransaction(company)) qx::throwText("Not in transaction when try to commit");
  --sm_nCurrentCount;
  if (sm_nCurrentCount != 0) return;
  CDBRecordCache::BeforeTransaction_Commit();
  if (company->raw_EndTransaction(et_Commit) < 0) qx::throwText("Failed to EndTransction");
}

void CQXTransactionManager::Rollback(CComPtr<ICompany>& company) {
  sm_nCurrentCount = 0;  // whatever happens below, the next Start is an outermost one again
  qx::TransactTry::noteFailure();
  if (!isInTransaction(company)) return;
  const HostRollback end{company};
  CDBRecordCache::BeforeTransaction_Rollback();
  qx::TransactTry::noteForgotten();
}
