#include "testing/spying_company.h"

#include "qxframework/automation/text.h"

namespace qx::test {
namespace {

class SpyingRecordset final : public NoDispatch<ComObject<IRecordset>> {
 public:
  SpyingRecordset(CComPtr<IRecordset> real, StatementLog* log)
      : real_(std::move(real)), log_(log) {}

  HRESULT raw_DoQuery(BSTR sql) override {
    log_->texts.push_back(toUtf8(viewOfBstr(sql)));
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

class SpyingCompany final : public NoDispatch<ComObject<ICompany>> {
 public:
  SpyingCompany(CComPtr<ICompany> real, StatementLog* log) : real_(std::move(real)), log_(log) {}

  HRESULT raw_GetBusinessObject(long type, IDispatch** out) override {
    if (type != kRecordset) return real_->raw_GetBusinessObject(type, out);
    CComPtr<IDispatch> made;
    const HRESULT result = real_->raw_GetBusinessObject(type, &made.p);
    if (result < 0) return result;
    *out = makeObject<SpyingRecordset>(CComQIPtr<IRecordset>(made), log_).Detach();
    return result;
  }
  HRESULT raw_GetLastError(long* code, BSTR* text) override {
    if (log_->refuse == 0 || log_->texts.size() != log_->refuse)
      return real_->raw_GetLastError(code, text);
    *code = -2000;
    *text = CComBSTR(u"the database refused").Detach();
    return S_OK;
  }
  HRESULT raw_Connect(long* out) override { return real_->raw_Connect(out); }
  HRESULT raw_Disconnect() override { return real_->raw_Disconnect(); }
  HRESULT raw_PutLanguage(HvLanguages language) override {
    return real_->raw_PutLanguage(language);
  }
  HRESULT raw_GetCompanyService(ICompanyService** out) override {
    return real_->raw_GetCompanyService(out);
  }
  HRESULT raw_GetContextCookie(BSTR* out) override { return real_->raw_GetContextCookie(out); }
  HRESULT raw_PutLoginContext(BSTR context) override { return real_->raw_PutLoginContext(context); }
  HRESULT raw_PutConnectionString(BSTR connection) override {
    return real_->raw_PutConnectionString(connection);
  }
  HRESULT raw_PutUiApplication(IDispatch* application) override {
    return real_->raw_PutUiApplication(application);
  }
  HRESULT raw_GetDbServerType(long* out) override { return real_->raw_GetDbServerType(out); }
  HRESULT raw_GetConnected(VARIANT_BOOL* out) override { return real_->raw_GetConnected(out); }
  HRESULT raw_GetInTransaction(VARIANT_BOOL* out) override {
    return real_->raw_GetInTransaction(out);
  }
  HRESULT raw_StartTransaction() override { return real_->raw_StartTransaction(); }
  HRESULT raw_EndTransaction(VARIANT_BOOL commit) override {
    return real_->raw_EndTransaction(commit);
  }

 private:
  CComPtr<ICompany> real_;
  StatementLog* log_;
};

}  // namespace

CComPtr<ICompany> spyOn(const CComPtr<ICompany>& company, StatementLog* log) {
  return CComPtr<ICompany>(makeObject<SpyingCompany>(company, log).p);
}

}  // namespace qx::test
