#pragma once

namespace qx::screens {

/// A place in a text. Line and column count from 1; 0 means that the place is unknown.
struct Place {
  long line = 0;
  long column = 0;
};

}  // namespace qx::screens
