#include "qxdesk/screens/objects/matrix_objects.h"

#include "qxdesk/screens/model/ui_codes.h"
#include "qxdesk/screens/objects/host_object.h"
#include "qxdesk/screens/user/user_actions.h"

#include <utility>

namespace qx::screens {
namespace {

// A column of a matrix. The reference is a strong one: columns are never removed, and one that
// outlives its matrix is reached through item(), which throws.
class ColumnLink : public ItemLink {
 public:
  ColumnLink(const ItemLink& item, std::shared_ptr<MatrixColumn> column)
      : ItemLink(item), column_(std::move(column)) {}
  // Returns the column. Throws as item() does.
  const MatrixColumn& column() const {
    item();
    return *column_;
  }

 private:
  std::shared_ptr<MatrixColumn> column_;
};

// A place in a matrix. It stays the same place when rows above it are added or cleared.
class CellLink : public ColumnLink {
 public:
  CellLink(const ColumnLink& column, long row) : ColumnLink(column), row_(row) {}
  long row() const { return row_; }

 private:
  long row_;
};

class CellTextObject final : public LinkedObject<IEditText, CellLink> {
 public:
  using LinkedObject::LinkedObject;

  HRESULT raw_GetString(BSTR* out) override {
    return giveString(out, [&] { return item()->matrix->cell(link().row(), link().column()); });
  }
  // Writes the cell alone. The data source of its column keeps the value for the next new row.
  HRESULT raw_PutString(BSTR text) override {
    return run([&] { item()->matrix->setCell(link().row(), link().column(), viewOfBstr(text)); });
  }
};

class CellObject final : public LinkedObject<ICell, CellLink> {
 public:
  using LinkedObject::LinkedObject;

  HRESULT raw_GetSpecific(IDispatch** out) override {
    return giveNew(out, [&] {
      item()->matrix->checkRow(link().row());
      return makeObject<CellTextObject>(clientPtr(), link());
    });
  }
  HRESULT raw_Click(long mode, long) override {
    return run([&]() -> HRESULT {
      if (mode != 0) return E_INVALIDARG;
      const Spot spot{form()->uid(), item()->uid, link().column().uid, link().row()};
      return outcome(UserActions(desk(), Actor::kAddOn).click(spot));
    });
  }
};

class CellsObject final : public LinkedObject<ICells, ColumnLink> {
 public:
  using LinkedObject::LinkedObject;

  HRESULT raw_Item(const VARIANT& row, ICell** out) override {
    return giveNew(out, [&] {
      const EntryName name = entryNameOf(row);
      if (!name.byIndex) raiseError(DISP_E_TYPEMISMATCH);
      item()->matrix->checkRow(name.index);  // unlike other indexes, a row counts from 1
      return makeObject<CellObject>(clientPtr(), CellLink(link(), name.index));
    });
  }
};

class ColumnObject final : public LinkedObject<IColumn, ColumnLink> {
 public:
  using LinkedObject::LinkedObject;

  HRESULT raw_GetUniqueID(BSTR* out) override {
    return giveString(out, [&] { return link().column().uid; });
  }
  HRESULT raw_GetType(long* out) override {
    return give(out, [&] { return link().column().type; });
  }
  HRESULT raw_GetCells(ICells** out) override {
    return giveNew(out, [&] {
      item();  // throws if the matrix is gone
      return makeObject<CellsObject>(clientPtr(), link());
    });
  }
};

class ColumnsObject final : public LinkedObject<IColumns, ItemLink> {
 public:
  using LinkedObject::LinkedObject;

  HRESULT raw_Count(long* out) override {
    return give(out, [&] { return item()->matrix->columns().size(); });
  }
  HRESULT raw_Item(const VARIANT& index, IColumn** out) override {
    return giveNew(out, [&] {
      const auto column = entryOf(item()->matrix->columns(), index, kInvalidColumn);
      return makeObject<ColumnObject>(clientPtr(), ColumnLink(link(), column));
    });
  }
};

class MatrixObject final : public LinkedObject<IMatrix, ItemLink> {
 public:
  using LinkedObject::LinkedObject;

  HRESULT raw_GetColumns(IColumns** out) override {
    return giveNew(out, [&] {
      item();  // throws if the matrix is gone
      return makeObject<ColumnsObject>(clientPtr(), link());
    });
  }
  // Cells that an add-on holds refuse with kIllegalOffset until their row exists again.
  HRESULT raw_Clear() override {
    return run([&] { item()->matrix->clear(); });
  }
  HRESULT raw_AddRow(long count, long position) override {
    return run([&] { item()->matrix->addRows(count, position); });
  }
  HRESULT raw_SelectRow(long row, VARIANT_BOOL select, VARIANT_BOOL multiple) override {
    return run([&] {
      item()->matrix->selectRow(row, select != VARIANT_FALSE, multiple != VARIANT_FALSE);
    });
  }
  HRESULT raw_GetRowCount(long* out) override {
    return give(out, [&] { return item()->matrix->rowCount(); });
  }
  HRESULT raw_IsRowSelected(long row, VARIANT_BOOL* out) override {
    return giveFlag(out, [&] { return item()->matrix->isRowSelected(row); });
  }
};

}  // namespace

CComPtr<IMatrix> makeMatrix(std::shared_ptr<Client> client, const ItemLink& link) {
  return makeObject<MatrixObject>(std::move(client), link);
}

}  // namespace qx::screens
