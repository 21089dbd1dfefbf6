#pragma once

// The controls behind the items of a form.

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

class IEditText : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x010F);
  virtual HRESULT raw_GetString(BSTR* out) = 0;
  virtual HRESULT raw_PutString(BSTR text) = 0;

  CComBSTR GetString() { return qx::getText(this, &IEditText::raw_GetString); }
  HRESULT PutString(const CComBSTR& text) {
    return qx::call(this, &IEditText::raw_PutString, text.m_str);
  }

 protected:
  ~IEditText() = default;
};

class IComboBox : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0110);
  /// Null when nothing is selected.
  virtual HRESULT raw_GetSelected(IValidValue** out) = 0;
  virtual HRESULT raw_GetValidValues(IValidValues** out) = 0;
  /// `mode` 1 by key, 2 by index.
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

/// An entry of a combo box: the shown text and its key.
class IValidValue : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0111);
  virtual HRESULT raw_GetValue(BSTR* out) = 0;
  virtual HRESULT raw_GetDescription(BSTR* out) = 0;

  CComBSTR GetValue() { return qx::getText(this, &IValidValue::raw_GetValue); }
  CComBSTR GetDescription() { return qx::getText(this, &IValidValue::raw_GetDescription); }

 protected:
  ~IValidValue() = default;
};

class IValidValues : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0112);
  virtual HRESULT raw_Count(long* out) = 0;
  virtual HRESULT raw_Item(const VARIANT& index, IValidValue** out) = 0;
  /// `value` is the shown text, `description` the key.
  virtual HRESULT raw_Add(BSTR value, BSTR description) = 0;
  /// `mode` 1 by key, 2 by index.
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

class IMatrix : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0113);
  virtual HRESULT raw_GetColumns(IColumns** out) = 0;
  virtual HRESULT raw_Clear() = 0;
  /// `position` -1 is behind the last row.
  virtual HRESULT raw_AddRow(long count, long position) = 0;
  /// Rows count from 1.
  virtual HRESULT raw_SelectRow(long row, VARIANT_BOOL select, VARIANT_BOOL multiple) = 0;
  virtual HRESULT raw_GetRowCount(long* out) = 0;
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

class IColumns : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0114);
  virtual HRESULT raw_Count(long* out) = 0;
  virtual HRESULT raw_Item(const VARIANT& index, IColumn** out) = 0;

  long Count() { return qx::getValue<long>(this, &IColumns::raw_Count); }
  CComPtr<IColumn> Item(const CComVariant& index) {
    return qx::getObject<IColumn>(this, &IColumns::raw_Item, index);
  }

 protected:
  ~IColumns() = default;
};

class IColumn : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0115);
  virtual HRESULT raw_GetUniqueID(BSTR* out) = 0;
  virtual HRESULT raw_GetType(long* out) = 0;
  virtual HRESULT raw_GetCells(ICells** out) = 0;

  CComBSTR GetUniqueID() { return qx::getText(this, &IColumn::raw_GetUniqueID); }
  long GetType() { return qx::getValue<long>(this, &IColumn::raw_GetType); }
  CComPtr<ICells> GetCells() { return qx::getObject<ICells>(this, &IColumn::raw_GetCells); }

 protected:
  ~IColumn() = default;
};

class ICells : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0116);
  /// Rows count from 1.
  virtual HRESULT raw_Item(const VARIANT& row, ICell** out) = 0;

  CComPtr<ICell> Item(const CComVariant& row) {
    return qx::getObject<ICell>(this, &ICells::raw_Item, row);
  }

 protected:
  ~ICells() = default;
};

class ICell : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0117);
  virtual HRESULT raw_GetSpecific(IDispatch** out) = 0;
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
