#include "qxframework/foundation/qx_bstr.h"

#include "qxframework/automation/com_error.h"
#include "qxframework/automation/wide_string.h"
#include "qxframework/foundation/languages.h"
#include "qxframework/os/resources.h"

#include <new>
#include <optional>
#include <stdexcept>

namespace {

constexpr unsigned short kEnglish = 1033;

// English precedes the search over all languages: a text in an arbitrary one is the last resort.
std::optional<std::u16string_view> lookUp(unsigned id, unsigned short langId, HINSTANCE module) {
  auto text = qx::findString(module, id, langId);
  if (!text) text = qx::findString(module, id, kEnglish);
  if (!text) text = qx::findStringAnyLanguage(module, id);
  return text;
}

}  // namespace

bool CQXBSTR::LoadStringW(unsigned id, HvLanguages language, HINSTANCE module) {
  if (language < 0) language = m_Language;
  return LoadStringW(id, qx::windowsLanguageId(language), module);
}

bool CQXBSTR::LoadStringW(unsigned id, unsigned short langId, HINSTANCE module) {
  const auto text = lookUp(id, langId, module);
  if (!text) return false;
  // An empty resource string becomes an empty text with a pointer, not a null one: it was found.
  Attach(qx::newText(*text));
  return m_str != nullptr;
}

void CQXBSTR::FormatList(const OLECHAR* text, qx::FormatArgs args) {
  if (text == nullptr) qx::raiseError(E_INVALIDARG);
  // Formatted apart from this string, which may be among the arguments. Too long counts as too
  // large.
  CString formatted;
  try {
    formatted.FormatV(text, args);
  } catch (const std::bad_alloc&) {
    qx::raiseError(E_OUTOFMEMORY);
  } catch (const std::length_error&) {
    qx::raiseError(E_OUTOFMEMORY);
  }
  CComBSTR::operator=(CComBSTR(formatted.View()));
}

void CQXBSTR::FormatList(HvLanguages language, unsigned id, qx::FormatArgs args) {
  CQXBSTR text(m_Language);  // apart from this string, which may be among the arguments
  if (text.LoadStringW(id, language, nullptr)) FormatList(text.m_str, args);
}

bool CQXBSTR::Compare(unsigned id, HvLanguages language) const {
  CQXBSTR text(m_Language);
  return text.LoadStringW(id, language, nullptr) && text == static_cast<const CComBSTR&>(*this);
}
