#include "qxdesk/screens/model/system_captions.h"

#include "qxdesk/screens/model/test_support.h"
#include "qxdesk/session/language_table.h"
#include "qxframework/os/resources.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace qx::screens {
namespace {

constexpr unsigned kEnd = static_cast<unsigned>(Caption::End);
constexpr unsigned short kBritishEnglish = 2057;

/// Returns the tables of the client's languages but for the English ones.
std::set<unsigned short> tables() {
  std::set<unsigned short> found;
  for (int number = 1; number < 100; ++number) {
    found.insert(desk::languageTable(static_cast<HvLanguages>(number)));
  }
  found.erase(desk::kEnglishTable);
  found.erase(kBritishEnglish);
  return found;
}

std::string captionIn(unsigned id, unsigned short table) {
  const auto found = findString(nullptr, id, table);
  return found ? toUtf8(*found) : "<missing>";
}

TEST(SystemCaptions, AreInEachLanguageOfTheClientAndInNoOther) {
  EXPECT_EQ(tables().size(), 23U);
  for (const unsigned short table : tables()) {
    EXPECT_EQ(captionIn(0, table), "<missing>") << table;
    EXPECT_EQ(captionIn(kEnd, table), "<missing>") << table;
    for (unsigned id = 1; id < kEnd; ++id) {
      EXPECT_NE(captionIn(id, table), "<missing>") << id << " in " << table;
      EXPECT_NE(captionIn(id, table), "") << id << " in " << table;
    }
  }
}

TEST(SystemCaptions, MostAreNotTheEnglishOnes) {
  for (const unsigned short table : tables()) {
    int same = 0;
    for (unsigned id = 1; id < kEnd; ++id) {
      const auto english = captionOf(static_cast<Caption>(id), ln_English);
      same += captionIn(id, table) == toUtf8(english) ? 1 : 0;
    }
    // "OK", "Status", "Name", "Code", "Data", "Add-Ons" and "Client" are words of several.
    EXPECT_LE(same, 5) << table;
  }
}

TEST(SystemCaptions, AreEnglishWithoutATable) {
  EXPECT_EQ(captionOf(Caption::SalesOrder, ln_English), u"Sales Order");
  EXPECT_EQ(captionOf(Caption::SalesOrder, ln_English_Gb), u"Sales Order");
  EXPECT_EQ(captionOf(Caption::MainMenu, ln_Serbian), u"Main Menu");
  EXPECT_EQ(captionOf(Caption::None, ln_German), u"");
}

TEST(SystemCaptions, OfMenusAndFormsAreThoseOfTheDesksLanguage) {
  DeskSettings settings = testSettings();
  settings.language = ln_German;
  Desk desk(settings);
  EXPECT_EQ(desk.menus.find(u"3001")->properties().text, u"Kundenauftrag");
  EXPECT_EQ(desk.forms.all().front()->title, u"Hauptmenü");
  const auto order = desk.openSystemForm(u"3101");
  EXPECT_EQ(order->title, u"Kundenauftrag");
  EXPECT_EQ(order->item(u"L6").caption, u"Buchungsdatum");
  EXPECT_EQ(order->item(u"2").caption, u"Abbrechen");
  EXPECT_EQ(order->item(u"20").matrix->columns()[2]->title, u"Menge");
  EXPECT_EQ(desk.openSystemForm(u"1001")->item(u"L40").caption, u"Art");
}

TEST(SystemCaptions, ChangeWithTheLanguageButForFormsThatAreOpen) {
  Desk desk(testSettings());
  const auto order = desk.openSystemForm(u"3101");
  desk.setLanguage(ln_Hebrew);
  EXPECT_EQ(desk.menus.find(u"100")->properties().text, u"קובץ");
  EXPECT_EQ(desk.menus.find(u"1284")->properties().text, u"") << "a separator";
  EXPECT_EQ(desk.forms.all().front()->title, u"תפריט ראשי");
  EXPECT_EQ(order->title, u"Sales Order");
  EXPECT_EQ(desk.openSystemForm(u"1001")->title, u"לקוח");
}

}  // namespace
}  // namespace qx::screens
