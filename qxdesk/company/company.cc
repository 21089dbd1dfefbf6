#include "qxdesk/company/company.h"

#include "qxdesk/company/company_service.h"
#include "qxdesk/company/data_helper.h"
#include "qxdesk/company/recordset.h"
#include "qxdesk/company/user_fields_md.h"
#include "qxdesk/company/user_keys_md.h"
#include "qxdesk/company/user_tables_md.h"
#include "qxdesk/engines/open_database.h"
#include "qxdesk/session/type_library.h"
#include "qxdesk/session/ui_session.h"
#include "qxframework/automation/format.h"

#include <array>

namespace qx::desk {

namespace {

constexpr GUID kLibrary = hostId(0x0304);
constexpr std::size_t kCookieBytes = 16;

template <class Object, class... Args>
CComPtr<IDispatch> asDispatch(Args&&... args) {
  return CComPtr<IDispatch>(makeObject<Object>(std::forward<Args>(args)...).p);
}

}  // namespace

Company::Company(CompanyEnvironment environment, OpenDatabase open)
    : session_(std::make_shared<CompanySession>(std::move(environment), std::move(open))) {}

Company::~Company() = default;

HRESULT Company::GetTypeInfoCount(UINT* count) {
  return hostCall([&] { return giveValue(1U, count); });
}

HRESULT Company::GetTypeInfo(UINT index, LCID, ITypeInfo** info) {
  return hostCall([&]() -> HRESULT {
    if (info == nullptr) return E_POINTER;
    *info = nullptr;
    if (index != 0) return DISP_E_BADINDEX;
    *info = makeTypeInfo(kLibrary).Detach();
    return S_OK;
  });
}

HRESULT Company::raw_Connect(long* out) {
  return companyCallWithCode(*session_, out, [&] { session_->open(chooseTarget()); });
}

HRESULT Company::raw_Disconnect() {
  return companyCall(*session_, [&] { session_->close(); });
}

HRESULT Company::raw_PutLanguage(HvLanguages language) {
  return hostCall([&] { session_->setLanguage(language); });
}

HRESULT Company::raw_GetLastError(long* code, BSTR* text) {
  return hostCall([&]() -> HRESULT {
    if (code == nullptr || text == nullptr) return E_POINTER;
    *code = session_->lastCode();
    return giveText(session_->lastText(), text);
  });
}

HRESULT Company::raw_GetBusinessObject(long type, IDispatch** out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  return companyCall(*session_, [&] {
    session_->needOpen();
    *out = makeBusinessObject(type).Detach();
  });
}

CComPtr<IDispatch> Company::makeBusinessObject(long type) {
  switch (type) {
    case kUserFieldsMD:
      return asDispatch<UserFieldsMD>(session_);
    case kUserTablesMD:
      return asDispatch<UserTablesMD>(session_);
    case kUserKeysMD:
      return asDispatch<UserKeysMD>(session_);
    case kRecordset:
      return asDispatch<Recordset>(session_);
    case kDataHelper:
      return asDispatch<DataHelper>(session_);
    default:
      throw CompanyError(kNotFound, Text::UnknownObject, std::to_string(type));
  }
}

HRESULT Company::raw_GetCompanyService(ICompanyService** out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  return companyCall(*session_, [&] {
    session_->needOpen();
    *out = makeObject<CompanyService>(session_).Detach();
  });
}

HRESULT Company::raw_GetContextCookie(BSTR* out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  return companyCall(*session_, [&] {
    cookie_ = newCookie();
    raiseIfFailed(giveText(cookie_, out));
  });
}

HRESULT Company::raw_PutLoginContext(BSTR context) {
  return companyCall(*session_, [&] {
    // One try for a cookie, whatever comes of it.
    const std::u16string cookie = std::exchange(cookie_, {});
    target_ = cookie.empty() ? std::nullopt : decodeLoginContext(viewOfBstr(context), cookie);
    if (!target_) throw CompanyError(kContextRefused, Text::ContextRefused);
  });
}

HRESULT Company::raw_PutConnectionString(BSTR connection) {
  return hostCall([&] { connectionString_ = viewOfBstr(connection); });
}

HRESULT Company::raw_PutUiApplication(IDispatch* application) {
  return hostCall([&] { application_ = application; });
}

HRESULT Company::raw_GetDbServerType(long* out) {
  return hostCall([&] { return giveValue(session_->serverType(), out); });
}

HRESULT Company::raw_GetConnected(VARIANT_BOOL* out) {
  return hostCall([&] { return giveValue(variantBool(session_->isOpen()), out); });
}

HRESULT Company::raw_GetInTransaction(VARIANT_BOOL* out) {
  return hostCall([&] { return giveValue(variantBool(session_->inTransaction()), out); });
}

HRESULT Company::raw_StartTransaction() {
  return companyCall(*session_, [&] { session_->startTransaction(); });
}

HRESULT Company::raw_EndTransaction(VARIANT_BOOL commit) {
  return companyCall(*session_, [&] { session_->endTransaction(commit != VARIANT_FALSE); });
}

std::u16string Company::newCookie() {
  std::array<std::uint8_t, kCookieBytes> bytes{};
  session_->environment().fillRandom(bytes);
  std::u16string cookie;
  for (const std::uint8_t byte : bytes) cookie += format(u"%02X", byte);
  return cookie;
}

LoginTarget Company::chooseTarget() {
  if (application_.p != nullptr) return targetOfClient();
  if (!target_) throw CompanyError(kNoCompanyGiven, Text::NoCompanyGiven);
  return *target_;
}

LoginTarget Company::targetOfClient() {
  const CComQIPtr<IUiSession> client(application_.p);
  if (client.p == nullptr) throw CompanyError(kNoCompanyGiven, Text::ForeignApplication);
  const CComBSTR cookie(newCookie());
  CComBSTR context;
  const HRESULT result = client->GetLoginContext(cookie, &context);
  if (result < 0) {
    throw CompanyError(kNoCompanyGiven, Text::ClientRefused,
                       std::vector{format(u"0x%08X", result)});
  }
  std::optional<LoginTarget> target = decodeLoginContext(context.View(), cookie.View());
  if (!target) throw CompanyError(kContextRefused, Text::ContextRefused);
  return *std::move(target);
}

CComPtr<ICompany> makeCompany() {
  return CComPtr<ICompany>(makeObject<Company>(systemEnvironment(), openDatabase).p);
}

}  // namespace qx::desk
