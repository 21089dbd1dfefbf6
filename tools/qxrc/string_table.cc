#include "tools/qxrc/string_table.h"

#include "qxframework/automation/ascii.h"
#include "tools/input/diagnostic.h"
#include "tools/input/utf8.h"

#include <charconv>
#include <system_error>

namespace qx::qxrc {
namespace {

using input::codePointCount;
using input::convertUtf8;
using input::Diagnostic;
using input::Location;

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kBlanks = " \t";

char unescape(char letter, const Location& place) {
  switch (letter) {
    case 'n':
      return '\n';
    case 'r':
      return '\r';
    case 't':
      return '\t';
    case 's':
      return ' ';
    case '\\':
      return '\\';
    default:
      throw Diagnostic(place, std::string("unknown escape \\") + letter,
                       "use \\n, \\r, \\t, \\s or \\\\; a backslash itself is written \\\\");
  }
}

// Returns `text`, which begins at `column`, with its escapes replaced. Bytes of UTF-8 sequences are
// never mistaken for a backslash, because all of them are above 0x7F.
std::string unescaped(std::string_view text, const std::string& file, std::size_t line,
                      std::size_t column) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] != '\\') {
      out.push_back(text[at]);
      continue;
    }
    // Counted only for an escape: counting per byte would take quadratic time in a long text.
    const Location place{file, line, column + codePointCount(text.substr(0, at))};
    if (++at == text.size()) {
      throw Diagnostic(place, "the line ends with a single backslash",
                       "write \\\\ for a backslash; a text cannot continue on the next line");
    }
    out.push_back(unescape(text[at], place));
  }
  return out;
}

std::uint32_t parseId(std::string_view text, const Location& place) {
  std::uint32_t id = 0;
  // Takes neither a sign nor blanks, and reports a number that is too large.
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), id);
  if (text.empty() || error != std::errc() || end != text.data() + text.size()) {
    throw Diagnostic(place, "'" + std::string(text) + "' is not a string id",
                     "begin the line with a decimal number from 0 to 4294967295");
  }
  return id;
}

void parseLine(const std::string& file, std::size_t line, std::string_view content,
               StringTable& table) {
  // Checks the whole line, so that malformed text is refused in comments too.
  convertUtf8(content, {file, line, 1});
  const std::string_view visible = trimmed(content, kBlanks);
  if (visible.empty() || visible.front() == '#') return;
  const Location start{file, line, content.find_first_not_of(kBlanks) + 1};
  const std::size_t equals = content.find('=');
  if (equals == std::string_view::npos) {
    throw Diagnostic(start, "the line has no '='", "write 'id = text', or # before a comment");
  }
  const std::uint32_t id = parseId(trimmed(content.substr(0, equals), kBlanks), start);
  // At most one blank, for legibility; the others belong to the text.
  std::size_t textStart = equals + 1;
  if (textStart < content.size() && content[textStart] == ' ') ++textStart;
  // The line up to here is ASCII, so bytes are columns.
  const std::size_t column = textStart + 1;
  const std::string text = unescaped(content.substr(textStart), file, line, column);
  if (!table.emplace(id, convertUtf8(text, {file, line, column})).second) {
    throw Diagnostic(start, "string id " + std::to_string(id) + " is defined a second time here",
                     "remove one of the two lines or give it another id");
  }
}

}  // namespace

StringTable parseStringTable(const std::string& file, std::string_view content) {
  StringTable table;
  if (content.starts_with(kByteOrderMark)) content.remove_prefix(kByteOrderMark.size());
  for (std::size_t line = 1; !content.empty(); ++line) {
    const std::size_t end = content.find('\n');
    std::string_view text = content.substr(0, end);
    content.remove_prefix(end == std::string_view::npos ? content.size() : end + 1);
    if (text.ends_with('\r')) text.remove_suffix(1);
    parseLine(file, line, text, table);
  }
  return table;
}

}  // namespace qx::qxrc
