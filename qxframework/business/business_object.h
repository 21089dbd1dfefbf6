#pragma once

// The base of an add-on's classes for its business logic: the company, the transactions that the
// object has open, and the last error of the company.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/business/transaction.h"
#include "qxframework/foundation/qx_ptr.h"
#include "qxframework/host/company.h"
#include "qxframework/logging/function_log.h"

#include <stack>

class _com_error;

namespace Persistence {

/// The derived class puts what belongs together between TransactionStart and TransactionCommit, and
/// calls TransactionRollBack if something fails in between. Calls nest; see CQXTransactionManager.
///
/// A copy shares the open transactions, and both objects would end them: do not copy an object that
/// has one.
class QX_API CQXBusinessObject {
 public:
  explicit CQXBusinessObject(CComPtr<ICompany> company);
  CQXBusinessObject(const CQXBusinessObject& other);
  CQXBusinessObject& operator=(const CQXBusinessObject& other);
  /// If a transaction is still open, reports it to the log and rolls the newest one back, which
  /// ends the host's transaction. The failure of that is thrown, like that of
  /// CQXTransaction::Rollback. If the object is destroyed because another exception was thrown, the
  /// failure goes to the log instead, and the first exception continues.
  ///
  /// A holder whose own destructor cannot throw, such as `std::unique_ptr` and `std::optional`,
  /// ends the process in the first case. Therefore end the transactions before it lets the object
  /// go.
  virtual ~CQXBusinessObject() noexcept(false);

  /// Returns the number of the company's error at the last commit or rollback that failed with a
  /// _com_error; 0 until then.
  long GetLastErrorNumber() const { return m_lLastErrorNumber; }
  /// Returns the text of that error; empty until then.
  const CComBSTR& GetLastErrorMessage() const { return m_bstrLastErrorMessage; }

 protected:
  /// Starts a level of the transaction. Returns 0. Throws what CQXTransactionManager::Start throws.
  long TransactionStart();
  /// Commits the newest level. Returns 0, or E_FAIL for a _com_error, which goes to the log and to
  /// the last error. Other failures are thrown, as CQXTransaction::Commit describes. After any
  /// failure the level is still open, and TransactionRollBack ends it. Without an open level throws
  /// "Not in Transaction, can't commit" as a `const char*`.
  long TransactionCommit();
  /// Ends the newest level and rolls the whole transaction back. Does nothing if no level is open.
  /// A _com_error goes to the log and to the last error; other failures are thrown, as
  /// CQXTransaction::Rollback describes. Call it once for each level that is open: the outer levels
  /// still belong to this object, and can no longer be committed.
  void TransactionRollBack();

  CComPtr<ICompany> m_ptrCompany;

 private:
  template <class Scope>
  void LogFailure(Scope& scope, const OLECHAR* format, const _com_error& error);
  void LogSuppressedFailure(CReturnValue<void>& scope);
  void ReadLastError();

  long m_lLastErrorNumber = 0;
  CComBSTR m_bstrLastErrorMessage{u""};
  std::stack<qx_ptr<CQXTransaction>> m_Transactions;
};

}  // namespace Persistence
