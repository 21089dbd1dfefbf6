#pragma once

// The locale of the user who runs the process, the order of texts in a locale and its separators in
// numbers. A locale is given by its numeric id; 1024 is the user's default, which the environment
// names.

#include "qxframework/automation/types.h"

#include <string>
#include <string_view>

namespace qx {

/// Compares two texts by a locale's collation. Returns a value below, equal to or above 0. Texts
/// that differ in case only are different, lower case first, unless `ignoreCase` is set;
/// punctuation counts. An unknown id uses the order of the root locale. Thread-safe.
QX_API int collate(std::u16string_view a, std::u16string_view b, LCID locale, bool ignoreCase);

/// The separators in a number.
struct NumberSigns {
  char16_t decimal = u'.';
  char16_t group = u',';
};
/// Returns the separators of a locale; the defaults above for a locale without separators of one
/// unit.
QX_API NumberSigns numberSigns(LCID locale);

/// Returns the user's default locale in the form "de_DE"; empty for the root locale. It is read
/// from the environment at the first use and never changes after that.
QX_API const std::string& userLocaleName();
/// Returns the locale name in the first of the values of LC_ALL, LC_COLLATE and LANG that is
/// neither null nor empty. Returns an empty name, the root locale, for "C" and "POSIX" and if there
/// is none.
QX_API std::string localeNameFrom(const char* all, const char* collation, const char* language);

}  // namespace qx
