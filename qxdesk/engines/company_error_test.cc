#include "qxdesk/engines/company_error.h"

#include "qxframework/automation/text.h"
#include "qxframework/os/resources.h"

#include <gtest/gtest.h>

#include <array>

namespace qx::desk {
namespace {

constexpr std::array<unsigned short, 3> kTables = {1033, 1031, 3082};

/// "1", "2", "12" or nothing: the placeholders that a sentence has.
std::string placeholdersOf(std::u16string_view sentence) {
  std::string found;
  if (sentence.find(u"%1") != std::u16string_view::npos) found += '1';
  if (sentence.find(u"%2") != std::u16string_view::npos) found += '2';
  return found;
}

TEST(ErrorTexts, EveryTextHasASentenceInEveryLanguageWithTheSamePlaceholders) {
  ASSERT_GT(static_cast<unsigned>(Text::End), 70U);
  for (unsigned id = 1; id < static_cast<unsigned>(Text::End); ++id) {
    const auto english = findString(nullptr, id, kTables.front());
    ASSERT_TRUE(english) << id;
    for (const unsigned short table : kTables) {
      const auto found = findString(nullptr, id, table);
      ASSERT_TRUE(found) << id << " in " << table;
      EXPECT_FALSE(found->empty()) << id << " in " << table;
      EXPECT_EQ(placeholdersOf(*found), placeholdersOf(*english)) << id << " in " << table;
    }
  }
}

TEST(ErrorTexts, EverySentenceBelongsToAText) {
  for (const unsigned short table : kTables) {
    EXPECT_FALSE(findString(nullptr, 0, table)) << table;
    for (unsigned id = static_cast<unsigned>(Text::End); id < 1000; ++id) {
      EXPECT_FALSE(findString(nullptr, id, table)) << id << " in " << table;
    }
  }
}

TEST(ErrorTexts, AreInTheLanguageOfTheUserOrInEnglish) {
  const auto inLanguage = [](HvLanguages language) {
    return sentence(Text::NoTransaction, {}, language);
  };
  EXPECT_EQ(inLanguage(ln_English), u"No transaction is open.");
  EXPECT_EQ(inLanguage(ln_German), u"Es ist keine Transaktion offen.");
  for (const HvLanguages spanish : {ln_Spanish, ln_Spanish_Ar, ln_Spanish_La, ln_Spanish_Pa}) {
    EXPECT_EQ(inLanguage(spanish), u"No hay ninguna transacci\u00F3n abierta.");
  }
  EXPECT_EQ(inLanguage(ln_Hungarian), u"No transaction is open.");
  EXPECT_EQ(inLanguage(ln_English_Gb), u"No transaction is open.");
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
