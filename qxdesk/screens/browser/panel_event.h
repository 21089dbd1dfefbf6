#pragma once

// An event of the desk as the author's panel of a page gets it.

#include "qxdesk/screens/model/event_source.h"

#include <nlohmann/json_fwd.hpp>

namespace qx::screens {

/// Returns the entry of the list in docs/web-protocol.md.
nlohmann::json panelEvent(const Event& event, const EventRecord& record);

}  // namespace qx::screens
