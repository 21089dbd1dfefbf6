#include "qxframework/foundation/time_stamp.h"

#include "qxframework/foundation/numbers.h"
#include "qxframework/host/application.h"
#include "qxframework/os/clock.h"

#include <chrono>

CQXTimeStamp::~CQXTimeStamp() = default;

int CQXTimeStamp::getTimeAsInt() const {
  return static_cast<int>(qx::leadingNumber(getTime().View()));
}

void CQXTimeStamp::setCurrentStamp(CComPtr<IApplication> application) {
  const CComPtr<IHostCompany> company = application->GetCompanyInfo();
  const CComBSTR user = company->GetUserName();
  // The two other texts are read as well, so a host that cannot give them fails here, but they are
  // not used. All reads precede the first change of this stamp.
  company->GetCompanyName();
  company->GetDatabaseName();
  const auto now = qx::currentClock().now();
  m_DateTime = COleDateTime::FromUnixTime(std::chrono::system_clock::to_time_t(now));
  m_bstrUser = user;
}

void CQXTimeStamp::setStamp(CQXDateTime date, CComBSTR user) {
  m_DateTime = date;
  m_bstrUser = user;
}

void CQXTimeStamp::Clear() {
  m_DateTime.Clear();
  m_bstrUser = u"";
}
