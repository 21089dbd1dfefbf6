#include "qxdesk/company/engines/odbc_names.h"

#include "qxdesk/company/table_layout.h"

#include <algorithm>

namespace qx::desk {

std::string withEngineNames(std::string_view sql, const NameStyle& style) {
  std::string result;
  while (!sql.empty()) {
    const std::size_t start = std::min(sql.find_first_of("['\""), sql.size());
    result += sql.substr(0, start);
    sql.remove_prefix(start);
    if (sql.empty()) break;
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

}  // namespace qx::desk
