#include "qxdesk/screens/browser/page_traffic.h"

#include "qxdesk/screens/browser/page_texts.h"
#include "qxdesk/screens/browser/state_difference.h"
#include "qxframework/os/clock.h"

#include <nlohmann/json.hpp>

#include <utility>

namespace qx::screens {
namespace {

// More than a person causes before the desk has served it, also by typing into a busy add-on.
constexpr std::size_t kMostWaiting = 256;
// The ticks after which an unanswered beat means a busy add-on: half a second.
constexpr int kBusyTicks = 2;
// With a page open there is no limit; a long one serves the clock's interface.
constexpr std::chrono::hours kLong{1};
constexpr auto kNever = std::chrono::steady_clock::time_point::max();

}  // namespace

PageTraffic::PageTraffic(CComPtr<desk::IWebServer> server, Turn turn)
    : queue_(TaskQueue::ofThisThread()),
      turn_(std::move(turn)),
      server_(std::move(server)),
      state_(std::make_unique<nlohmann::json>(nlohmann::json::object())) {}

PageTraffic::~PageTraffic() = default;

void PageTraffic::PageOpened(PageNumber page) noexcept {
  guarded([&] {
    const std::lock_guard lock(mutex_);
    if (ended_) return;
    pages_.try_emplace(page);
    if (stateText_.empty()) stateText_ = stateText(number_, *state_);
    sendLocked(page, stateText_);
    if (busy_) sendLocked(page, busyText(true));
    wake();
    post(PageTurn::kPages);
  });
}

void PageTraffic::PageSaid(PageNumber page, const char* text, std::size_t length) noexcept {
  guarded([&] {
    const std::lock_guard lock(mutex_);
    const auto found = pages_.find(page);
    if (ended_ || found == pages_.end()) return;
    if (found->second.waiting >= kMostWaiting) {
      dropLocked(page);
      server_->ClosePage(page);
      return;
    }
    texts_.push_back({page, std::string(text, length)});
    ++found->second.waiting;
    wake();
    post(PageTurn::kText);
  });
}

void PageTraffic::PageClosed(PageNumber page) noexcept {
  guarded([&] {
    const std::lock_guard lock(mutex_);
    if (!ended_) dropLocked(page);
  });
}

void PageTraffic::Tick() noexcept {
  guarded([&] {
    const std::lock_guard lock(mutex_);
    if (ended_ || atRest_) return;
    if (!beatPosted_) {
      beatPosted_ = true;
      ticksSinceBeat_ = 0;
      post(PageTurn::kBeat);
    } else if (++ticksSinceBeat_ == kBusyTicks) {
      setBusyLocked(true);
    }
  });
}

void PageTraffic::ProcessEnds() noexcept {
  guarded([&] {
    const std::lock_guard lock(mutex_);
    sendLocked(0, byeText("The add-on was ended by a signal."));
  });
}

void PageTraffic::setBusyLocked(bool busy) {
  if (std::exchange(busy_, busy) != busy) sendToAllLocked(busyText(busy));
}

// The texts of a page that is gone are not served.
void PageTraffic::dropLocked(PageNumber page) {
  if (pages_.erase(page) == 0) return;
  std::erase_if(texts_, [&](const PageText& text) { return text.page == page; });
  wake();
  post(PageTurn::kPages);
}

void PageTraffic::wake() {
  if (!waiter_) return;
  waiter_->set_value();
  waiter_.reset();
}

void PageTraffic::post(PageTurn turn) {
  queue_.post([self = CComPtr<PageTraffic>(this), turn] { self->runTurn(turn); });
}

void PageTraffic::runTurn(PageTurn turn) {
  if (turn == PageTurn::kBeat) {
    const std::lock_guard lock(mutex_);
    beatPosted_ = false;
    setBusyLocked(false);
  }
  // A copy, since the turn may end the client and with it the function. An exception would end the
  // add-on's message loop.
  if (const Turn run = turn_) guarded([&] { run(turn); });
}

bool PageTraffic::hasPages() const {
  const std::lock_guard lock(mutex_);
  return !pages_.empty();
}

bool PageTraffic::isOpen(PageNumber page) const {
  const std::lock_guard lock(mutex_);
  return pages_.contains(page);
}

std::optional<PageText> PageTraffic::take() {
  const std::lock_guard lock(mutex_);
  return takeLocked();
}

std::optional<PageText> PageTraffic::takeLocked() {
  if (texts_.empty()) return std::nullopt;
  PageText out = std::move(texts_.front());
  texts_.pop_front();
  --pages_.at(out.page).waiting;
  return out;
}

// The time for which no page is open begins anew with each one that closes as the last.
bool PageTraffic::isOver(TimePoint& deadline, std::chrono::milliseconds patience) const {
  if (!pages_.empty()) {
    deadline = kNever;
    return false;
  }
  const auto now = currentClock().monotonic();
  if (deadline == kNever) deadline = now + patience;
  return now >= deadline;
}

std::optional<PageText> PageTraffic::wait(std::chrono::milliseconds patience) {
  TimePoint deadline = kNever;
  std::unique_lock lock(mutex_);
  atRest_ = true;
  setBusyLocked(false);
  std::optional<PageText> out;
  while (!(out = takeLocked()) && !isOver(deadline, patience)) {
    waiter_.emplace();
    const std::future<void> woken = waiter_->get_future();
    const std::chrono::milliseconds limit =
        deadline == kNever
            ? std::chrono::milliseconds(kLong)
            : std::chrono::ceil<std::chrono::milliseconds>(deadline - currentClock().monotonic());
    lock.unlock();
    currentClock().waitFor(woken, limit);
    lock.lock();
    waiter_.reset();
  }
  atRest_ = false;
  ticksSinceBeat_ = 0;
  return out;
}

void PageTraffic::publish(nlohmann::json state) {
  // Compared without the lock, so that the server's thread does not wait for it.
  const nlohmann::json operations = differenceOf(*state_, state);
  if (operations.empty()) return;
  const std::string text = patchText(number_ + 1, operations);
  const std::lock_guard lock(mutex_);
  *state_ = std::move(state);
  stateText_.clear();
  ++number_;
  sendToAllLocked(text);
}

void PageTraffic::sendLocked(PageNumber page, std::string_view text) {
  if (!ended_) server_->Send(page, text.data(), text.size());
}

// One by one: the server may know a page that has not got its state yet.
void PageTraffic::sendToAllLocked(std::string_view text) {
  for (const auto& [page, ignored] : pages_) sendLocked(page, text);
}

void PageTraffic::send(PageNumber page, std::string_view text) {
  const std::lock_guard lock(mutex_);
  sendLocked(page, text);
}

void PageTraffic::close(PageNumber page) {
  const std::lock_guard lock(mutex_);
  if (ended_) return;
  dropLocked(page);
  server_->ClosePage(page);
}

void PageTraffic::end(std::string_view why) {
  CComPtr<desk::IWebServer> server;
  {
    const std::lock_guard lock(mutex_);
    if (ended_) return;
    sendLocked(0, byeText(why));
    ended_ = true;
    pages_.clear();
    texts_.clear();
    server = server_;
  }
  // Without the lock: the server's thread may be waiting for it in a call.
  server->Stop();
  turn_ = nullptr;
  const std::lock_guard lock(mutex_);
  server_ = nullptr;
}

}  // namespace qx::screens
