#include "qxframework/persistence/internal/value_lookup.h"

#include "qxframework/persistence/field_values.h"

#include <cwctype>
#include <string>

namespace qx {
namespace {

// What the process's C locale takes for small letters lies 32 above its capital, or comes out
// wrong.
constexpr char16_t kCapitalDistance = 32;

}  // namespace

CComVariant valueByNameOrCapitals(const Persistence::TyFieldValues& values, const OLECHAR* name) {
  if (values.contains(name)) return values[name];
  std::u16string capitals(viewOf(name));
  for (char16_t& unit : capitals)
    if (std::iswlower(unit) != 0) unit = static_cast<char16_t>(unit - kCapitalDistance);
  return values.GetValue(capitals.c_str());
}

}  // namespace qx
