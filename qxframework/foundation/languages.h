#pragma once

// What is known of the host's languages: name, ISO code and the language id whose string table
// serves it.

#include "qxframework/automation/types.h"
#include "qxframework/host/enums.h"

namespace qx {

/// The name as the log prints it, "ln_German"; "UNKNOWN" for a value that is no language.
QX_API const OLECHAR* languageName(HvLanguages language);
/// The ISO code, "DE"; "EN" for a value that is not listed.
QX_API const OLECHAR* isoLanguageCode(HvLanguages language);
/// The language id for resources, 1031; 1033 for a value that is not listed. Several languages
/// share an id, and Serbian and Turkish read the English one.
QX_API unsigned short windowsLanguageId(HvLanguages language);

}  // namespace qx
