#pragma once

// The desk as the page of a browser gets it: one JSON object, as docs/web-protocol.md describes it.

#include "qxdesk/screens/model/desk.h"

#include <nlohmann/json_fwd.hpp>

namespace qx::screens {

/// A message box that waits for its answer. Boxes count from 1.
struct OpenBox {
  long number = 0;
  MessageBoxCall call;
};

/// Returns the state. `box` is null if none is open. `former` is the state before, or null: a form
/// that is frozen keeps the part that it has there.
nlohmann::json stateOf(const Desk& desk, const OpenBox* box, const nlohmann::json* former);

/// Returns the rows `from` to `from + count - 1` of a matrix as far as there are any, each with its
/// cells, in the order of the columns, and its selection.
nlohmann::json rowsOf(const MatrixModel& matrix, long from, long count);

}  // namespace qx::screens
