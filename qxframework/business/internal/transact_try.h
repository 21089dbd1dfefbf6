#pragma once

// A run of the work of transact. A handler within the work may roll back before transact learns of
// the failure. The company then no longer knows the reason, and the record cache has forgotten the
// caches of the run; so the transaction manager notes both first.

#include "qxframework/cache/db_record_cache.h"
#include "qxframework/host/company.h"
#include "qxframework/host/company_sharing.h"

#include <optional>

namespace qx {

/// One run of the work of transact, the current one while it lives.
class TransactTry {
 public:
  explicit TransactTry(ICompany* company);
  ~TransactTry();
  TransactTry(const TransactTry&) = delete;
  TransactTry& operator=(const TransactTry&) = delete;

  /// Notes why the last operation of the company has failed, and the caches, unless that is done
  /// already. Called by the transaction manager before it rolls back; does nothing without a run.
  static void noteFailure();
  /// Notes that the record cache has forgotten the run's transaction. Called in the same way.
  static void noteForgotten();

  /// True if the run has failed because another program was faster.
  bool lostAgainstOthers() const;
  bool cacheHasForgotten() const { return forgotten_; }
  /// Makes the caches current again that the run has used, for the next run.
  void restoreCaches() const;

 private:
  CComPtr<ICompanySharing> sharing_;  // null if the company does not say why it fails
  TransactTry* const before_;
  std::optional<long> fault_;
  Persistence::CDBRecordCache::Instances caches_;
  bool forgotten_ = false;
};

}  // namespace qx
