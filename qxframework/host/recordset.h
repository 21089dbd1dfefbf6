#pragma once

// Runs SQL texts and keeps the rows of the last query.

#include "qxframework/automation/host_call.h"
#include "qxframework/automation/variant.h"
#include "qxframework/host/enums.h"
#include "qxframework/host/ids.h"

class IFields;
class IField;

class IRecordset : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x011E);
  virtual HRESULT raw_GetFields(IFields** out) = 0;
  /// Behind the last row the end flag is set.
  virtual HRESULT raw_MoveNext() = 0;
  virtual HRESULT raw_MovePrevious() = 0;
  virtual HRESULT raw_GetBoF(VARIANT_BOOL* out) = 0;
  virtual HRESULT raw_GetEoF(VARIANT_BOOL* out) = 0;
  /// Any statement text. On success the first row of a query is current.
  virtual HRESULT raw_DoQuery(BSTR sql) = 0;
  virtual HRESULT raw_GetRecordCount(long* out) = 0;
  virtual HRESULT raw_MoveFirst() = 0;
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

class IFields : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x011F);
  virtual HRESULT raw_Count(long* out) = 0;
  /// By column index from 0 (VT_I4) or name (VT_BSTR). Fails when there is none.
  virtual HRESULT raw_Item(const VARIANT& index, IField** out) = 0;

  long Count() { return qx::getValue<long>(this, &IFields::raw_Count); }
  CComPtr<IField> Item(const CComVariant& index) {
    return qx::getObject<IField>(this, &IFields::raw_Item, index);
  }

 protected:
  ~IFields() = default;
};

/// A column of the current row.
class IField : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0120);
  /// The alias in the SELECT; empty for an unnamed expression.
  virtual HRESULT raw_GetName(BSTR* out) = 0;
  virtual HRESULT raw_GetValue(VARIANT* out) = 0;

  CComBSTR GetName() { return qx::getText(this, &IField::raw_GetName); }
  CComVariant GetValue() { return qx::getVariant(this, &IField::raw_GetValue); }

 protected:
  ~IField() = default;
};
