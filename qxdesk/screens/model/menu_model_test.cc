#include "qxdesk/screens/model/menu_model.h"

#include "qxdesk/screens/model/test_support.h"

#include <gtest/gtest.h>

namespace qx::screens {
namespace {

MenuProperties entry(std::u16string uid, std::u16string text, HvMenuType type = mt_String) {
  MenuProperties properties;
  properties.uid = std::move(uid);
  properties.text = std::move(text);
  properties.type = type;
  return properties;
}

TEST(MenuModel, InsertsAtThePositionOrAtTheEnd) {
  MenuModel menus;
  MenuEntry& bar = *menus.add(*menus.root(), entry(u"A", u"Bar", mt_Popup), -1);
  menus.add(bar, entry(u"B", u"last"), -1);
  menus.add(bar, entry(u"C", u"first"), 0);
  menus.add(bar, entry(u"D", u"second"), 1);
  menus.add(bar, entry(u"E", u"past the end"), 99);
  EXPECT_EQ(toUtf8(menus.tree()),
            "A \"Bar\" popup\n"
            "  C \"first\"\n"
            "  D \"second\"\n"
            "  B \"last\"\n"
            "  E \"past the end\"\n");
}

TEST(MenuModel, PrintsSeparatorsChecksAndDisabledEntries) {
  MenuModel menus;
  MenuProperties off = entry(u"B", u"off");
  off.enabled = false;
  off.checked = true;
  menus.add(*menus.root(), entry(u"A", u"", mt_Separator), -1);
  menus.add(*menus.root(), off, -1);
  EXPECT_EQ(toUtf8(menus.tree()), "A separator\nB \"off\" checked disabled\n");
}

TEST(MenuModel, RefusesInvalidEntries) {
  MenuModel menus;
  MenuEntry& leaf = *menus.add(*menus.root(), entry(u"A", u"leaf"), -1);
  const auto add = [&](MenuEntry& father, MenuProperties properties, long position) {
    return raisedBy([&] { menus.add(father, properties, position); });
  };
  EXPECT_EQ(add(*menus.root(), entry(u"A", u"again"), -1), kMenuAlreadyExists);
  EXPECT_EQ(add(leaf, entry(u"B", u"below a leaf"), -1), kInvalidMenuItem);
  EXPECT_EQ(add(*menus.root(), entry(u"", u"no UID"), -1), kInvalidMenuItem);
  EXPECT_EQ(add(*menus.root(), entry(u"B", u"x", static_cast<HvMenuType>(9)), -1),
            kMenuInvalidType);
  EXPECT_EQ(add(*menus.root(), entry(u"B", u"x"), -2), kMenuPositionNotValid);
}

TEST(MenuModel, RemovesAnEntryWithAllEntriesUnderIt) {
  MenuModel menus;
  const auto popup = menus.add(*menus.root(), entry(u"A", u"popup", mt_Popup), -1);
  const auto below = menus.add(*popup, entry(u"B", u"below"), -1);
  menus.remove(*popup);
  EXPECT_EQ(menus.find(u"A"), nullptr);
  EXPECT_EQ(menus.find(u"B"), nullptr);
  EXPECT_EQ(below->father(), nullptr);
  EXPECT_EQ(raisedBy([&] { menus.remove(*popup); }), kInvalidMenuItem);
  EXPECT_EQ(raisedBy([&] { menus.add(*menus.root(), entry(u"B", u"free again"), -1); }), S_OK);
}

TEST(MenuModel, HostEntriesCannotBeRemoved) {
  MenuModel menus;
  MenuEntry& own = *menus.addSystem(*menus.root(), entry(u"1", u"own"));
  EXPECT_EQ(raisedBy([&] { menus.remove(own); }), kNotAUserMenuItem);
  EXPECT_NE(menus.find(u"1"), nullptr);
}

TEST(MenuModel, RemovesTheEntriesOfAddOns) {
  MenuModel menus;
  MenuEntry& own = *menus.addSystem(*menus.root(), entry(u"1", u"own", mt_Popup));
  menus.add(*menus.root(), entry(u"A", u"added"), 0);
  menus.add(own, entry(u"B", u"popup", mt_Popup), -1);
  menus.add(*menus.find(u"B"), entry(u"C", u"below"), -1);
  menus.addSystem(own, entry(u"2", u"below own"));
  menus.removeAddOnEntries();
  EXPECT_EQ(menus.tree(), u"1 \"own\" popup\n  2 \"below own\"\n");
  EXPECT_EQ(menus.find(u"C"), nullptr);
}

}  // namespace
}  // namespace qx::screens
