#pragma once

// The host's languages: the name of each, its ISO code, and the language id of its string tables.

#include "qxframework/automation/types.h"
#include "qxframework/host/enums.h"

namespace qx {

/// Returns the name that the log prints, such as "ln_German"; "UNKNOWN" for any other value. The
/// texts live as long as the program.
QX_API const OLECHAR* languageName(HvLanguages language);
/// Returns the ISO code, such as "DE"; "EN" for any other value.
QX_API const OLECHAR* isoLanguageCode(HvLanguages language);
/// Returns the Windows language id for resources, such as 1031; 1033 for any other value. Several
/// languages share an id, and Serbian and Turkish read the English one.
QX_API unsigned short windowsLanguageId(HvLanguages language);

}  // namespace qx
