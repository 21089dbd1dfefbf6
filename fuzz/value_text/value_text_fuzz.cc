// Reads arbitrary text as a value of every kind. A value that was read must have a text, and that
// text must read back to a value with the same text. The first byte picks the locale, each further
// byte is a unit of the text.

#include "qxframework/automation/variant.h"

#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

constexpr LCID kLocales[] = {1033, 1031, 1036, 1024};

void check(bool right) {
  if (!right) std::abort();
}

// Reads `text` as `type` and replaces it by the text of the value. Returns false if it has no such
// form.
bool rewrite(CComVariant& text, VARTYPE type, LCID locale) {
  CComVariant value;
  const HRESULT read = VariantChangeTypeEx(&value, &text, locale, 0, type);
  check(read == S_OK || read == DISP_E_TYPEMISMATCH || read == DISP_E_OVERFLOW);
  if (read != S_OK) return false;
  check(value.vt == type);
  check(VarCmp(&value, &value, locale, 0) == VARCMP_EQ);
  check(VariantChangeTypeEx(&text, &value, locale, 0, VT_BSTR) == S_OK);
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const LCID locale = kLocales[data[0] % 4];
  const std::u16string text(data + 1, data + size);
  for (const VARTYPE type : {VT_I1, VT_I2, VT_I4, VT_I8, VT_UI1, VT_UI2, VT_UI4, VT_UI8, VT_R4,
                             VT_R8, VT_CY, VT_DATE, VT_BOOL}) {
    CComVariant first{std::u16string_view(text)};
    if (!rewrite(first, type, locale)) continue;
    // The first text may have blanks or groups; its rewritten form must not change any more.
    CComVariant second(first);
    check(rewrite(second, type, locale));
    check(VarCmp(&first, &second, locale, 0) == VARCMP_EQ);
  }
  return 0;
}
