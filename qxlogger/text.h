#pragma once

#include <string>
#include <string_view>

namespace qx::logger {

/// UTF-8 of UTF-16 text; an unpaired surrogate becomes U+FFFD.
std::string toUtf8(std::u16string_view text);

/// UTF-16 of UTF-8 text; what is not UTF-8 becomes U+FFFD.
std::u16string toUtf16(std::string_view text);

/// Appends `text` to `out` as UTF-8 that holds no line end and no control character, so that it
/// stays one field of one line. Line feed, carriage return, tab and backslash become "\n", "\r",
/// "\t" and "\\", other control characters and the Unicode line separators "\u0085" and the like.
void appendEscaped(std::string& out, std::u16string_view text);

/// `text` without the line feeds and carriage returns at its end.
std::u16string_view withoutLineEnds(std::u16string_view text);

/// Whether two texts are equal without regard to case.
bool equalIgnoringCase(std::u16string_view left, std::u16string_view right);

}  // namespace qx::logger
