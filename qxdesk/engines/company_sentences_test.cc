// The sentences of company errors are complete in every language of the client.

#include "qxdesk/engines/company_error.h"
#include "qxframework/automation/text.h"
#include "qxframework/foundation/languages.h"
#include "qxframework/os/resources.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace qx::desk {
namespace {

constexpr unsigned short kEnglish = 1033;
constexpr unsigned short kBritishEnglish = 2057;
constexpr unsigned kEnd = static_cast<unsigned>(Text::End);

/// Returns the numbers of the client's languages.
std::vector<HvLanguages> languages() {
  std::vector<HvLanguages> found;
  for (int number = 1; number < 100; ++number) {
    const auto language = static_cast<HvLanguages>(number);
    if (toUtf8(languageName(language)) != "UNKNOWN") found.push_back(language);
  }
  return found;
}

/// Returns the language ids of the tables that a client can ask for.
std::set<unsigned short> tables() {
  std::set<unsigned short> found;
  for (const HvLanguages language : languages()) found.insert(windowsLanguageId(language));
  return found;
}

/// Returns sentence `id` as UTF-8, or "<missing>".
std::string sentenceOf(unsigned id, unsigned short table) {
  const auto found = findString(nullptr, id, table);
  return found ? toUtf8(*found) : "<missing>";
}

/// Returns the placeholders, such as "%1%2", in ascending order: a translation may turn them round.
std::string placeholdersOf(std::string_view sentence) {
  std::vector<std::string> found;
  for (std::size_t i = sentence.find('%'); i != std::string_view::npos;
       i = sentence.find('%', i + 1)) {
    found.emplace_back(sentence.substr(i, 2));
  }
  std::sort(found.begin(), found.end());
  std::string joined;
  for (const std::string& placeholder : found) joined += placeholder;
  return joined;
}

TEST(CompanySentences, AreInTheTwentyFiveLanguagesOfTheClient) {
  EXPECT_EQ(languages().size(), 31U);
  EXPECT_EQ(tables().size(), 25U);
  for (const unsigned short table : tables()) {
    EXPECT_EQ(sentenceOf(1, table), "%1") << "language " << table;
  }
}

TEST(CompanySentences, EveryLanguageReadsTheTableThatTheFrameworkReads) {
  constexpr unsigned kLocked = static_cast<unsigned>(Text::Locked);
  std::set<std::string> different;
  for (const HvLanguages language : languages()) {
    const std::string read = toUtf8(sentence(Text::Locked, {}, language));
    EXPECT_EQ(read, sentenceOf(kLocked, windowsLanguageId(language)))
        << toUtf8(languageName(language));
    different.insert(read);
  }
  // This sentence tells the tables apart; only the two English ones have it in common.
  EXPECT_EQ(different.size(), 24U);
}

TEST(CompanySentences, EveryTextHasASentenceInEveryLanguageWithTheSamePlaceholders) {
  ASSERT_GT(kEnd, 90U);
  for (unsigned id = 1; id < kEnd; ++id) {
    const std::string english = sentenceOf(id, kEnglish);
    ASSERT_NE(english, "<missing>") << id;
    for (const unsigned short table : tables()) {
      const std::string found = sentenceOf(id, table);
      EXPECT_NE(found, "<missing>") << id << " in " << table;
      EXPECT_NE(found, "") << id << " in " << table;
      EXPECT_EQ(placeholdersOf(found), placeholdersOf(english)) << id << " in " << table;
    }
  }
}

TEST(CompanySentences, EverySentenceBelongsToAText) {
  for (const unsigned short table : tables()) {
    EXPECT_EQ(sentenceOf(0, table), "<missing>") << table;
    for (unsigned id = kEnd; id < 1000; ++id) {
      EXPECT_EQ(sentenceOf(id, table), "<missing>") << id << " in " << table;
    }
  }
}

TEST(CompanySentences, OnlyTheEnglishTablesAreEnglish) {
  const std::set<std::string> sameInAllLanguages = {"%1"};
  for (const unsigned short table : tables()) {
    if (table == kEnglish || table == kBritishEnglish) continue;
    for (unsigned id = 1; id < kEnd; ++id) {
      const std::string english = sentenceOf(id, kEnglish);
      if (sameInAllLanguages.count(english) > 0) continue;
      EXPECT_NE(sentenceOf(id, table), english) << id << " in " << table;
    }
  }
}

TEST(CompanySentences, KeepTheNamesThatAnAuthorTypes) {
  // Connect and Add are left out: the English sentences have them as ordinary words too.
  for (const std::string_view name :
       {"Disconnect", "PutUiApplication", "PutLoginContext", "GetContextCookie", "GetByKey",
        "PutValue", "PutColumnAlias", "YYYYMMDD", "GETDATE()", "HHMM", "ODBC", "'odbcinst -q -d'",
        "'odbcinst -q -s'"}) {
    unsigned sentences = 0;
    for (unsigned id = 1; id < kEnd; ++id) {
      if (sentenceOf(id, kEnglish).find(name) == std::string::npos) continue;
      ++sentences;
      for (const unsigned short table : tables()) {
        EXPECT_NE(sentenceOf(id, table).find(name), std::string::npos)
            << name << " in " << id << " in " << table;
      }
    }
    EXPECT_GT(sentences, 0U) << name;
  }
}

}  // namespace
}  // namespace qx::desk
