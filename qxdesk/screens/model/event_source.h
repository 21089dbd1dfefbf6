#pragma once

// Where the client's events leave it. Raising an event is an ordinary call on the client's one
// thread: every sink gets it in the order of attachment, and the answer is there when the call
// returns. A sink may attach and detach sinks, itself included, while it handles an event.

#include "qxdesk/screens/model/desk_events.h"

#include <cstdint>
#include <map>
#include <memory>

namespace qx::screens {

/// Whoever listens: an add-on in this process or, over a wire, in another one.
class EventSink {
 public:
  virtual ~EventSink() = default;
  /// `bubble` comes in as the sinks before have left it; false objects to the action. Must not
  /// raise: a sink that fails has no objection.
  virtual void deliver(const Event& event, bool& bubble) noexcept = 0;
};

class EventSource {
 public:
  /// The cookie is never 0 and not used twice.
  std::uint32_t attach(std::shared_ptr<EventSink> sink);
  /// False for an unknown cookie.
  bool detach(std::uint32_t cookie);
  /// False when a sink objects; a later one cannot take that back. A sink that is attached
  /// meanwhile does not get this event, one that is detached meanwhile gets it no more.
  bool raise(const Event& event);
  /// How many events are being delivered, one inside the other.
  int depth() const { return depth_; }
  std::size_t sinkCount() const { return sinks_.size(); }

 private:
  std::map<std::uint32_t, std::shared_ptr<EventSink>> sinks_;
  std::uint32_t lastCookie_ = 0;
  int depth_ = 0;
};

}  // namespace qx::screens
