#include "qxframework/foundation/languages.h"

#include <algorithm>
#include <iterator>

namespace qx {
namespace {

struct LanguageRow {
  HvLanguages language;
  const OLECHAR* name;
  const OLECHAR* isoCode;
  unsigned short windowsId;
};

// Name, ISO code and language id are listed separately, because none follows from another: Serbian
// and Turkish have names but read the English resources, Turkish also has the ISO code of English,
// and the Spanish of three regions shares an id. Installed resources rely on each entry.
constexpr LanguageRow kRows[] = {
    {ln_Hebrew, u"ln_Hebrew", u"HE", 1037},
    {ln_Spanish_Ar, u"ln_Spanish_Ar", u"ES", 9226},
    {ln_English, u"ln_English", u"EN", 1033},
    {ln_Polish, u"ln_Polish", u"PL", 1045},
    {ln_English_Sg, u"ln_English_Sg", u"EN", 2057},
    {ln_Spanish_Pa, u"ln_Spanish_Pa", u"ES", 9226},
    {ln_English_Gb, u"ln_English_Gb", u"EN", 2057},
    {ln_German, u"ln_German", u"DE", 1031},
    {ln_Serbian, u"ln_Serbian", u"SR", 1033},
    {ln_Danish, u"ln_Danish", u"DA", 1030},
    {ln_Norwegian, u"ln_Norwegian", u"NO", 2068},
    {ln_Italian, u"ln_Italian", u"IT", 1040},
    {ln_Hungarian, u"ln_Hungarian", u"HU", 1038},
    {ln_Chinese, u"ln_Chinese", u"ZH", 2052},
    {ln_Dutch, u"ln_Dutch", u"NL", 1043},
    {ln_Finnish, u"ln_Finnish", u"FI", 1035},
    {ln_Greek, u"ln_Greek", u"EL", 1032},
    {ln_Portuguese, u"ln_Portuguese", u"PT", 2070},
    {ln_Swedish, u"ln_Swedish", u"SV", 1053},
    {ln_English_Cy, u"ln_English_Cy", u"EN", 2057},
    {ln_French_Fr, u"ln_French_Fr", u"FR", 1036},
    {ln_Spanish, u"ln_Spanish", u"ES", 3082},
    {ln_Russian, u"ln_Russian", u"RU", 1049},
    {ln_Spanish_La, u"ln_Spanish_La", u"ESCO", 9226},
    {ln_Czech_Cz, u"ln_Czech_Cz", u"CS", 1029},
    {ln_Slovak_Sk, u"ln_Slovak_Sk", u"SK", 1051},
    {ln_Korean_Kr, u"ln_Korean_Kr", u"KO", 1042},
    {ln_Portuguese_Br, u"ln_Portuguese_Br", u"PTBR", 1046},
    {ln_Japanese_Jp, u"ln_Japanese_Jp", u"JA", 1041},
    {ln_Turkish_Tr, u"ln_Turkish_Tr", u"EN", 1033},
    {ln_TrdtnlChinese_Hk, u"ln_TrdtnlChinese_Hk", u"ZHTW", 1028},
};
// For a language of a newer client.
constexpr LanguageRow kDefault{HvLanguages{}, u"UNKNOWN", u"EN", 1033};

const LanguageRow& rowOf(HvLanguages language) {
  const auto* row =
      std::find_if(std::begin(kRows), std::end(kRows),
                   [language](const auto& candidate) { return candidate.language == language; });
  return row == std::end(kRows) ? kDefault : *row;
}

}  // namespace

const OLECHAR* languageName(HvLanguages language) { return rowOf(language).name; }
const OLECHAR* isoLanguageCode(HvLanguages language) { return rowOf(language).isoCode; }
unsigned short windowsLanguageId(HvLanguages language) { return rowOf(language).windowsId; }

}  // namespace qx
