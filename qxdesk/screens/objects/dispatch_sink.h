#pragma once

// Delivers events to an add-on's sink: one dispatch call per event, with the arguments in reverse
// order and the veto as a reference to a flag.

#include "qxdesk/screens/model/event_source.h"
#include "qxframework/automation/com_ptr.h"

#include <utility>

namespace qx::screens {

class DispatchSink final : public EventSink {
 public:
  explicit DispatchSink(CComPtr<IDispatch> sink) : sink_(std::move(sink)) {}
  /// A sink that fails or throws does not veto.
  void deliver(const Event& event, bool& bubble) noexcept override;

 private:
  CComPtr<IDispatch> sink_;
};

}  // namespace qx::screens
