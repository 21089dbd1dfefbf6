#include "qxdesk/screens/browser/author_panel.h"

#include "qxdesk/screens/browser/page_texts.h"
#include "qxdesk/screens/browser/panel_event.h"
#include "qxframework/automation/class_object.h"
#include "qxframework/automation/com_object.h"
#include "qxframework/automation/text.h"
#include "qxframework/logging/result_names.h"

#include <nlohmann/json.hpp>

#include <mutex>
#include <utility>

namespace qx::screens {
namespace {

using nlohmann::json;

constexpr std::size_t kMostEntries = 1000;
// Of one text, so that a slow page gets them in pieces.
constexpr std::size_t kEntriesPerText = 100;
constexpr std::size_t kMostLogBytes = 64 * 1024;

void addBounded(std::deque<json>& list, json entry) {
  if (list.size() == kMostEntries) list.pop_front();
  list.push_back(std::move(entry));
}

template <class Write>
void takeLists(std::deque<json>& list, std::vector<std::string>& out, Write write) {
  while (!list.empty()) {
    json part = json::array();
    while (!list.empty() && part.size() < kEntriesPerText) {
      part.push_back(std::move(list.front()));
      list.pop_front();
    }
    out.push_back(write(part));
  }
}

json statementEntry(std::uint64_t number, const desk::StatementReport& report) {
  json out = json::object();
  out["number"] = number;
  out["text"] = std::string(report.text, report.length);
  out["rows"] = report.rows;
  out["microseconds"] = report.microseconds;
  const auto code = static_cast<HRESULT>(report.code);
  out["error"] = code == S_OK ? std::string() : toUtf8(resultText(code));
  return out;
}

}  // namespace

// Called on the thread of a statement, which need not be the desk's.
class StatementCollector final : public ComObject<desk::IStatementListener> {
 public:
  void StatementRan(const desk::StatementReport& report) noexcept override {
    guarded([&] {
      const std::lock_guard lock(mutex_);
      addBounded(list_, statementEntry(++number_, report));
    });
  }
  std::deque<json> take() {
    const std::lock_guard lock(mutex_);
    return std::exchange(list_, {});
  }

 private:
  std::mutex mutex_;
  std::uint64_t number_ = 0;
  std::deque<json> list_;
};

AuthorPanel::AuthorPanel(CComPtr<desk::IStatementLog> statements, std::string logFile)
    : statements_(std::move(statements)),
      collector_(makeObject<StatementCollector>()),
      log_(std::move(logFile)) {
  if (statements_ != nullptr) statements_->Attach(collector_);
}

AuthorPanel::~AuthorPanel() {
  if (statements_ != nullptr) statements_->Detach(collector_);
}

void AuthorPanel::add(const Event& event, const EventRecord& record) {
  addBounded(list_, panelEvent(event, record));
}

void AuthorPanel::readLog() {
  // What the pages have not got yet limits what is read; the rest stays in the file.
  if (records_.size() < kMostLogBytes) records_ += log_.read(kMostLogBytes - records_.size());
}

std::vector<std::string> AuthorPanel::takeTexts() {
  std::vector<std::string> out;
  takeLists(list_, out, eventsText);
  std::deque<json> statements = collector_->take();
  takeLists(statements, out, statementsText);
  if (!records_.empty()) out.push_back(logText(std::exchange(records_, {})));
  return out;
}

CComPtr<desk::IStatementLog> statementLogOfThisProcess() {
  CComPtr<desk::IStatementLog> log;
  // Without the company library there are no statements either.
  createInstance(desk::kStatementLogClass, CLSCTX_ALL, &log.p);
  return log;
}

}  // namespace qx::screens
