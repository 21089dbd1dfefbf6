#include "qxframework/automation/toml_depth.h"

#include <cstddef>

namespace qx {
namespace {

// Returns the position behind the string that begins at `at`, which may span lines if it begins
// with three quotes.
std::size_t endOfString(std::string_view text, std::size_t at) {
  const char quote = text[at];
  const std::string_view three = quote == '"' ? "\"\"\"" : "'''";
  const bool multiLine = text.substr(at, 3) == three;
  const std::string_view end = multiLine ? three : three.substr(0, 1);
  for (at += end.size(); at < text.size(); ++at) {
    if (text.substr(at, end.size()) == end) return at + end.size();
    if (text[at] == '\n' && !multiLine) return at;
    if (text[at] == '\\' && quote == '"') ++at;
  }
  return text.size();
}

std::size_t endOfComment(std::string_view text, std::size_t at) {
  const std::size_t end = text.find('\n', at);
  return end == std::string_view::npos ? text.size() : end;
}

}  // namespace

std::optional<TextPlace> findDeepKey(std::string_view toml) {
  int levels = 1;
  for (std::size_t at = 0; at < toml.size();) {
    switch (toml[at]) {
      case '"':
      case '\'':
        at = endOfString(toml, at);
        continue;
      case '#':
        at = endOfComment(toml, at);
        continue;
      case '.':
        if (++levels > kDeepestTomlKey) return PlaceCounter<char>(toml).at(at);
        break;
      // What ends a key, or stands between two values.
      case '\n':
      case '=':
      case ',':
      case '[':
      case ']':
      case '{':
      case '}':
        levels = 1;
        break;
      default:
        break;
    }
    ++at;
  }
  return std::nullopt;
}

}  // namespace qx
