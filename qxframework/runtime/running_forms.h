#pragma once

#include <vector>

class CQXAddOnForm;

namespace qx {

/// Forms that have a call on the stack. A form that closes itself in one of its operations gets its
/// unload event nested in that very call; it is deleted when its last call has returned.
class RunningForms {
 public:
  RunningForms() = default;
  RunningForms(const RunningForms&) = delete;
  RunningForms& operator=(const RunningForms&) = delete;

  /// A call into a form, for as long as this object lives.
  class Call {
   public:
    Call(RunningForms& forms, CQXAddOnForm* form);
    ~Call();
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

   private:
    RunningForms& forms_;
    CQXAddOnForm* form_;
  };

  /// The end of a form that has a call on the stack: it is deleted with its last call. False when
  /// its end has begun already.
  bool beginEnd(CQXAddOnForm* form);

 private:
  bool isRunning(const CQXAddOnForm* form) const;

  std::vector<CQXAddOnForm*> stack_;
  std::vector<CQXAddOnForm*> ended_;
};

}  // namespace qx
