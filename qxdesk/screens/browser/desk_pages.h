#pragma once

// Binds a desk to the pages that browsers have open: carries out what they ask for and sends them
// what changes. All of it runs on the desk's thread; PageTraffic is what the server's thread sees.
//
// The model does not report its changes one by one. What can change it are the add-on's calls, the
// events and the actions of a user, and the ends of these mark the desk as touched. The state is
// then built and compared once, in a turn of the message loop; with no page open nothing is marked
// and no state is built. While a handler runs, the turn does not come. So what a handler shows to
// the user meanwhile (the status bar, an update of a form, a message box) is published at once.

#include "qxdesk/screens/browser/author_panel.h"
#include "qxdesk/screens/browser/desk_state.h"
#include "qxdesk/screens/browser/page_actions.h"
#include "qxdesk/screens/browser/page_message.h"
#include "qxdesk/screens/browser/page_traffic.h"
#include "qxdesk/screens/model/desk.h"
#include "qxdesk/session/call_gate.h"
#include "qxdesk/session/web_server.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/os/message_loop.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string_view>

namespace qx::screens {

class DeskPages final : private EventObserver, private desk::CallWatcher {
 public:
  /// Returns what keeps the desk and this object alive during a turn; null if they are ending.
  using Keep = std::function<std::shared_ptr<void>()>;

  /// Answers the desk's message boxes that have no other answer, from now on.
  DeskPages(Desk& desk, CComPtr<desk::IWebServer> server, Keep keep);
  ~DeskPages();
  DeskPages(const DeskPages&) = delete;
  DeskPages& operator=(const DeskPages&) = delete;

  /// Returns the object for IWebServer::Start.
  desk::IWebDesk* receiver() const { return traffic_; }
  /// Says goodbye to the pages and stops the server; a second call does nothing. Happens by itself
  /// when the client ends, after the reply to a page that has ended it.
  void end(std::string_view why);

 private:
  std::uint64_t eventBegins() noexcept override;
  void eventEnded(const Event& event, const EventRecord& record) noexcept override;
  void callEnded() noexcept override { touch(); }

  void serve(PageTurn turn);
  void servePages();
  void serveText();
  void act(PageNumber page, const PageMessage& message);
  void reply(PageNumber page, const PageMessage& message, const PageOutcome& outcome);
  /// Serves what is served also while a message box is open. Returns false for other messages.
  bool serveAlways(PageNumber page, const PageMessage& message);

  void attach();
  void detach();
  void touch() noexcept;
  void endTurn();
  void publish();
  void showNow();
  void stopped();

  std::optional<long> askPages(const MessageBoxCall& call);
  std::optional<PageText> waitForAnswer(const OpenBox& box, PageMessage& answer);
  std::optional<PageMessage> answerIn(const PageText& text, const OpenBox& box);

  void showPanel(PageNumber page, bool shown);
  void sendPanel();

  Desk& desk_;
  Keep keep_;
  TaskQueue queue_;
  CComPtr<PageTraffic> traffic_;
  bool attached_ = false;
  bool touched_ = false;
  bool turnPosted_ = false;
  std::optional<std::chrono::steady_clock::time_point> shownAt_;  // of the last showNow()
  int acting_ = 0;          // the actions of pages that are being performed
  bool stopAsked_ = false;  // the client has ended during one of them
  const OpenBox* box_ = nullptr;
  long boxes_ = 0;
  std::set<PageNumber> panelPages_;
  std::unique_ptr<AuthorPanel> panel_;  // while a page shows it
};

}  // namespace qx::screens
