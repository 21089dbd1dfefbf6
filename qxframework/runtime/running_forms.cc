#include "qxframework/runtime/running_forms.h"

#include "qxframework/runtime/addon_form.h"

#include <algorithm>

namespace qx {

RunningForms::Call::Call(RunningForms& forms, CQXAddOnForm* form) : forms_(forms), form_(form) {
  forms_.stack_.push_back(form_);
}

// Deletes the form with its outermost call: inner calls of the same form are still on the stack
// then.
RunningForms::Call::~Call() {
  const bool gone = formIsGone();
  forms_.stack_.pop_back();
  // A new form may have the address of the one that is gone.
  if (gone || forms_.isRunning(form_) || std::erase(forms_.ended_, form_) == 0) return;
  delete form_;
}

void RunningForms::Call::leaveToCaller() { std::erase(forms_.ended_, form_); }

void RunningForms::forget(const CQXAddOnForm* form) {
  std::replace(stack_.begin(), stack_.end(), const_cast<CQXAddOnForm*>(form),
               static_cast<CQXAddOnForm*>(nullptr));
  std::erase(ended_, form);
}

bool RunningForms::beginEnd(CQXAddOnForm* form) {
  if (std::find(ended_.begin(), ended_.end(), form) != ended_.end()) return false;
  ended_.push_back(form);
  return true;
}

bool RunningForms::isRunning(const CQXAddOnForm* form) const {
  return std::find(stack_.begin(), stack_.end(), form) != stack_.end();
}

}  // namespace qx
