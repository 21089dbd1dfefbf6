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

   private:
    RunningForms& forms_;
    CQXAddOnForm* form_;
  };

  /// Begins the end of a form that has a running call: the form is deleted when its last call
  /// returns. Returns false if its end has begun already.
  bool beginEnd(CQXAddOnForm* form);

 private:
  bool isRunning(const CQXAddOnForm* form) const;

  std::vector<CQXAddOnForm*> stack_;
  std::vector<CQXAddOnForm*> ended_;
};

}  // namespace qx
