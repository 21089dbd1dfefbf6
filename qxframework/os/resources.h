#pragma once

// The resources of a loaded module: blobs by type, number and language, and string tables by
// language. Look-ups search the index of the module's image and do not allocate. A null module
// stands for the executable.

#include "qxframework/automation/export.h"
#include "qxframework/automation/types.h"
#include "qxframework/os/module.h"

#include <optional>
#include <string_view>

struct HRSRC__;
/// A resource that was found in a module.
using HRSRC = const HRSRC__*;
/// The bytes of a resource in memory.
using HGLOBAL = const void*;

/// The resource type of embedded XML.
inline constexpr unsigned RT_HTML = 23;

/// The resource `id` of `type` in language `langId`, else the language-neutral one. For the neutral
/// language 0 the user's language and then the resource's first language are tried as well. Null
/// when there is none.
QX_API HRSRC FindResourceExW(HINSTANCE module, unsigned type, unsigned id, unsigned short langId);
/// Null when `resource` is not of this module or its bytes are damaged. A resource of no bytes has
/// an address too. Nothing is to be freed.
QX_API HGLOBAL LoadResource(HINSTANCE module, HRSRC resource);
/// The bytes of what LoadResource() gave; valid while the module is loaded.
QX_API const void* LockResource(HGLOBAL resource);
/// The size in bytes; 0 also for a resource that is not of this module.
QX_API DWORD SizeofResource(HINSTANCE module, HRSRC resource);

namespace qx {

/// String `id` of exactly the table of `langId`; the text may be empty. The view lives while the
/// module is loaded.
QX_API std::optional<std::u16string_view> findString(HINSTANCE module, unsigned id,
                                                     unsigned short langId);

/// String `id` without a wish for a language: from the table of the user's language (LC_ALL, else
/// LANG) if it has it, else from the first table, by language id, that has it.
QX_API std::optional<std::u16string_view> findStringAnyLanguage(HINSTANCE module, unsigned id);

/// The language id of the user's locale (LC_ALL, else LANG); 0 when it names no language.
QX_API unsigned short userLanguage();

}  // namespace qx
