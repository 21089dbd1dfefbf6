#pragma once

#include "qxframework/foundation/date_time.h"

class IApplication;

/// Who created or changed a row, and when. It is null when its date is.
class QX_API CQXTimeStamp {
 public:
  CQXTimeStamp() = default;
  CQXTimeStamp(const CQXTimeStamp&) = default;
  virtual ~CQXTimeStamp();
  CQXTimeStamp& operator=(const CQXTimeStamp&) = default;

  CQXDateTime getDateTime() const { return m_DateTime; }
  /// "20240131" and "0930".
  CComBSTR getDate() const { return m_DateTime.GetDateAsBSTR(); }
  CComBSTR getTime() const { return m_DateTime.GetTimeAsBSTR(); }
  /// 930 at half past nine.
  int getTimeAsInt() const;
  CComBSTR getUser() const { return m_bstrUser; }

  /// The machine's local date and time, and the client's user.
  void setCurrentStamp(CComPtr<IApplication> application);
  void setStamp(CQXTimeStamp stamp) { *this = stamp; }
  void setStamp(CQXDateTime date, CComBSTR user);
  void Clear();
  bool IsNull() const { return m_DateTime.IsNull(); }

 private:
  CQXDateTime m_DateTime;
  CComBSTR m_bstrUser;
};
