#include "qxframework/persistence/testing/scripted_company.h"

#include <algorithm>

namespace qx::test {
namespace {

class ScriptedRecordset;

class ScriptedField final : public StubField {
 public:
  ScriptedField(std::u16string name, const CComVariant* value)
      : name_(std::move(name)), value_(value) {}
  HRESULT raw_GetName(BSTR* out) override { return giveText(name_, out); }
  HRESULT raw_GetValue(VARIANT* out) override {
    return value_ == nullptr ? E_UNEXPECTED : VariantCopy(out, value_);
  }

 private:
  std::u16string name_;
  const CComVariant* value_;  // null where there is no row
};

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
  ScriptedRecordset(ScriptedCompany* company, int number) : company_(company), number_(number) {}

  HRESULT raw_DoQuery(BSTR sql) override {
    const std::u16string statement(viewOfBstr(sql));
    company_->runs.push_back({number_, statement});
    if (static_cast<int>(company_->runs.size()) == company_->failStatement)
      return company_->statementFailure;
    const auto answer = company_->answers.find(statement);
    rows_ = answer == company_->answers.end() ? company_->otherwise : answer->second;
    position_ = 0;
    return company_->statementResult;
  }
  HRESULT raw_MoveFirst() override { return moveTo("MoveFirst", 0); }
  HRESULT raw_MoveLast() override { return moveTo("MoveLast", count() - 1); }
  HRESULT raw_MoveNext() override { return moveTo("MoveNext", std::min(position_ + 1, count())); }
  HRESULT raw_MovePrevious() override {
    return moveTo("MovePrevious", std::max(position_ - 1, -1L));
  }
  HRESULT raw_GetBoF(VARIANT_BOOL* out) override {
    *out = count() == 0 || position_ < 0 ? company_->truth : VARIANT_FALSE;
    return company_->resultOf("GetBoF");
  }
  HRESULT raw_GetEoF(VARIANT_BOOL* out) override {
    *out = position_ >= count() ? company_->truth : VARIANT_FALSE;
    return company_->resultOf("GetEoF");
  }
  HRESULT raw_GetRecordCount(long* out) override {
    *out = count();
    return company_->resultOf("GetRecordCount");
  }
  HRESULT raw_GetFields(IFields** out) override {
    ++company_->fieldsRead;
    return giveObject<IFields>(makeObject<ScriptedFields>(company_, this).p, out);
  }

  const ScriptedRows& rows() const { return rows_; }
  const CComVariant* value(std::size_t column) const {
    if (position_ < 0 || position_ >= count()) return nullptr;
    return &rows_.rows[static_cast<std::size_t>(position_)][column];
  }

 private:
  long count() const { return static_cast<long>(rows_.rows.size()); }
  HRESULT moveTo(const char* operation, long position) {
    company_->moves.push_back(operation);
    const HRESULT hr = company_->resultOf(operation);
    if (hr >= 0) position_ = position;
    return hr;
  }

  CComPtr<ScriptedCompany> company_;
  int number_;
  ScriptedRows rows_;
  long position_ = 0;
};

HRESULT ScriptedFields::raw_Count(long* out) {
  *out = static_cast<long>(recordset_->rows().columns.size());
  return S_OK;
}

HRESULT ScriptedFields::raw_Item(const VARIANT& index, IField** out) {
  ++company_->itemsRead;
  const auto& columns = recordset_->rows().columns;
  auto position = static_cast<std::size_t>(index.lVal);
  if (index.vt == VT_BSTR) {
    const auto found = std::find(columns.begin(), columns.end(), viewOfBstr(index.bstrVal));
    position = static_cast<std::size_t>(found - columns.begin());
  }
  if (position >= columns.size()) return DISP_E_BADINDEX;
  return giveObject<IField>(
      makeObject<ScriptedField>(columns[position], recordset_->value(position)).p, out);
}

}  // namespace

HRESULT ScriptedCompany::resultOf(const std::string& operation) const {
  const auto found = results.find(operation);
  return found == results.end() ? S_OK : found->second;
}

HRESULT ScriptedCompany::raw_GetLastError(long* code, BSTR* text) {
  *code = errorCode;
  const HRESULT hr = resultOf("GetLastError");
  return hr < 0 ? hr : giveText(errorText, text);
}

HRESULT ScriptedCompany::raw_GetDbServerType(long* out) {
  *out = serverType;
  return resultOf("GetDbServerType");
}

HRESULT ScriptedCompany::raw_GetBusinessObject(long type, IDispatch** out) {
  if (type != kRecordset) return E_INVALIDARG;
  const HRESULT hr = resultOf("GetBusinessObject");
  if (hr < 0) return hr;
  return giveObject<IDispatch>(makeObject<ScriptedRecordset>(this, ++recordsets).p, out);
}

std::vector<std::u16string> ScriptedCompany::statements() const {
  std::vector<std::u16string> texts;
  for (const Run& run : runs) texts.push_back(run.statement);
  return texts;
}

CComPtr<ScriptedCompany> makeScriptedCompany() { return makeObject<ScriptedCompany>(); }

}  // namespace qx::test
