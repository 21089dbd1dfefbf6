#include "qxdesk/screens/model/desk.h"

#include "qxdesk/screens/model/desk_printer.h"
#include "qxdesk/screens/model/test_support.h"

#include <gtest/gtest.h>

namespace qx::screens {
namespace {

TEST(Desk, HasTheMenuBarOfTheHost) {
  const Desk desk(testSettings());
  EXPECT_EQ(toUtf8(desk.menus.tree()),
            "100 \"File\" popup\n"
            "  101 \"Quit\"\n"
            "1280 \"Data\" popup\n"
            "  1281 \"Find\"\n"
            "  1282 \"Add\"\n"
            "  1283 \"Delete\"\n"
            "  1284 separator\n"
            "  1288 \"Next Record\"\n"
            "  1289 \"Previous Record\"\n"
            "  1290 \"First Record\"\n"
            "  1291 \"Last Record\"\n"
            "3000 \"Sales\" popup\n"
            "  3001 \"Sales Order\"\n"
            "  3002 \"Customer\"\n"
            "43523 \"Add-Ons\" popup\n");
}

TEST(Desk, OpensTheFormsOfTheHost) {
  Desk desk(testSettings());
  const auto order = desk.openSystemForm(u"3101");
  EXPECT_EQ(toUtf8(printForm(*order)),
            "F_1 3101 \"Sales Order\" selected\n"
            "  1 button \"OK\" default\n"
            "  2 button \"Cancel\"\n"
            "  L4 static \"Customer\"\n"
            "  4 edit \"\"\n"
            "  L5 static \"Name\"\n"
            "  5 edit \"\"\n"
            "  L6 static \"Posting Date\"\n"
            "  6 edit \"\"\n"
            "  L7 static \"Status\"\n"
            "  7 combo \"Open\" key \"O\" of 2\n"
            "  20 matrix of 1 rows\n"
            "    0 \"#\" 1 \"Item No.\" 2 \"Quantity\" 3 \"Unit Price\"\n"
            "     \"\" \"\" \"\" \"\"\n");
  EXPECT_EQ(desk.openSystemForm(u"3101")->uid(), u"F_2");
  EXPECT_EQ(desk.forms.byTypeAndCount(u"3101", 2)->uid(), u"F_2");
  EXPECT_EQ(desk.openSystemForm(u"1001")->title, u"Customer");
  EXPECT_EQ(raisedBy([&] { desk.openSystemForm(u"77"); }), kFormNotFound);
  EXPECT_EQ(raisedBy([&] { desk.openSystemForm(u"169"); }), kFormAlreadyExists);
}

TEST(Desk, CompanyIsNamedAfterItsDatabaseByDefault) {
  Desk desk(testSettings());
  EXPECT_EQ(desk.companyName(), u"Harbour");
  EXPECT_EQ(desk.databaseName(), u"Harbour");
  DeskSettings settings = testSettings();
  settings.companyName = u"Harbour Ltd";
  Desk named(settings);
  EXPECT_EQ(named.companyName(), u"Harbour Ltd");
  named.setDatabase("/data/Quay.db");
  EXPECT_EQ(named.companyName(), u"Quay");
}

TEST(Desk, CallsItsObserverWhenAStartIsDone) {
  Desk desk(testSettings());
  int calls = 0;
  desk.setStartupObserver([&] { ++calls; });
  desk.setStartupDone(false);
  EXPECT_FALSE(desk.startupDone());
  desk.setStartupDone(true);
  EXPECT_TRUE(desk.startupDone());
  EXPECT_EQ(calls, 1);
}

}  // namespace
}  // namespace qx::screens
