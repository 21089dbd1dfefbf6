#pragma once

// The channel for messages to a developer that a user need not see: the reason why a library does
// not load, the text of a call stack. Messages go to the standard error stream if the environment
// variable QX_TRACE is set and not empty, or to a sink that a program sets.

#include "qxframework/automation/export.h"

#include <string_view>

namespace qx {

/// Receives one message unchanged. It may be called from any thread and must not throw.
using TraceSink = void (*)(std::u16string_view text);

/// Passes `text` unchanged to the sink; the caller supplies line ends.
QX_API void developerTrace(std::u16string_view text);
/// Sets the sink; null restores the standard error stream. Returns the previous sink, null if it
/// was the standard error stream.
QX_API TraceSink setDeveloperTraceSink(TraceSink sink);

}  // namespace qx
