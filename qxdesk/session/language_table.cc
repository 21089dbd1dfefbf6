#include "qxdesk/session/language_table.h"

#include <algorithm>
#include <iterator>

namespace qx::desk {
namespace {

struct LanguageTable {
  HvLanguages language;
  unsigned short table;
};

// The numbers are those of the framework's own tables. Its list is not used, since the company's
// library is linked without the framework. Three regions share one Spanish.
constexpr LanguageTable kTables[] = {
    {ln_Hebrew, 1037},           {ln_Spanish_Ar, 9226},
    {ln_English, kEnglishTable}, {ln_Polish, 1045},
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

}  // namespace

unsigned short languageTable(HvLanguages language) {
  const auto* row = std::find_if(
      std::begin(kTables), std::end(kTables),
      [language](const LanguageTable& candidate) { return candidate.language == language; });
  return row == std::end(kTables) ? kEnglishTable : row->table;
}

}  // namespace qx::desk
