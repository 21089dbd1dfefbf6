#include "qxdesk/screens/model/forms.h"

#include "qxdesk/screens/model/desk_printer.h"
#include "qxdesk/screens/model/test_support.h"

#include <gtest/gtest.h>

#include <limits>
#include <utility>

namespace qx::screens {
namespace {

class FormsTest : public testing::Test {
 protected:
  std::string list() { return toUtf8(printForms(desk_.forms)); }

  Desk desk_{testSettings()};
};

TEST_F(FormsTest, StartsWithTheMainMenuOpen) {
  EXPECT_EQ(list(), "F_0 169 \"Main Menu\" selected\n");
  EXPECT_EQ(desk_.forms.byTypeAndCount(u"169", 1), desk_.forms.all()[0]);
  EXPECT_EQ(desk_.forms.byTypeAndCount(u"169", 2), nullptr);
}

TEST_F(FormsTest, CountsTheFormsOfATypeFromOne) {
  for (const long count : {0L, -1L, std::numeric_limits<long>::min()}) {
    EXPECT_EQ(desk_.forms.byTypeAndCount(u"169", count), nullptr) << count;
  }
}

TEST_F(FormsTest, OpensWithTheLoadEventsAndSelectsTheForm) {
  const auto sink = listen(desk_);
  EXPECT_TRUE(desk_.forms.open(makeAddOnForm(u"A")));
  EXPECT_EQ(sink->log, (Log{"before item 16 A", "before item 19 F_0", "after item 19 F_0",
                            "after item 16 A"}));
  EXPECT_EQ(list(), "F_0 169 \"Main Menu\"\nA -1 \"\" selected\n");
}

TEST_F(FormsTest, HiddenFormIsNotSelectedUntilItIsShown) {
  const auto form = makeAddOnForm(u"A");
  form->visible = false;
  desk_.forms.open(form);
  EXPECT_EQ(list(), "F_0 169 \"Main Menu\" selected\nA -1 \"\" hidden\n");
  desk_.forms.show(form, true);
  EXPECT_EQ(desk_.forms.selected(), form);
  desk_.forms.show(form, false);
  EXPECT_EQ(list(), "F_0 169 \"Main Menu\" selected\nA -1 \"\" hidden\n");
}

TEST_F(FormsTest, VetoedLoadLeavesTheFormClosed) {
  listen(desk_, veto("before item 16 A"));
  const auto form = makeAddOnForm(u"A");
  EXPECT_FALSE(desk_.forms.open(form));
  EXPECT_FALSE(form->isOpen());
  EXPECT_EQ(desk_.forms.find(u"A"), nullptr);
}

TEST_F(FormsTest, RefusesAUidThatIsTakenOrReserved) {
  desk_.forms.open(makeAddOnForm(u"A"));
  EXPECT_EQ(raisedBy([&] { desk_.forms.open(makeAddOnForm(u"A")); }), kFormAlreadyExists);
  EXPECT_EQ(raisedBy([&] { desk_.forms.open(makeAddOnForm(u"F_9")); }), kFormUidReserved);
}

TEST_F(FormsTest, ClosesWithCloseAndUnloadEventsAndSelectsThePreviousForm) {
  const auto form = makeAddOnForm(u"A");
  desk_.forms.open(form);
  const auto sink = listen(desk_);
  EXPECT_TRUE(desk_.forms.close(form));
  EXPECT_EQ(sink->log,
            (Log{"before item 20 A", "after item 20 A", "before item 17 A", "after item 17 A"}));
  EXPECT_EQ(list(), "F_0 169 \"Main Menu\" selected\n");
  EXPECT_EQ(raisedBy([&] { desk_.forms.close(form); }), kInvalidForm);
}

TEST_F(FormsTest, VetoOfCloseOrUnloadKeepsTheFormOpen) {
  for (const char* event : {"before item 20 A", "before item 17 A"}) {
    Desk desk(testSettings());
    const auto form = makeAddOnForm(u"A");
    desk.forms.open(form);
    listen(desk, veto(event));
    EXPECT_FALSE(desk.forms.close(form));
    EXPECT_TRUE(form->isOpen());
    EXPECT_FALSE(form->isClosing());
  }
}

TEST_F(FormsTest, MainMenuCannotBeClosed) {
  EXPECT_EQ(raisedBy([&] { desk_.forms.close(desk_.forms.all()[0]); }), kFormFunctionNotSupported);
}

TEST_F(FormsTest, TheEndOfTheClientClosesAllFormsTheLatestFirst) {
  desk_.forms.open(makeAddOnForm(u"A"));
  desk_.forms.open(makeAddOnForm(u"B"));
  const auto sink = listen(desk_);
  desk_.stop({64});
  EXPECT_EQ(sink->log, (Log{"before item 20 B", "after item 20 B", "before item 17 B",
                            "after item 17 B", "before item 20 A", "after item 20 A",
                            "before item 17 A", "after item 17 A", "app 64"}));
  EXPECT_EQ(list(), "F_0 169 \"Main Menu\" selected\n");
}

TEST_F(FormsTest, NoVetoKeepsAFormOpenAtTheEndOfTheClient) {
  for (const char* event : {"before item 20 A", "before item 17 A"}) {
    Desk desk(testSettings());
    const auto form = makeAddOnForm(u"A");
    desk.forms.open(form);
    const auto sink = listen(desk, veto(event));
    desk.stop({67});
    EXPECT_FALSE(form->isOpen());
    EXPECT_EQ(sink->log, (Log{"before item 20 A", "after item 20 A", "before item 17 A",
                              "after item 17 A", "app 67"}));
  }
}

// The handler still runs when the client has ended, but the add-on gets no event any more.
TEST_F(FormsTest, TheEndOfTheClientWithinAnEventClosesTheFormAtOnce) {
  const auto form = makeAddOnForm(u"A");
  desk_.forms.open(form);
  const auto sink = listen(desk_, [&](const std::string& words, bool&) {
    if (words == "before item 6 A.5") desk_.stop({64});
  });
  ItemEvent click;
  click.type = 6;
  click.itemUid = u"5";
  EXPECT_TRUE(desk_.forms.perform(form, click, [] { FAIL() << "the form is closed"; }));
  EXPECT_EQ(sink->log, (Log{"before item 6 A.5", "before item 20 A", "after item 20 A",
                            "before item 17 A", "after item 17 A", "app 64"}));
}

TEST_F(FormsTest, TheEndOfTheClientWithinTheClosingEventsClosesTheFormOnce) {
  const auto form = makeAddOnForm(u"A");
  desk_.forms.open(form);
  bool stopped = false;
  const auto sink = listen(desk_, [&](const std::string& words, bool&) {
    if (words == "before item 20 A" && !std::exchange(stopped, true)) desk_.stop({64});
  });
  EXPECT_TRUE(desk_.forms.close(form));
  EXPECT_EQ(sink->log, (Log{"before item 20 A", "before item 20 A", "after item 20 A",
                            "before item 17 A", "after item 17 A", "app 64"}));
  EXPECT_FALSE(form->isOpen());
}

TEST_F(FormsTest, TheEndOfTheClientWithinTheLoadEventClosesTheForm) {
  const auto form = makeAddOnForm(u"A");
  const auto sink = listen(desk_, [&](const std::string& words, bool&) {
    if (words == "before item 16 A") desk_.stop({64});
  });
  desk_.forms.open(form);
  EXPECT_FALSE(form->isOpen());
  EXPECT_EQ(sink->log.back(), "app 64");
}

TEST_F(FormsTest, CloseDuringAnEventTakesEffectAfterIt) {
  const auto form = makeAddOnForm(u"A");
  desk_.forms.open(form);
  bool acted = false;
  const auto sink = listen(desk_, [&](const std::string& words, bool&) {
    if (words != "before item 6 A.5") return;
    desk_.forms.close(form);
    desk_.forms.close(form);
    EXPECT_TRUE(form->isOpen());
  });
  ItemEvent click;
  click.type = 6;
  click.itemUid = u"5";
  EXPECT_TRUE(desk_.forms.perform(form, click, [&] { acted = true; }));
  EXPECT_FALSE(acted);
  EXPECT_FALSE(form->isOpen());
  EXPECT_EQ(sink->log, (Log{"before item 6 A.5", "before item 20 A", "after item 20 A",
                            "before item 17 A", "after item 17 A"}));
}

TEST_F(FormsTest, CloseTakesEffectEvenIfTheActionThrows) {
  const auto form = makeAddOnForm(u"A");
  desk_.forms.open(form);
  const auto refused = [&] {
    desk_.forms.close(form);
    raiseError(kInvalidItem);
    return true;
  };
  EXPECT_EQ(raisedBy([&] { desk_.forms.whileBusy(form, refused); }), kInvalidItem);
  EXPECT_FALSE(form->isOpen());
}

TEST_F(FormsTest, CloseFromAClosingEventDoesNotCloseTwice) {
  const auto form = makeAddOnForm(u"A");
  desk_.forms.open(form);
  const auto sink =
      listen(desk_, [&](const std::string&, bool&) { raisedBy([&] { desk_.forms.close(form); }); });
  desk_.forms.close(form);
  EXPECT_EQ(sink->log.size(), 4U);
  EXPECT_FALSE(form->isOpen());
}

TEST_F(FormsTest, CloseDuringTheLoadEventClosesTheForm) {
  const auto form = makeAddOnForm(u"A");
  listen(desk_, [&](const std::string& words, bool&) {
    if (words == "before item 16 A") desk_.forms.close(form);
  });
  desk_.forms.open(form);
  EXPECT_FALSE(form->isOpen());
  EXPECT_EQ(list(), "F_0 169 \"Main Menu\" selected\n");
}

TEST_F(FormsTest, TwoDialogsCompeteForTheFrontWithoutEndlessEvents) {
  const auto dialog = makeAddOnForm(u"A");
  const auto other = makeAddOnForm(u"B");
  desk_.forms.open(other);
  desk_.forms.open(dialog);
  // Both insist on the front, as two dialogs over one another would.
  listen(desk_, [&](const std::string& words, bool&) {
    if (words.find("item 19 A") != std::string::npos) desk_.forms.select(dialog);
    if (words.find("item 19 B") != std::string::npos) desk_.forms.select(other);
  });
  EXPECT_TRUE(desk_.forms.select(other));
  EXPECT_EQ(desk_.forms.selected(), dialog);
}

TEST_F(FormsTest, SelectionSucceedsIfTheOldFormClosesOnItsDeactivation) {
  const auto first = makeAddOnForm(u"A");
  const auto second = makeAddOnForm(u"B");
  desk_.forms.open(second);
  desk_.forms.open(first);
  listen(desk_, [&](const std::string& words, bool&) {
    if (words == "before item 19 A") desk_.forms.close(first);
  });
  desk_.forms.select(second);
  EXPECT_FALSE(first->isOpen());
  EXPECT_EQ(desk_.forms.selected(), second);
}

TEST_F(FormsTest, VetoedDeactivationKeepsTheSelection) {
  const auto form = makeAddOnForm(u"A");
  desk_.forms.open(form);
  listen(desk_, veto("before item 19 A"));
  EXPECT_FALSE(desk_.forms.select(desk_.forms.all()[0]));
  EXPECT_EQ(desk_.forms.selected(), form);
}

}  // namespace
}  // namespace qx::screens
