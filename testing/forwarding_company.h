#pragma once

// A company that passes every operation on to another one. Classes derive from it to change single
// operations.

#include "qxframework/automation/com_object.h"
#include "qxframework/host/company.h"
#include "qxframework/host/company_sharing.h"

#include <utility>

namespace qx::test {

class ForwardingCompany : public NoDispatch<ComObject<ICompany>> {
 public:
  explicit ForwardingCompany(CComPtr<ICompany> real) : real_(std::move(real)) {}

  HRESULT QueryInterface(REFIID iid, void** object) override {
    if (iid == ICompanySharing::kIid) return real_->QueryInterface(iid, object);
    return NoDispatch<ComObject<ICompany>>::QueryInterface(iid, object);
  }
  HRESULT raw_Connect(long* out) override { return real_->raw_Connect(out); }
  HRESULT raw_Disconnect() override { return real_->raw_Disconnect(); }
  HRESULT raw_PutLanguage(HvLanguages language) override {
    return real_->raw_PutLanguage(language);
  }
  HRESULT raw_GetLastError(long* code, BSTR* text) override {
    return real_->raw_GetLastError(code, text);
  }
  HRESULT raw_GetBusinessObject(long type, IDispatch** out) override {
    return real_->raw_GetBusinessObject(type, out);
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
  HRESULT raw_EndTransaction(HvEndTransaction end) override {
    return real_->raw_EndTransaction(end);
  }
  HRESULT raw_GetCompanyDB(BSTR* out) override { return real_->raw_GetCompanyDB(out); }

 private:
  CComPtr<ICompany> real_;
};

}  // namespace qx::test
