#include "qxdesk/engines/company_error.h"

#include "qxframework/automation/text.h"
#include "qxframework/os/resources.h"

#include <algorithm>
#include <iterator>
#include <optional>

namespace qx::desk {

namespace {

constexpr unsigned short kEnglish = 1033;

struct LanguageTable {
  HvLanguages language;
  unsigned short table;
};

// The numbers of the tables are Windows language ids, as in the framework, whose own list this
// module has no access to: it is linked without the framework. Three regions share one Spanish.
constexpr LanguageTable kTables[] = {
    {ln_Hebrew, 1037},           {ln_Spanish_Ar, 9226},
    {ln_English, kEnglish},      {ln_Polish, 1045},
    {ln_English_Sg, 2057},       {ln_Spanish_Pa, 9226},
    {ln_English_Gb, 2057},       {ln_German, 1031},
    {ln_Danish, 1030},           {ln_Norwegian, 2068},
    {ln_Italian, 1040},          {ln_Hungarian, 1038},
    {ln_Chinese, 2052},          {ln_Dutch, 1043},
    {ln_Finnish, 1035},          {ln_Greek, 1032},
    {ln_Portuguese, 2070},       {ln_Swedish, 1053},
    {ln_English_Cy, 2057},       {ln_French_Fr, 1036},
    {ln_Spanish, 3082},          {ln_Russian, 1049},
    {ln_Spanish_La, 9226},       {ln_Czech_Cz, 1029},
    {ln_Slovak_Sk, 1051},        {ln_Korean_Kr, 1042},
    {ln_Portuguese_Br, 1046},    {ln_Japanese_Jp, 1041},
    {ln_TrdtnlChinese_Hk, 1028},
};

unsigned short tableOf(HvLanguages language) {
  const auto* row = std::find_if(
      std::begin(kTables), std::end(kTables),
      [language](const LanguageTable& candidate) { return candidate.language == language; });
  // Serbian, Turkish and the languages of a newer client have no table.
  return row == std::end(kTables) ? kEnglish : row->table;
}

// This archive is part of a shared object or of a test program. The address of something in it
// leads to the right module in both; a null module would always be the executable.
HINSTANCE ownModule() {
  static const char anchor = 0;
  static const HINSTANCE module = moduleOf(&anchor);
  return module;
}

std::u16string pattern(Text text, HvLanguages language) {
  const auto id = static_cast<unsigned>(text);
  for (const unsigned short table : {tableOf(language), kEnglish}) {
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
