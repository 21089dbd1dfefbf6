#pragma once

// The resources of a loaded module: blobs by type, number and language, and string tables by
// language. Look-ups search the index of the module's image and do not allocate. A null module
// means the executable.

#include "qxframework/automation/export.h"
#include "qxframework/automation/types.h"
#include "qxframework/os/module.h"

#include <optional>
#include <string_view>

struct HRSRC__;
/// An opaque pointer to a resource of a module.
using HRSRC = const HRSRC__*;
/// The bytes of a resource in memory.
using HGLOBAL = const void*;

/// The resource type of embedded XML.
inline constexpr unsigned RT_HTML = 23;

/// Returns the resource `id` of `type` in language `langId`, else the language-neutral one, else
/// null. For `langId` 0, neutral, the user's language and then the resource's first language are
/// tried before null is returned.
QX_API HRSRC FindResourceExW(HINSTANCE module, unsigned type, unsigned id, unsigned short langId);
/// Returns the resource's bytes, which the module owns. Returns null if `resource` is not of this
/// module or is damaged. An empty resource has an address too.
QX_API HGLOBAL LoadResource(HINSTANCE module, HRSRC resource);
/// Returns the bytes of a loaded resource, valid while the module is loaded.
QX_API const void* LockResource(HGLOBAL resource);
/// Returns the size in bytes; 0 also if the resource is not of this module.
QX_API DWORD SizeofResource(HINSTANCE module, HRSRC resource);

namespace qx {

/// Returns string `id` from the table of `langId` only, valid while the module is loaded. Returns
/// nothing if it is missing; a string that exists may be empty.
QX_API std::optional<std::u16string_view> findString(HINSTANCE module, unsigned id,
                                                     unsigned short langId);

/// Returns string `id` from the first table that has it: the user's language (LC_ALL, else LANG),
/// the same language of another country, then all tables by ascending language id.
QX_API std::optional<std::u16string_view> findStringAnyLanguage(HINSTANCE module, unsigned id);

/// Returns the language id of the user's locale (LC_ALL, else LANG), or 0 if it names no language.
QX_API unsigned short userLanguage();

}  // namespace qx
