#pragma once

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/ole_date_time.h"

class ICompany;

/// What a CQXDateTime starts as.
enum etQXDATEVALUE : int { dv_Null = 0, dv_Today = 1 };

/// A date with the null state that the database's empty date stands for, and with the text forms
/// of the host's SQL and forms.
///
/// Parts that make no date or time set the status to invalid and leave the double as it was. A
/// double that is no date, given or come to by AddDays, is kept and invalid.
class QX_API CQXDateTime : public COleDateTime {
 public:
  CQXDateTime(etQXDATEVALUE value = dv_Null);
  /// Exactly 0.0 is the null date. A COleDateTime, and so a date with a span added, arrives here as
  /// its double and without its status: assign it instead, which takes what is not valid for null.
  CQXDateTime(double date);
  CQXDateTime(int year, int month, int day, int hour, int minute, int second)
      : COleDateTime(year, month, day, hour, minute, second) {}
  /// As SetDate.
  CQXDateTime(CComBSTR text);
  CQXDateTime(const CQXDateTime&) = default;

  /// As the constructor.
  CQXDateTime& operator=(double date);
  /// dv_Today would be taken for one day: write CQXDateTime(dv_Today).
  CQXDateTime& operator=(etQXDATEVALUE) = delete;
  /// This and the next take the parts, to the second. A source without parts, since it is not
  /// valid, makes the date null and leaves the double.
  CQXDateTime& operator=(const COleDateTime& date);
  CQXDateTime& operator=(const CQXDateTime& date);
  /// Null; the double stays.
  void Clear();

  bool IsNull() const { return m_status == null; }
  bool IsValid() const { return m_status == valid; }

  /// The local date at 0:00:00.
  void SetCurrentDate();
  /// "20240131", "2024-01-31", "2024-01-31 00:00:00" whatever the time, and "0930". A date that is
  /// not valid gives "18991230", "1899-12-30", "1899-12-30 00:00:00" and "0000".
  CComBSTR GetDateAsBSTR() const;
  CComBSTR GetDateAsBSTR_ISO8601() const;
  CComBSTR GetDateASBSTR_ISO_WithTime() const;
  CComBSTR GetTimeAsBSTR() const;
  /// The host's display form; where the host does not give one, that of ISO 8601.
  CComBSTR StringFromDate(CComPtr<ICompany> company) const;

  /// Reads "20240131", "2024-01-31" and "31.01.2024", at 0:00:00. The status is valid afterwards
  /// whatever the text: one that does not read leaves the double, with its day and time, as it was,
  /// even one that is no date.
  void SetDate(CComBSTR text);
  /// The time of `hhmm`, such as 930, on the same date.
  void SetTime(long hhmm);
  /// The same day of another month at 0:00:00. A day that the month does not have makes the date
  /// invalid, and so does a step back whose months beyond whole years pass the new year.
  void AddMonths(int months);
  /// The time stays.
  void AddDays(long days);
  /// Another day of the same month at 0:00:00.
  void SetDay(int day);
  /// This date less `other`: months by year and month alone, and whole days.
  long GetDateSpanInMonths(CQXDateTime other) const;
  long GetDateSpanInDays(CQXDateTime other) const;

 private:
  CComBSTR datePrinted(const OLECHAR* format) const;
};
