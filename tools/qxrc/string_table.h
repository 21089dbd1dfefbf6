#pragma once

// A string table: one UTF-8 text file per language, one text per line.
//
//     # a comment; blank lines are skipped too
//     202 = Initialization failed
//     551 = Halvex Add-On\tLog Settings\n
//
// The decimal id precedes the first `=`. One blank after the `=` is skipped; the text is the rest
// of the line, including further blanks and `#`. Escapes: `\n` line feed, `\r` carriage return,
// `\t` tab, `\s` a blank (for texts that begin or end with one), `\\` a backslash. A byte-order
// mark and CR before LF are skipped.

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace qx::qxrc {

/// Texts by their ids.
using StringTable = std::map<std::uint32_t, std::u16string>;

/// Returns the table in `content`. Throws input::Diagnostic, which names `file`, for the first line
/// that is refused.
StringTable parseStringTable(const std::string& file, std::string_view content);

}  // namespace qx::qxrc
