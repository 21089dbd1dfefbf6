#include "qxframework/foundation/version.h"

#include "qxframework/foundation/numbers.h"

void CQXVersion::SetVersion(CString version) {
  long* const numbers[] = {&m_lMajor, &m_lMinor, &m_lSP, &m_lExt, &m_lEF};
  for (long* number : numbers) *number = 0;
  int start = 0;
  for (int i = 0; i < 5; ++i) {
    const int dot = i < 4 ? version.Find(u'.', start) : -1;
    // The last number, and a text without a further dot, take the rest; leadingNumber ends at a
    // fifth dot. A dot at the very start counts as none: the whole text is then the first number,
    // 0.
    if (dot < 1) {
      *numbers[i] = qx::leadingNumber(version.Mid(start).View());
      return;
    }
    *numbers[i] = qx::leadingNumber(version.Mid(start, dot - start).View());
    start = dot + 1;
  }
}

CComBSTR CQXVersion::GetVersionAsBSTR() const {
  return CComBSTR(qx::format(u"%d.%02d.%02d.%02d.%02d", m_lMajor, m_lMinor, m_lSP, m_lExt, m_lEF));
}

CComBSTR CQXVersion::GetVersionWithoutEFAsBSTR() const {
  return CComBSTR(qx::format(u"%d.%02d.%02d.%02d", m_lMajor, m_lMinor, m_lSP, m_lExt));
}

std::int64_t CQXVersion::GetInt64Value() const {
  const auto weighed = [](long number, std::uint64_t weight) {
    return static_cast<std::uint64_t>(number) * weight;  // unsigned, so that it wraps
  };
  return static_cast<std::int64_t>(weighed(m_lEF, 100) + weighed(m_lExt, 10'000) +
                                   weighed(m_lSP, 10'000'000) + weighed(m_lMinor, 10'000'000'000) +
                                   weighed(m_lMajor, 10'000'000'000'000));
}
