#include "qxdesk/engines/company_error.h"

#include <gtest/gtest.h>

namespace qx::desk {
namespace {

TEST(ErrorTexts, AreInTheLanguageOfTheUserOrInEnglish) {
  const auto inLanguage = [](HvLanguages language) {
    return sentence(Text::NotAnAmount, {}, language);
  };
  EXPECT_EQ(inLanguage(ln_English), u"The amount is not a number.");
  EXPECT_EQ(inLanguage(ln_German), u"Der Betrag ist keine Zahl.");
  EXPECT_EQ(inLanguage(ln_Hungarian), u"Az \u00F6sszeg nem sz\u00E1m.");
  EXPECT_EQ(inLanguage(ln_Spanish), u"El importe no es un n\u00FAmero.");
  for (const HvLanguages american : {ln_Spanish_Ar, ln_Spanish_La, ln_Spanish_Pa}) {
    EXPECT_EQ(inLanguage(american), u"El monto no es un n\u00FAmero.") << american;
  }
  for (const HvLanguages without : {ln_Serbian, ln_Turkish_Tr, static_cast<HvLanguages>(99)}) {
    EXPECT_EQ(inLanguage(without), u"The amount is not a number.") << without;
  }
}

TEST(ErrorTexts, InsertTheirArgumentsUnchanged) {
  EXPECT_EQ(sentence(Text::TableMissing, {u"%2%1"}, ln_English), u"There is no table '%2%1'.");
  EXPECT_EQ(sentence(Text::TableMissing, {}, ln_English), u"There is no table ''.");
}

TEST(ErrorTexts, ATextWithoutASentenceReadsAsItsNumberAndItsArguments) {
  EXPECT_EQ(sentence(static_cast<Text>(4711), {u"a", u"b"}, ln_German), u"error text 4711 (a, b)");
}

TEST(CompanyErrorTest, CarriesItsCodeAndItsSentences) {
  const CompanyError error(kNotFound, Text::KeyMissing, "K", "@QX");
  EXPECT_EQ(error.code(), kNotFound);
  EXPECT_EQ(error.text(), Text::KeyMissing);
  EXPECT_STREQ(error.what(), "There is no key 'K' in the table '@QX'.");
  EXPECT_EQ(error.sentenceIn(ln_German),
            u"Es gibt keinen Schl\u00FCssel 'K' in der Tabelle '@QX'.");
}

}  // namespace
}  // namespace qx::desk
