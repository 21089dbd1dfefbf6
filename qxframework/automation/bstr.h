#pragma once

// Owning wide strings. A BSTR is a borrowed pointer to UTF-16 units with the length kept in front
// of the first unit and a terminating zero behind the last, so that it may hold zeros; a null BSTR
// counts as empty. CComBSTR owns one by value, _bstr_t is the same with a text's manners.

#include "qxframework/automation/types.h"

#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

/// A copy of `text`; null for null, when memory is out or when it is longer than kLongestText.
QX_API BSTR SysAllocString(const OLECHAR* text);
/// A string of `length` units, copied from `text` or zero when that is null; null if out of memory
/// or longer than kLongestText.
QX_API BSTR SysAllocStringLen(const OLECHAR* text, UINT length);
QX_API void SysFreeString(BSTR text);

namespace qx {

/// A string of `length` units that are for the caller to write; null if out of memory.
QX_API BSTR newBstr(std::size_t length);

}  // namespace qx

/// Length in UTF-16 units; 0 for null.
inline UINT SysStringLen(const OLECHAR* text) {
  return text == nullptr ? 0 : reinterpret_cast<const std::uint32_t*>(text)[-1] / 2;
}

namespace qx {

/// In units. The length in bytes has 32 bits.
constexpr std::size_t kLongestText = 0x7FFFFFFF;

/// A new string of all units of `text`; null if it is too long or memory is out.
QX_API BSTR newText(std::u16string_view text);

/// `text` up to its terminator; empty for null.
inline std::u16string_view viewOf(const OLECHAR* text) {
  return text == nullptr ? std::u16string_view() : std::u16string_view(text);
}
/// All units of a BSTR, zeros included.
inline std::u16string_view viewOfBstr(const OLECHAR* text) {
  return text == nullptr ? std::u16string_view() : std::u16string_view(text, SysStringLen(text));
}

}  // namespace qx

/// An owning wide string. Comparisons are those of the user-default locale with no flags.
/// An allocation failure raises a _com_error of E_OUTOFMEMORY.
class QX_API CComBSTR {
 public:
  CComBSTR() = default;
  CComBSTR(const OLECHAR* text);
  CComBSTR(std::u16string_view text);
  CComBSTR(const std::u16string& text) : CComBSTR(std::u16string_view(text)) {}
  CComBSTR(int length, const OLECHAR* text);
  explicit CComBSTR(int length) : CComBSTR(length, nullptr) {}
  explicit CComBSTR(const GUID& guid);
  CComBSTR(const CComBSTR& other);
  CComBSTR(CComBSTR&& other) noexcept : m_str(std::exchange(other.m_str, nullptr)) {}
  ~CComBSTR() { SysFreeString(m_str); }

  CComBSTR& operator=(const OLECHAR* text);
  CComBSTR& operator=(const CComBSTR& other);
  CComBSTR& operator=(CComBSTR&& other) noexcept;

  operator BSTR() const { return m_str; }
  /// For out parameters; the string must be empty, else it leaks.
  BSTR* operator&() { return &m_str; }
  bool operator!() const { return m_str == nullptr; }

  UINT Length() const { return SysStringLen(m_str); }
  bool IsEmpty() const { return Length() == 0; }
  std::u16string_view View() const { return qx::viewOfBstr(m_str); }
  void Empty();
  void Attach(BSTR text);
  BSTR Detach() { return std::exchange(m_str, nullptr); }
  /// A new copy for the caller, null for null.
  BSTR Copy() const;
  HRESULT CopyTo(BSTR* out) const;
  /// `text` may be a part of this string. The room grows in steps, so that a long text can be put
  /// together out of many short ones.
  HRESULT Append(std::u16string_view text);
  /// Up to the terminator; null appends nothing.
  HRESULT Append(const OLECHAR* text) { return Append(qx::viewOf(text)); }
  /// All units, zeros included.
  template <class Text>
  requires std::is_base_of_v<CComBSTR, Text> HRESULT Append(const Text& text) {
    return Append(text.View());
  }
  CComBSTR& operator+=(std::u16string_view text);

  /// Equality and order by the comparison of the user-default locale with no flags.
  friend QX_API bool operator==(const CComBSTR& a, const CComBSTR& b);
  friend QX_API bool operator==(const CComBSTR& a, const OLECHAR* b);
  friend QX_API bool operator<(const CComBSTR& a, const CComBSTR& b);
  friend bool operator!=(const CComBSTR& a, const CComBSTR& b) { return !(a == b); }
  friend bool operator!=(const CComBSTR& a, const OLECHAR* b) { return !(a == b); }
  friend bool operator>(const CComBSTR& a, const CComBSTR& b) { return b < a; }

  BSTR m_str = nullptr;
};

/// The owning string that goes by value into calls.
class _bstr_t {
 public:
  _bstr_t() = default;
  _bstr_t(const OLECHAR* text) : m_text(text) {}
  _bstr_t(std::u16string_view text) : m_text(text) {}
  _bstr_t(const std::u16string& text) : m_text(text) {}
  // Of a CComBSTR itself only: a class derived from it has its own conversion.
  template <class Text>
  requires std::is_same_v<Text, CComBSTR> _bstr_t(const Text& text) : m_text(text) {}
  operator BSTR() const { return m_text.m_str; }
  UINT length() const { return m_text.Length(); }
  std::u16string_view view() const { return m_text.View(); }
  BSTR copy() const { return m_text.Copy(); }

  /// As CComBSTR compares.
  friend bool operator==(const _bstr_t& a, const _bstr_t& b) { return a.m_text == b.m_text; }
  friend bool operator==(const _bstr_t& a, const CComBSTR& b) { return a.m_text == b; }
  friend bool operator==(const _bstr_t& a, const OLECHAR* b) { return a.m_text == b; }

 private:
  CComBSTR m_text;
};

namespace qx {

/// Gives a new string to an out parameter; null for an empty text is not used: the string exists.
/// E_OUTOFMEMORY for a text that is too long, too.
inline HRESULT giveText(std::u16string_view text, BSTR* out) {
  if (out == nullptr) return E_POINTER;
  *out = newText(text);
  return *out == nullptr ? E_OUTOFMEMORY : S_OK;
}

}  // namespace qx
