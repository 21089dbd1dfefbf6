#pragma once

// The objects of a company for amounts and dates: the helper with the display forms and rates, and
// the rounding service. A test sets their answers; each call is recorded in the company's list.

#include "testing/scripted_company.h"
#include "testing/scripted_recordset.h"

#include <cstdio>
#include <string>

namespace qx::test {

/// Returns the number with up to 15 digits.
inline std::string shown(double number) {
  char text[40];
  std::snprintf(text, sizeof text, "%.15g", number);
  return text;
}

/// Records "Helper.Operation(arguments)" and answers each operation with `rows`. The company must
/// outlive it.
class FakeDataHelper final : public StubDataHelper {
 public:
  explicit FakeDataHelper(ScriptedCompany& company) : company_(company) {}

  HRESULT raw_FormatDateToString(DATE date, IRecordset** out) override {
    return answer("FormatDateToString", shown(date), out);
  }
  HRESULT raw_FormatStringToDate(BSTR text, IRecordset** out) override {
    return answer("FormatStringToDate", narrow(text), out);
  }
  HRESULT raw_FormatMoneyToString(double amount, HvMoneyPrecisionTypes precision,
                                  IRecordset** out) override {
    return answer("FormatMoneyToString", shown(amount) + ", " + std::to_string(precision), out);
  }
  HRESULT raw_GetCurrencyRate(BSTR currency, DATE date, IRecordset** out) override {
    return answer("GetCurrencyRate", narrow(currency) + ", " + shown(date), out);
  }

  std::vector<ScriptedRow> rows;

 private:
  HRESULT answer(const std::string& operation, const std::string& arguments, IRecordset** out) {
    const HRESULT hr = company_.calls.record("Helper." + operation, arguments);
    return hr < 0 ? hr : giveObject<IRecordset>(makeRecordset(company_, {{}, rows}), out);
  }

  ScriptedCompany& company_;
};

class FakeDecimalData final : public NoDispatch<ComObject<IDecimalData>> {
 public:
  explicit FakeDecimalData(HostCalls& calls) : calls_(calls) {}
  HRESULT raw_PutValue(double value) override {
    return calls_.record("Data.PutValue", shown(value));
  }
  HRESULT raw_PutContext(RoundingContextEnum context) override {
    return calls_.record("Data.PutContext", std::to_string(context));
  }
  HRESULT raw_PutCurrency(BSTR currency) override {
    return calls_.record("Data.PutCurrency", narrow(currency));
  }

 private:
  HostCalls& calls_;
};

class FakeRoundedData final : public NoDispatch<ComObject<IRoundedData>> {
 public:
  FakeRoundedData(HostCalls& calls, double value) : calls_(calls), value_(value) {}
  HRESULT raw_GetValue(double* out) override {
    *out = value_;
    return calls_.enter("Rounded.GetValue");
  }

 private:
  HostCalls& calls_;
  double value_;
};

/// Rounds every amount to `rounded`.
class FakeCompanyService final : public NoDispatch<ComObject<ICompanyService>> {
 public:
  explicit FakeCompanyService(HostCalls& calls) : calls_(calls) {}
  HRESULT raw_GetDataInterface(long type, IDispatch** out) override {
    const HRESULT hr = calls_.record("Service.GetDataInterface", std::to_string(type));
    return hr < 0 ? hr : giveObject<IDispatch>(makeObject<FakeDecimalData>(calls_).p, out);
  }
  HRESULT raw_RoundDecimal(IDecimalData*, IRoundedData** out) override {
    const HRESULT hr = calls_.record("Service.RoundDecimal", "");
    if (hr < 0) return hr;
    return giveObject<IRoundedData>(makeObject<FakeRoundedData>(calls_, rounded).p, out);
  }

  double rounded = 0;

 private:
  HostCalls& calls_;
};

}  // namespace qx::test
