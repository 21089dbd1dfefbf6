#pragma once

// The company's dictionary: user tables, user fields and user keys. A change alters the dictionary
// and the real table together, or neither. gui_api.h states the rules of all host interfaces.
//
// An object describes one table, field or key: fill it and call Add, or load it by GetByKey and
// call Update or Remove. The Put operations check nothing. Add, Update and Remove check everything
// and return 0 or the code of the failure, which ICompany::GetLastError explains; they do not throw
// it. GetByKey throws if the dictionary cannot be read.
//
// A name has letters A to Z, digits and underscores. A table is named with or without the "@" of a
// user table; a bare name means a user table if there is one. Names compare without case. Lengths
// count UTF-16 units.

#include "qxframework/automation/host_call.h"
#include "qxframework/automation/variant.h"
#include "qxframework/host/enums.h"
#include "qxframework/host/ids.h"

class IValidValuesMD;
class IUserKeysMD_Elements;

/// Business object 153: a user table. It is a real table "@NAME" with the columns Code and Name.
class IUserTablesMD : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0126);
  /// Loads a user table by its name. Returns false, and keeps the values that were set, if there is
  /// none.
  virtual HRESULT raw_GetByKey(BSTR name, VARIANT_BOOL* out) = 0;
  /// Returns the name without "@".
  virtual HRESULT raw_GetTableName(BSTR* out) = 0;
  /// Sets the name: up to 19 characters, on DB2 up to 9, with or without "@".
  virtual HRESULT raw_PutTableName(BSTR name) = 0;
  virtual HRESULT raw_GetTableDescription(BSTR* out) = 0;
  /// Sets the description, up to 30 units.
  virtual HRESULT raw_PutTableDescription(BSTR text) = 0;
  virtual HRESULT raw_GetTableType(long* out) = 0;
  /// Sets the type: 0 none, 1 master data, 2 master data lines, 3 document, 4 document lines. Types
  /// 1 and 3 have a further column DocEntry, types 2 and 4 a column LineId.
  virtual HRESULT raw_PutTableType(long type) = 0;
  /// Creates the table and clears the object. Returns -2107 if it exists, -2106 for a value that is
  /// not valid.
  virtual HRESULT raw_Add(long* out) = 0;
  /// Drops the loaded table with its rows, fields and keys, and clears the object. Returns -2105 if
  /// nothing is loaded.
  virtual HRESULT raw_Remove(long* out) = 0;

  VARIANT_BOOL GetByKey(const CComBSTR& name) {
    return qx::getValue<VARIANT_BOOL>(this, &IUserTablesMD::raw_GetByKey, name.m_str);
  }
  CComBSTR GetTableName() { return qx::getText(this, &IUserTablesMD::raw_GetTableName); }
  HRESULT PutTableName(const CComBSTR& name) {
    return qx::call(this, &IUserTablesMD::raw_PutTableName, name.m_str);
  }
  CComBSTR GetTableDescription() {
    return qx::getText(this, &IUserTablesMD::raw_GetTableDescription);
  }
  HRESULT PutTableDescription(const CComBSTR& text) {
    return qx::call(this, &IUserTablesMD::raw_PutTableDescription, text.m_str);
  }
  long GetTableType() { return qx::getValue<long>(this, &IUserTablesMD::raw_GetTableType); }
  HRESULT PutTableType(long type) { return qx::call(this, &IUserTablesMD::raw_PutTableType, type); }
  long Add() { return qx::getValue<long>(this, &IUserTablesMD::raw_Add); }
  long Remove() { return qx::getValue<long>(this, &IUserTablesMD::raw_Remove); }

 protected:
  ~IUserTablesMD() = default;
};

/// Business object 152: a user field. It is a real column "U_NAME" of a user table or of one of the
/// client's tables.
class IUserFieldsMD : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0127);
  /// Loads field number `index` of a table; fields count from 0 in the order of their making.
  /// Returns false, and keeps the values that were set, if there is none.
  virtual HRESULT raw_GetByKey(BSTR table, long index, VARIANT_BOOL* out) = 0;
  /// Sets the table of a field that is to be added, with "@" for a user table.
  virtual HRESULT raw_PutTableName(BSTR name) = 0;
  /// Returns the name without "U_".
  virtual HRESULT raw_GetName(BSTR* out) = 0;
  /// Sets the name without "U_", up to 50 characters.
  virtual HRESULT raw_PutName(BSTR name) = 0;
  virtual HRESULT raw_GetDescription(BSTR* out) = 0;
  /// Sets the description, up to 30 units.
  virtual HRESULT raw_PutDescription(BSTR text) = 0;
  virtual HRESULT raw_GetType(long* out) = 0;
  /// Sets the type: 0 text, 1 memo, 2 whole number, 3 date, 4 number with decimals.
  virtual HRESULT raw_PutType(long type) = 0;
  virtual HRESULT raw_GetSubType(long* out) = 0;
  /// Sets the sub-type. 84 makes a date field a time of day, kept as the number hour * 100 +
  /// minute; others are stored only.
  virtual HRESULT raw_PutSubType(long type) = 0;
  /// Returns the size: the most units of a text, 1 to 254, or the digits of a whole number, 1 to
  /// 11. A whole number without a size has 11.
  virtual HRESULT raw_GetSize(long* out) = 0;
  /// Sets the size. Update can only enlarge it.
  virtual HRESULT raw_PutSize(long size) = 0;
  /// Returns the size of the field on a screen; the size if none is set.
  virtual HRESULT raw_GetEditSize(long* out) = 0;
  virtual HRESULT raw_PutEditSize(long size) = 0;
  /// Refuses nulls (not 0) or allows them (0). On a table with rows a new mandatory field needs a
  /// default.
  virtual HRESULT raw_PutMandatory(long mandatory) = 0;
  /// Returns the value of new rows as text; empty if there is none. A date is written YYYYMMDD or
  /// as the current time, GETDATE(); a time of day as 930 or 09:30.
  virtual HRESULT raw_GetDefaultValue(BSTR* out) = 0;
  virtual HRESULT raw_PutDefaultValue(BSTR value) = 0;
  /// Returns the table whose rows the field names; it need not exist.
  virtual HRESULT raw_GetLinkedTable(BSTR* out) = 0;
  virtual HRESULT raw_PutLinkedTable(BSTR table) = 0;
  /// Returns the list of allowed values of this object.
  virtual HRESULT raw_GetValidValues(IValidValuesMD** out) = 0;
  /// Adds the column and clears the object. Returns -2107 if the field exists, -2105 if the table
  /// does not, -2106 for a value that is not valid.
  virtual HRESULT raw_Add(long* out) = 0;
  /// Changes description, sizes, default, obligation, linked table and valid values of the loaded
  /// field. Returns -2105 if nothing is loaded, -2106 for another name or type or a smaller size.
  virtual HRESULT raw_Update(long* out) = 0;

  VARIANT_BOOL GetByKey(const CComBSTR& table, long index) {
    return qx::getValue<VARIANT_BOOL>(this, &IUserFieldsMD::raw_GetByKey, table.m_str, index);
  }
  HRESULT PutTableName(const CComBSTR& name) {
    return qx::call(this, &IUserFieldsMD::raw_PutTableName, name.m_str);
  }
  CComBSTR GetName() { return qx::getText(this, &IUserFieldsMD::raw_GetName); }
  HRESULT PutName(const CComBSTR& name) {
    return qx::call(this, &IUserFieldsMD::raw_PutName, name.m_str);
  }
  CComBSTR GetDescription() { return qx::getText(this, &IUserFieldsMD::raw_GetDescription); }
  HRESULT PutDescription(const CComBSTR& text) {
    return qx::call(this, &IUserFieldsMD::raw_PutDescription, text.m_str);
  }
  long GetType() { return qx::getValue<long>(this, &IUserFieldsMD::raw_GetType); }
  HRESULT PutType(long type) { return qx::call(this, &IUserFieldsMD::raw_PutType, type); }
  long GetSubType() { return qx::getValue<long>(this, &IUserFieldsMD::raw_GetSubType); }
  HRESULT PutSubType(long type) { return qx::call(this, &IUserFieldsMD::raw_PutSubType, type); }
  long GetSize() { return qx::getValue<long>(this, &IUserFieldsMD::raw_GetSize); }
  HRESULT PutSize(long size) { return qx::call(this, &IUserFieldsMD::raw_PutSize, size); }
  long GetEditSize() { return qx::getValue<long>(this, &IUserFieldsMD::raw_GetEditSize); }
  HRESULT PutEditSize(long size) { return qx::call(this, &IUserFieldsMD::raw_PutEditSize, size); }
  HRESULT PutMandatory(long mandatory) {
    return qx::call(this, &IUserFieldsMD::raw_PutMandatory, mandatory);
  }
  CComBSTR GetDefaultValue() { return qx::getText(this, &IUserFieldsMD::raw_GetDefaultValue); }
  HRESULT PutDefaultValue(const CComBSTR& value) {
    return qx::call(this, &IUserFieldsMD::raw_PutDefaultValue, value.m_str);
  }
  CComBSTR GetLinkedTable() { return qx::getText(this, &IUserFieldsMD::raw_GetLinkedTable); }
  HRESULT PutLinkedTable(const CComBSTR& table) {
    return qx::call(this, &IUserFieldsMD::raw_PutLinkedTable, table.m_str);
  }
  CComPtr<IValidValuesMD> GetValidValues() {
    return qx::getObject<IValidValuesMD>(this, &IUserFieldsMD::raw_GetValidValues);
  }
  long Add() { return qx::getValue<long>(this, &IUserFieldsMD::raw_Add); }
  long Update() { return qx::getValue<long>(this, &IUserFieldsMD::raw_Update); }

 protected:
  ~IUserFieldsMD() = default;
};

/// The allowed values of the field object that it was taken from. To add one, set value and
/// description, then call Add.
class IValidValuesMD : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0128);
  /// Returns the number of values that are complete.
  virtual HRESULT raw_Count(long* out) = 0;
  /// Sets the value of the next entry, as text.
  virtual HRESULT raw_PutValue(BSTR value) = 0;
  /// Sets the description of the next entry.
  virtual HRESULT raw_PutDescription(BSTR text) = 0;
  /// Appends the entry and begins the next one. Fails with -2106 if its value has not been set.
  virtual HRESULT raw_Add() = 0;

  long Count() { return qx::getValue<long>(this, &IValidValuesMD::raw_Count); }
  HRESULT PutValue(const CComBSTR& value) {
    return qx::call(this, &IValidValuesMD::raw_PutValue, value.m_str);
  }
  HRESULT PutDescription(const CComBSTR& text) {
    return qx::call(this, &IValidValuesMD::raw_PutDescription, text.m_str);
  }
  HRESULT Add() { return qx::call(this, &IValidValuesMD::raw_Add); }

 protected:
  ~IValidValuesMD() = default;
};

/// Business object 193: a user key. It is a real index of its table.
class IUserKeysMD : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0129);
  /// Loads key number `index` of a table; keys count from 0 in the order of their making, and those
  /// after a removed one move up. Returns false, and keeps the values that were set, if there is
  /// none.
  virtual HRESULT raw_GetByKey(BSTR table, long index, VARIANT_BOOL* out) = 0;
  virtual HRESULT raw_GetKeyName(BSTR* out) = 0;
  /// Sets the name, up to 10 characters, unique within the table.
  virtual HRESULT raw_PutKeyName(BSTR name) = 0;
  /// Sets the table, with "@" for a user table.
  virtual HRESULT raw_PutTableName(BSTR name) = 0;
  /// Forbids (not 0) or allows (0) rows with equal values.
  virtual HRESULT raw_PutUnique(long unique) = 0;
  /// Returns the list of columns of this object.
  virtual HRESULT raw_GetElements(IUserKeysMD_Elements** out) = 0;
  /// Makes the index and clears the object. Returns -2107 if the key exists, -2105 if the table or
  /// a column does not, -2106 for a value that is not valid or rows that break a unique key.
  virtual HRESULT raw_Add(long* out) = 0;
  /// Removes the loaded key and clears the object. Returns -2105 if nothing is loaded.
  virtual HRESULT raw_Remove(long* out) = 0;

  VARIANT_BOOL GetByKey(const CComBSTR& table, long index) {
    return qx::getValue<VARIANT_BOOL>(this, &IUserKeysMD::raw_GetByKey, table.m_str, index);
  }
  CComBSTR GetKeyName() { return qx::getText(this, &IUserKeysMD::raw_GetKeyName); }
  HRESULT PutKeyName(const CComBSTR& name) {
    return qx::call(this, &IUserKeysMD::raw_PutKeyName, name.m_str);
  }
  HRESULT PutTableName(const CComBSTR& name) {
    return qx::call(this, &IUserKeysMD::raw_PutTableName, name.m_str);
  }
  HRESULT PutUnique(long unique) { return qx::call(this, &IUserKeysMD::raw_PutUnique, unique); }
  CComPtr<IUserKeysMD_Elements> GetElements() {
    return qx::getObject<IUserKeysMD_Elements>(this, &IUserKeysMD::raw_GetElements);
  }
  long Add() { return qx::getValue<long>(this, &IUserKeysMD::raw_Add); }
  long Remove() { return qx::getValue<long>(this, &IUserKeysMD::raw_Remove); }

 protected:
  ~IUserKeysMD() = default;
};

/// The columns of the key object that it was taken from, in the order of the index. To add one, set
/// its alias, then call Add.
class IUserKeysMD_Elements : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x012A);
  /// Returns the number of columns that are complete.
  virtual HRESULT raw_Count(long* out) = 0;
  /// Sets the next column: a field with or without its "U_", or a column of the table itself.
  virtual HRESULT raw_PutColumnAlias(BSTR alias) = 0;
  /// Appends the column and begins the next one. Fails with -2106 if its alias has not been set.
  virtual HRESULT raw_Add() = 0;

  long Count() { return qx::getValue<long>(this, &IUserKeysMD_Elements::raw_Count); }
  HRESULT PutColumnAlias(const CComBSTR& alias) {
    return qx::call(this, &IUserKeysMD_Elements::raw_PutColumnAlias, alias.m_str);
  }
  HRESULT Add() { return qx::call(this, &IUserKeysMD_Elements::raw_Add); }

 protected:
  ~IUserKeysMD_Elements() = default;
};
