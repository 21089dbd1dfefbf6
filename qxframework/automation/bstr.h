#pragma once

// Owning wide strings. A BSTR is a borrowed pointer to UTF-16 units. Its length precedes the first
// unit and a terminating zero follows the last, so that the text may contain zeros; a null BSTR
// counts as empty. CComBSTR owns a BSTR. _bstr_t owns one too and is passed by value into calls.

#include "qxframework/automation/types.h"

#include <concepts>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

class CComBSTR;
class CString;

/// Returns a copy of `text`, up to its terminator. Returns null if `text` is null or longer than
/// kLongestText, and if memory is out. The caller frees the copy with SysFreeString.
QX_API BSTR SysAllocString(const OLECHAR* text);
/// Returns a new string of `length` units, copied from `text` or filled with zeros if `text` is
/// null. Returns null if memory is out or `length` exceeds kLongestText.
QX_API BSTR SysAllocStringLen(const OLECHAR* text, UINT length);
/// Frees a string of one of the functions above; does nothing for null.
QX_API void SysFreeString(BSTR text);

namespace qx {

/// Returns a terminated string of `length` units with undefined content, for the caller to fill.
/// Returns null if memory is out or `length` exceeds kLongestText.
QX_API BSTR newBstr(std::size_t length);

}  // namespace qx

/// Returns the length in UTF-16 units; 0 for null.
inline UINT SysStringLen(const OLECHAR* text) {
  return text == nullptr ? 0 : reinterpret_cast<const std::uint32_t*>(text)[-1] / 2;
}

namespace qx {

/// The largest number of units in a BSTR, whose length field counts bytes in 32 bits.
constexpr std::size_t kLongestText = 0x7FFFFFFF;

/// Returns a new string with all units of `text`, zeros included. Returns null if `text` is longer
/// than kLongestText or memory is out.
QX_API BSTR newText(std::u16string_view text);

/// Returns a view of `text` up to its terminator; empty for null.
inline std::u16string_view viewOf(const OLECHAR* text) {
  return text == nullptr ? std::u16string_view() : std::u16string_view(text);
}
/// Returns a view of all units of a BSTR, zeros included; empty for null.
inline std::u16string_view viewOfBstr(const OLECHAR* text) {
  return text == nullptr ? std::u16string_view() : std::u16string_view(text, SysStringLen(text));
}

/// The strings that are appended with all their units, zeros included.
template <class Text>
concept OwningText = std::is_base_of_v<CComBSTR, Text> || std::is_same_v<CString, Text>;

}  // namespace qx

/// An owning wide string. Comparisons are those of the user-default locale with no flags.
/// An operation that cannot allocate throws _com_error with E_OUTOFMEMORY.
class QX_API CComBSTR {
 public:
  /// Makes a null string.
  CComBSTR() = default;
  /// Copies `text` up to its terminator; null stays null.
  CComBSTR(const OLECHAR* text);
  CComBSTR(std::u16string_view text);
  CComBSTR(const std::u16string& text) : CComBSTR(std::u16string_view(text)) {}
  /// Takes CString itself only: what converts to it has a conversion of its own to this class.
  template <std::same_as<CString> Text>
  CComBSTR(const Text& text) : CComBSTR(text.View()) {}
  /// Copies `length` units, or takes as many zeros if `text` is null; a length of 0 makes a null
  /// string. Throws E_INVALIDARG for a negative length.
  CComBSTR(int length, const OLECHAR* text);
  explicit CComBSTR(int length) : CComBSTR(length, nullptr) {}
  /// Writes the brace form of `guid`.
  explicit CComBSTR(const GUID& guid);
  CComBSTR(const CComBSTR& other);
  CComBSTR(CComBSTR&& other) noexcept : m_str(std::exchange(other.m_str, nullptr)) {}
  ~CComBSTR() { SysFreeString(m_str); }

  CComBSTR& operator=(const OLECHAR* text);
  CComBSTR& operator=(const CComBSTR& other);
  CComBSTR& operator=(CComBSTR&& other) noexcept;
  template <std::same_as<CString> Text>
  CComBSTR& operator=(const Text& text) {
    return *this = CComBSTR(text.View());
  }

  operator BSTR() const { return m_str; }
  /// Returns the address for an out parameter. The string must be null, else its text leaks.
  BSTR* operator&() { return &m_str; }
  bool operator!() const { return m_str == nullptr; }

  UINT Length() const { return SysStringLen(m_str); }
  bool IsEmpty() const { return Length() == 0; }
  std::u16string_view View() const { return qx::viewOfBstr(m_str); }
  /// Frees the text and makes the string null.
  void Empty();
  /// Frees the text and takes ownership of `text`.
  void Attach(BSTR text);
  /// Passes ownership to the caller and makes the string null.
  BSTR Detach() { return std::exchange(m_str, nullptr); }
  /// Returns a new copy, which the caller owns; null for a null string.
  BSTR Copy() const;
  /// Stores a new copy in `*out`. Returns E_POINTER if `out` is null.
  HRESULT CopyTo(BSTR* out) const;
  /// Appends `text`, which may be a part of this string. The capacity grows in steps, so that a
  /// long text can be built from many short ones. Returns S_OK.
  HRESULT Append(std::u16string_view text);
  /// Appends `text` up to its terminator; null appends nothing.
  HRESULT Append(const OLECHAR* text) { return Append(qx::viewOf(text)); }
  /// Appends all units of another string, zeros included.
  template <qx::OwningText Text>
  HRESULT Append(const Text& text) {
    return Append(text.View());
  }
  CComBSTR& operator+=(std::u16string_view text);
  template <qx::OwningText Text>
  CComBSTR& operator+=(const Text& text) {
    return *this += text.View();
  }

  /// Return the joined text; null counts as empty. The result is never null.
  friend QX_API CComBSTR operator+(const CComBSTR& a, const CComBSTR& b);
  friend QX_API CComBSTR operator+(const CComBSTR& a, const OLECHAR* b);
  friend QX_API CComBSTR operator+(const OLECHAR* a, const CComBSTR& b);

  /// Compare by the collation of the user-default locale, case included; null equals empty.
  friend QX_API bool operator==(const CComBSTR& a, const CComBSTR& b);
  friend QX_API bool operator==(const CComBSTR& a, const OLECHAR* b);
  friend QX_API bool operator<(const CComBSTR& a, const CComBSTR& b);
  friend bool operator!=(const CComBSTR& a, const CComBSTR& b) { return !(a == b); }
  friend bool operator!=(const CComBSTR& a, const OLECHAR* b) { return !(a == b); }
  friend bool operator>(const CComBSTR& a, const CComBSTR& b) { return b < a; }

  BSTR m_str = nullptr;
};

/// An owning wide string that is passed by value into calls.
class _bstr_t {
 public:
  _bstr_t() = default;
  _bstr_t(const OLECHAR* text) : m_text(text) {}
  _bstr_t(std::u16string_view text) : m_text(text) {}
  _bstr_t(const std::u16string& text) : m_text(text) {}
  /// Copies a CString or a CComBSTR itself; a class derived from it has its own conversion.
  template <class Text>
  requires(std::is_same_v<Text, CComBSTR> || std::is_same_v<Text, CString>)
      _bstr_t(const Text& text)
      : m_text(text) {}
  operator BSTR() const { return m_text.m_str; }
  UINT length() const { return m_text.Length(); }
  std::u16string_view view() const { return m_text.View(); }
  BSTR copy() const { return m_text.Copy(); }

  /// Compare as CComBSTR does.
  friend bool operator==(const _bstr_t& a, const _bstr_t& b) { return a.m_text == b.m_text; }
  friend bool operator==(const _bstr_t& a, const CComBSTR& b) { return a.m_text == b; }
  friend bool operator==(const _bstr_t& a, const OLECHAR* b) { return a.m_text == b; }

 private:
  CComBSTR m_text;
};

namespace qx {

/// Stores a new string in an out parameter. An empty text is stored as an empty string, never as
/// null. Returns E_POINTER if `out` is null, and E_OUTOFMEMORY if memory is out or `text` is longer
/// than kLongestText.
inline HRESULT giveText(std::u16string_view text, BSTR* out) {
  if (out == nullptr) return E_POINTER;
  *out = newText(text);
  return *out == nullptr ? E_OUTOFMEMORY : S_OK;
}

}  // namespace qx
