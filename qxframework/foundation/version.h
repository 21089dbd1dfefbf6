#pragma once

// Version numbers of extensions and of their tables.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/wide_string.h"

/// The version of an extension's tables or of its definition: five numbers, with a status text from
/// the version table. All comparisons look at GetInt64Value and nothing else.
class QX_API CQXVersion {
 public:
  /// Reads the text as SetVersion does; the status is empty.
  explicit CQXVersion(CString version) { SetVersion(version); }

  long GetMajor() const { return m_lMajor; }
  long GetMinor() const { return m_lMinor; }
  /// Returns the third number, the service pack.
  long GetSP() const { return m_lSP; }
  /// Returns the fourth number, the extension level.
  long GetExt() const { return m_lExt; }
  /// Returns the fifth number, the emergency fix.
  long GetEF() const { return m_lEF; }
  void SetEF(long number) { m_lEF = number; }
  CString GetStatus() const { return m_strStatus; }
  void SetStatus(CString status) { m_strStatus = status; }
  /// Reads a text such as "9.20.120.01.05". Missing numbers become 0, and so do all five if the
  /// text begins with a dot or is empty; each number ends at the first other character. The status
  /// stays.
  void SetVersion(CString version);
  /// Returns the five numbers as "%d.%02d.%02d.%02d.%02d".
  CComBSTR GetVersionAsBSTR() const;
  /// Returns the first four numbers as "%d.%02d.%02d.%02d".
  CComBSTR GetVersionWithoutEFAsBSTR() const;
  /// Returns EF × 100 + Ext × 10,000 + SP × 10,000,000 + Minor × 10^10 + Major × 10^13, modulo
  /// 2^64. The weights are uneven on purpose: a number that is wider than its room carries into the
  /// next, so 1.1000 equals 2.0.
  std::int64_t GetInt64Value() const;

  bool operator<(const CQXVersion& other) const { return GetInt64Value() < other.GetInt64Value(); }
  bool operator>(const CQXVersion& other) const { return GetInt64Value() > other.GetInt64Value(); }
  bool operator==(const CQXVersion& other) const {
    return GetInt64Value() == other.GetInt64Value();
  }
  bool operator>=(const CQXVersion& other) const {
    return GetInt64Value() >= other.GetInt64Value();
  }
  bool operator<=(const CQXVersion& other) const {
    return GetInt64Value() <= other.GetInt64Value();
  }
  bool operator!=(const CQXVersion& other) const {
    return GetInt64Value() != other.GetInt64Value();
  }

 private:
  long m_lMajor = 0;
  long m_lMinor = 0;
  long m_lSP = 0;
  long m_lExt = 0;
  long m_lEF = 0;
  CString m_strStatus;
};
