#include "qxdesk/company/statement_reports.h"

#include "qxdesk/session/database_name.h"
#include "qxframework/automation/com_object.h"

#include <algorithm>
#include <string>

namespace qx::desk {
namespace {

// Cuts before a character and not within it.
std::string_view excerptOf(std::string_view utf8) {
  if (utf8.size() <= kStatementExcerpt) return utf8;
  std::size_t end = kStatementExcerpt;
  while (end > 0 && (static_cast<unsigned char>(utf8[end]) & 0xC0) == 0x80) --end;
  return utf8.substr(0, end);
}

class StatementLog final : public ComObject<IStatementLog> {
 public:
  HRESULT Attach(IStatementListener* listener) override {
    if (listener == nullptr) return E_POINTER;
    return guarded([&] { StatementReports::instance().attach(listener); });
  }
  HRESULT Detach(IStatementListener* listener) override {
    return StatementReports::instance().detach(listener) ? S_OK : E_INVALIDARG;
  }
};

}  // namespace

StatementReports& StatementReports::instance() {
  static StatementReports reports;
  return reports;
}

void StatementReports::report(std::string_view utf8, long rows,
                              std::chrono::steady_clock::duration time, long code) {
  // A statement may hold a connection string.
  std::string text = databaseName(excerptOf(utf8));
  text.resize(excerptOf(text).size());  // a mask may be longer than what it hides
  StatementReport report;
  report.text = text.data();
  report.length = text.size();
  report.rows = rows;
  report.microseconds = std::chrono::duration_cast<std::chrono::microseconds>(time).count();
  report.code = code;
  // A copy, since a listener may detach itself.
  std::vector<CComPtr<IStatementListener>> listeners;
  {
    const std::lock_guard lock(mutex_);
    listeners = listeners_;
  }
  for (const auto& listener : listeners) listener->StatementRan(report);
}

void StatementReports::attach(IStatementListener* listener) {
  const std::lock_guard lock(mutex_);
  listeners_.emplace_back(listener);
  wanted_.store(true, std::memory_order_relaxed);
}

bool StatementReports::detach(IStatementListener* listener) {
  const std::lock_guard lock(mutex_);
  const auto at = std::find_if(listeners_.begin(), listeners_.end(),
                               [&](const auto& each) { return each.p == listener; });
  if (at == listeners_.end()) return false;
  listeners_.erase(at);
  wanted_.store(!listeners_.empty(), std::memory_order_relaxed);
  return true;
}

CComPtr<IStatementLog> makeStatementLog() { return makeObject<StatementLog>(); }

}  // namespace qx::desk
