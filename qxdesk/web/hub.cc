#include "qxdesk/web/hub.h"

#include <algorithm>
#include <utility>

namespace qx::web {

using boost::system::error_code;

Hub::Hub(boost::asio::io_context& context, Site site, const Limits& limits, Clock clock,
         IWebDesk* desk)
    : site_(std::move(site)),
      limits_(limits),
      clock_(std::move(clock)),
      desk_(desk),
      tick_(context),
      patience_(context) {}

bool Hub::makeRoom() {
  if (stops_) return false;
  if (peers_.size() < limits_.connections) return true;
  const auto oldest = std::ranges::find_if(peers_, [](const Peer* p) { return !p->isPage(); });
  if (oldest == peers_.end()) return false;
  (*oldest)->drop();
  return true;
}

void Hub::enter(Peer& peer) { peers_.push_back(&peer); }

void Hub::leave(Peer& peer) {
  std::erase(peers_, &peer);
  if (stops_ && peers_.empty()) patience_.cancel();
}

PageNumber Hub::open(OpenPage& page) {
  const PageNumber number = ++lastPage_;
  pages_.emplace(number, &page);
  desk_->PageOpened(number);
  startTicks();
  return number;
}

void Hub::said(PageNumber page, const char* text, std::size_t length) {
  desk_->PageSaid(page, text, length);
}

void Hub::closed(PageNumber page) {
  if (pages_.erase(page) != 0) desk_->PageClosed(page);
}

void Hub::send(PageNumber page, const OutgoingText& text) {
  // A page that is sent too much leaves pages_, so the next one is looked up anew.
  for (auto at = page == 0 ? pages_.begin() : pages_.find(page); at != pages_.end();) {
    const PageNumber number = at->first;
    at->second->send(text);
    if (page != 0) return;
    at = pages_.upper_bound(number);
  }
}

void Hub::refuse(PageNumber page) {
  if (const auto at = pages_.find(page); at != pages_.end()) at->second->refuse();
}

void Hub::startTicks() {
  if (ticks_) return;
  ticks_ = true;
  tick_.expires_after(std::chrono::milliseconds(desk::kTickMilliseconds));
  awaitTick();
}

void Hub::awaitTick() {
  tick_.async_wait([this](error_code error) {
    ticks_ = !error && !pages_.empty();
    if (!ticks_) return;
    desk_->Tick();
    tick_.expires_at(tick_.expiry() + std::chrono::milliseconds(desk::kTickMilliseconds));
    awaitTick();
  });
}

void Hub::stop(std::chrono::milliseconds patience, std::function<void()> stopped) {
  if (std::exchange(stops_, true)) return stopped();
  tick_.cancel();
  // A peer can leave while it is asked to finish.
  for (Peer* const peer : std::vector<Peer*>(peers_)) {
    if (std::ranges::find(peers_, peer) != peers_.end()) peer->finish();
  }
  if (peers_.empty()) return stopped();
  patience_.expires_after(patience);
  patience_.async_wait([this, stopped = std::move(stopped)](error_code error) {
    if (!error) dropAll();
    stopped();
  });
}

void Hub::dropAll() {
  tick_.cancel();
  while (!peers_.empty()) peers_.front()->drop();
}

}  // namespace qx::web
