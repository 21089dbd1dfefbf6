#pragma once

// The connections and open pages of a server, and the way from them to the desk. All of it belongs
// to the server's thread.

#include "qxdesk/session/web_server.h"
#include "qxdesk/web/service_settings.h"
#include "qxdesk/web/site.h"
#include "qxframework/automation/com_ptr.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace qx::web {

using desk::IWebDesk;
using desk::PageNumber;

/// A text on its way to pages, shared by all of them.
using OutgoingText = std::shared_ptr<const std::string>;

/// A connection, as the hub sees it.
class Peer {
 public:
  /// True for a page, which is never ended in favour of a new connection.
  virtual bool isPage() const = 0;
  /// Ends the connection at once and leaves the hub.
  virtual void drop() = 0;
  /// Sends what is queued, then ends the connection.
  virtual void finish() = 0;

 protected:
  ~Peer() = default;
};

/// A page that has its socket.
class OpenPage {
 public:
  virtual void send(OutgoingText text) = 0;
  /// Closes the page since it has broken the rules of its texts.
  virtual void refuse() = 0;

 protected:
  ~OpenPage() = default;
};

class Hub {
 public:
  Hub(boost::asio::io_context& context, Site site, const Limits& limits, Clock clock,
      IWebDesk* desk);

  const Site& site() const { return site_; }
  const Limits& limits() const { return limits_; }
  std::chrono::steady_clock::time_point now() const { return clock_(); }

  /// Makes room for one more connection: at the limit, it ends the oldest one that is not a page.
  /// So a program that opens connections and keeps them does not keep the user out. Returns false
  /// if there is none, and after the server has begun to stop.
  bool makeRoom();
  void enter(Peer& peer);
  /// Does nothing for a peer that has left.
  void leave(Peer& peer);

  bool isFull() const { return pages_.size() >= limits_.pages; }
  PageNumber open(OpenPage& page);
  void said(PageNumber page, const char* text, std::size_t length);
  void closed(PageNumber page);

  /// Sends to a page, or to all if `page` is 0.
  void send(PageNumber page, const OutgoingText& text);
  void refuse(PageNumber page);

  /// Ends all connections, after `patience` at the latest, and calls `stopped` then. A second call
  /// only calls it.
  void stop(
      std::chrono::milliseconds patience, std::function<void()> stopped = [] {});
  /// Lets the desk say its last words.
  void processEnds() { desk_->ProcessEnds(); }
  void dropAll();

 private:
  void startTicks();
  void awaitTick();

  Site site_;
  Limits limits_;
  Clock clock_;
  CComPtr<IWebDesk> desk_;
  std::vector<Peer*> peers_;  // the oldest first
  std::map<PageNumber, OpenPage*> pages_;
  PageNumber lastPage_ = 0;
  bool stops_ = false;
  boost::asio::steady_timer tick_;
  bool ticks_ = false;
  boost::asio::steady_timer patience_;
};

}  // namespace qx::web
