#pragma once

// Delivers the events of the desk to its sinks. Raising an event is an ordinary call on the desk's
// thread: the sinks get the event in the order of attachment, and the answer is known when the call
// returns. A sink may attach and detach sinks, itself included, while it handles an event.

#include "qxdesk/screens/model/desk_events.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

namespace qx::screens {

/// Receives events.
class EventSink {
 public:
  virtual ~EventSink() = default;
  /// Handles an event. `bubble` comes in as the sinks before left it; a sink vetoes by setting it
  /// to false. Must not throw: a sink that fails does not veto.
  virtual void deliver(const Event& event, bool& bubble) noexcept = 0;
};

/// The delivery of one event, as an observer learns it.
struct EventRecord {
  struct Answer {
    std::uint32_t sink = 0;  ///< its cookie
    std::chrono::nanoseconds time{};
    bool veto = false;  ///< this sink has vetoed
  };
  std::uint64_t number = 0;  ///< of the observer's own choice
  int depth = 0;             ///< the events around it
  std::chrono::nanoseconds time{};
  bool veto = false;
  std::vector<Answer> answers;  ///< in the order of delivery
};

/// Follows the events of a desk.
class EventObserver {
 public:
  /// Called before an event is delivered. Returns the number for its record, or 0 if no record is
  /// wanted.
  virtual std::uint64_t eventBegins() noexcept = 0;
  /// Called after the delivery of an event whose record is wanted.
  virtual void eventEnded(const Event& event, const EventRecord& record) noexcept = 0;

 protected:
  ~EventObserver() = default;
};

class EventSource {
 public:
  /// Returns a cookie for detach(), never 0 and never used twice.
  std::uint32_t attach(std::shared_ptr<EventSink> sink);
  /// Returns false for an unknown cookie.
  bool detach(std::uint32_t cookie);
  /// Returns false if a sink vetoes; a later sink cannot take the veto back. A sink that is
  /// attached during the event does not get it; one that is detached before its turn does not get
  /// it either.
  bool raise(const Event& event);
  /// The number of events that are being delivered, one inside the other.
  int depth() const { return depth_; }
  std::size_t sinkCount() const { return sinks_.size(); }
  /// Sets who follows the events; null for no one. It must live until another one is set.
  void setObserver(EventObserver* observer) { observer_ = observer; }

 private:
  bool deliver(const Event& event, EventRecord* record);
  bool raiseObserved(const Event& event);

  std::map<std::uint32_t, std::shared_ptr<EventSink>> sinks_;
  std::uint32_t lastCookie_ = 0;
  int depth_ = 0;
  EventObserver* observer_ = nullptr;
};

}  // namespace qx::screens
