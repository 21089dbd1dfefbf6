#pragma once

// The mutable string of add-on code.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/format.h"

#include <compare>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace qx {

/// The other owning strings. Beside one of them a CString keeps its own comparison, and the two
/// joined are a CString.
template <class Text>
concept OtherText = std::is_base_of_v<CComBSTR, Text> || std::is_same_v<_bstr_t, Text>;

/// Return all units of such a string.
inline std::u16string_view unitsOf(const CComBSTR& text) { return text.View(); }
inline std::u16string_view unitsOf(const _bstr_t& text) { return text.view(); }

}  // namespace qx

/// A mutable wide string. Positions and lengths count UTF-16 units. A search returns -1 if it finds
/// nothing. Comparison is by unit, also with a CComBSTR or a _bstr_t.
class QX_API CString {
 public:
  CString() = default;
  CString(const OLECHAR* text) : m_text(qx::viewOf(text)) {}
  CString(std::u16string_view text) : m_text(text) {}
  CString(const std::u16string& text) : m_text(text) {}
  CString(std::u16string&& text) : m_text(std::move(text)) {}
  CString(const CComBSTR& text) : m_text(text.View()) {}
  CString(const _bstr_t& text) : m_text(text.view()) {}
  CString(const OLECHAR* text, int length) : m_text(text, static_cast<std::size_t>(length)) {}

  operator const OLECHAR*() const { return m_text.c_str(); }
  const OLECHAR* GetString() const { return m_text.c_str(); }
  std::u16string_view View() const { return m_text; }
  int GetLength() const { return static_cast<int>(m_text.size()); }
  bool IsEmpty() const { return m_text.empty(); }
  void Empty() { m_text.clear(); }
  /// Returns the unit at `position`; 0 outside the string.
  OLECHAR GetAt(int position) const;
  /// Throws E_INVALIDARG if `position` is outside the string.
  void SetAt(int position, OLECHAR unit);
  CString& operator+=(std::u16string_view text) {
    m_text += text;
    return *this;
  }
  template <qx::OwningText Text>
  CString& operator+=(const Text& text) {
    return *this += text.View();
  }
  void Append(std::u16string_view text) { m_text += text; }

  /// Return a part of the string. Positions and counts are limited to the range of the string; a
  /// negative one counts as 0.
  CString Left(int count) const;
  CString Right(int count) const;
  CString Mid(int first) const;
  CString Mid(int first, int count) const;
  /// Return the first position at or after `start`; a negative start counts as 0.
  int Find(std::u16string_view text, int start = 0) const;
  int Find(OLECHAR unit, int start = 0) const;
  int ReverseFind(OLECHAR unit) const;
  /// Replaces every `from`, from left to right, and returns the number of replacements. `to` may be
  /// a part of this string. An empty `from` replaces nothing.
  int Replace(std::u16string_view from, std::u16string_view to);
  /// Delete and insert units and return the new length. Positions and counts are limited to the
  /// range of the string. `text` may be a part of this string.
  int Delete(int first, int count = 1);
  int Insert(int position, std::u16string_view text);
  /// Remove Unicode white space at both ends, at the right end, at the left end.
  CString& Trim();
  CString& TrimRight();
  CString& TrimLeft();
  /// Map the string in place by the case rules of the root locale.
  CString& MakeLower();
  CString& MakeUpper();
  int Compare(std::u16string_view other) const { return m_text.compare(other); }
  /// Returns -1, 0 or 1 by the order of the case-folded texts.
  int CompareNoCase(std::u16string_view other) const;
  /// Returns a new BSTR with all units, which the caller owns; null if memory is out.
  BSTR AllocSysString() const { return qx::newText(m_text); }

  /// Sets the string to a formatted text; the arguments may include this string.
  template <class... Args>
  void Format(const OLECHAR* text, const Args&... args) {
    m_text = qx::format(text, args...);
  }
  void FormatV(const OLECHAR* text, qx::FormatArgs args) {
    m_text = qx::formatText(qx::viewOf(text), args);
  }

  friend bool operator==(const CString& a, const CString& b) { return a.m_text == b.m_text; }
  friend bool operator==(const CString& a, const OLECHAR* b) { return a.m_text == qx::viewOf(b); }
  template <qx::OtherText Text>
  friend bool operator==(const CString& a, const Text& b) {
    return a.View() == qx::unitsOf(b);
  }
  friend std::strong_ordering operator<=>(const CString& a, const CString& b) {
    return a.View() <=> b.View();
  }
  friend std::strong_ordering operator<=>(const CString& a, const OLECHAR* b) {
    return a.View() <=> qx::viewOf(b);
  }
  template <qx::OtherText Text>
  friend std::strong_ordering operator<=>(const CString& a, const Text& b) {
    return a.View() <=> qx::unitsOf(b);
  }

  friend CString operator+(const CString& a, const CString& b) {
    return CString(a.m_text + b.m_text);
  }
  friend CString operator+(const CString& a, const OLECHAR* b) {
    return CString(a.m_text + std::u16string(qx::viewOf(b)));
  }
  friend CString operator+(const OLECHAR* a, const CString& b) {
    return CString(std::u16string(qx::viewOf(a)) + b.m_text);
  }
  template <qx::OtherText Text>
  friend CString operator+(const CString& a, const Text& b) {
    return CString(a.m_text + std::u16string(qx::unitsOf(b)));
  }
  template <qx::OtherText Text>
  friend CString operator+(const Text& a, const CString& b) {
    return CString(std::u16string(qx::unitsOf(a)) + b.m_text);
  }

 private:
  std::u16string m_text;
};

inline qx::FormatArg::FormatArg(const CString& text) : FormatArg(text.GetString()) {}
