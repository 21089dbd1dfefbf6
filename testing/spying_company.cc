#include "testing/spying_company.h"

#include "qxframework/automation/text.h"
#include "testing/forwarding_company.h"

namespace qx::test {
namespace {

class SpyingRecordset final : public NoDispatch<ComObject<IRecordset>> {
 public:
  SpyingRecordset(CComPtr<IRecordset> real, StatementLog* log)
      : real_(std::move(real)), log_(log) {}

  HRESULT raw_DoQuery(BSTR sql) override {
    log_->texts.push_back(toUtf8(viewOfBstr(sql)));
    if (log_->onStatement) log_->onStatement();
    if (log_->texts.size() == log_->refuse) return E_FAIL;
    return real_->raw_DoQuery(sql);
  }
  HRESULT raw_GetFields(IFields** out) override { return real_->raw_GetFields(out); }
  HRESULT raw_MoveNext() override { return real_->raw_MoveNext(); }
  HRESULT raw_MovePrevious() override { return real_->raw_MovePrevious(); }
  HRESULT raw_GetBoF(VARIANT_BOOL* out) override { return real_->raw_GetBoF(out); }
  HRESULT raw_GetEoF(VARIANT_BOOL* out) override { return real_->raw_GetEoF(out); }
  HRESULT raw_GetRecordCount(long* out) override { return real_->raw_GetRecordCount(out); }
  HRESULT raw_MoveFirst() override { return real_->raw_MoveFirst(); }
  HRESULT raw_MoveLast() override { return real_->raw_MoveLast(); }

 private:
  CComPtr<IRecordset> real_;
  StatementLog* log_;
};

class SpyingCompany final : public ForwardingCompany {
 public:
  SpyingCompany(const CComPtr<ICompany>& real, StatementLog* log)
      : ForwardingCompany(real), log_(log) {}

  HRESULT raw_GetBusinessObject(long type, IDispatch** out) override {
    CComPtr<IDispatch> made;
    const HRESULT result = ForwardingCompany::raw_GetBusinessObject(type, &made.p);
    if (result < 0) return result;
    if (type == kRecordset) made = makeObject<SpyingRecordset>(CComQIPtr<IRecordset>(made), log_).p;
    *out = made.Detach();
    return result;
  }
  HRESULT raw_GetLastError(long* code, BSTR* text) override {
    if (log_->refuse == 0 || log_->texts.size() != log_->refuse)
      return ForwardingCompany::raw_GetLastError(code, text);
    *code = -2000;
    *text = CComBSTR(u"the database refused").Detach();
    return S_OK;
  }

 private:
  StatementLog* log_;
};

}  // namespace

CComPtr<ICompany> spyOn(const CComPtr<ICompany>& company, StatementLog* log) {
  return CComPtr<ICompany>(makeObject<SpyingCompany>(company, log).p);
}

}  // namespace qx::test
