#pragma once

// Runs SQL statements and keeps the rows of the last query. gui_api.h states the rules of all host
// interfaces.

#include "qxframework/automation/host_call.h"
#include "qxframework/automation/variant.h"
#include "qxframework/host/enums.h"
#include "qxframework/host/ids.h"

class IFields;
class IField;

namespace qx {

/// Kinds of columns: the result of IField::GetType.
enum RecordFieldType : long { kTextField = 0, kNumberField = 2, kDateField = 3 };

}  // namespace qx

/// Business object 300. It holds all rows of a query in memory, so that it can be walked in both
/// directions, and one position: a row, before the first, or after the last.
class IRecordset : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x011E);
  /// Returns the columns. The object stays the same for all queries of this recordset and always
  /// shows the current row.
  virtual HRESULT raw_GetFields(IFields** out) = 0;
  /// Moves to the next row, or after the last one, where GetEoF is true. Further calls stay there.
  virtual HRESULT raw_MoveNext() = 0;
  /// Moves to the row before, or before the first one, where GetBoF is true. Further calls stay
  /// there.
  virtual HRESULT raw_MovePrevious() = 0;
  /// True before the first row, and if there are no rows.
  virtual HRESULT raw_GetBoF(VARIANT_BOOL* out) = 0;
  /// True after the last row, and if there are no rows.
  virtual HRESULT raw_GetEoF(VARIANT_BOOL* out) = 0;
  /// Runs one SQL statement of any kind, in the dialect of ICompany::GetDbServerType. The rows of
  /// the query before are dropped first, even if the statement fails. A query moves to its first
  /// row; any other statement leaves no rows and no columns. Fails with -2000 if the database
  /// refuses the statement, with -2100 without a connection.
  virtual HRESULT raw_DoQuery(BSTR sql) = 0;
  /// Returns the number of rows.
  virtual HRESULT raw_GetRecordCount(long* out) = 0;
  /// Moves to the first row.
  virtual HRESULT raw_MoveFirst() = 0;
  /// Moves to the last row.
  virtual HRESULT raw_MoveLast() = 0;

  CComPtr<IFields> GetFields() { return qx::getObject<IFields>(this, &IRecordset::raw_GetFields); }
  HRESULT MoveNext() { return qx::call(this, &IRecordset::raw_MoveNext); }
  HRESULT MovePrevious() { return qx::call(this, &IRecordset::raw_MovePrevious); }
  VARIANT_BOOL GetBoF() { return qx::getValue<VARIANT_BOOL>(this, &IRecordset::raw_GetBoF); }
  VARIANT_BOOL GetEoF() { return qx::getValue<VARIANT_BOOL>(this, &IRecordset::raw_GetEoF); }
  HRESULT DoQuery(const CComBSTR& sql) {
    return qx::call(this, &IRecordset::raw_DoQuery, sql.m_str);
  }
  long GetRecordCount() { return qx::getValue<long>(this, &IRecordset::raw_GetRecordCount); }
  HRESULT MoveFirst() { return qx::call(this, &IRecordset::raw_MoveFirst); }
  HRESULT MoveLast() { return qx::call(this, &IRecordset::raw_MoveLast); }

 protected:
  ~IRecordset() = default;
};

/// The columns of a recordset.
class IFields : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x011F);
  /// Returns the number of columns.
  virtual HRESULT raw_Count(long* out) = 0;
  /// Returns a column, by name (VT_BSTR; the first of that name, case ignored) or by index from 0
  /// (VT_I4, or another kind that converts to it). One that is not there is refused with
  /// DISP_E_BADINDEX.
  virtual HRESULT raw_Item(const VARIANT& index, IField** out) = 0;

  long Count() { return qx::getValue<long>(this, &IFields::raw_Count); }
  CComPtr<IField> Item(const CComVariant& index) {
    return qx::getObject<IField>(this, &IFields::raw_Item, index);
  }

 protected:
  ~IFields() = default;
};

/// A column of the current row. It follows the position, and the same column number in later
/// queries; if they have fewer columns it is refused with DISP_E_BADINDEX.
class IField : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0120);
  /// Returns the alias in the SELECT; empty for an expression without one.
  virtual HRESULT raw_GetName(BSTR* out) = 0;
  /// Returns the value: VT_BSTR, VT_R8, VT_DATE or VT_I4, by the kind of the column. A whole number
  /// beyond 32 bits comes as VT_R8. A null, and any column while there is no current row, reads as
  /// the empty value of its kind: empty text, 0, the date 0.0.
  virtual HRESULT raw_GetValue(VARIANT* out) = 0;
  /// Returns the kind of the column, a qx::RecordFieldType.
  virtual HRESULT raw_GetType(long* out) = 0;

  CComBSTR GetName() { return qx::getText(this, &IField::raw_GetName); }
  CComVariant GetValue() { return qx::getVariant(this, &IField::raw_GetValue); }
  long GetType() { return qx::getValue<long>(this, &IField::raw_GetType); }

 protected:
  ~IField() = default;
};
