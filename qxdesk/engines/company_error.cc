#include "qxdesk/engines/company_error.h"

#include "qxdesk/session/language_table.h"
#include "qxframework/automation/text.h"
#include "qxframework/os/resources.h"

#include <optional>

namespace qx::desk {

namespace {

// This archive is part of a shared object or of a test program. The address of something in it
// leads to the right module in both; a null module would always be the executable.
HINSTANCE ownModule() {
  static const char anchor = 0;
  static const HINSTANCE module = moduleOf(&anchor);
  return module;
}

std::u16string pattern(Text text, HvLanguages language) {
  const auto id = static_cast<unsigned>(text);
  for (const unsigned short table : {languageTable(language), kEnglishTable}) {
    if (const auto found = findString(ownModule(), id, table)) return std::u16string(*found);
  }
  // The failure itself must still reach the caller, if only as a number.
  return toUtf16("error text " + std::to_string(id)) + u" (%1, %2)";
}

std::vector<std::u16string> wide(std::string_view first, std::string_view second) {
  return {toUtf16(first), toUtf16(second)};
}

}  // namespace

std::u16string sentence(Text text, const std::vector<std::u16string>& arguments,
                        HvLanguages language) {
  const std::u16string whole = pattern(text, language);
  std::u16string result;
  std::u16string_view rest = whole;
  // One pass over the pattern: an argument that contains "%1" itself stays as it is.
  while (!rest.empty()) {
    const bool place = rest.size() > 1 && rest[0] == u'%' && (rest[1] == u'1' || rest[1] == u'2');
    if (place) {
      const std::size_t index = static_cast<std::size_t>(rest[1] - u'1');
      if (index < arguments.size()) result += arguments[index];
    } else {
      result += rest.front();
    }
    rest.remove_prefix(place ? 2 : 1);
  }
  return result;
}

CompanyError::CompanyError(long code, Text text, std::vector<std::u16string> arguments)
    : std::runtime_error(toUtf8(sentence(text, arguments, ln_English))),
      code_(code),
      text_(text),
      arguments_(std::move(arguments)) {}

CompanyError::CompanyError(long code, Text text, std::string_view first, std::string_view second)
    : CompanyError(code, text, wide(first, second)) {}

}  // namespace qx::desk
