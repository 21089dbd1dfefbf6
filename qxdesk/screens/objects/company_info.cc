#include "qxdesk/screens/objects/company_info.h"

#include "qxdesk/screens/objects/host_object.h"
#include "qxdesk/session/login_context.h"

#include <utility>

namespace qx::screens {
namespace {

class CompanyInfo final : public HostObject<IHostCompany> {
 public:
  using HostObject::HostObject;

  HRESULT raw_GetUserName(BSTR* out) override {
    return giveString(out, [&] { return desk().settings().userName; });
  }
  HRESULT raw_GetCompanyName(BSTR* out) override {
    return giveString(out, [&] { return desk().companyName(); });
  }
  HRESULT raw_GetDatabaseName(BSTR* out) override {
    return giveString(out, [&] { return desk().databaseName(); });
  }
  HRESULT raw_GetConnectionContext(BSTR cookie, BSTR* out) override {
    return giveString(out, [&] { return loginContextOf(desk(), viewOfBstr(cookie)); });
  }
};

}  // namespace

CComPtr<IHostCompany> makeCompanyInfo(std::shared_ptr<Client> client) {
  return makeObject<CompanyInfo>(std::move(client));
}

std::u16string loginContextOf(const Desk& desk, std::u16string_view cookie) {
  // Of this moment and not of the start: the user may have changed to another company.
  const DeskSettings& settings = desk.settings();
  const desk::LoginTarget target{settings.database,        settings.dbServerType,
                                 settings.language,        settings.userName,
                                 desk.companyName(),       settings.acceptBrackets,
                                 settings.keepsStatements, settings.memoryMegabytes};
  return desk::encodeLoginContext(target, cookie);
}

}  // namespace qx::screens
