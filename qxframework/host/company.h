#pragma once

// The company database: connection, transactions, last error, and the objects made by number.
// gui_api.h states the rules of all host interfaces.
//
// Codes of a failure here: -2000 the database refused a statement, -2100 not connected, -2101 no
// company given, -2102 the company cannot be opened, -2103 the login context is refused, -2104
// wrong state of the transaction, -2105 not found, -2106 invalid value, -2107 exists already.
// ICompany::GetLastError has the sentence for each.

#include "qxframework/automation/host_call.h"
#include "qxframework/automation/variant.h"
#include "qxframework/host/enums.h"
#include "qxframework/host/ids.h"
#include "qxframework/host/recordset.h"

class ICompanyService;
class IDecimalData;
class IRoundedData;

namespace qx {

/// Numbers of ICompany::GetBusinessObject, which are the host's object types.
enum BusinessObject : long {
  kUserFieldsMD = 152,  ///< IUserFieldsMD
  kUserTablesMD = 153,  ///< IUserTablesMD
  kUserKeysMD = 193,    ///< IUserKeysMD
  kRecordset = 300,     ///< IRecordset
  kDataHelper = 305,    ///< IDataHelper
};

/// Server types: the dialects in which the statements of a company are written. Every other value
/// counts as kMssql.
enum DbServerType : long { kMssql = 1, kDb2 = 2, kSybase = 3, kKordb = 9 };

/// The number of ICompanyService::GetDataInterface for an IDecimalData.
inline constexpr long kDecimalData = 11;

}  // namespace qx

/// The connection of an add-on to a company. Created by CLSID_HalvexCompany. It belongs to the
/// framework's event sink; an add-on gets it in OnApplicationLoad and OnChangeCompany.
class ICompany : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0121);
  /// Connects to the company that PutUiApplication or PutLoginContext chose. Returns 0, or the code
  /// of the failure, which GetLastError explains; neither is thrown. A company that is connected
  /// already is such a failure (-2102).
  virtual HRESULT raw_Connect(long* out) = 0;
  /// Closes the connection and rolls back an open transaction. Without a connection nothing
  /// happens.
  virtual HRESULT raw_Disconnect() = 0;
  /// Sets the language of the texts of GetLastError, from the next failure on. Until then it is the
  /// client's.
  virtual HRESULT raw_PutLanguage(HvLanguages language) = 0;
  /// Returns code and text of the last operation on this company and its objects that can fail: 0
  /// and an empty text if it succeeded. The texts are UTF-16 sentences for a user; -2000 has the
  /// words of the database, with line and column where they are known.
  virtual HRESULT raw_GetLastError(long* code, BSTR* text) = 0;
  /// Returns a new object of the company, by qx::BusinessObject; query it for the interface named
  /// there. Fails with -2100 without a connection and with -2105 for another number.
  virtual HRESULT raw_GetBusinessObject(long type, IDispatch** out) = 0;
  /// Returns the service that rounds amounts. Fails with -2100 without a connection.
  virtual HRESULT raw_GetCompanyService(ICompanyService** out) = 0;
  /// First step of the hand-shake: returns a new random text, which
  /// IHostCompany::GetConnectionContext answers. An earlier cookie of this object is no longer
  /// good.
  virtual HRESULT raw_GetContextCookie(BSTR* out) = 0;
  /// Last step of the hand-shake: takes the answer of the client, by which the next Connect knows
  /// the company and the user. Fails with -2103 for a text that does not answer the last cookie;
  /// one cookie is good for one try, successful or not.
  virtual HRESULT raw_PutLoginContext(BSTR context) = 0;
  /// Sets the text that names the add-on to the database. The stand-in host accepts any text and
  /// does not use it.
  virtual HRESULT raw_PutConnectionString(BSTR connection) = 0;
  /// Sets the running client through which Connect logs in, an IApplication of the same host; null
  /// if the hand-shake is used instead. The company keeps a reference.
  virtual HRESULT raw_PutUiApplication(IDispatch* application) = 0;
  /// Returns the server type of the company, one of qx::DbServerType: the dialect that statements
  /// have to be written in.
  virtual HRESULT raw_GetDbServerType(long* out) = 0;
  /// True while the connection is open. It turns false once a call has found the connection lost.
  virtual HRESULT raw_GetConnected(VARIANT_BOOL* out) = 0;
  /// True between StartTransaction and EndTransaction.
  virtual HRESULT raw_GetInTransaction(VARIANT_BOOL* out) = 0;
  /// Begins a transaction for all objects of this company. Fails with -2104 while one is open, with
  /// -2000 if the database can only be read.
  virtual HRESULT raw_StartTransaction() = 0;
  /// Commits or rolls back the open transaction. Fails with -2104 if none is open, or if the engine
  /// has ended it by itself and it should be committed. After a failure no transaction is open.
  virtual HRESULT raw_EndTransaction(HvEndTransaction end) = 0;
  /// Returns the name of the company database, by which two companies can be told apart: the path
  /// of a file, or an ODBC connection string with its passwords as "***". Fails with -2100 without
  /// a connection.
  virtual HRESULT raw_GetCompanyDB(BSTR* out) = 0;

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
  HRESULT EndTransaction(HvEndTransaction end) {
    return qx::call(this, &ICompany::raw_EndTransaction, end);
  }
  CComBSTR GetCompanyDB() { return qx::getText(this, &ICompany::raw_GetCompanyDB); }

 protected:
  ~ICompany() = default;
};

/// Rounds amounts by the settings of the company.
class ICompanyService : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0122);
  /// Returns a new, empty data object; `type` is qx::kDecimalData. Fails with -2105 for another
  /// number.
  virtual HRESULT raw_GetDataInterface(long type, IDispatch** out) = 0;
  /// Rounds the amount in `data` half away from zero and returns the result. Fails with -2106 for
  /// an amount that is not finite; a `data` of another host, or null, is refused with E_INVALIDARG.
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

/// An amount that is to be rounded. It starts as 0, with rc_Default and without a currency, and may
/// be used several times.
class IDecimalData : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0123);
  /// Sets the amount.
  virtual HRESULT raw_PutValue(double value) = 0;
  /// Sets the purpose, which decides the number of decimal places.
  virtual HRESULT raw_PutContext(RoundingContextEnum context) = 0;
  /// Sets the code of the currency, such as "EUR". Some countries round sums in their own currency
  /// to whole units: forints have no coins.
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

/// The result of ICompanyService::RoundDecimal.
class IRoundedData : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0124);
  /// Returns the rounded amount, the double nearest to its decimal digits.
  virtual HRESULT raw_GetValue(double* out) = 0;

  double GetValue() { return qx::getValue<double>(this, &IRoundedData::raw_GetValue); }

 protected:
  ~IRoundedData() = default;
};

/// Business object 305: the display forms of dates and amounts by the settings of the company. Each
/// operation returns a new recordset with the result in the first field of its only row.
class IDataHelper : public IDispatch {
 public:
  static constexpr GUID kIid = qx::hostId(0x0125);
  /// Writes the date in the company's form, as VT_BSTR: parts in its order, with its separator. The
  /// time of day is left out, and 0.0 becomes the empty text. Fails with -2106 for a number that is
  /// no date.
  virtual HRESULT raw_FormatDateToString(DATE date, IRecordset** out) = 0;
  /// Reads such a text as VT_DATE at 0:00. It may have other separators (".", "/", "-" or a blank),
  /// none at all, and a year of two digits, 1930 to 2029. A blank text is the date 0.0. Fails with
  /// -2106 for any other text.
  virtual HRESULT raw_FormatStringToDate(BSTR text, IRecordset** out) = 0;
  /// Writes the amount in the company's form, as VT_BSTR: with its separators and as many decimal
  /// places as it has for `precision`, and with its currency if it shows that. Fails with -2106 for
  /// an amount that is not finite.
  virtual HRESULT raw_FormatMoneyToString(double amount, HvMoneyPrecisionTypes precision,
                                          IRecordset** out) = 0;
  /// Returns the rate of a currency on the day of `date`, as VT_R8 in the company's own currency,
  /// which has the rate 1. Fails with -2105 if there is none for that day.
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
