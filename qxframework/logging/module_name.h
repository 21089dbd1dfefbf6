#pragma once

// A second copy of the log's module name, for the time when the heap can no longer be trusted.
//
// logModuleName() is a string on the heap. An add-on that damages its heap may overwrite it, and
// the guard against faults would then note the fault in a log of another name.

#include <cstddef>
#include <string>
#include <string_view>

namespace qx {

/// The longest name that is kept, in UTF-16 units; a longer one is cut.
inline constexpr std::size_t kMaxKeptModuleName = 255;

/// Sets logModuleName() and the copy. Not for several threads at once.
void setLogModuleName(const std::u16string& name);

/// Returns the copy, which is in static storage: empty until setLogModuleName(). May be called in a
/// signal handler.
std::u16string_view keptModuleName();

}  // namespace qx
