#pragma once

// Localised strings: loaded from string tables, formatted and compared in a host language.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/format.h"
#include "qxframework/host/enums.h"
#include "qxframework/os/module.h"

#include <concepts>
#include <type_traits>

/// An owning UTF-16 string that remembers a host language, in which it loads, formats and compares
/// its text by default. A failed allocation throws a _com_error with E_OUTOFMEMORY.
class QX_API CQXBSTR : public CComBSTR {
 public:
  /// Makes an empty string, with a null pointer.
  explicit CQXBSTR(HvLanguages language) : m_Language(language) {}
  CQXBSTR(const OLECHAR* text, HvLanguages language) : CComBSTR(text), m_Language(language) {}
  /// Makes a string of `length` zero units; null for 0.
  CQXBSTR(int length, HvLanguages language) : CQXBSTR(length, nullptr, language) {}
  /// Copies `length` units of `text`. Throws E_INVALIDARG for a negative length.
  CQXBSTR(int length, const OLECHAR* text, HvLanguages language)
      : CComBSTR(length, text), m_Language(language) {}
  CQXBSTR(const CComBSTR& text, HvLanguages language) : CComBSTR(text), m_Language(language) {}
  template <std::same_as<CString> Text>
  CQXBSTR(const Text& text, HvLanguages language) : CComBSTR(text), m_Language(language) {}
  /// Writes the id in braces, with capital letters.
  CQXBSTR(const GUID& guid, HvLanguages language) : CComBSTR(guid), m_Language(language) {}
  CQXBSTR(const CQXBSTR& other) = default;

  /// Copies the text and keeps the language.
  CQXBSTR& operator=(const CComBSTR& text) {
    CComBSTR::operator=(text);
    return *this;
  }
  CQXBSTR& operator=(const OLECHAR* text) {
    CComBSTR::operator=(text);
    return *this;
  }
  template <std::same_as<CString> Text>
  CQXBSTR& operator=(const Text& text) {
    CComBSTR::operator=(text);
    return *this;
  }
  /// Copies the text and the language.
  CQXBSTR& operator=(const CQXBSTR& other) = default;
  operator _bstr_t() const { return _bstr_t(View()); }

  void PutLanguage(HvLanguages language) { m_Language = language; }
  HvLanguages GetLanguage() const { return m_Language; }

  /// Loads string `id` of `module`; null is the executable. The table of the language is searched
  /// first, then English (1033), then all others. Returns false, and keeps the text, if none has
  /// it. A negative `language` means the language of this string.
  bool LoadStringW(unsigned id, HvLanguages language, HINSTANCE module);
  /// Does the same with a Windows language id.
  bool LoadStringW(unsigned id, unsigned short langId, HINSTANCE module);
  /// Deleted: a plain number such as 9 does not say which of the two it is. Write ln_German or
  /// static_cast<unsigned short>(1031).
  template <std::integral Number>
  requires(!std::is_same_v<Number, unsigned short>) bool LoadStringW(unsigned id, Number language,
                                                                     HINSTANCE module) = delete;

  /// Replaces the text by the formatted one; arguments may refer to this string. Throws
  /// E_INVALIDARG for a null format.
  template <class... Args>
  void Format(const OLECHAR* text, const Args&... args) {
    withArgs([&](qx::FormatArgs list) { FormatList(text, list); }, args...);
  }
  /// Formats string `id` of the executable in the same way. If there is none, nothing changes.
  template <class... Args>
  void Format(HvLanguages language, unsigned id, const Args&... args) {
    withArgs([&](qx::FormatArgs list) { FormatList(language, id, list); }, args...);
  }
  /// Formats string `id` in the language of this string. `Id` is an integer type, so that a
  /// language as the first argument always means the operation above.
  template <class Id, class... Args>
  requires std::is_integral_v<Id>
  void Format(Id id, const Args&... args) {
    withArgs([&](qx::FormatArgs list) { FormatList(m_Language, static_cast<unsigned>(id), list); },
             args...);
  }
  void Format(const OLECHAR* text, qx::FormatArgs args) { FormatList(text, args); }
  void Format(HvLanguages language, unsigned id, qx::FormatArgs args) {
    FormatList(language, id, args);
  }
  template <class Id>
  requires std::is_integral_v<Id>
  void Format(Id id, qx::FormatArgs args) {
    FormatList(m_Language, static_cast<unsigned>(id), args);
  }

  /// True if the text equals string `id` of the executable in the comparison of the user-default
  /// locale; false if there is no such string. A negative `language` means that of this string.
  bool Compare(unsigned id, HvLanguages language) const;

  HvLanguages m_Language;

 private:
  void FormatList(const OLECHAR* text, qx::FormatArgs args);
  void FormatList(HvLanguages language, unsigned id, qx::FormatArgs args);
  template <class Call, class... Args>
  static void withArgs(Call call, const Args&... args) {
    if constexpr (sizeof...(Args) == 0) {
      call(qx::FormatArgs());
    } else {
      const qx::FormatArg list[] = {qx::FormatArg(args)...};
      call(qx::FormatArgs(list));
    }
  }
};
