#pragma once

// One line for each event of a client, such as "item 1 ORDERS_1 226 before", for tests that compare
// the events of two runs.

#include "qxframework/host/application.h"

#include <functional>
#include <string>

namespace qx::test {

/// Attaches a sink to the client that passes each event as a line to `take` and vetoes nothing. The
/// client calls `take` until it ends, which may be at the end of the process. Attached before the
/// add-ons, the sink also gets the events that they veto. Throws _com_error if the client refuses.
void listEvents(IApplication* application, std::function<void(const std::string& line)> take);

}  // namespace qx::test
