#pragma once

// The table of a form. Rows count from 1 as everywhere in the client. A row is made through the
// data sources: AddRow copies what they hold into the new line.

#include "qxdesk/screens/model/data_source.h"
#include "qxdesk/screens/model/uid.h"

#include <memory>
#include <string>
#include <vector>

namespace qx::screens {

struct MatrixColumn {
  std::u16string uid;
  std::u16string title;
  std::u16string description;
  long type = 16;
  long width = 0;
  bool visible = true;
  bool editable = true;
  std::shared_ptr<UserDataSource> source;  ///< null when it is not bound
};

/// What a user's click on a row selects.
enum SelectionMode : long { kSelectNone = 0, kSelectMany = 1, kSelectOne = 2 };

class MatrixModel {
 public:
  const std::vector<std::shared_ptr<MatrixColumn>>& columns() const { return columns_; }
  /// Raises kStringTooLong10, kColumnAttributes for an empty UID, kColumnAlreadyExists. Rows that
  /// are there get an empty cell.
  void addColumn(MatrixColumn column);
  long rowCount() const { return static_cast<long>(rows_.size()); }
  void clear() { rows_.clear(); }
  /// Adds `count` rows behind row `position`, 0 being the front and -1 the end. Raises
  /// kIllegalOffset for a position outside and a negative count.
  void addRows(long count, long position);
  /// In a matrix that lets one row be selected, and without `multiple`, the others lose their
  /// selection. Raises kIllegalOffset for a row outside, as do the operations below.
  void selectRow(long row, bool select, bool multiple);
  bool isRowSelected(long row) const;
  const std::u16string& cell(long row, const MatrixColumn& column) const;
  void setCell(long row, const MatrixColumn& column, std::u16string_view text);
  void checkRow(long row) const;

  long selectionMode = kSelectNone;

 private:
  struct Row {
    std::vector<std::u16string> cells;
    bool selected = false;
  };
  std::size_t columnIndex(const MatrixColumn& column) const;

  std::vector<std::shared_ptr<MatrixColumn>> columns_;
  std::vector<Row> rows_;
};

}  // namespace qx::screens
