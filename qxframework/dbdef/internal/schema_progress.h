#pragma once

// The progress of a schema run on the host's status bar. The client has one progress bar, which
// another add-on may hold, so a run waits for it.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_ptr.h"

#include <functional>

class IApplication;
class IProgressBar;

namespace qx::dbdef {

/// The result of a wait that came to its end.
inline constexpr long kWaitTimeout = 0x102;

/// Tells the user that a run waits. `minutesLeft` is rounded up; `ownBar` is true if the object's
/// own bar, which an earlier run has left, is the one that is waited for. Must not throw.
using WaitNotice = std::function<void(long minutesLeft, bool ownBar)>;

/// Works on the bar and the counter of a CQXDbDef, which outlives it. The log has its operations
/// under the names of those of CQXDbDef.
class SchemaProgress {
 public:
  SchemaProgress(IApplication* application, long logId, CComPtr<IProgressBar>& bar, long& value);

  /// Gets a bar and returns 0. While there is none, calls `notice` and tries again every 30
  /// seconds. Returns kWaitTimeout if the last try, after `minutes`, fails too. A bar that this
  /// object holds already is not freed for it, so that such a wait always lasts to its end.
  long waitForBar(long minutes, const CComBSTR& title, long maximum, const WaitNotice& notice);
  /// Tries once to get a bar, and sets it and the counter to 0. Returns 0 or E_FAIL; does not
  /// throw.
  long createBar(const CComBSTR& title, long maximum);
  /// Counts one step. Shows the text and the count if there is a bar; throws the _com_error of a
  /// bar that fails.
  void show(const CComBSTR& text);
  /// Stops the bar and sets the counter to 0. Releases the bar even if the host fails to stop it.
  void stop();

 private:
  IApplication* application_;
  long logId_;
  CComPtr<IProgressBar>& bar_;
  long& value_;
};

}  // namespace qx::dbdef
