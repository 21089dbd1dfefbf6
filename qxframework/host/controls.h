#pragma once

// The controls of a form's items, from IItem::GetSpecific. gui_api.h states the rules of all host
// interfaces.

#include "qxframework/automation/host_call.h"
#include "qxframework/automation/variant.h"
#include "qxframework/host/enums.h"
#include "qxframework/host/ids.h"

class IColumns;
class IColumn;
class ICells;
class ICell;
class IValidValues;
class IValidValue;

/// A button with a caption.
class IButton : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x010D);
  virtual HRESULT raw_GetCaption(BSTR* out) = 0;
  virtual HRESULT raw_PutCaption(BSTR caption) = 0;

  CComBSTR GetCaption() { return qx::getText(this, &IButton::raw_GetCaption); }
  HRESULT PutCaption(const CComBSTR& caption) {
    return qx::call(this, &IButton::raw_PutCaption, caption.m_str);
  }

 protected:
  ~IButton() = default;
};

/// A label.
class IStaticText : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x010E);
  virtual HRESULT raw_GetCaption(BSTR* out) = 0;
  virtual HRESULT raw_PutCaption(BSTR caption) = 0;

  CComBSTR GetCaption() { return qx::getText(this, &IStaticText::raw_GetCaption); }
  HRESULT PutCaption(const CComBSTR& caption) {
    return qx::call(this, &IStaticText::raw_PutCaption, caption.m_str);
  }

 protected:
  ~IStaticText() = default;
};

/// A field of text: an edit item or a cell of a matrix.
class IEditText : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x010F);
  /// Returns the text, or the value of the data source to which the field is bound.
  virtual HRESULT raw_GetString(BSTR* out) = 0;
  /// Replaces the text, without the events of a user who types. Refused with -7018 if a bound data
  /// source does not take the length, and with -7028 if the row of the cell is gone.
  virtual HRESULT raw_PutString(BSTR text) = 0;

  CComBSTR GetString() { return qx::getText(this, &IEditText::raw_GetString); }
  HRESULT PutString(const CComBSTR& text) {
    return qx::call(this, &IEditText::raw_PutString, text.m_str);
  }

 protected:
  ~IEditText() = default;
};

/// A list of choices, one of which may be selected.
class IComboBox : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0110);
  /// Returns the selected entry; null if none is selected.
  virtual HRESULT raw_GetSelected(IValidValue** out) = 0;
  /// Returns the choices.
  virtual HRESULT raw_GetValidValues(IValidValues** out) = 0;
  /// Selects an entry, without the events of a user's choice, and puts its key into the data source
  /// to which the box is bound. `mode` 1 finds the entry by key or, if no key fits, by shown text;
  /// 2 by index from 0. An entry that is not there is refused with -7018, another `mode` with
  /// E_INVALIDARG.
  virtual HRESULT raw_Select(const VARIANT& value, long mode) = 0;

  CComPtr<IValidValue> GetSelected() {
    return qx::getObject<IValidValue>(this, &IComboBox::raw_GetSelected);
  }
  CComPtr<IValidValues> GetValidValues() {
    return qx::getObject<IValidValues>(this, &IComboBox::raw_GetValidValues);
  }
  HRESULT Select(const CComVariant& value, long mode) {
    return qx::call(this, &IComboBox::raw_Select, value, mode);
  }

 protected:
  ~IComboBox() = default;
};

/// An entry of a combo box as it was when it was asked for.
class IValidValue : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0111);
  /// Returns the text that is shown.
  virtual HRESULT raw_GetValue(BSTR* out) = 0;
  /// Returns the key.
  virtual HRESULT raw_GetDescription(BSTR* out) = 0;

  CComBSTR GetValue() { return qx::getText(this, &IValidValue::raw_GetValue); }
  CComBSTR GetDescription() { return qx::getText(this, &IValidValue::raw_GetDescription); }

 protected:
  ~IValidValue() = default;
};

/// The choices of a combo box, in the order in which it shows them.
class IValidValues : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0112);
  /// Returns the number of choices.
  virtual HRESULT raw_Count(long* out) = 0;
  /// Returns an entry: by index from 0, or for a VT_BSTR by key or shown text. One that is not
  /// there is refused with -7018.
  virtual HRESULT raw_Item(const VARIANT& index, IValidValue** out) = 0;
  /// Appends an entry. `value` is the text that is shown, `description` the key; neither need be
  /// unique.
  virtual HRESULT raw_Add(BSTR value, BSTR description) = 0;
  /// Removes the entry that `value` and `mode` name as in IComboBox::Select. The selection is lost
  /// with its entry.
  virtual HRESULT raw_Remove(const VARIANT& value, long mode) = 0;

  long Count() { return qx::getValue<long>(this, &IValidValues::raw_Count); }
  CComPtr<IValidValue> Item(const CComVariant& index) {
    return qx::getObject<IValidValue>(this, &IValidValues::raw_Item, index);
  }
  HRESULT Add(const CComBSTR& value, const CComBSTR& description) {
    return qx::call(this, &IValidValues::raw_Add, value.m_str, description.m_str);
  }
  HRESULT Remove(const CComVariant& value, long mode) {
    return qx::call(this, &IValidValues::raw_Remove, value, mode);
  }

 protected:
  ~IValidValues() = default;
};

/// A table. Its rows count from 1.
class IMatrix : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0113);
  /// Returns the columns.
  virtual HRESULT raw_GetColumns(IColumns** out) = 0;
  /// Removes all rows.
  virtual HRESULT raw_Clear() = 0;
  /// Adds `count` rows after the row `position`; 0 puts them first and -1 last. Each cell gets the
  /// value that the data source of its column has now, empty if it has none. A position outside,
  /// and more than a million rows, are refused with -7028.
  virtual HRESULT raw_AddRow(long count, long position) = 0;
  /// Selects or deselects a row. Unless `multiple` is true and the matrix lets several rows be
  /// selected, selecting one deselects the others. A row outside is refused with -7028.
  virtual HRESULT raw_SelectRow(long row, VARIANT_BOOL select, VARIANT_BOOL multiple) = 0;
  /// Returns the number of rows.
  virtual HRESULT raw_GetRowCount(long* out) = 0;
  /// True if the row is selected. A row outside is refused with -7028.
  virtual HRESULT raw_IsRowSelected(long row, VARIANT_BOOL* out) = 0;

  CComPtr<IColumns> GetColumns() { return qx::getObject<IColumns>(this, &IMatrix::raw_GetColumns); }
  HRESULT Clear() { return qx::call(this, &IMatrix::raw_Clear); }
  HRESULT AddRow(long count, long position) {
    return qx::call(this, &IMatrix::raw_AddRow, count, position);
  }
  HRESULT SelectRow(long row, VARIANT_BOOL select, VARIANT_BOOL multiple) {
    return qx::call(this, &IMatrix::raw_SelectRow, row, select, multiple);
  }
  long GetRowCount() { return qx::getValue<long>(this, &IMatrix::raw_GetRowCount); }
  VARIANT_BOOL IsRowSelected(long row) {
    return qx::getValue<VARIANT_BOOL>(this, &IMatrix::raw_IsRowSelected, row);
  }

 protected:
  ~IMatrix() = default;
};

/// The columns of a matrix, from left to right.
class IColumns : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0114);
  /// Returns the number of columns.
  virtual HRESULT raw_Count(long* out) = 0;
  /// Returns the column with the index or UID. One that is not there is refused with -7015.
  virtual HRESULT raw_Item(const VARIANT& index, IColumn** out) = 0;

  long Count() { return qx::getValue<long>(this, &IColumns::raw_Count); }
  CComPtr<IColumn> Item(const CComVariant& index) {
    return qx::getObject<IColumn>(this, &IColumns::raw_Item, index);
  }

 protected:
  ~IColumns() = default;
};

/// One column of a matrix.
class IColumn : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0115);
  /// Returns the UID, by which events name the column.
  virtual HRESULT raw_GetUniqueID(BSTR* out) = 0;
  /// Returns the kind of control in its cells, with the numbers of IItem::GetType; 16, an edit,
  /// unless its definition says otherwise.
  virtual HRESULT raw_GetType(long* out) = 0;
  /// Returns the cells of the column.
  virtual HRESULT raw_GetCells(ICells** out) = 0;

  CComBSTR GetUniqueID() { return qx::getText(this, &IColumn::raw_GetUniqueID); }
  long GetType() { return qx::getValue<long>(this, &IColumn::raw_GetType); }
  CComPtr<ICells> GetCells() { return qx::getObject<ICells>(this, &IColumn::raw_GetCells); }

 protected:
  ~IColumn() = default;
};

/// The cells of one column.
class ICells : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0116);
  /// Returns the cell of a row. `row` is a whole number from 1; a row outside is refused with
  /// -7028.
  virtual HRESULT raw_Item(const VARIANT& row, ICell** out) = 0;

  CComPtr<ICell> Item(const CComVariant& row) {
    return qx::getObject<ICell>(this, &ICells::raw_Item, row);
  }

 protected:
  ~ICells() = default;
};

/// A place in a matrix. It stays at its row number when rows above are added or all are cleared.
class ICell : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0117);
  /// Returns the control in the cell, which is queried for IEditText.
  virtual HRESULT raw_GetSpecific(IDispatch** out) = 0;
  /// Clicks the cell with all events of a user's click. Returns S_FALSE if an add-on vetoes. `mode`
  /// is 0, any other is refused with E_INVALIDARG; `modifiers` (keys held down) is 0.
  virtual HRESULT raw_Click(long mode, long modifiers) = 0;

  CComPtr<IDispatch> GetSpecific() {
    return qx::getObject<IDispatch>(this, &ICell::raw_GetSpecific);
  }
  HRESULT Click(long mode, long modifiers) {
    return qx::call(this, &ICell::raw_Click, mode, modifiers);
  }

 protected:
  ~ICell() = default;
};
