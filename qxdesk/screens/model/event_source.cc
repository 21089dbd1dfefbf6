#include "qxdesk/screens/model/event_source.h"

#include <utility>

namespace qx::screens {

std::uint32_t EventSource::attach(std::shared_ptr<EventSink> sink) {
  sinks_.emplace(++lastCookie_, std::move(sink));
  return lastCookie_;
}

bool EventSource::detach(std::uint32_t cookie) { return sinks_.erase(cookie) != 0; }

bool EventSource::raise(const Event& event) {
  return observer_ == nullptr ? deliver(event, nullptr) : raiseObserved(event);
}

bool EventSource::raiseObserved(const Event& event) {
  EventRecord record;
  record.number = observer_->eventBegins();
  if (record.number == 0) return deliver(event, nullptr);
  record.depth = depth_;
  const auto start = std::chrono::steady_clock::now();
  record.veto = !deliver(event, &record);
  record.time = std::chrono::steady_clock::now() - start;
  // A handler may have ended the observation.
  if (observer_ != nullptr) observer_->eventEnded(event, record);
  return !record.veto;
}

bool EventSource::deliver(const Event& event, EventRecord* record) {
  // A handler may raise a further event; the depth goes down again even if delivery ends early.
  struct Depth {
    int& count;
    explicit Depth(int& depth) : count(depth) { ++count; }
    ~Depth() { --count; }
  } inside(depth_);
  // Cookies only grow, so those after `last` belong to sinks that are attached during the event.
  const std::uint32_t last = lastCookie_;
  bool bubble = true;
  for (auto at = sinks_.begin(); at != sinks_.end() && at->first <= last;) {
    const std::uint32_t cookie = at->first;
    const std::shared_ptr<EventSink> sink = at->second;  // keeps a sink that detaches itself
    const bool was = bubble;
    std::chrono::steady_clock::time_point start;
    if (record != nullptr) start = std::chrono::steady_clock::now();
    sink->deliver(event, bubble);
    if (record != nullptr) {
      record->answers.push_back({cookie, std::chrono::steady_clock::now() - start, was && !bubble});
    }
    bubble = bubble && was;
    // The call may have erased any entry, so the iterator is looked up again.
    at = sinks_.upper_bound(cookie);
  }
  return bubble;
}

}  // namespace qx::screens
