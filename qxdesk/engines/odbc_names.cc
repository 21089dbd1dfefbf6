#include "qxdesk/engines/odbc_names.h"

#include "qxdesk/engines/table_layout.h"

#include <algorithm>

namespace qx::desk {

std::string withEngineNames(std::string_view sql, const NameStyle& style) {
  std::string result;
  while (!sql.empty()) {
    const std::size_t start = std::min(sql.find_first_of("['\""), sql.size());
    result += sql.substr(0, start);
    sql.remove_prefix(start);
    if (sql.empty()) break;
    // An unclosed quote takes the rest of the text.
    const char close = sql.front() == '[' ? ']' : sql.front();
    const std::size_t end = std::min(sql.find(close, 1), sql.size() - 1);
    const std::string_view part = sql.substr(0, end + 1);
    sql.remove_prefix(part.size());
    if (close != ']') {
      result += part;
      continue;
    }
    const std::string_view name = part.substr(1, part.size() - 2);
    result += style.quote;
    result += style.lowerCase ? lowerName(name) : std::string(name);
    result += style.quote;
  }
  return result;
}

bool hasEscape(std::string_view sql) {
  struct Quote {
    std::string_view open, close;
  };
  static constexpr Quote kQuotes[] = {
      {"'", "'"}, {"\"", "\""}, {"[", "]"}, {"--", "\n"}, {"/*", "*/"}};
  while (!sql.empty()) {
    if (sql.front() == '{') return true;
    // Doubled quotes need no care: the second one opens a new quoted part at once.
    const auto quote = std::find_if(std::begin(kQuotes), std::end(kQuotes),
                                    [&](const Quote& q) { return sql.starts_with(q.open); });
    std::size_t end = 1;
    if (quote != std::end(kQuotes)) {
      end = sql.find(quote->close, quote->open.size());
      end = end == std::string_view::npos ? sql.size() : end + quote->close.size();
    }
    sql.remove_prefix(end);
  }
  return false;
}

}  // namespace qx::desk
