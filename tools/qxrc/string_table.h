#pragma once

// A string table: one UTF-8 text file per language, one text per line.
//
//     # a comment; blank lines count for nothing
//     202 = Initialization failed
//     551 = Halvex Add-On\tLog Settings\n
//
// Left of the first `=` stands the decimal id. One blank behind the `=` is skipped; the text is all
// that follows to the end of the line, further blanks included, `#` included. Escapes: `\n` line
// feed, `\r` carriage return, `\t` tab, `\s` a blank (for texts that begin or end with one), `\\` a
// backslash. A byte-order mark and CR before LF are skipped.

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace qx::qxrc {

using StringTable = std::map<std::uint32_t, std::u16string>;

/// The table in `content`; `file` is named in diagnostics. Throws input::Diagnostic.
StringTable parseStringTable(const std::string& file, std::string_view content);

}  // namespace qx::qxrc
