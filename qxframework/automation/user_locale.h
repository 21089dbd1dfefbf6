#pragma once

// What the process's user sees: the locale that the environment names, its order of texts and its
// number signs. A locale is asked for by its numeric id; 1024 is the user's default.

#include "qxframework/automation/types.h"

#include <string>
#include <string_view>

namespace qx {

/// Order of two texts: below 0, 0 or above 0. Letters that differ in case only differ, the small
/// one first, unless `ignoreCase`; punctuation counts. An unknown id takes the root locale's order.
/// Thread-safe.
QX_API int collate(std::u16string_view a, std::u16string_view b, LCID locale, bool ignoreCase);

/// Whether a text has the visible signs and the blank of ASCII only. Two such texts are equal in
/// the order of a locale only if they are the same.
QX_API bool isPlainText(std::u16string_view text);

/// The signs that stand in a number.
struct NumberSigns {
  char16_t decimal = u'.';
  char16_t group = u',';
};
QX_API NumberSigns numberSigns(LCID locale);

/// The user's default locale in the spelling "de_DE"; empty for the root locale. It is read from
/// the environment at the first use and stays.
QX_API const std::string& userLocaleName();
/// The locale name out of the values of LC_ALL, LC_COLLATE and LANG, the first that is neither
/// null nor empty; "C" and "POSIX" name the root locale.
QX_API std::string localeNameFrom(const char* all, const char* collation, const char* language);

}  // namespace qx
