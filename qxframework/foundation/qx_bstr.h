#pragma once

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/format.h"
#include "qxframework/host/enums.h"
#include "qxframework/os/module.h"

#include <type_traits>

/// An owning wide string that remembers a host language, in which it loads, formats and compares
/// its text by default.
///
/// An allocation failure raises a _com_error of E_OUTOFMEMORY.
class QX_API CQXBSTR : public CComBSTR {
 public:
  explicit CQXBSTR(HvLanguages language) : m_Language(language) {}
  CQXBSTR(const OLECHAR* text, HvLanguages language) : CComBSTR(text), m_Language(language) {}
  /// A string of `length` units; null for 0.
  CQXBSTR(int length, HvLanguages language) : CQXBSTR(length, nullptr, language) {}
  /// A negative length raises E_INVALIDARG.
  CQXBSTR(int length, const OLECHAR* text, HvLanguages language)
      : CComBSTR(length, text), m_Language(language) {}
  CQXBSTR(const CComBSTR& text, HvLanguages language) : CComBSTR(text), m_Language(language) {}
  CQXBSTR(const GUID& guid, HvLanguages language) : CComBSTR(guid), m_Language(language) {}
  CQXBSTR(const CQXBSTR& other) = default;

  /// The first two keep the language, the last takes it.
  CQXBSTR& operator=(const CComBSTR& text) {
    CComBSTR::operator=(text);
    return *this;
  }
  CQXBSTR& operator=(const OLECHAR* text) {
    CComBSTR::operator=(text);
    return *this;
  }
  CQXBSTR& operator=(const CQXBSTR& other) = default;
  operator _bstr_t() const { return _bstr_t(View()); }

  void PutLanguage(HvLanguages language) { m_Language = language; }
  HvLanguages GetLanguage() const { return m_Language; }

  /// Takes string `id` of `module` (null: the executable): that of the language, else of 1033, else
  /// what the system's default search finds. False, with the text as it was, when there is none.
  /// A negative `language` means the string's own.
  bool LoadStringW(unsigned id, HvLanguages language, HINSTANCE module);
  bool LoadStringW(unsigned id, unsigned short langId, HINSTANCE module);

  /// Replaces the text by the formatted one. A null format raises E_INVALIDARG.
  template <class... Args>
  void Format(const OLECHAR* text, const Args&... args) {
    withArgs([&](qx::FormatArgs list) { FormatList(text, list); }, args...);
  }
  /// The same with string `id` of the executable as the format; nothing changes when there is none.
  template <class... Args>
  void Format(HvLanguages language, unsigned id, const Args&... args) {
    withArgs([&](qx::FormatArgs list) { FormatList(language, id, list); }, args...);
  }
  // An integer only, so that a language in front always means the operation above.
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

  /// Whether the text equals string `id` of the executable by the user-default locale's comparison;
  /// false when there is no such string. A negative `language` means the string's own.
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
