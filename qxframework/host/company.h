#pragma once

// The company database: connection, transactions, last error, and the objects made by number.

#include "qxframework/automation/host_call.h"
#include "qxframework/automation/variant.h"
#include "qxframework/host/enums.h"
#include "qxframework/host/ids.h"
#include "qxframework/host/recordset.h"

class ICompanyService;
class IDecimalData;
class IRoundedData;

namespace qx {

/// Numbers of ICompany::GetBusinessObject.
enum BusinessObject : long {
  kUserFieldsMD = 152,
  kUserTablesMD = 153,
  kUserKeysMD = 193,
  kRecordset = 300,
  kDataHelper = 305,
};

/// Values of the database server type; every other value is taken for kMssql.
enum DbServerType : long { kMssql = 1, kDb2 = 2, kSybase = 3, kKordb = 9 };

/// ICompanyService::GetDataInterface
inline constexpr long kDecimalData = 11;

}  // namespace qx

class ICompany : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0121);
  /// 0 connected; otherwise GetLastError tells why.
  virtual HRESULT raw_Connect(long* out) = 0;
  virtual HRESULT raw_Disconnect() = 0;
  /// The language of the texts of GetLastError.
  virtual HRESULT raw_PutLanguage(HvLanguages language) = 0;
  /// Code and text of the last failure, 0 and an empty text when there was none.
  virtual HRESULT raw_GetLastError(long* code, BSTR* text) = 0;
  /// See qx::BusinessObject.
  virtual HRESULT raw_GetBusinessObject(long type, IDispatch** out) = 0;
  virtual HRESULT raw_GetCompanyService(ICompanyService** out) = 0;
  /// First step of the hand-shake.
  virtual HRESULT raw_GetContextCookie(BSTR* out) = 0;
  /// Last step of the hand-shake.
  virtual HRESULT raw_PutLoginContext(BSTR context) = 0;
  virtual HRESULT raw_PutConnectionString(BSTR connection) = 0;
  /// The running client to connect through, or null.
  virtual HRESULT raw_PutUiApplication(IDispatch* application) = 0;
  virtual HRESULT raw_GetDbServerType(long* out) = 0;
  virtual HRESULT raw_GetConnected(VARIANT_BOOL* out) = 0;
  virtual HRESULT raw_GetInTransaction(VARIANT_BOOL* out) = 0;
  /// Fails while one is open.
  virtual HRESULT raw_StartTransaction() = 0;
  /// Fails when none is open.
  virtual HRESULT raw_EndTransaction(VARIANT_BOOL commit) = 0;

  long Connect() { return qx::getValue<long>(this, &ICompany::raw_Connect); }
  HRESULT Disconnect() { return qx::call(this, &ICompany::raw_Disconnect); }
  HRESULT PutLanguage(HvLanguages language) {
    return qx::call(this, &ICompany::raw_PutLanguage, language);
  }
  HRESULT GetLastError(long& code, CComBSTR& text) {
    text.Empty();
    return qx::raiseIfFailed(raw_GetLastError(&code, &text.m_str));
  }
  CComPtr<IDispatch> GetBusinessObject(long type) {
    return qx::getObject<IDispatch>(this, &ICompany::raw_GetBusinessObject, type);
  }
  CComPtr<ICompanyService> GetCompanyService() {
    return qx::getObject<ICompanyService>(this, &ICompany::raw_GetCompanyService);
  }
  CComBSTR GetContextCookie() { return qx::getText(this, &ICompany::raw_GetContextCookie); }
  HRESULT PutLoginContext(const CComBSTR& context) {
    return qx::call(this, &ICompany::raw_PutLoginContext, context.m_str);
  }
  HRESULT PutConnectionString(const CComBSTR& connection) {
    return qx::call(this, &ICompany::raw_PutConnectionString, connection.m_str);
  }
  HRESULT PutUiApplication(IDispatch* application) {
    return qx::call(this, &ICompany::raw_PutUiApplication, application);
  }
  long GetDbServerType() { return qx::getValue<long>(this, &ICompany::raw_GetDbServerType); }
  VARIANT_BOOL GetConnected() {
    return qx::getValue<VARIANT_BOOL>(this, &ICompany::raw_GetConnected);
  }
  VARIANT_BOOL GetInTransaction() {
    return qx::getValue<VARIANT_BOOL>(this, &ICompany::raw_GetInTransaction);
  }
  HRESULT StartTransaction() { return qx::call(this, &ICompany::raw_StartTransaction); }
  HRESULT EndTransaction(VARIANT_BOOL commit) {
    return qx::call(this, &ICompany::raw_EndTransaction, commit);
  }

 protected:
  ~ICompany() = default;
};

class ICompanyService : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0122);
  virtual HRESULT raw_GetDataInterface(long type, IDispatch** out) = 0;
  virtual HRESULT raw_RoundDecimal(IDecimalData* data, IRoundedData** out) = 0;

  CComPtr<IDispatch> GetDataInterface(long type) {
    return qx::getObject<IDispatch>(this, &ICompanyService::raw_GetDataInterface, type);
  }
  CComPtr<IRoundedData> RoundDecimal(IDecimalData* data) {
    return qx::getObject<IRoundedData>(this, &ICompanyService::raw_RoundDecimal, data);
  }

 protected:
  ~ICompanyService() = default;
};

class IDecimalData : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0123);
  virtual HRESULT raw_PutValue(double value) = 0;
  virtual HRESULT raw_PutContext(RoundingContextEnum context) = 0;
  virtual HRESULT raw_PutCurrency(BSTR currency) = 0;

  HRESULT PutValue(double value) { return qx::call(this, &IDecimalData::raw_PutValue, value); }
  HRESULT PutContext(RoundingContextEnum context) {
    return qx::call(this, &IDecimalData::raw_PutContext, context);
  }
  HRESULT PutCurrency(const CComBSTR& currency) {
    return qx::call(this, &IDecimalData::raw_PutCurrency, currency.m_str);
  }

 protected:
  ~IDecimalData() = default;
};

class IRoundedData : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0124);
  virtual HRESULT raw_GetValue(double* out) = 0;

  double GetValue() { return qx::getValue<double>(this, &IRoundedData::raw_GetValue); }

 protected:
  ~IRoundedData() = default;
};

/// The business object 305: display forms by the settings of the company. Each operation gives a
/// recordset with the result in the first field of its first row.
class IDataHelper : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0125);
  virtual HRESULT raw_FormatDateToString(DATE date, IRecordset** out) = 0;
  virtual HRESULT raw_FormatStringToDate(BSTR text, IRecordset** out) = 0;
  virtual HRESULT raw_FormatMoneyToString(double amount, HvMoneyPrecisionTypes precision,
                                          IRecordset** out) = 0;
  /// Fails when no rate is kept for that day.
  virtual HRESULT raw_GetCurrencyRate(BSTR currency, DATE date, IRecordset** out) = 0;

  CComPtr<IRecordset> FormatDateToString(DATE date) {
    return qx::getObject<IRecordset>(this, &IDataHelper::raw_FormatDateToString, date);
  }
  CComPtr<IRecordset> FormatStringToDate(const CComBSTR& text) {
    return qx::getObject<IRecordset>(this, &IDataHelper::raw_FormatStringToDate, text.m_str);
  }
  CComPtr<IRecordset> FormatMoneyToString(double amount, HvMoneyPrecisionTypes precision) {
    return qx::getObject<IRecordset>(this, &IDataHelper::raw_FormatMoneyToString, amount,
                                     precision);
  }
  CComPtr<IRecordset> GetCurrencyRate(const CComBSTR& currency, DATE date) {
    return qx::getObject<IRecordset>(this, &IDataHelper::raw_GetCurrencyRate, currency.m_str, date);
  }

 protected:
  ~IDataHelper() = default;
};
