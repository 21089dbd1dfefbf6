#include "qxframework/business/business_object.h"

#include "qxframework/automation/com_error.h"
#include "qxframework/foundation/thrown_text.h"
#include "qxframework/query/persistence_exception.h"

#include <exception>
#include <utility>

namespace Persistence {
namespace {

constexpr const OLECHAR* kRollbackFailed = u"Rollback failed: ErrNo=%d, ErrMsg='%s'.\n";

}  // namespace

CQXBusinessObject::CQXBusinessObject(CComPtr<ICompany> company) : m_ptrCompany(std::move(company)) {
  CReturnValue<void> scope(u"CQXBusinessObject::CQXBusinessObject", 0);
}

CQXBusinessObject::CQXBusinessObject(const CQXBusinessObject& other) = default;
CQXBusinessObject& CQXBusinessObject::operator=(const CQXBusinessObject& other) = default;

CQXBusinessObject::~CQXBusinessObject() noexcept(false) {
  CReturnValue<void> scope(u"CQXBusinessObject::~CQXBusinessObject", 0);
  if (m_Transactions.empty()) return;
  scope.LogError(
      u"Some transaction is not complete yet when the object is released, we have to rollback");
  try {
    // The newest one ends the host's transaction; the others go with the stack.
    m_Transactions.top()->Rollback();
  } catch (...) {
    // A second exception on its way would end the process.
    if (std::uncaught_exceptions() == 0) throw;
    LogSuppressedFailure(scope);
  }
}

long CQXBusinessObject::TransactionStart() {
  CReturnValue<long> hr(u"CQXBusinessObject::TransactionStart", 0, 0);
  m_Transactions.push(CQXTransactionManager::Start(m_ptrCompany));
  return hr;
}

long CQXBusinessObject::TransactionCommit() {
  CReturnValue<long> hr(u"CQXBusinessObject::TransactionCommit", 0, 0);
  if (m_Transactions.empty()) qx::throwText("Not in Transaction, can't commit");
  try {
    m_Transactions.top()->Commit();
    // Only now, so that a transaction whose commit fails can still be rolled back.
    m_Transactions.pop();
  } catch (const _com_error& error) {
    hr = E_FAIL;
    LogFailure(hr, u"Commit failed: ErrNo=%d, ErrMsg='%s'.\n", error);
  }
  return hr;
}

void CQXBusinessObject::TransactionRollBack() {
  CReturnValue<void> scope(u"CQXBusinessObject::TransactionRollBack", 0);
  if (m_Transactions.empty()) return;
  const qx_ptr<CQXTransaction> transaction = m_Transactions.top();
  // Ahead of the rollback, so that one that fails is not tried again.
  m_Transactions.pop();
  try {
    transaction->Rollback();
  } catch (const _com_error& error) {
    LogFailure(scope, kRollbackFailed, error);
  }
}

template <class Scope>
void CQXBusinessObject::LogFailure(Scope& scope, const OLECHAR* format, const _com_error& error) {
  scope.LogError(format, error.Error(), error.ErrorMessage());
  ReadLastError();
  scope.LogError(u"RX-API: ErrNo=%d, ErrMsg=%s.\n", m_lLastErrorNumber, m_bstrLastErrorMessage);
}

// Reports the exception that is being handled.
void CQXBusinessObject::LogSuppressedFailure(CReturnValue<void>& scope) {
  try {
    throw;
  } catch (const _com_error& error) {
    LogFailure(scope, kRollbackFailed, error);
  } catch (const CQXPersistenceException& failure) {
    scope.LogError(u"Rollback failed: %s\n", failure.GetErrorString());
  } catch (const char* text) {
    scope.LogError(u"Rollback failed: %s\n", text);
  } catch (...) {
    scope.LogError(u"Rollback failed: unknown exception\n");
  }
}

// A company that cannot report its error is the error itself.
void CQXBusinessObject::ReadLastError() {
  try {
    m_ptrCompany->GetLastError(m_lLastErrorNumber, m_bstrLastErrorMessage);
  } catch (const _com_error& error) {
    m_lLastErrorNumber = error.Error();
    m_bstrLastErrorMessage = error.ErrorMessage();
  }
}

}  // namespace Persistence
