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
/// A date that does not exist makes the status invalid and leaves the double as it was.
class QX_API CQXDateTime : public COleDateTime {
 public:
  CQXDateTime(etQXDATEVALUE value = dv_Null);
  /// Exactly 0.0 is the null date.
  CQXDateTime(double date);
  CQXDateTime(int year, int month, int day, int hour, int minute, int second)
      : COleDateTime(year, month, day, hour, minute, second) {}
  /// As SetDate.
  CQXDateTime(CComBSTR text);
  CQXDateTime(const CQXDateTime&) = default;

  CQXDateTime& operator=(double date);
  /// The last two take the parts, to the second. A date that is not valid becomes null, and the
  /// double then stays.
  CQXDateTime& operator=(const COleDateTime& date);
  CQXDateTime& operator=(const CQXDateTime& date);
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

  /// Reads "20240131", "2024-01-31" and "31.01.2024". The date counts as valid afterwards whatever
  /// the text: one that does not read leaves the double as it was.
  void SetDate(CComBSTR text);
  /// The time of `hhmm`, such as 930, on the same date.
  void SetTime(long hhmm);
  /// The same day of another month at 0:00:00. A day that the month does not have makes the date
  /// invalid, and so does a step back over the new year.
  void AddMonths(int months);
  void AddDays(long days);
  /// Another day of the same month at 0:00:00.
  void SetDay(int day);
  /// This date less `other`: months by year and month alone, and whole days.
  long GetDateSpanInMonths(CQXDateTime other) const;
  long GetDateSpanInDays(CQXDateTime other) const;

 private:
  CComBSTR datePrinted(const OLECHAR* format) const;
};
