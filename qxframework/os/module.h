#pragma once

// The modules of this process: its executable and the loaded shared objects.
//
// An HINSTANCE identifies a module. It remains a valid value after the module is unloaded; every
// operation then answers as for a module that does not exist. Each operation compares the table of
// modules with the loader's counters first, which is cheap while no module is loaded or unloaded.

#include "qxframework/automation/export.h"
#include "qxframework/automation/types.h"
#include "qxframework/os/resource_image.h"

#include <optional>
#include <string>
#include <string_view>

struct HINSTANCE__;
/// An opaque pointer to a module. As an argument, null means the executable.
using HINSTANCE = HINSTANCE__*;
using HMODULE = HINSTANCE;

/// The usual size of a buffer for a module's path, in units with the terminator.
inline constexpr DWORD MAX_PATH = 260;

/// Returns the loaded module whose version block has the internal name `name` (compared without
/// case), else the one with that file name or path, else null. For a null `name` returns the
/// executable.
QX_API HINSTANCE GetModuleHandleW(const OLECHAR* name);

/// Writes the path of `module` (null: of the executable) with a terminator into `buffer` of `size`
/// units and returns its length without the terminator. A path that does not fit is cut, still
/// terminated, and the result is `size`. Returns 0 for an unloaded module or no buffer.
QX_API DWORD GetModuleFileNameW(HINSTANCE module, OLECHAR* buffer, DWORD size);

namespace qx {

/// Returns the module that the code or data at `address` belongs to, or null.
QX_API HINSTANCE moduleOf(const void* address);

/// Returns the loaded module with exactly this path, or null.
QX_API HINSTANCE moduleAt(std::u16string_view path);

/// Returns the full path of `module` (null: of the executable), empty if it is not loaded.
QX_API std::u16string modulePath(HINSTANCE module);

/// Returns the resources of `module` (null: of the executable), valid while it is loaded. Returns
/// nothing if it is not loaded or has none.
std::optional<ResourceImage> moduleResources(HINSTANCE module);

}  // namespace qx
