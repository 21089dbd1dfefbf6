#include "qxframework/automation/ole_date_time.h"

#include "qxframework/automation/date_text.h"
#include "qxframework/automation/text.h"

#include <locale.h>
#include <time.h>

#include <chrono>
#include <cmath>
#include <ctime>
#include <optional>
#include <string>

namespace qx {
namespace {

// Returns the parts in the form of the C library, with the day of the week and of the year.
std::tm toTm(const CivilTime& time) {
  const std::chrono::year year(time.year);
  const std::chrono::sys_days day = year / time.month / time.day;
  const std::chrono::sys_days firstOfYear = year / 1 / 1;
  std::tm parts{};
  parts.tm_year = time.year - 1900;
  parts.tm_mon = time.month - 1;
  parts.tm_mday = time.day;
  parts.tm_hour = time.hour;
  parts.tm_min = time.minute;
  parts.tm_sec = time.second;
  parts.tm_wday = static_cast<int>(std::chrono::weekday(day).c_encoding());
  parts.tm_yday = static_cast<int>((day - firstOfYear).count());
  return parts;
}

}  // namespace
}  // namespace qx

namespace {

// The longest span in days, which is two less than from the first date to the last.
constexpr double kMaxDaysInSpan = 3615897.0;

using SpanStatus = COleDateTimeSpan::DateTimeSpanStatus;
using DateStatus = COleDateTime::DateTimeStatus;

// Returns the status of a result as a number: null if an operand is null, else invalid if one is
// invalid. Dates and spans share the numbers, but not the enumeration.
template <class A, class B>
int joinedStatus(A a, B b) {
  if (a == A::null || b == B::null) return static_cast<int>(A::null);
  if (a != A::valid || b != B::valid) return static_cast<int>(A::invalid);
  return static_cast<int>(A::valid);
}

}  // namespace

void COleDateTimeSpan::checkRange() {
  // Negated, so that NaN is invalid too.
  if (!(std::fabs(m_span) <= kMaxDaysInSpan)) m_status = invalid;
}

std::int64_t COleDateTimeSpan::totalSeconds() const {
  // Rounded, since 30 days as the difference of two doubles may be a little less than 30.
  const double seconds = m_span * 86400.0;
  // An invalid span can be too long for an integer, or NaN; its parts are 0.
  return std::fabs(seconds) < 1e18 ? std::llround(seconds) : 0;
}

void COleDateTimeSpan::SetDateTimeSpan(long days, int hours, int minutes, int seconds) {
  m_span = static_cast<double>(days) + hours / 24.0 + minutes / 1440.0 + seconds / 86400.0;
  m_status = valid;
  checkRange();
}

COleDateTimeSpan COleDateTimeSpan::operator+(const COleDateTimeSpan& other) const {
  // The constructor may find the sum out of range; an operand that is not valid overrides that.
  COleDateTimeSpan sum(m_span + other.m_span);
  const int status = joinedStatus(m_status, other.m_status);
  if (status != valid) sum.m_status = static_cast<SpanStatus>(status);
  return sum;
}

COleDateTimeSpan COleDateTimeSpan::operator-() const {
  COleDateTimeSpan negative(*this);
  negative.m_span = -m_span;
  return negative;
}

bool operator==(const COleDateTimeSpan& a, const COleDateTimeSpan& b) {
  if (a.m_status != b.m_status) return false;
  if (a.m_status == SpanStatus::valid) return a.m_span == b.m_span;
  return a.m_status == SpanStatus::null;
}

bool operator<(const COleDateTimeSpan& a, const COleDateTimeSpan& b) {
  return a.m_status == SpanStatus::valid && b.m_status == SpanStatus::valid && a.m_span < b.m_span;
}

COleDateTime::COleDateTime(DATE date)
    : m_dt(date), m_status(qx::civilFromDate(date) ? valid : invalid) {}

COleDateTime COleDateTime::FromUnixTime(std::int64_t seconds) {
  COleDateTime date;
  const auto time = qx::localTime(seconds);
  if (!time) {
    date.m_status = invalid;
  } else {
    date.SetDateTime(time->year, time->month, time->day, time->hour, time->minute, time->second);
  }
  return date;
}

bool COleDateTime::GetAsCivilTime(qx::CivilTime& time) const {
  if (m_status != valid) return false;
  const auto parts = qx::civilFromDate(m_dt);
  if (parts) time = *parts;
  return parts.has_value();
}

qx::CivilTime COleDateTime::partsOrMinusOne() const {
  qx::CivilTime time{-1, -1, -1, -1, -1, -1};
  GetAsCivilTime(time);
  return time;
}

int COleDateTime::GetYear() const { return partsOrMinusOne().year; }
int COleDateTime::GetMonth() const { return partsOrMinusOne().month; }
int COleDateTime::GetDay() const { return partsOrMinusOne().day; }
int COleDateTime::GetHour() const { return partsOrMinusOne().hour; }
int COleDateTime::GetMinute() const { return partsOrMinusOne().minute; }
int COleDateTime::GetSecond() const { return partsOrMinusOne().second; }

int COleDateTime::GetDayOfWeek() const {
  qx::CivilTime time;
  return GetAsCivilTime(time) ? qx::toTm(time).tm_wday + 1 : -1;
}

int COleDateTime::GetDayOfYear() const {
  qx::CivilTime time;
  return GetAsCivilTime(time) ? qx::toTm(time).tm_yday + 1 : -1;
}

int COleDateTime::SetDateTime(int year, int month, int day, int hour, int minute, int second) {
  const auto date = qx::dateFromCivil({year, month, day, hour, minute, second});
  if (date) m_dt = *date;
  m_status = date ? valid : invalid;
  return m_status;
}

bool COleDateTime::ParseDateTime(const OLECHAR* text) {
  const auto date = qx::dateFromText(qx::viewOf(text));
  m_dt = date.value_or(0);
  m_status = date ? valid : invalid;
  return date.has_value();
}

CString COleDateTime::Format(const OLECHAR* format) const {
  if (m_status == null) return CString();
  qx::CivilTime time;
  if (!GetAsCivilTime(time)) return CString(u"Invalid DateTime");
  static const locale_t english = newlocale(LC_ALL_MASK, "C", nullptr);
  const std::tm parts = qx::toTm(time);
  // strftime returns 0 both for an empty text and for too little room. The leading mark makes every
  // text longer than 0, so that 0 always means too little room.
  const std::string marked = "." + qx::toUtf8(qx::viewOf(format));
  std::string text(marked.size() * 4 + 64, '\0');
  std::size_t length = 0;
  while ((length = strftime_l(text.data(), text.size(), marked.c_str(), &parts, english)) == 0) {
    // Far beyond the longest text that the conversions can write: something else is wrong.
    if (text.size() > marked.size() * 1024 + 65536) return CString();
    text.resize(text.size() * 4);
  }
  return CString(qx::toUtf16(std::string_view(text).substr(1, length - 1)));
}

COleDateTime COleDateTime::operator+(const COleDateTimeSpan& span) const {
  COleDateTime sum(qx::dateFromLinear(qx::linearDays(m_dt) + span.m_span));
  const int status = joinedStatus(m_status, span.m_status);
  if (status != valid) sum.m_status = static_cast<DateStatus>(status);
  return sum;
}

COleDateTimeSpan COleDateTime::operator-(const COleDateTime& other) const {
  COleDateTimeSpan span(qx::linearDays(m_dt) - qx::linearDays(other.m_dt));
  const int status = joinedStatus(m_status, other.m_status);
  if (status != valid) span.m_status = static_cast<SpanStatus>(status);
  return span;
}

bool operator==(const COleDateTime& a, const COleDateTime& b) {
  if (a.m_status != b.m_status) return false;
  if (a.m_status == DateStatus::valid) return qx::linearDays(a.m_dt) == qx::linearDays(b.m_dt);
  return a.m_status == DateStatus::null;
}

bool operator<(const COleDateTime& a, const COleDateTime& b) {
  return a.m_status == DateStatus::valid && b.m_status == DateStatus::valid &&
         qx::linearDays(a.m_dt) < qx::linearDays(b.m_dt);
}
