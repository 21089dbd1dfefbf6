#include "qxframework/query/value_lookup.h"

#include "qxframework/query/field_values.h"

#include <cwctype>
#include <string>

namespace qx {
namespace {

/// The name with every small letter, in the sense of the process's C locale, moved down by 32
/// codes. That makes capitals of the letters of plain ASCII, of which column names are made; a
/// letter whose capital stands elsewhere turns into some other character.
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
