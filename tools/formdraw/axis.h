#pragma once

// The scale of one direction of a drawing: pixels to cells of text. Text in cells takes more room
// than on the screen, so intervals that are too narrow for their text are widened, and everything
// behind them moves along. The order of edges is kept.

#include <map>
#include <vector>

namespace qx::formdraw {

class Axis {
 public:
  explicit Axis(long pixelsPerCell) : pixelsPerCell_(pixelsPerCell) {}

  /// Adds an interval that takes at least so many cells. 0 <= from <= to.
  void add(long from, long to, long cells);
  /// Decides on the cells, after all intervals are added.
  void settle();
  /// Returns the cell of an edge that was added.
  long cell(long edge) const { return cells_.at(edge); }

 private:
  struct Interval {
    long from;
    long cells;
  };

  long pixelsPerCell_;
  std::map<long, std::vector<Interval>> intervals_;  // by their ends; edges without one have none
  std::map<long, long> cells_;
};

}  // namespace qx::formdraw
