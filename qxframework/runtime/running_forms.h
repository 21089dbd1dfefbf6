#pragma once

#include <vector>

class CQXAddOnForm;

namespace qx {

/// The forms whose operations are running now. A form that closes itself in one of its operations
/// gets its unload event inside that operation, so it must not be deleted before its last call has
/// returned.
class RunningForms {
 public:
  RunningForms() = default;
  RunningForms(const RunningForms&) = delete;
  RunningForms& operator=(const RunningForms&) = delete;

  /// Marks a call into a form while this object lives.
  class Call {
   public:
    Call(RunningForms& forms, CQXAddOnForm* form);
    ~Call();
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    /// Returns true if the form object has been destroyed during the call. Only the innermost call
    /// may be asked.
    bool formIsGone() const { return forms_.stack_.back() == nullptr; }
    /// Keeps the form from being deleted at the end of the call, for a caller that deletes it.
    void leaveToCaller();

   private:
    RunningForms& forms_;
    CQXAddOnForm* form_;
  };

  /// Begins the end of a form that has a running call: the form is deleted when its last call
  /// returns. Returns false if its end has begun already.
  bool beginEnd(CQXAddOnForm* form);
  /// Called when a form object is destroyed.
  void forget(const CQXAddOnForm* form);

 private:
  bool isRunning(const CQXAddOnForm* form) const;

  std::vector<CQXAddOnForm*> stack_;  // of the running calls; null for a destroyed form
  std::vector<CQXAddOnForm*> ended_;
};

}  // namespace qx
