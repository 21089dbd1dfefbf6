#pragma once

// What transact has to know of the transaction that its work runs in. A handler within the work may
// roll back before transact learns of the failure, and the company then no longer knows the reason;
// so the transaction manager notes it first.

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

  /// Notes why the last operation of the company has failed, unless it is noted already. Called by
  /// the transaction manager for the current run, if there is one, before it rolls back.
  static void noteFault();
  /// Notes that the record cache has forgotten the run's transaction. Called in the same way.
  static void noteForgotten();

  /// True if the run has failed because another program was faster.
  bool lostAgainstOthers() const;
  bool cacheHasForgotten() const { return forgotten_; }

 private:
  CComPtr<ICompanySharing> sharing_;  // null if the company does not say why it fails
  TransactTry* const before_;
  std::optional<long> fault_;
  bool forgotten_ = false;
};

}  // namespace qx
