#include "qxframework/business/internal/transact_try.h"

#include <utility>

namespace qx {
namespace {

TransactTry* current = nullptr;

}  // namespace

TransactTry::TransactTry(ICompany* company)
    : sharing_(CComQIPtr<ICompanySharing>(company)), before_(std::exchange(current, this)) {}

TransactTry::~TransactTry() { current = before_; }

void TransactTry::noteFailure() {
  if (current == nullptr || current->fault_ || current->sharing_ == nullptr) return;
  current->caches_ = Persistence::CDBRecordCache::CurrentInstances();
  long fault = kOtherFault;
  if (current->sharing_->raw_GetLastFault(&fault) < 0) fault = kOtherFault;
  current->fault_ = fault;
}

void TransactTry::noteForgotten() {
  if (current != nullptr) current->forgotten_ = true;
}

void TransactTry::restoreCaches() const { Persistence::CDBRecordCache::RestoreInstances(caches_); }

bool TransactTry::lostAgainstOthers() const {
  return fault_ == kConflictFault || fault_ == kDeadlockFault;
}

}  // namespace qx
