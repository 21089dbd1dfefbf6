#pragma once

// Reports the statements of all company objects of this process to the listeners of the statement
// log.

#include "qxdesk/session/statement_log.h"
#include "qxframework/automation/com_ptr.h"

#include <atomic>
#include <chrono>
#include <mutex>
#include <string_view>
#include <vector>

namespace qx::desk {

class StatementReports {
 public:
  static StatementReports& instance();

  /// False if a report would reach no listener.
  bool wanted() const { return wanted_.load(std::memory_order_relaxed); }
  /// Reports the whole text of a statement in UTF-8; what is too much or secret is left out.
  void report(std::string_view utf8, long rows, std::chrono::steady_clock::duration time,
              long code);

  void attach(IStatementListener* listener);
  /// Returns false if it is not attached.
  bool detach(IStatementListener* listener);

 private:
  std::atomic<bool> wanted_{false};
  std::mutex mutex_;
  std::vector<CComPtr<IStatementListener>> listeners_;
};

/// Returns an object that attaches listeners to instance().
CComPtr<IStatementLog> makeStatementLog();

}  // namespace qx::desk
