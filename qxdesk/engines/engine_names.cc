#include "qxdesk/engines/engine_names.h"

#include "qxdesk/engines/database.h"
#include "qxdesk/engines/table_layout.h"
#include "qxframework/automation/ascii.h"

#include <algorithm>

namespace qx::desk {

namespace {

// Takes the [name] at the start of the text and returns it without its brackets. A name that does
// not end takes the rest of the text.
std::string takeName(std::string_view& sql) {
  std::string name;
  sql.remove_prefix(1);
  while (!sql.empty()) {
    const bool close = sql.front() == ']';
    const bool doubled = close && sql.starts_with("]]");
    if (!close || doubled) name += sql.front();
    sql.remove_prefix(doubled ? 2 : 1);
    if (close && !doubled) break;
  }
  return name;
}

// Takes the part between quotes at the start of the text. An open quote takes the rest.
std::string_view takeQuoted(std::string_view& sql) {
  const std::size_t end = std::min(sql.find(sql.front(), 1), sql.size() - 1);
  const std::string_view part = sql.substr(0, end + 1);
  sql.remove_prefix(part.size());
  return part;
}

bool needsNoQuotes(std::string_view name) {
  return std::all_of(name.begin(), name.end(),
                     [](char c) { return isLetterOrDigit(c) || c == '_' || c == '@'; });
}

}  // namespace

std::string quotedName(std::string_view name, std::string_view quote) {
  if (quote.empty() && !needsNoQuotes(name)) {
    throw DatabaseError(Fault::Statement, "the name '" + std::string(name) +
                                              "' needs quotes, and this engine has none for names");
  }
  std::string result(quote);
  while (!name.empty()) {
    const bool doubled = !quote.empty() && name.starts_with(quote);
    if (doubled) result += quote;
    const std::size_t length = doubled ? quote.size() : 1;
    result += name.substr(0, length);
    name.remove_prefix(length);
  }
  return result.append(quote);
}

std::string withEngineNames(std::string_view sql, const NameStyle& style) {
  std::string result;
  while (!sql.empty()) {
    const std::size_t start = std::min(sql.find_first_of("['\""), sql.size());
    result += sql.substr(0, start);
    sql.remove_prefix(start);
    if (sql.empty()) break;
    if (sql.front() != '[') {
      result += takeQuoted(sql);
      continue;
    }
    const std::string name = takeName(sql);
    result += quotedName(style.lowerCase ? lowerName(name) : name, style.quote);
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
