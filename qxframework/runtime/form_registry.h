#pragma once

// The forms of an add-on that get events, each under the unique id of its host form. The registry
// does not own them, with one exception: a form whose host form has been unloaded is deleted.
//
// The add-on's only thread works with forms; the lock guards the map, as other threads may ask for
// the selected form. It is never held across a call into a form.

#include "qxframework/automation/bstr.h"
#include "qxframework/runtime/critical_section.h"
#include "qxframework/runtime/running_forms.h"

#include <map>
#include <optional>
#include <utility>

class CQXAddOnForm;

namespace qx {

/// Orders texts by their units, for keys that must match exactly.
struct ExactOrder {
  bool operator()(const CComBSTR& a, const CComBSTR& b) const { return a.View() < b.View(); }
};

using FormMap = std::map<CComBSTR, CQXAddOnForm*, ExactOrder>;

/// Exported for the inline destructor of the sink that holds it.
class QX_API FormRegistry {
 public:
  /// Works on a map and a lock that belong to the caller.
  FormRegistry(CriticalSection& lock, FormMap& forms);
  ~FormRegistry();
  FormRegistry(const FormRegistry&) = delete;
  FormRegistry& operator=(const FormRegistry&) = delete;

  /// Adds a form. If another form has the same UID, that one stays and `form` is not added.
  void add(const CComBSTR& uid, CQXAddOnForm* form);
  /// Returns the form of a UID, which may be null, or nothing if the UID is not registered.
  std::optional<CQXAddOnForm*> find(const CComBSTR& uid) const;
  /// Calls `visit` with each UID in order.
  template <class Visit>
  void forEachUid(Visit&& visit) const {
    const CriticalSectionLock lock(lock_);
    for (const auto& [uid, form] : forms_) visit(uid);
  }

  /// The calls into forms that are running now. A caller of a form that may close itself opens a
  /// RunningForms::Call there, so that the form outlives the call.
  RunningForms& running() { return running_; }

  /// Ends a form whose host form has been unloaded: calls `unload`, then takes the form out. It is
  /// deleted when its last running call has returned. Does nothing if its end has begun already,
  /// which happens when the form closes itself in one of its operations.
  template <class Unload>
  void end(CQXAddOnForm* form, Unload&& unload) {
    if (!running_.beginEnd(form)) return;
    std::forward<Unload>(unload)();
    remove(form);
  }
  /// Takes all forms out of the map at the end of the run. They get no more events and nothing
  /// deletes them, but they stay reachable, so that a leak check does not report them.
  void leaveOpen();

  /// Takes a form object that is being destroyed out of all registries of the process.
  static void forgetEverywhere(const CQXAddOnForm* form);

 private:
  void remove(const CQXAddOnForm* form);

  CriticalSection& lock_;
  FormMap& forms_;
  FormMap leftOpen_;
  RunningForms running_;
};

}  // namespace qx
