#pragma once

// What a company offers to programs that share it: the reason of a failure as a number, the lock
// under which tables are made, and the codes of new rows. It is an interface of its own beside
// ICompany, which a host may lack: query ICompany for it, and go on without if there is none.

#include "qxframework/automation/host_call.h"
#include "qxframework/automation/variant.h"
#include "qxframework/host/ids.h"

namespace qx {

/// Why the last operation on a company failed, for code that has to tell apart what GetLastError
/// reports by one code, -2000. The numbers are frozen.
enum CompanyFault : long {
  kNoFault = 0,         ///< It succeeded.
  kOtherFault = 1,      ///< None of the reasons below.
  kLockedFault = 2,     ///< Another program holds what it needs. The transaction is still open.
  kDuplicateFault = 3,  ///< A row with this key exists.
  kDeadlockFault = 4,   ///< Two programs waited for each other; this one's transaction was ended.
  kConflictFault = 5,   ///< Another program has changed the same rows since this one's transaction
                        ///< began; this one's transaction was ended.
};

}  // namespace qx

/// The sharing of a company between programs. It belongs to its ICompany and lives with it.
class ICompanySharing : public IUnknown {
 public:
  static constexpr GUID kIid = qx::hostId(0x012B);
  /// Returns one of qx::CompanyFault for the operation that GetLastError tells about.
  virtual HRESULT raw_GetLastFault(long* out) = 0;
  /// Takes the lock of the company under which tables and fields are made, on all machines that use
  /// this company. Waits at most `milliseconds`; `locked` is false if another connection has it
  /// then, and `holder` names it as far as the database knows it, else it is empty. The connection
  /// that holds it may take it again and unlocks it as often. It ends with its connection at the
  /// latest. Fails with -2100 without a connection.
  virtual HRESULT raw_LockTables(long milliseconds, VARIANT_BOOL* locked, BSTR* holder) = 0;
  /// Undoes one raw_LockTables. Fails with -2104 if this connection does not hold the lock. If it
  /// succeeds, GetLastError still tells about the operation before.
  virtual HRESULT raw_UnlockTables() = 0;
  /// True if `next` still follows the highest code of `table`, its name with the leading "@", so
  /// that a program that counts codes in memory can go on with it. Then no other program draws a
  /// code of the table before a row with it is inserted, the transaction ends or a short time has
  /// passed, as after a SELECT of the highest code. Fails with -2000 if the database refuses, and
  /// with -2100 without a connection.
  virtual HRESULT raw_ContinueCodes(BSTR table, long next, VARIANT_BOOL* out) = 0;

  long GetLastFault() { return qx::getValue<long>(this, &ICompanySharing::raw_GetLastFault); }
  /// Returns false, and the holder, if the lock could not be taken within the time.
  bool LockTables(long milliseconds, CComBSTR& holder) {
    holder.Empty();
    VARIANT_BOOL locked = VARIANT_FALSE;
    qx::raiseIfFailed(raw_LockTables(milliseconds, &locked, &holder.m_str));
    return locked != VARIANT_FALSE;
  }
  HRESULT UnlockTables() { return qx::call(this, &ICompanySharing::raw_UnlockTables); }
  bool ContinueCodes(const CComBSTR& table, long next) {
    return qx::getValue<VARIANT_BOOL>(this, &ICompanySharing::raw_ContinueCodes, table.m_str,
                                      next) != VARIANT_FALSE;
  }

 protected:
  ~ICompanySharing() = default;
};
