#pragma once

// Rows of fixed values behind the host's recordset. Whoever makes the recordset says what a
// statement brings.

#include "qxframework/automation/variant.h"
#include "testing/host_calls.h"
#include "testing/host_stubs.h"

#include <functional>
#include <string_view>
#include <utility>
#include <vector>

namespace qx::test {

using FakeRow = std::vector<CComVariant>;
using FakeRows = std::vector<FakeRow>;

class FakeField final : public StubField {
 public:
  explicit FakeField(CComVariant value) : value_(std::move(value)) {}
  HRESULT raw_GetValue(VARIANT* out) override { return VariantCopy(out, &value_); }

 private:
  CComVariant value_;
};

class FakeFields final : public StubFields {
 public:
  explicit FakeFields(FakeRow row) : row_(std::move(row)) {}
  HRESULT raw_Count(long* out) override {
    *out = static_cast<long>(row_.size());
    return S_OK;
  }
  HRESULT raw_Item(const VARIANT& index, IField** out) override {
    const auto position = static_cast<std::size_t>(index.lVal);
    if (index.vt != VT_I4 || position >= row_.size()) return E_INVALIDARG;
    return giveObject<IField>(makeObject<FakeField>(row_[position]).p, out);
  }

 private:
  FakeRow row_;
};

class FakeRecordset final : public StubRecordset {
 public:
  /// Runs a statement: the code, and the rows if it went well.
  using Run = std::function<HRESULT(std::u16string_view statement, FakeRows& rows)>;

  /// With `rows` before any statement. The calls must outlive it.
  FakeRecordset(HostCalls& calls, Run run, FakeRows rows = {})
      : calls_(calls), run_(std::move(run)), rows_(std::move(rows)) {}

  HRESULT raw_DoQuery(BSTR sql) override {
    row_ = 0;
    rows_.clear();
    return run_(viewOfBstr(sql), rows_);
  }
  HRESULT raw_MoveFirst() override {
    row_ = 0;
    return calls_.enter("Recordset.MoveFirst");
  }
  HRESULT raw_MoveNext() override {
    if (row_ < rows_.size()) ++row_;
    return S_OK;
  }
  HRESULT raw_GetEoF(VARIANT_BOOL* out) override {
    *out = row_ >= rows_.size() ? VARIANT_TRUE : VARIANT_FALSE;
    return S_OK;
  }
  HRESULT raw_GetRecordCount(long* out) override {
    *out = static_cast<long>(rows_.size());
    return S_OK;
  }
  HRESULT raw_GetFields(IFields** out) override {
    if (row_ >= rows_.size()) return E_UNEXPECTED;
    return giveObject<IFields>(makeObject<FakeFields>(rows_[row_]).p, out);
  }

 private:
  HostCalls& calls_;
  Run run_;
  FakeRows rows_;
  std::size_t row_ = 0;
};

}  // namespace qx::test
