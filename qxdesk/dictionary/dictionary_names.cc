#include "qxdesk/dictionary/dictionary_names.h"

#include "qxdesk/engines/company_error.h"
#include "qxdesk/sql/token_cursor.h"
#include "qxframework/automation/ascii.h"
#include "qxframework/automation/text.h"

#include <algorithm>

namespace qx::desk {

namespace {

bool isName(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return isLetterOrDigit(c) || c == '_'; });
}

}  // namespace

void checkName(std::string_view name) {
  if (!isName(name)) throw CompanyError(kInvalidValue, Text::NameCharacters, name);
}

void checkStoredName(std::string_view name, std::size_t longest, std::string_view dictionary) {
  if (!name.empty() && name.size() <= longest && isName(name)) return;
  throw CompanyError(kSqlFailure, Text::StoredName, sql::valueExcerpt(name), dictionary);
}

void checkDescription(const std::string& text) {
  constexpr std::size_t kMaxDescription = 30;
  // The host counts UTF-16 units, so a character outside the basic plane counts twice.
  if (toUtf16(text).size() <= kMaxDescription) return;
  throw CompanyError(kInvalidValue, Text::DescriptionTooLong, text,
                     std::to_string(kMaxDescription));
}

std::string_view bareTableName(std::string_view name) {
  if (name.starts_with('@')) name.remove_prefix(1);
  return name;
}

}  // namespace qx::desk
