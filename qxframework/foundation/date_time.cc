#include "qxframework/foundation/date_time.h"

#include "qxframework/foundation/internal/first_field.h"
#include "qxframework/foundation/numbers.h"
#include "qxframework/host/company.h"
#include "qxframework/os/clock.h"

#include <algorithm>
#include <chrono>

namespace {

constexpr qx::CivilTime kNoParts{-1, -1, -1, -1, -1, -1};

// Returns the parts, or -1 each if the double is no date. The status is not asked here: it may
// disagree with the double.
qx::CivilTime partsOf(const COleDateTime& date) {
  qx::CivilTime parts = kNoParts;
  date.GetAsCivilTime(parts);
  return parts;
}

bool isNoDate(const qx::CivilTime& parts) { return parts == kNoParts; }

void setParts(COleDateTime& date, const qx::CivilTime& parts) {
  date.SetDateTime(parts.year, parts.month, parts.day, parts.hour, parts.minute, parts.second);
}

int numberAt(const CString& text, int first, int count) {
  return static_cast<int>(qx::leadingNumber(text.Mid(first, count).View()));
}

struct Day {
  int year = 0;
  int month = 0;
  int day = 0;
};

// Returns all 0 for a text of another shape, which then makes no date. The digits themselves are
// not checked.
Day dayOf(const CString& text) {
  const int length = text.GetLength();
  if (length == 8) return {numberAt(text, 0, 4), numberAt(text, 4, 2), numberAt(text, 6, 2)};
  if (length == 10 && text.GetAt(4) == u'-') {
    return {numberAt(text, 0, 4), numberAt(text, 5, 2), numberAt(text, 8, 2)};
  }
  if (length == 10 && text.GetAt(2) == u'.') {
    return {numberAt(text, 6, 4), numberAt(text, 3, 2), numberAt(text, 0, 2)};
  }
  return {};
}

CComBSTR displayForm(const CComPtr<ICompany>& company, DATE date) {
  const CComQIPtr<IDataHelper> helper(company->GetBusinessObject(qx::kDataHelper));
  return qx::firstFieldText(helper->FormatDateToString(date));
}

}  // namespace

CQXDateTime::CQXDateTime(etQXDATEVALUE value) {
  if (value == dv_Today) {
    SetCurrentDate();
  } else {
    m_status = null;
  }
}

CQXDateTime::CQXDateTime(double date) : COleDateTime(date) {
  if (date == 0.0) m_status = null;
}

CQXDateTime::CQXDateTime(CComBSTR text) { SetDate(text); }

CQXDateTime& CQXDateTime::operator=(double date) {
  COleDateTime::operator=(COleDateTime(date));
  if (date == 0.0) m_status = null;
  return *this;
}

CQXDateTime& CQXDateTime::operator=(const COleDateTime& date) {
  // Read before setParts writes: `date` may be this object.
  const DateTimeStatus status = date.GetStatus();
  const qx::CivilTime parts = partsOf(date);
  setParts(*this, parts);
  m_status = isNoDate(parts) ? null : status;
  return *this;
}

CQXDateTime& CQXDateTime::operator=(const CQXDateTime& date) {
  const qx::CivilTime parts = partsOf(date);
  setParts(*this, parts);
  m_status = isNoDate(parts) ? null : valid;
  return *this;
}

void CQXDateTime::Clear() {
  // Parts of 0 make no date, so the double stays as it was.
  SetDateTime(0, 0, 0, 0, 0, 0);
  m_status = null;
}

void CQXDateTime::SetCurrentDate() {
  const auto now = qx::currentClock().now();
  const COleDateTime local = COleDateTime::FromUnixTime(std::chrono::system_clock::to_time_t(now));
  SetDateTime(local.GetYear(), local.GetMonth(), local.GetDay(), 0, 0, 0);
}

CComBSTR CQXDateTime::datePrinted(const OLECHAR* format) const {
  if (!IsValid()) return CComBSTR(qx::format(format, 1899, 12, 30));
  return CComBSTR(qx::format(format, GetYear(), GetMonth(), GetDay()));
}

CComBSTR CQXDateTime::GetDateAsBSTR() const { return datePrinted(u"%04d%02d%02d"); }

CComBSTR CQXDateTime::GetDateAsBSTR_ISO8601() const { return datePrinted(u"%04d-%02d-%02d"); }

CComBSTR CQXDateTime::GetDateASBSTR_ISO_WithTime() const {
  return datePrinted(u"%04d-%02d-%02d 00:00:00");
}

CComBSTR CQXDateTime::GetTimeAsBSTR() const {
  if (!IsValid()) return CComBSTR(u"0000");
  return CComBSTR(qx::format(u"%02d%02d", GetHour(), GetMinute()));
}

CComBSTR CQXDateTime::StringFromDate(CComPtr<ICompany> company) const {
  try {
    return displayForm(company, m_dt);
  } catch (...) {
    // Every failure, a null company included, ends in a form that needs no host.
    return GetDateAsBSTR_ISO8601();
  }
}

void CQXDateTime::SetDate(CComBSTR text) {
  CString copy;
  copy.Format(u"%s", text);
  const Day day = dayOf(copy);
  // The status comes last: it is valid even if the parts made no date.
  SetDateTime(day.year, day.month, day.day, 0, 0, 0);
  m_status = valid;
}

void CQXDateTime::SetTime(long hhmm) {
  // Clamped: cut to an `int`, a huge number could become an hour that exists.
  const long hour = std::clamp(hhmm / 100, -1L, 24L);
  SetDateTime(GetYear(), GetMonth(), GetDay(), static_cast<int>(hour), static_cast<int>(hhmm % 100),
              0);
}

void CQXDateTime::AddMonths(int months) {
  // A month below 1 is not carried into the year before: the date then becomes invalid.
  int year = GetYear() + months / 12;
  int month = GetMonth() + months % 12;
  if (month > 12) {
    month -= 12;
    ++year;
  }
  SetDateTime(year, month, GetDay(), 0, 0, 0);
}

void CQXDateTime::AddDays(long days) {
  COleDateTime::operator+=(COleDateTimeSpan(static_cast<double>(days)));
}

void CQXDateTime::SetDay(int day) { SetDateTime(GetYear(), GetMonth(), day, 0, 0, 0); }

long CQXDateTime::GetDateSpanInMonths(CQXDateTime other) const {
  return (GetYear() - other.GetYear()) * 12 + (GetMonth() - other.GetMonth());
}

long CQXDateTime::GetDateSpanInDays(CQXDateTime other) const { return (*this - other).GetDays(); }
