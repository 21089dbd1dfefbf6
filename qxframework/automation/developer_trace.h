#pragma once

// The channel on which the framework tells a developer what a user need not know: why a library
// does not load, what a stack looked like. It goes to the standard error stream when the
// environment variable QX_TRACE is set and not empty, or to a sink that a debugger's stand-in sets.

#include "qxframework/automation/export.h"

#include <string_view>

namespace qx {

/// Takes one text as it was given; it may be called from any thread and must not raise.
using TraceSink = void (*)(std::u16string_view text);

/// Hands `text` to the sink, as it is: line ends are the caller's.
QX_API void developerTrace(std::u16string_view text);
/// Replaces the sink, null for the standard one. The result is the one before, null if standard.
QX_API TraceSink setDeveloperTraceSink(TraceSink sink);

}  // namespace qx
