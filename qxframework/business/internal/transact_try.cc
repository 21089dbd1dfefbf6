#include "qxframework/business/internal/transact_try.h"

#include <utility>

namespace qx {
namespace {

TransactTry* current = nullptr;

}  // namespace

TransactTry::TransactTry(ICompany* company)
    : sharing_(CComQIPtr<ICompanySharing>(company)), before_(std::exchange(current, this)) {}

TransactTry::~TransactTry() { current = before_; }

void TransactTry::noteFault() {
  if (current == nullptr || current->fault_ || current->sharing_ == nullptr) return;
  long fault = kOtherFault;
  if (current->sharing_->raw_GetLastFault(&fault) < 0) fault = kOtherFault;
  current->fault_ = fault;
}

void TransactTry::noteForgotten() {
  if (current != nullptr) current->forgotten_ = true;
}

bool TransactTry::lostAgainstOthers() const {
  return fault_ == kConflictFault || fault_ == kDeadlockFault;
}

}  // namespace qx
