#include "qxdesk/screens/model/ui_codes.h"
#include "qxdesk/screens/objects/control_objects.h"
#include "qxdesk/screens/objects/host_object.h"
#include "qxdesk/screens/objects/links.h"
#include "qxdesk/screens/user/user_actions.h"
#include "qxframework/host/controls.h"

#include <utility>

namespace qx::screens {
namespace {

/// A column of a matrix item.
struct ColumnLink : ItemLink {
  ColumnLink(const std::shared_ptr<FormModel>& form, const std::shared_ptr<ItemModel>& item,
             const std::shared_ptr<MatrixColumn>& its)
      : ItemLink(form, item), column(its) {}
  std::shared_ptr<MatrixColumn> column;
};

/// A place in a matrix: it follows neither the rows that are added above nor those cleared.
struct CellLink : ColumnLink {
  CellLink(const ColumnLink& place, long itsRow) : ColumnLink(place), row(itsRow) {}
  long row;
};

class CellTextObject final : public HostObject<IEditText> {
 public:
  CellTextObject(std::shared_ptr<Client> client, const CellLink& link)
      : HostObject(std::move(client)), link_(link) {}

  HRESULT raw_GetString(BSTR* out) override {
    return giveString(out, [&] { return link_.item()->matrix->cell(link_.row, *link_.column); });
  }
  HRESULT raw_PutString(BSTR text) override {
    return run([&] { link_.item()->matrix->setCell(link_.row, *link_.column, viewOfBstr(text)); });
  }

 private:
  CellLink link_;
};

class CellObject final : public HostObject<ICell> {
 public:
  CellObject(std::shared_ptr<Client> client, const CellLink& link)
      : HostObject(std::move(client)), link_(link) {}

  HRESULT raw_GetSpecific(IDispatch** out) override {
    return giveNew(out, [&] {
      link_.item()->matrix->checkRow(link_.row);
      return CComPtr<IDispatch>(makeObject<CellTextObject>(clientPtr(), link_).p);
    });
  }
  HRESULT raw_Click(long mode, long) override {
    return run([&]() -> HRESULT {
      if (mode != 0) return E_INVALIDARG;
      const auto item = link_.item();
      const Spot spot{link_.form()->uid(), item->uid, link_.column->uid, link_.row};
      return outcome(UserActions(desk(), Hand::kAddOn).click(spot));
    });
  }

 private:
  CellLink link_;
};

class CellsObject final : public HostObject<ICells> {
 public:
  CellsObject(std::shared_ptr<Client> client, const ColumnLink& link)
      : HostObject(std::move(client)), link_(link) {}

  HRESULT raw_Item(const VARIANT& row, ICell** out) override {
    return giveNew(out, [&] {
      const EntryName name = entryNameOf(row);
      if (!name.byIndex) raiseError(DISP_E_TYPEMISMATCH);
      link_.item()->matrix->checkRow(name.index);
      return CComPtr<ICell>(makeObject<CellObject>(clientPtr(), CellLink(link_, name.index)).p);
    });
  }

 private:
  ColumnLink link_;
};

class ColumnObject final : public HostObject<IColumn> {
 public:
  ColumnObject(std::shared_ptr<Client> client, const ColumnLink& link)
      : HostObject(std::move(client)), link_(link) {}

  HRESULT raw_GetUniqueID(BSTR* out) override {
    return giveString(out, [&] { return column().uid; });
  }
  HRESULT raw_GetType(long* out) override {
    return give(out, [&] { return column().type; });
  }
  HRESULT raw_GetCells(ICells** out) override {
    return giveNew(out, [&] {
      column();
      return CComPtr<ICells>(makeObject<CellsObject>(clientPtr(), link_).p);
    });
  }

 private:
  const MatrixColumn& column() const {
    link_.item();
    return *link_.column;
  }

  ColumnLink link_;
};

class ColumnsObject final : public HostObject<IColumns> {
 public:
  ColumnsObject(std::shared_ptr<Client> client, const ItemLink& link)
      : HostObject(std::move(client)), link_(link) {}

  HRESULT raw_Count(long* out) override {
    return give(out, [&] { return link_.item()->matrix->columns().size(); });
  }
  HRESULT raw_Item(const VARIANT& index, IColumn** out) override {
    return giveNew(out, [&] {
      const auto item = link_.item();
      const auto column = findEntry(item->matrix->columns(), entryNameOf(index),
                                    [](const MatrixColumn& each) { return each.uid; });
      if (column == nullptr) raiseError(kInvalidColumn);
      const ColumnLink link(link_.form(), item, column);
      return CComPtr<IColumn>(makeObject<ColumnObject>(clientPtr(), link).p);
    });
  }

 private:
  ItemLink link_;
};

class MatrixObject final : public HostObject<IMatrix> {
 public:
  MatrixObject(std::shared_ptr<Client> client, const std::shared_ptr<FormModel>& form,
               const std::shared_ptr<ItemModel>& item)
      : HostObject(std::move(client)), link_(form, item) {}

  HRESULT raw_GetColumns(IColumns** out) override {
    return giveNew(out, [&] {
      link_.item();
      return CComPtr<IColumns>(makeObject<ColumnsObject>(clientPtr(), link_).p);
    });
  }
  HRESULT raw_Clear() override {
    return run([&] { link_.item()->matrix->clear(); });
  }
  HRESULT raw_AddRow(long count, long position) override {
    return run([&] { link_.item()->matrix->addRows(count, position); });
  }
  HRESULT raw_SelectRow(long row, VARIANT_BOOL select, VARIANT_BOOL multiple) override {
    return run([&] {
      link_.item()->matrix->selectRow(row, select != VARIANT_FALSE, multiple != VARIANT_FALSE);
    });
  }
  HRESULT raw_GetRowCount(long* out) override {
    return give(out, [&] { return link_.item()->matrix->rowCount(); });
  }
  HRESULT raw_IsRowSelected(long row, VARIANT_BOOL* out) override {
    return giveFlag(out, [&] { return link_.item()->matrix->isRowSelected(row); });
  }

 private:
  ItemLink link_;
};

}  // namespace

CComPtr<IDispatch> makeMatrix(std::shared_ptr<Client> client,
                              const std::shared_ptr<FormModel>& form,
                              const std::shared_ptr<ItemModel>& item) {
  return CComPtr<IDispatch>(makeObject<MatrixObject>(std::move(client), form, item).p);
}

}  // namespace qx::screens
