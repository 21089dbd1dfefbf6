#pragma once

// What passes between the server's thread and the desk's: the pages that are open, what they have
// said and the desk has not yet served, and the last state of the desk, which a page that opens
// gets at once, however busy the desk's thread is.
//
// One lock guards all of it, also while a text is handed to the server: so the numbers of the texts
// reach a page in their order. The server must not call IWebDesk under a lock that its Send takes.

#include "qxdesk/session/web_server.h"
#include "qxframework/automation/com_object.h"
#include "qxframework/os/message_loop.h"

#include <nlohmann/json_fwd.hpp>

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace qx::screens {

using desk::PageNumber;

/// A text of a page.
struct PageText {
  PageNumber page = 0;
  std::string text;
};

/// Why the desk's thread gets a turn.
enum class PageTurn {
  kText,   ///< a page has said something; there is one turn for each text
  kPages,  ///< a page has opened or closed
  kBeat,   ///< comes regularly while a page is open, and shows that the thread is not busy
};

class PageTraffic final : public ComObject<desk::IWebDesk> {
 public:
  /// Runs on the thread that makes this object, which is the desk's, in its message loop.
  using Turn = std::function<void(PageTurn)>;

  /// `turn` is not called after end().
  PageTraffic(CComPtr<desk::IWebServer> server, Turn turn);
  ~PageTraffic() override;

  // On the server's thread.
  void PageOpened(PageNumber page) noexcept override;
  void PageSaid(PageNumber page, const char* text, std::size_t length) noexcept override;
  void PageClosed(PageNumber page) noexcept override;
  void Tick() noexcept override;
  void ProcessEnds() noexcept override;

  // On the desk's thread.
  bool hasPages() const;
  bool isOpen(PageNumber page) const;
  /// Returns the text that waits longest, if there is one.
  std::optional<PageText> take();
  /// Does the same, but waits for a text. The pages do not count the desk as busy meanwhile.
  /// Returns nothing if no page is open for `patience`.
  std::optional<PageText> wait(std::chrono::milliseconds patience);
  /// Keeps the state and sends the difference from the one before to all pages.
  void publish(nlohmann::json state);
  /// Returns the state of the last publish(). Only the desk's thread changes it.
  const nlohmann::json& state() const { return *state_; }
  /// Sends a text to a page.
  void send(PageNumber page, std::string_view text);
  /// Closes a page that breaks the rules.
  void close(PageNumber page);
  /// Says goodbye to all pages and stops the server. A second call does nothing.
  void end(std::string_view why);

 private:
  struct Page {
    std::size_t waiting = 0;  // texts that have not been taken
  };
  void post(PageTurn turn);
  void runTurn(PageTurn turn);
  void wake();
  void dropLocked(PageNumber page);
  std::optional<PageText> takeLocked();
  void setBusyLocked(bool busy);
  void sendLocked(PageNumber page, std::string_view text);
  void sendToAllLocked(std::string_view text);
  using TimePoint = std::chrono::steady_clock::time_point;
  bool isOver(TimePoint& deadline, std::chrono::milliseconds patience) const;

  const TaskQueue queue_;
  Turn turn_;

  mutable std::mutex mutex_;
  CComPtr<desk::IWebServer> server_;
  std::map<PageNumber, Page> pages_;
  std::deque<PageText> texts_;
  std::unique_ptr<nlohmann::json> state_;  // written under the lock
  std::string stateText_;                  // of state_, empty until a page needs it
  std::uint64_t number_ = 0;
  std::optional<std::promise<void>> waiter_;  // set while the desk's thread waits
  bool atRest_ = false;                       // the desk's thread is in wait()
  bool beatPosted_ = false;
  int ticksSinceBeat_ = 0;
  bool busy_ = false;
  bool ended_ = false;
};

}  // namespace qx::screens
