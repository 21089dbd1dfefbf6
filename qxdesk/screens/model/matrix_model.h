#pragma once

// The table of a form. Rows count from 1, as everywhere in the host. A new row gets the current
// values of the data sources to which its columns are bound.

#include "qxdesk/screens/model/data_source.h"
#include "qxdesk/screens/model/uid.h"
#include "qxframework/host/item_types.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace qx::screens {

struct MatrixColumn {
  std::u16string uid;
  std::u16string title;
  std::u16string description;
  long type = kEditText;  ///< a qx::ItemType
  long width = 0;
  bool visible = true;
  bool editable = true;
  bool showsDescription = false;  ///< the description of a value in place of the value
  bool rightJustified = false;
  std::shared_ptr<UserDataSource> source;  ///< null if the column is not bound
};

/// The rows that a user's clicks select.
enum SelectionMode : long { kSelectNone = 0, kSelectMany = 1, kSelectOne = 2 };

/// The keys that a user holds down while clicking a row.
struct ClickKeys {
  bool ctrl = false;
  bool shift = false;
};

class MatrixModel {
 public:
  const std::vector<std::shared_ptr<MatrixColumn>>& columns() const { return columns_; }
  /// Adds a column; existing rows get an empty cell. Throws kColumnAttributes for an empty UID,
  /// kStringTooLong10 and kColumnAlreadyExists.
  void addColumn(MatrixColumn column);
  long rowCount() const { return static_cast<long>(rows_.size()); }
  /// Returns a number that changes with each change of the rows: their count, cells and selection.
  /// No two matrices of a process ever have the same one, so that a matrix which takes the place of
  /// another one is known as a new one.
  std::uint64_t revision() const { return revision_; }
  void clear();
  /// Adds `count` rows after row `position`; 0 adds them at the beginning, -1 at the end. Throws
  /// kIllegalOffset for a position outside, a negative count and more than a million rows.
  void addRows(long count, long position);
  /// Selects a row or takes its selection back. The other rows lose their selection if `multiple`
  /// is false or the mode is kSelectOne. Throws kIllegalOffset for a row outside, as the operations
  /// below do.
  void selectRow(long row, bool select, bool multiple);
  /// Selects by the user's click on a row what the mode allows. With kSelectMany and Ctrl, the row
  /// changes its selection and the others keep theirs. With Shift, the rows from the last one that
  /// was clicked without Shift to this one are selected and the others are not, unless Ctrl keeps
  /// them. In all other cases the row alone is selected.
  void clickRow(long row, ClickKeys keys);
  bool isRowSelected(long row) const;
  /// Throws kInvalidColumn for a column of another matrix, as setCell() does.
  const std::u16string& cell(long row, const MatrixColumn& column) const;
  void setCell(long row, const MatrixColumn& column, std::u16string_view text);
  void checkRow(long row) const;

  long selectionMode = kSelectNone;
  long layout = 0;

 private:
  struct Row {
    std::vector<std::u16string> cells;
    bool selected = false;
  };
  void selectFromAnchor(long row);
  std::size_t columnIndex(const MatrixColumn& column) const;
  static std::uint64_t nextRevision();
  void changed() { revision_ = nextRevision(); }

  std::vector<std::shared_ptr<MatrixColumn>> columns_;
  std::vector<Row> rows_;
  long anchor_ = 0;  // the row that was clicked last without Shift; 0: none
  std::uint64_t revision_ = nextRevision();
};

}  // namespace qx::screens
