#include "qxframework/stock/addon_menu.h"

#include "qxframework/automation/text.h"
#include "qxframework/foundation/qx_bstr.h"
#include "qxframework/util/qx_util.h"
#include "testing/running_addon.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace qx::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using Strings = std::vector<std::string>;

constexpr char16_t kModules[] = u"43523";  // a popup of the client

class AddOnMenu : public testing::Test, protected RunningAddOn {
 protected:
  AddOnMenu() {
    parent = record.application->GetMenus()->Item(CComVariant(kModules));
    log.records.clear();
  }
  std::unique_ptr<CQXAddOnMenu> make(const OLECHAR* uid, HvMenuType type = mt_Popup) {
    return std::make_unique<CQXAddOnMenu>(parent, record.application, uid, u"Text", type, -1,
                                          VARIANT_TRUE, VARIANT_FALSE);
  }
  long add(CQXAddOnMenu& menu, const OLECHAR* uid, HvMenuType type = mt_Popup) {
    return menu.AddSubMenu(uid, u"Text", type, -1, VARIANT_TRUE, VARIANT_FALSE);
  }
  CComPtr<IMenuItem> entry(const OLECHAR* uid) {
    return record.application->GetMenus()->Item(CComVariant(uid));
  }
  /// Returns the lines of the client's menu that begin with "QXT", without their indentation.
  Strings entries() {
    Strings out;
    std::istringstream lines(desk.menus());
    for (std::string line; std::getline(lines, line);) {
      line.erase(0, line.find_first_not_of(' '));
      if (line.starts_with("QXT")) out.push_back(line.substr(0, line.find(' ')));
    }
    return out;
  }
  Strings errors() {
    Strings out;
    for (const std::u16string& message : log.messages(1)) out.push_back(toUtf8(message));
    return out;
  }

  CComPtr<IMenuItem> parent;
};

TEST_F(AddOnMenu, AppearsWithTheNodeAndDisappearsWithIt) {
  auto menu = make(u"QXT");
  EXPECT_THAT(entries(), ElementsAre("QXT"));
  EXPECT_EQ(entry(u"QXT")->GetString().View(), u"Text");
  menu.reset();
  EXPECT_THAT(entries(), IsEmpty());
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(AddOnMenu, EntryOfANumberedUidIsPickedByTheUser) {
  const CComBSTR uid = CQXUtil::GetMenuUID(CQXBSTR(u"MN", ln_English), 7);
  const auto menu = make(uid, mt_String);
  EXPECT_NE(entry(u"MN7"), nullptr);
  record.take();
  EXPECT_TRUE(desk.pickMenu("MN7"));
  EXPECT_THAT(record.take(), ElementsAre("OnMenuEvent MN7 before", "OnMenuEvent MN7 after"));
}

TEST_F(AddOnMenu, ReplacesAnEntryThatAnEarlierRunLeft) {
  parent->GetSubMenus()->Add(u"QXT", u"Stale", mt_String, -1);
  const auto menu = make(u"QXT");
  EXPECT_THAT(entries(), ElementsAre("QXT"));
  EXPECT_EQ(entry(u"QXT")->GetString().View(), u"Text");
}

TEST_F(AddOnMenu, SetsBothFlags) {
  const CQXAddOnMenu checked(parent, record.application, u"QXT1", u"Text", mt_String, -1,
                             VARIANT_FALSE, VARIANT_TRUE);
  const CQXAddOnMenu enabled(parent, record.application, u"QXT2", u"Text", mt_String, -1,
                             VARIANT_TRUE, VARIANT_FALSE);
  EXPECT_EQ(entry(u"QXT1")->GetChecked(), VARIANT_TRUE);
  EXPECT_EQ(entry(u"QXT1")->GetEnabled(), VARIANT_FALSE);
  EXPECT_EQ(entry(u"QXT2")->GetChecked(), VARIANT_FALSE);
  EXPECT_EQ(entry(u"QXT2")->GetEnabled(), VARIANT_TRUE);
}

TEST_F(AddOnMenu, TakesItsPosition) {
  const auto last = make(u"QXT_LAST");
  const CQXAddOnMenu first(parent, record.application, u"QXT_FIRST", u"Text", mt_String, 0,
                           VARIANT_TRUE, VARIANT_FALSE);
  EXPECT_THAT(entries(), ElementsAre("QXT_FIRST", "QXT_LAST"));
}

TEST_F(AddOnMenu, WithoutAParentOrAUidLogsAndHasNoEntry) {
  auto menu = make(u"");
  EXPECT_THAT(errors(), ElementsAre("CQXAddOnMenu - Failed to create menu item [0x80070057]!\n"));
  log.records.clear();
  EXPECT_EQ(add(*menu, u"QXT"), E_POINTER);
  EXPECT_THAT(errors(), ElementsAre("AddSubMenu: Failed to add sub-menu [0x80004003]!\n"));
  EXPECT_EQ(menu->SubMenuCount(), 0);
  log.records.clear();
  menu.reset();
  EXPECT_THAT(errors(), IsEmpty());
  const CQXAddOnMenu orphan(nullptr, record.application, u"QXT", u"", mt_String, -1, 0, 0);
  EXPECT_THAT(errors(), ElementsAre("CQXAddOnMenu - Failed to create menu item [0x80070057]!\n"));
}

TEST_F(AddOnMenu, ThatTheClientRefusesLogsItsCode) {
  const CQXAddOnMenu menu(parent, record.application, u"QXT", u"", static_cast<HvMenuType>(9), -1,
                          VARIANT_TRUE, VARIANT_FALSE);
  EXPECT_THAT(errors(), ElementsAre("CQXAddOnMenu - Failed to create menu item [0xFFFFE424]!\n"));
}

TEST_F(AddOnMenu, GrowsAndShrinksAtRunTime) {
  auto menu = make(u"QXT");
  EXPECT_EQ(add(*menu, u"QXT_A"), 0);
  EXPECT_EQ(add(*menu, u"QXT_B", mt_String), 0);
  EXPECT_EQ(add(*menu->GetSubMenu(u"QXT_A"), u"QXT_AA", mt_String), 0);
  EXPECT_EQ(menu->SubMenuCount(), 2);
  EXPECT_THAT(entries(), ElementsAre("QXT", "QXT_A", "QXT_AA", "QXT_B"));
  EXPECT_EQ(menu->DelSubMenu(u"QXT_AA"), 0);
  EXPECT_EQ(menu->DelSubMenu(u"QXT_B"), 0);
  EXPECT_EQ(menu->SubMenuCount(), 1);
  EXPECT_THAT(entries(), ElementsAre("QXT", "QXT_A"));
  menu.reset();
  EXPECT_THAT(entries(), IsEmpty());
}

TEST_F(AddOnMenu, AddingAnExistingDirectChildChangesNothing) {
  const auto menu = make(u"QXT");
  add(*menu, u"QXT_A");
  EXPECT_EQ(menu->AddSubMenu(u"QXT_A", u"Other", mt_String, 0, VARIANT_FALSE, VARIANT_TRUE), 0);
  EXPECT_EQ(entry(u"QXT_A")->GetString().View(), u"Text");
  EXPECT_EQ(menu->SubMenuCount(), 1);
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(AddOnMenu, TheSameUidDeeperDoesNotStopADirectChild) {
  const auto menu = make(u"QXT");
  add(*menu, u"QXT_A");
  add(*menu->GetSubMenu(u"QXT_A"), u"QXT_B");
  add(*menu, u"QXT_B");
  EXPECT_EQ(menu->SubMenuCount(), 2) << "the node counts, whatever the client says to its UID";
}

TEST_F(AddOnMenu, FindsDescendantsByTheirExactUid) {
  const auto menu = make(u"QXT");
  add(*menu, u"QXT_A");
  add(*menu->GetSubMenu(u"QXT_A"), u"QXT_AA");
  EXPECT_NE(menu->GetSubMenu(u"QXT_AA"), nullptr);
  EXPECT_EQ(menu->GetSubMenu(u"qxt_aa"), nullptr);
  EXPECT_EQ(menu->GetSubMenu(u"QXT"), nullptr) << "a node is not below itself";
}

TEST_F(AddOnMenu, DeletingAnUnknownUidReturnsOne) {
  const auto menu = make(u"QXT");
  add(*menu, u"QXT_A");
  EXPECT_EQ(menu->DelSubMenu(u"QXT_X"), 1);
  EXPECT_EQ(menu->SubMenuCount(), 1);
}

TEST_F(AddOnMenu, DeletingANodeWhoseEntryIsGoneLogsAndCompletes) {
  auto menu = make(u"QXT");
  add(*menu, u"QXT_A");
  record.application->GetMenus()->Remove(entry(u"QXT_A"));
  EXPECT_EQ(menu->DelSubMenu(u"QXT_A"), 0);
  EXPECT_THAT(errors(), ElementsAre("~CQXAddOnMenu - Failed to remove menu item [0xFFFFE48E]!\n"));
  EXPECT_EQ(menu->SubMenuCount(), 0);
  EXPECT_THAT(entries(), ElementsAre("QXT"));
}

TEST_F(AddOnMenu, LogsTheNumberOfItsClient) {
  auto menu = make(u"QXT");
  add(*menu, u"QXT_A");
  menu.reset();
  ASSERT_FALSE(log.records.empty());
  for (const LogRecord& each : log.records) {
    if (each.function.starts_with(u"CQXAddOnMenu::")) {
      EXPECT_EQ(each.appId, desk.appId()) << toUtf8(each.function);
    }
  }
}

TEST_F(AddOnMenu, TracesWhatChangesTheClientOnly) {
  auto menu = make(u"QXT");
  add(*menu, u"QXT_A");
  menu->GetSubMenu(u"QXT_A");
  menu->SubMenuCount();
  menu->DelSubMenu(u"QXT_X");
  Strings names;
  for (const LogRecord& each : log.records) {
    const bool isOurs = each.function.starts_with(u"CQXAddOnMenu::");
    if (isOurs && each.message == u"Entering function\n") names.push_back(toUtf8(each.function));
  }
  EXPECT_THAT(names, ElementsAre("CQXAddOnMenu::CQXAddOnMenu", "CQXAddOnMenu::AddSubMenu",
                                 "CQXAddOnMenu::CQXAddOnMenu"));
}

TEST_F(AddOnMenu, WithoutAnApplicationIsCreatedAndLogsNoNumber) {
  auto menu = std::make_unique<CQXAddOnMenu>(parent, nullptr, u"QXT", u"Text", mt_String, -1,
                                             VARIANT_TRUE, VARIANT_FALSE);
  EXPECT_THAT(entries(), ElementsAre("QXT"));
  EXPECT_EQ(log.records.front().appId, 0);
}

TEST_F(AddOnMenu, ThatTheClientRefusesLeavesNothingOfAnEntryThatItReplaces) {
  parent->GetSubMenus()->Add(u"QXT", u"Stale", mt_String, -1);
  auto menu = make(u"QXT", static_cast<HvMenuType>(9));
  EXPECT_THAT(errors(), ElementsAre("CQXAddOnMenu - Failed to create menu item [0xFFFFE424]!\n"));
  EXPECT_THAT(entries(), IsEmpty()) << "the stale entry is removed first";
  log.records.clear();
  EXPECT_EQ(add(*menu, u"QXT_A"), E_POINTER);
  log.records.clear();
  menu.reset();
  EXPECT_THAT(errors(), IsEmpty()) << "there is no entry to remove";
}

TEST_F(AddOnMenu, DeletesTheFirstOfTwoNodesWithOneUid) {
  const auto menu = make(u"QXT");
  add(*menu, u"QXT_A");
  add(*menu, u"QXT_B");
  for (const OLECHAR* branch : {u"QXT_A", u"QXT_B"}) add(*menu->GetSubMenu(branch), u"QXT_X");
  EXPECT_EQ(menu->DelSubMenu(u"QXT_X"), 0);
  EXPECT_EQ(menu->GetSubMenu(u"QXT_A")->SubMenuCount(), 0);
  EXPECT_EQ(menu->GetSubMenu(u"QXT_B")->SubMenuCount(), 1);
  EXPECT_EQ(menu->GetSubMenu(u"QXT_X"), menu->GetSubMenu(u"QXT_B")->GetSubMenu(u"QXT_X"));
}

TEST_F(AddOnMenu, HasNoChildrenAnyMoreWhenItRemovesItsEntry) {
  auto menu = make(u"QXT");
  add(*menu, u"QXT_A");
  record.application->GetMenus()->Remove(entry(u"QXT"));
  CQXAddOnMenu* const node = menu.get();
  std::vector<int> counts;  // at each error, which the removal of the missing entry logs
  log.onRecord = [&](const LogRecord& each) {
    if (each.level == 1) counts.push_back(node->SubMenuCount());
  };
  menu.reset();
  log.onRecord = nullptr;
  ASSERT_FALSE(counts.empty());
  EXPECT_EQ(counts.back(), 0);
}

TEST_F(AddOnMenu, DeletesItsChildrenFirst) {
  auto menu = make(u"QXT");
  add(*menu, u"QXT_A");
  log.records.clear();
  menu.reset();
  Strings order;
  for (const LogRecord& each : log.records) {
    if (each.function == u"CQXAddOnMenu::~CQXAddOnMenu") order.push_back(toUtf8(each.message));
  }
  EXPECT_THAT(order, ElementsAre("Entering function\n", "Entering function\n",
                                 HasSubstr("Leaving function"), HasSubstr("Leaving function")));
  EXPECT_THAT(errors(), IsEmpty());
}

}  // namespace
}  // namespace qx::test
