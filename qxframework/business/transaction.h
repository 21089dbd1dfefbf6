#pragma once

// One transaction of the company, shared by code that calls other code.
//
// A function that changes several rows as one piece starts a level and commits it. If it calls
// another function that does the same, the levels nest: only the outermost Start begins the host's
// transaction, and only the last Commit ends it. A Rollback of any level ends all of them.
//
// The record cache holds writes back, so it is told first: what was buffered before the outermost
// Start is written ahead of the transaction, what is buffered after it is written by the last
// Commit, and a Rollback discards it.
//
//   qx_ptr<CQXTransaction> transaction = CQXTransactionManager::Start(company);
//   try {
//     Change();
//     transaction->Commit();
//   } catch (...) {
//     transaction->Rollback();
//     throw;
//   }

#include "qxframework/automation/com_ptr.h"
#include "qxframework/foundation/qx_ptr.h"
#include "qxframework/host/company.h"

/// One level of the transaction, from CQXTransactionManager::Start. It is finished by Commit or
/// Rollback, once. Releasing an unfinished level does neither: the transaction stays open.
///
/// Copies share the transaction, but each has its own state: finish only one of them.
class QX_API CQXTransaction {
 public:
  CQXTransaction(const CQXTransaction& other);
  CQXTransaction& operator=(const CQXTransaction& other);
  ~CQXTransaction();

  /// Commits this level, which must be the innermost one, and finishes it. Throws these texts as
  /// `const char*`; after any failure the level is not finished, and Rollback ends it:
  ///  - "Not in Transaction, can't commit": the level is finished, or an inner level rolled back.
  ///  - "Wrong depth, the transaction should only commit it's own transaction": an inner level is
  ///    not finished yet.
  ///  - "Invalid company pointer in CQXTransaction object": Start got no company.
  /// Throws what CQXTransactionManager::Commit throws, too.
  void Commit();
  /// Rolls the whole transaction back, whatever the level, and finishes this level. Throws these
  /// texts as `const char*`:
  ///  - "Not in Transaction, can't Rollback": the level is finished.
  ///  - "Invalid company pointer in CQXTransaction object": Start got no company.
  /// Throws what CQXTransactionManager::Rollback throws, too.
  void Rollback();

 private:
  friend class CQXTransactionManager;
  CQXTransaction();
  void RequireCompany() const;
  void Finish();

  int m_nDepth;  // the number of levels around this one, -1 if it is finished
  CComPtr<ICompany> m_ptrCompany;
};

/// The levels that are open. There is one depth in a process, for all of its companies, and it is
/// not locked: transactions belong to the add-on's main thread.
///
/// The texts of failures are thrown as `const char*`.
class QX_API CQXTransactionManager {
 public:
  /// Starts a level; the outermost one starts the host's transaction. Throws:
  ///  - "Invalid transaction depth": the depth is negative, or no level more can be counted.
  ///  - "In outside transaction, not supported": at depth 0 the company is already in a transaction
  ///    that was not started here. The depth stays 0.
  ///  - "Failed to start transaction": the host refuses; ICompany::GetLastError has the reason. The
  ///    depth stays 0.
  ///  - CQXPersistenceException "Failed in CDBRecordCache::BeforeTransaction_Start()": a buffered
  ///    write failed, and the host's transaction has not started. The depth stays 1, so call
  ///    Rollback before the next Start. The same holds for a _com_error of the company, or of
  ///    E_POINTER for no company.
  static qx_ptr<CQXTransaction> Start(CComPtr<ICompany>& company);
  /// Counts the commit of a level; the last one ends the host's transaction. For levels from Start
  /// call CQXTransaction::Commit, which also checks their order. Throws:
  ///  - "Invalid transaction depth when commit": no level is open.
  ///  - "Not in transaction when try to commit": the host's transaction is over. The depth stays.
  ///  - CQXPersistenceException "Failed in CDBRecordCache::BeforeTransaction_Commit()": a buffered
  ///    write failed. The depth is 0, but the host's transaction is still open: call Rollback.
  ///  - "Failed to EndTransction": the host did not commit; ICompany::GetLastError has the reason.
  ///    The depth is 0, and the host's transaction is over.
  ///  - _com_error: the company cannot say whether it is in a transaction. The depth stays.
  static void Commit(CComPtr<ICompany>& company);
  /// Ends all levels: the depth becomes 0 in any case. If the host is in a transaction, buffered
  /// writes are discarded, the caches are forgotten, and the host rolls back; a failure of that is
  /// ignored. Throws the _com_error of a company that cannot say whether it is in a transaction,
  /// and the exception of a cache that cannot be forgotten, after the host has rolled back.
  static void Rollback(CComPtr<ICompany>& company);
  /// Returns the number of open levels, 0 outside of a transaction.
  static int GetCurrentDepth();

 protected:
  /// The depth. Only tests set it.
  static int sm_nCurrentCount;
};
