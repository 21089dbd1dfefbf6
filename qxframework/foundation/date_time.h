#pragma once

// Dates and times of day, as records and the SQL of the host have them.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/ole_date_time.h"

class ICompany;

/// Start values of a CQXDateTime.
enum etQXDATEVALUE : int { dv_Null = 0, dv_Today = 1 };

/// A date and time of day with a null state, which is the database's empty date, and with the text
/// forms that the host's SQL and forms use. Times are local.
///
/// Parts that make no date or time set the status to invalid and keep the old double. A double that
/// is no date, from a constructor or from AddDays, is stored with the status invalid.
class QX_API CQXDateTime : public COleDateTime {
 public:
  /// Makes today at 0:00:00 for dv_Today, and the null date for every other value.
  CQXDateTime(etQXDATEVALUE value = dv_Null);
  /// Takes days since 1899-12-30; exactly 0.0 is the null date. A COleDateTime, such as a date with
  /// a span added, converts to its double here and loses its status: assign it instead, so that an
  /// invalid one becomes null.
  CQXDateTime(double date);
  CQXDateTime(int year, int month, int day, int hour, int minute, int second)
      : COleDateTime(year, month, day, hour, minute, second) {}
  /// Reads the text as SetDate does.
  CQXDateTime(CComBSTR text);
  CQXDateTime(const CQXDateTime&) = default;

  /// Takes the double as the constructor does.
  CQXDateTime& operator=(double date);
  /// Deleted, because dv_Today would convert to the double 1: write CQXDateTime(dv_Today).
  CQXDateTime& operator=(etQXDATEVALUE) = delete;
  /// Copies the parts, to the second, and the status. A source that is not valid has no parts: the
  /// date becomes null and keeps its double.
  CQXDateTime& operator=(const COleDateTime& date);
  /// Copies the parts in the same way; the status is then valid or null.
  CQXDateTime& operator=(const CQXDateTime& date);
  /// Makes the date null; the double stays.
  void Clear();

  bool IsNull() const { return m_status == null; }
  bool IsValid() const { return m_status == valid; }

  /// Sets the local date at 0:00:00.
  void SetCurrentDate();
  /// Returns a text such as "20240131"; "18991230" if the date is not valid.
  CComBSTR GetDateAsBSTR() const;
  /// Returns a text such as "2024-01-31"; "1899-12-30" if the date is not valid.
  CComBSTR GetDateAsBSTR_ISO8601() const;
  /// Returns the same with " 00:00:00", for any time of day.
  CComBSTR GetDateASBSTR_ISO_WithTime() const;
  /// Returns hour and minute, such as "0930"; "0000" if the date is not valid.
  CComBSTR GetTimeAsBSTR() const;
  /// Returns the company's display form, or GetDateAsBSTR_ISO8601 if the host fails in any way.
  CComBSTR StringFromDate(CComPtr<ICompany> company) const;

  /// Reads "20240131", "2024-01-31" or "31.01.2024", at 0:00:00. The status is valid afterwards for
  /// any text: one that cannot be read keeps the old double, with its day and time of day, even if
  /// that is no date.
  void SetDate(CComBSTR text);
  /// Sets the time of day from hour * 100 + minute, such as 930; the date stays.
  void SetTime(long hhmm);
  /// Moves to the same day of another month at 0:00:00. A day that the month does not have makes
  /// the date invalid. So does a step back whose months, beyond whole years, pass a new year.
  void AddMonths(int months);
  /// Moves by whole days; the time of day stays.
  void AddDays(long days);
  /// Moves to another day of the same month at 0:00:00.
  void SetDay(int day);
  /// Returns the months from `other` to this date, by year and month alone.
  long GetDateSpanInMonths(CQXDateTime other) const;
  /// Returns the whole days from `other` to this date, cut towards zero.
  long GetDateSpanInDays(CQXDateTime other) const;

 private:
  CComBSTR datePrinted(const OLECHAR* format) const;
};
