#pragma once

// The locale of the user who runs the process, the order of texts in a locale and its separators in
// numbers. A locale is given by its numeric id; 1024 is the user's default, which the environment
// names.

#include "qxframework/automation/types.h"

#include <array>
#include <string>
#include <string_view>

namespace qx {

/// Compares two texts by a locale's collation. Returns a value below, equal to or above 0. Texts
/// that differ in case only are different, lower case first, unless `ignoreCase` is set;
/// punctuation counts. An unknown id uses the order of the root locale. Thread-safe.
QX_API int collate(std::u16string_view a, std::u16string_view b, LCID locale, bool ignoreCase);

/// The signs in a number: its separators, and the sign of the local currency, which a zero ends. A
/// locale whose currency has no sign, or one of more than five units, has an empty one.
struct NumberSigns {
  char16_t decimal = u'.';
  char16_t group = u',';
  std::array<char16_t, 6> currency = {u'$'};
};
/// Returns the signs of a locale; the default above for each separator that is not of one unit. A
/// locale that belongs to no country, as the root does, has the default currency too.
QX_API NumberSigns numberSigns(LCID locale);

/// Returns the user's default locale in the form "de_DE"; empty for the root locale. It is read
/// from the environment at the first use and never changes after that.
QX_API const std::string& userLocaleName();
/// Returns the locale name in the first of the values of LC_ALL, LC_COLLATE and LANG that is
/// neither null nor empty. Returns an empty name, the root locale, for "C" and "POSIX" and if there
/// is none.
QX_API std::string localeNameFrom(const char* all, const char* collation, const char* language);

}  // namespace qx
