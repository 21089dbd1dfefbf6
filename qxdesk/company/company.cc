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
#include "qxframework/automation/text.h"

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

// The type information exists for the version of the library; nothing is called by its ids.
HRESULT Company::GetTypeInfoCount(UINT* count) {
  return run([&] { return giveValue(1U, count); });
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
  return run([&] { session_->setLanguage(language); });
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
  // Outside the call gate: also a refused call must not leave an undefined pointer.
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
    // A cookie is good for one attempt, so that an old answer of the client cannot be used again.
    const std::u16string cookie = std::exchange(cookie_, {});
    target_ = cookie.empty() ? std::nullopt : decodeLoginContext(viewOfBstr(context), cookie);
    if (!target_) throw CompanyError(kContextRefused, Text::ContextRefused);
  });
}

HRESULT Company::raw_PutConnectionString(BSTR connection) {
  return run([&] { connectionString_ = viewOfBstr(connection); });
}

HRESULT Company::raw_PutUiApplication(IDispatch* application) {
  return run([&] { application_ = application; });
}

HRESULT Company::raw_GetDbServerType(long* out) {
  return give(out, [&] { return session_->serverType(); });
}

HRESULT Company::raw_GetConnected(VARIANT_BOOL* out) {
  return giveFlag(out, [&] { return session_->isOpen(); });
}

HRESULT Company::raw_GetInTransaction(VARIANT_BOOL* out) {
  return giveFlag(out, [&] { return session_->inTransaction(); });
}

HRESULT Company::raw_StartTransaction() {
  return companyCall(*session_, [&] { session_->startTransaction(); });
}

HRESULT Company::raw_EndTransaction(HvEndTransaction end) {
  return companyCall(*session_, [&] { session_->endTransaction(end == et_Commit); });
}

HRESULT Company::raw_GetCompanyDB(BSTR* out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  return companyCall(*session_,
                     [&] { raiseIfFailed(giveText(toUtf16(session_->nameOfDatabase()), out)); });
}

HRESULT Company::raw_GetLastFault(long* out) {
  return give(out, [&] { return session_->lastFault(); });
}

HRESULT Company::raw_LockTables(long milliseconds, VARIANT_BOOL* locked, BSTR* holder) {
  if (locked == nullptr || holder == nullptr) return E_POINTER;
  *locked = VARIANT_FALSE;
  *holder = nullptr;
  return companyCall(*session_, [&] {
    const std::optional<std::u16string> other =
        session_->lockTables(std::chrono::milliseconds(milliseconds));
    *locked = variantBool(!other);
    if (other) raiseIfFailed(giveText(*other, holder));
  });
}

HRESULT Company::raw_UnlockTables() {
  return hostCall(
      [&]() -> HRESULT { return session_->attemptAfterwards([&] { session_->unlockTables(); }); });
}

HRESULT Company::raw_ContinueCodes(BSTR table, long next, VARIANT_BOOL* out) {
  if (out == nullptr) return E_POINTER;
  *out = VARIANT_FALSE;
  return companyCall(*session_, [&] {
    *out = variantBool(session_->continueCodes(toUtf8(viewOfBstr(table)), next));
  });
}

std::u16string Company::newCookie() {
  std::array<std::uint8_t, kCookieBytes> bytes{};
  // Random, so that another process cannot guess the cookie and forge an answer of the client.
  session_->environment().fillRandom(bytes);
  constexpr std::u16string_view kDigits = u"0123456789ABCDEF";
  std::u16string cookie;
  for (const std::uint8_t byte : bytes) (cookie += kDigits[byte >> 4]) += kDigits[byte & 0xF];
  return cookie;
}

// An attached client takes precedence over a stored context.
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
