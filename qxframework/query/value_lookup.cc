#include "qxframework/query/value_lookup.h"

#include "qxframework/query/field_values.h"

#include <cwctype>
#include <string>

namespace qx {
namespace {

// Returns the name with 32 subtracted from the code of each small letter, by the process's C
// locale. That makes capitals of ASCII letters, which column names consist of. A letter whose
// capital is not 32 codes away becomes some other character.
std::u16string inCapitals(const OLECHAR* name) {
  constexpr char16_t kDistance = 32;
  std::u16string capitals(viewOf(name));
  for (char16_t& unit : capitals)
    if (std::iswlower(unit) != 0) unit = static_cast<char16_t>(unit - kDistance);
  return capitals;
}

}  // namespace

CComVariant valueByNameOrCapitals(const Persistence::TyFieldValues& values, const OLECHAR* name) {
  const CComVariant* const value = values.find(name);
  return value != nullptr ? *value : values.GetValue(inCapitals(name).c_str());
}

}  // namespace qx
