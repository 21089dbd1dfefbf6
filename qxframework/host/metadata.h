#pragma once

// The company's dictionary: user tables, user fields and user keys. GetByKey is -1 when the object
// is there; Add, Update and Remove are 0 on success, else ICompany::GetLastError tells why.

#include "qxframework/automation/host_call.h"
#include "qxframework/automation/variant.h"
#include "qxframework/host/enums.h"
#include "qxframework/host/ids.h"

class IValidValuesMD;
class IUserKeysMD_Elements;

class IUserTablesMD : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0126);
  virtual HRESULT raw_GetByKey(BSTR name, VARIANT_BOOL* out) = 0;
  virtual HRESULT raw_GetTableName(BSTR* out) = 0;
  virtual HRESULT raw_PutTableName(BSTR name) = 0;
  virtual HRESULT raw_GetTableDescription(BSTR* out) = 0;
  virtual HRESULT raw_PutTableDescription(BSTR text) = 0;
  virtual HRESULT raw_GetTableType(long* out) = 0;
  /// 1 master data, 2 master data lines, 3 document, 4 document lines.
  virtual HRESULT raw_PutTableType(long type) = 0;
  virtual HRESULT raw_Add(long* out) = 0;
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

class IUserFieldsMD : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0127);
  /// `table` with its "@" for a user table; fields count from 0.
  virtual HRESULT raw_GetByKey(BSTR table, long index, VARIANT_BOOL* out) = 0;
  virtual HRESULT raw_PutTableName(BSTR name) = 0;
  virtual HRESULT raw_GetName(BSTR* out) = 0;
  virtual HRESULT raw_PutName(BSTR name) = 0;
  virtual HRESULT raw_GetDescription(BSTR* out) = 0;
  virtual HRESULT raw_PutDescription(BSTR text) = 0;
  virtual HRESULT raw_GetType(long* out) = 0;
  virtual HRESULT raw_PutType(long type) = 0;
  virtual HRESULT raw_GetSubType(long* out) = 0;
  virtual HRESULT raw_PutSubType(long type) = 0;
  virtual HRESULT raw_GetSize(long* out) = 0;
  virtual HRESULT raw_PutSize(long size) = 0;
  virtual HRESULT raw_GetEditSize(long* out) = 0;
  virtual HRESULT raw_PutEditSize(long size) = 0;
  virtual HRESULT raw_PutMandatory(long mandatory) = 0;
  virtual HRESULT raw_GetDefaultValue(BSTR* out) = 0;
  virtual HRESULT raw_PutDefaultValue(BSTR value) = 0;
  virtual HRESULT raw_GetLinkedTable(BSTR* out) = 0;
  virtual HRESULT raw_PutLinkedTable(BSTR table) = 0;
  virtual HRESULT raw_GetValidValues(IValidValuesMD** out) = 0;
  virtual HRESULT raw_Add(long* out) = 0;
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

class IValidValuesMD : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0128);
  virtual HRESULT raw_Count(long* out) = 0;
  virtual HRESULT raw_PutValue(BSTR value) = 0;
  virtual HRESULT raw_PutDescription(BSTR text) = 0;
  /// Keeps the value and the description that were set and begins the next entry.
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

class IUserKeysMD : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0129);
  /// `table` with its "@" for a user table; keys count from 0.
  virtual HRESULT raw_GetByKey(BSTR table, long index, VARIANT_BOOL* out) = 0;
  virtual HRESULT raw_GetKeyName(BSTR* out) = 0;
  virtual HRESULT raw_PutKeyName(BSTR name) = 0;
  virtual HRESULT raw_PutTableName(BSTR name) = 0;
  virtual HRESULT raw_PutUnique(long unique) = 0;
  virtual HRESULT raw_GetElements(IUserKeysMD_Elements** out) = 0;
  virtual HRESULT raw_Add(long* out) = 0;
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

class IUserKeysMD_Elements : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x012A);
  virtual HRESULT raw_Count(long* out) = 0;
  virtual HRESULT raw_PutColumnAlias(BSTR alias) = 0;
  /// Keeps the alias that was set and begins the next column.
  virtual HRESULT raw_Add() = 0;

  long Count() { return qx::getValue<long>(this, &IUserKeysMD_Elements::raw_Count); }
  HRESULT PutColumnAlias(const CComBSTR& alias) {
    return qx::call(this, &IUserKeysMD_Elements::raw_PutColumnAlias, alias.m_str);
  }
  HRESULT Add() { return qx::call(this, &IUserKeysMD_Elements::raw_Add); }

 protected:
  ~IUserKeysMD_Elements() = default;
};
