#include "tools/formdraw/axis.h"

#include <algorithm>

namespace qx::formdraw {
namespace {

// Edges that the eye takes for one: a label and its edit often differ by a pixel or two.
constexpr long kSameEdge = 3;

}  // namespace

void Axis::add(long from, long to, long cells) {
  intervals_[from];
  intervals_[to].push_back({from, cells});
}

// Goes from edge to edge, so the cells of all edges ahead are known. What follows an interval that
// is widened moves along with its end. An end that moves only because of where the cells begin
// moves nothing else: the next gap makes up for it.
void Axis::settle() {
  long shift = 0;
  long groupEdge = -kSameEdge - 1;
  long groupCell = 0;
  long previous = 0;
  for (const auto& [edge, ending] : intervals_) {
    const long plain = edge / pixelsPerCell_;
    const bool grouped = edge - groupEdge <= kSameEdge;
    long cell = std::max(grouped ? groupCell : plain + shift, previous);
    for (const Interval& interval : ending) {
      if (interval.from == edge) continue;
      cell = std::max(cell, cells_.at(interval.from) + interval.cells);
      if ((interval.cells - 1) * pixelsPerCell_ >= edge - interval.from)
        shift = std::max(shift, cell - plain);
    }
    if (!grouped || cell != groupCell) {
      groupEdge = edge;
      groupCell = cell;
    }
    previous = cell;
    cells_[edge] = cell;
  }
}

}  // namespace qx::formdraw
