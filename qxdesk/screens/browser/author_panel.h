#pragma once

// What the author's panel of a page shows beside the desk: the events with their answers, the
// statements that the company has run and the new records of the add-on's log. It exists while a
// page shows the panel. What is not fetched in time is bounded: the oldest entries are left out.

#include "qxdesk/screens/browser/log_tail.h"
#include "qxdesk/screens/model/event_source.h"
#include "qxdesk/session/statement_log.h"
#include "qxframework/automation/com_ptr.h"

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace qx::screens {

class StatementCollector;

class AuthorPanel {
 public:
  /// Follows the company library's statement log, if there is one, and the log file.
  AuthorPanel(CComPtr<desk::IStatementLog> statements, std::string logFile);
  ~AuthorPanel();
  AuthorPanel(const AuthorPanel&) = delete;
  AuthorPanel& operator=(const AuthorPanel&) = delete;

  /// Returns the number of the next event.
  std::uint64_t nextEvent() { return ++events_; }
  void add(const Event& event, const EventRecord& record);
  /// Takes up what the log has got since the last call.
  void readLog();
  /// Returns the texts for the pages with all that is new.
  std::vector<std::string> takeTexts();

 private:
  std::uint64_t events_ = 0;
  std::deque<nlohmann::json> list_;
  CComPtr<desk::IStatementLog> statements_;
  CComPtr<StatementCollector> collector_;
  LogTail log_;
  std::string records_;
};

/// Returns the statement log of the company library; null if it is not installed.
CComPtr<desk::IStatementLog> statementLogOfThisProcess();

}  // namespace qx::screens
