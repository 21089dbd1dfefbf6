#pragma once

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/wide_string.h"

/// The five-number version of an extension's tables and of its definition, with a status text that
/// rides along. Comparisons look at one 64-bit value and at nothing else.
class QX_API CQXVersion {
 public:
  explicit CQXVersion(CString version) { SetVersion(version); }

  long GetMajor() const { return m_lMajor; }
  long GetMinor() const { return m_lMinor; }
  long GetSP() const { return m_lSP; }
  long GetExt() const { return m_lExt; }
  long GetEF() const { return m_lEF; }
  void SetEF(long number) { m_lEF = number; }
  CString GetStatus() const { return m_strStatus; }
  void SetStatus(CString status) { m_strStatus = status; }
  /// Reads "9.20.120.01.05"; a shorter text gives zeros for the tail. The status stays.
  void SetVersion(CString version);
  /// "%d.%02d.%02d.%02d.%02d" of the five numbers.
  CComBSTR GetVersionAsBSTR() const;
  /// The same without the fifth.
  CComBSTR GetVersionWithoutEFAsBSTR() const;
  /// EF × 100 + Ext × 10,000 + SP × 10,000,000 + Minor × 10^10 + Major × 10^13, modulo 2^64. The
  /// weights are uneven on purpose: a number wider than its room carries into the next field.
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
