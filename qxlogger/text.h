#pragma once

// Text as a field of a log record, which is always a single line.

#include <string>
#include <string_view>

namespace qx::logger {

/// Appends `text` to `out` as UTF-8 without line ends and control characters, so that it remains
/// one field of one line. Line feed, carriage return, tab and backslash become "\n", "\r", "\t" and
/// "\\"; other control characters and the Unicode line separators become "\u0085" and the like; an
/// unpaired surrogate becomes U+FFFD.
void appendEscaped(std::string& out, std::u16string_view text);

/// Returns `text` without the line feeds and carriage returns at its end.
std::u16string_view withoutLineEnds(std::u16string_view text);

}  // namespace qx::logger
