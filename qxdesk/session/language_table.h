#pragma once

// The string tables of the host's libraries: which one has the texts of which language.

#include "qxframework/host/enums.h"

namespace qx::desk {

inline constexpr unsigned short kEnglishTable = 1033;

/// Returns the number of the string table with the texts of a language, which is a Windows language
/// id. Serbian, Turkish and the languages of a newer client have none; for them it is
/// kEnglishTable.
unsigned short languageTable(HvLanguages language);

}  // namespace qx::desk
