#include "qxdesk/dictionary/dictionary_names.h"

#include "qxdesk/engines/company_error.h"
#include "qxframework/automation/ascii.h"
#include "qxframework/automation/text.h"

#include <algorithm>

namespace qx::desk {

void checkName(std::string_view name) {
  const bool good =
      std::all_of(name.begin(), name.end(), [](char c) { return isLetterOrDigit(c) || c == '_'; });
  if (!good) throw CompanyError(kInvalidValue, Text::NameCharacters, name);
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
