#include "testing/scripted_recordset.h"

#include <algorithm>
#include <utility>

namespace qx::test {
namespace {

class ScriptedRecordset;

class ScriptedField final : public StubField {
 public:
  /// `value` is null if the cursor is on no row.
  ScriptedField(std::u16string name, const CComVariant* value)
      : name_(std::move(name)), value_(value) {}
  HRESULT raw_GetName(BSTR* out) override { return giveText(name_, out); }
  HRESULT raw_GetValue(VARIANT* out) override {
    return value_ == nullptr ? E_UNEXPECTED : VariantCopy(out, value_);
  }

 private:
  std::u16string name_;
  const CComVariant* value_;
};

/// The fields of the row on which the cursor is at the time of the call.
class ScriptedFields final : public StubFields {
 public:
  ScriptedFields(CComPtr<ScriptedCompany> company, CComPtr<ScriptedRecordset> recordset)
      : company_(std::move(company)), recordset_(std::move(recordset)) {}
  HRESULT raw_Count(long* out) override;
  HRESULT raw_Item(const VARIANT& index, IField** out) override;

 private:
  CComPtr<ScriptedCompany> company_;
  CComPtr<ScriptedRecordset> recordset_;
};

class ScriptedRecordset final : public StubRecordset {
 public:
  ScriptedRecordset(ScriptedCompany* company, int number, ScriptedRows rows)
      : company_(company), number_(number), rows_(std::move(rows)) {}

  HRESULT raw_DoQuery(BSTR sql) override {
    ScriptedRows found;
    const HRESULT hr = company_->run(number_, viewOfBstr(sql), found);
    rows_ = std::move(found);
    position_ = 0;
    return hr;
  }
  HRESULT raw_MoveFirst() override { return moveTo("MoveFirst", 0); }
  HRESULT raw_MoveLast() override { return moveTo("MoveLast", count() - 1); }
  HRESULT raw_MoveNext() override { return moveTo("MoveNext", std::min(position_ + 1, count())); }
  HRESULT raw_MovePrevious() override {
    return moveTo("MovePrevious", std::max(position_ - 1, -1L));
  }
  HRESULT raw_GetBoF(VARIANT_BOOL* out) override {
    *out = count() == 0 || position_ < 0 ? company_->truth : VARIANT_FALSE;
    return company_->calls.enter("Recordset.GetBoF");
  }
  HRESULT raw_GetEoF(VARIANT_BOOL* out) override {
    *out = position_ >= count() ? company_->truth : VARIANT_FALSE;
    return company_->calls.enter("Recordset.GetEoF");
  }
  HRESULT raw_GetRecordCount(long* out) override {
    *out = count();
    return company_->calls.enter("Recordset.GetRecordCount");
  }
  HRESULT raw_GetFields(IFields** out) override {
    ++company_->fieldsRead;
    return giveObject<IFields>(makeObject<ScriptedFields>(company_, this).p, out);
  }

  const std::vector<std::u16string>& columns() const { return rows_.columns; }
  /// Returns the number of values that a row has, 0 for unnamed columns without a row.
  std::size_t width() const {
    if (!rows_.columns.empty()) return rows_.columns.size();
    return row() == nullptr ? 0 : row()->size();
  }
  const CComVariant* value(std::size_t column) const {
    return row() == nullptr ? nullptr : &(*row())[column];
  }

 private:
  long count() const { return static_cast<long>(rows_.rows.size()); }
  const ScriptedRow* row() const {
    if (position_ < 0 || position_ >= count()) return nullptr;
    return &rows_.rows[static_cast<std::size_t>(position_)];
  }
  HRESULT moveTo(const char* operation, long position) {
    const HRESULT hr = company_->calls.record(std::string("Recordset.") + operation);
    if (hr >= 0) position_ = position;
    return hr;
  }

  CComPtr<ScriptedCompany> company_;
  int number_;
  ScriptedRows rows_;
  long position_ = 0;
};

HRESULT ScriptedFields::raw_Count(long* out) {
  *out = static_cast<long>(recordset_->width());
  return S_OK;
}

HRESULT ScriptedFields::raw_Item(const VARIANT& index, IField** out) {
  ++company_->itemsRead;
  const auto& columns = recordset_->columns();
  auto position = static_cast<std::size_t>(index.lVal);
  if (index.vt == VT_BSTR) {
    const auto found = std::find(columns.begin(), columns.end(), viewOfBstr(index.bstrVal));
    if (found == columns.end()) return DISP_E_BADINDEX;
    position = static_cast<std::size_t>(found - columns.begin());
  }
  if (position >= recordset_->width()) return DISP_E_BADINDEX;
  const std::u16string name = columns.empty() ? u"" : columns[position];
  return giveObject<IField>(makeObject<ScriptedField>(name, recordset_->value(position)).p, out);
}

}  // namespace

CComPtr<IRecordset> makeRecordset(ScriptedCompany& company, ScriptedRows rows) {
  const int number = ++company.recordsets;
  return makeObject<ScriptedRecordset>(&company, number, std::move(rows)).p;
}

}  // namespace qx::test
