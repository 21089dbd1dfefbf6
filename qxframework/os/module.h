#pragma once

// The modules of this process: its executable and the shared objects that are loaded.
//
// A module's identity is an HINSTANCE. It stays valid as a value when the module is unloaded:
// every operation then answers as for a module that does not exist. The table of modules is kept
// up to date with what the loader reports, which costs little when nothing was loaded.

#include "qxframework/automation/export.h"
#include "qxframework/automation/types.h"
#include "qxframework/os/resource_image.h"

#include <optional>
#include <string>

struct HINSTANCE__;
/// An opaque pointer to a loaded module; null stands for the executable where a module is asked
/// for.
using HINSTANCE = HINSTANCE__*;
using HMODULE = HINSTANCE;

/// The length that module file names are usually limited to, terminator included.
inline constexpr DWORD MAX_PATH = 260;

/// The loaded module with the internal name `name` in its version block (compared without case),
/// or else with that file name or path. Null `name` gives the executable. Null when there is none.
QX_API HINSTANCE GetModuleHandleW(const OLECHAR* name);

/// Writes the path of `module` (null: of the executable) with a terminator into `buffer` of `size`
/// units. The result is the length without the terminator; when the path does not fit it is cut,
/// still terminated, and the result is `size`. 0 when the module is not loaded.
QX_API DWORD GetModuleFileNameW(HINSTANCE module, OLECHAR* buffer, DWORD size);

namespace qx {

/// The module that the code or data at `address` belongs to; null when it belongs to none.
QX_API HINSTANCE moduleOf(const void* address);

/// The path of `module` (null: of the executable) in full; empty when the module is not loaded.
QX_API std::u16string modulePath(HINSTANCE module);

/// The resources of `module` (null: of the executable), valid while it is loaded. Nothing when it
/// is not loaded or has none.
std::optional<ResourceImage> moduleResources(HINSTANCE module);

}  // namespace qx
