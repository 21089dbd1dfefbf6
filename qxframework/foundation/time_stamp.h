#pragma once

// The stamp of a row: user, date and time of its last change.

#include "qxframework/foundation/date_time.h"

class IApplication;

/// The user who created or changed a row, and the local time of it. It is null if its date is.
class QX_API CQXTimeStamp {
 public:
  CQXTimeStamp() = default;
  CQXTimeStamp(const CQXTimeStamp&) = default;
  virtual ~CQXTimeStamp();
  CQXTimeStamp& operator=(const CQXTimeStamp&) = default;

  CQXDateTime getDateTime() const { return m_DateTime; }
  /// Returns a text such as "20240131"; "18991230" if the stamp is null.
  CComBSTR getDate() const { return m_DateTime.GetDateAsBSTR(); }
  /// Returns hour and minute, such as "0930"; "0000" if the stamp is null.
  CComBSTR getTime() const { return m_DateTime.GetTimeAsBSTR(); }
  /// Returns hour * 100 + minute, such as 930.
  int getTimeAsInt() const;
  /// Returns the name of the user; empty if none is set.
  CComBSTR getUser() const { return m_bstrUser; }

  /// Sets the machine's local date and time, and the client's user. A failure of the host throws a
  /// _com_error and leaves the stamp as it was.
  void setCurrentStamp(CComPtr<IApplication> application);
  void setStamp(CQXTimeStamp stamp) { *this = stamp; }
  void setStamp(CQXDateTime date, CComBSTR user);
  /// Makes the stamp null, with an empty user.
  void Clear();
  bool IsNull() const { return m_DateTime.IsNull(); }

 private:
  CQXDateTime m_DateTime;
  CComBSTR m_bstrUser;
};
