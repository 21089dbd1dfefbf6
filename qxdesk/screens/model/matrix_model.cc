#include "qxdesk/screens/model/matrix_model.h"

#include "qxdesk/screens/model/ui_codes.h"
#include "qxframework/automation/com_error.h"

#include <algorithm>
#include <atomic>
#include <utility>

namespace qx::screens {
namespace {

// Far more than a user looks at. A greater number is a mistake that would exhaust the memory.
constexpr long kMostRows = 1'000'000;

}  // namespace

std::uint64_t MatrixModel::nextRevision() {
  // Atomic, since the desks of a process may be on several threads.
  static std::atomic<std::uint64_t> last{0};
  return last.fetch_add(1, std::memory_order_relaxed) + 1;
}

void MatrixModel::clear() {
  rows_.clear();
  anchor_ = 0;
  changed();
}

void MatrixModel::addColumn(MatrixColumn column) {
  checkUid(column.uid, kColumnAttributes);
  if (findByUid(columns_, column.uid) != nullptr) raiseError(kColumnAlreadyExists);
  columns_.push_back(std::make_shared<MatrixColumn>(std::move(column)));
  for (Row& row : rows_) row.cells.emplace_back();
  changed();
}

void MatrixModel::addRows(long count, long position) {
  if (count < 0 || position < -1 || position > rowCount()) raiseError(kIllegalOffset);
  // Compared by a difference, since a sum could overflow.
  if (count > kMostRows - rowCount()) raiseError(kIllegalOffset);
  // Each of the new rows is the same copy: the sources do not change in between.
  Row row;
  row.cells.reserve(columns_.size());
  for (const auto& column : columns_) {
    row.cells.push_back(column->source == nullptr ? std::u16string() : column->source->value());
  }
  const long at = position < 0 ? rowCount() : position;
  rows_.insert(rows_.begin() + at, static_cast<std::size_t>(count), row);
  if (anchor_ > at) anchor_ += count;  // it stays the same row
  changed();
}

void MatrixModel::checkRow(long row) const {
  if (row < 1 || row > rowCount()) raiseError(kIllegalOffset);
}

void MatrixModel::selectRow(long row, bool select, bool multiple) {
  checkRow(row);
  // kSelectOne overrules `multiple`. Other modes limit the user only, not an add-on.
  if (select && (!multiple || selectionMode == kSelectOne)) {
    for (Row& other : rows_) other.selected = false;
  }
  rows_[static_cast<std::size_t>(row - 1)].selected = select;
  changed();
}

void MatrixModel::clickRow(long row, ClickKeys keys) {
  checkRow(row);
  if (selectionMode == kSelectNone) return;
  if (selectionMode != kSelectMany) keys = {};
  if (keys.shift && anchor_ != 0) {
    // Only Ctrl keeps the rows outside.
    if (!keys.ctrl) selectRow(row, true, false);
    return selectFromAnchor(row);
  }
  anchor_ = row;
  selectRow(row, !keys.ctrl || !isRowSelected(row), keys.ctrl);
}

void MatrixModel::selectFromAnchor(long row) {
  const auto [first, last] = std::minmax(anchor_, row);
  for (long each = first; each <= last; ++each) {
    rows_[static_cast<std::size_t>(each - 1)].selected = true;
  }
  changed();
}

bool MatrixModel::isRowSelected(long row) const {
  checkRow(row);
  return rows_[static_cast<std::size_t>(row - 1)].selected;
}

std::size_t MatrixModel::columnIndex(const MatrixColumn& column) const {
  // By address: a column of another matrix may have the same UID.
  const auto at = std::find_if(columns_.begin(), columns_.end(),
                               [&](const auto& each) { return each.get() == &column; });
  if (at == columns_.end()) raiseError(kInvalidColumn);
  return static_cast<std::size_t>(at - columns_.begin());
}

const std::u16string& MatrixModel::cell(long row, const MatrixColumn& column) const {
  checkRow(row);
  return rows_[static_cast<std::size_t>(row - 1)].cells[columnIndex(column)];
}

void MatrixModel::setCell(long row, const MatrixColumn& column, std::u16string_view text) {
  checkRow(row);
  rows_[static_cast<std::size_t>(row - 1)].cells[columnIndex(column)] = text;
  changed();
}

}  // namespace qx::screens
