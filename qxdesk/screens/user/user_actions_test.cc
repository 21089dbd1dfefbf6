#include "qxdesk/screens/user/user_actions.h"

#include "qxdesk/screens/model/desk_printer.h"
#include "qxdesk/screens/model/test_support.h"

#include <gtest/gtest.h>

namespace qx::screens {
namespace {

class UserTest : public testing::Test {
 protected:
  std::shared_ptr<FormModel> openForm(const char16_t* uid = u"A") {
    const auto form = makeAddOnForm(uid);
    desk_.forms.open(form);
    return form;
  }

  Desk desk_{testSettings()};
  UserActions user_{desk_};
};

TEST_F(UserTest, PickedMenuEntryOpensItsForm) {
  const auto sink = listen(desk_);
  EXPECT_TRUE(user_.pickMenu(u"3001"));
  EXPECT_EQ(sink->log, (Log{"before menu 3001", "before item 16 F_1", "before item 19 F_0",
                            "after item 19 F_0", "after item 16 F_1", "after menu 3001"}));
}

TEST_F(UserTest, VetoedMenuEntryDoesNothing) {
  const auto sink = listen(desk_, veto("before menu 3001"));
  EXPECT_FALSE(user_.pickMenu(u"3001"));
  EXPECT_EQ(sink->log, (Log{"before menu 3001"}));
}

TEST_F(UserTest, MenuEventWithinAnotherIsMarkedInner) {
  const auto sink = listen(desk_, [&](const std::string& words, bool&) {
    if (words == "before menu 43523") user_.pickMenu(u"1288");
  });
  user_.pickMenu(u"43523");
  EXPECT_EQ(sink->log, (Log{"before menu 43523", "before inner menu 1288", "after inner menu 1288",
                            "after menu 43523"}));
}

TEST_F(UserTest, RefusesMenuEntriesThatCannotBePicked) {
  EXPECT_EQ(raisedBy([&] { user_.pickMenu(u"none"); }), kInvalidMenuItem);
  EXPECT_EQ(raisedBy([&] { user_.pickMenu(u""); }), kInvalidMenuItem);
  EXPECT_EQ(raisedBy([&] { user_.pickMenu(u"1284"); }), kInvalidMenuItem);
  desk_.menus.find(u"3000")->properties().enabled = false;
  EXPECT_EQ(raisedBy([&] { user_.pickMenu(u"3001"); }), kNotValidTarget);
}

TEST_F(UserTest, QuitRaisesTheShutDownEvent) {
  const auto sink = listen(desk_);
  user_.pickMenu(u"101");
  EXPECT_EQ(sink->log, (Log{"before menu 101", "app 64", "after menu 101"}));
}

// The events of the menu belong to the selected form. It closes all the same, before the add-ons
// hear of the end.
TEST_F(UserTest, QuitClosesTheSelectedFormBeforeTheShutDownEvent) {
  openForm();
  const auto sink = listen(desk_);
  user_.pickMenu(u"101");
  EXPECT_EQ(sink->log, (Log{"before menu 101", "before item 20 A", "after item 20 A",
                            "before item 17 A", "after item 17 A", "app 64", "after menu 101"}));
}

TEST_F(UserTest, DataMenuChangesTheModeOfTheSelectedForm) {
  const auto form = openForm();
  user_.pickMenu(u"1281");
  EXPECT_EQ(form->mode(), kFindMode);
  user_.pickMenu(u"1282");
  EXPECT_EQ(form->mode(), kAddMode);
  user_.pickMenu(u"1290");
  EXPECT_EQ(form->mode(), kOkMode);
}

TEST_F(UserTest, OkInOkModeClosesTheFormAfterItsEvents) {
  openForm();
  const auto sink = listen(desk_);
  EXPECT_TRUE(user_.click({u"A", u"1"}));
  EXPECT_EQ(sink->log,
            (Log{"before item 6 A.1", "after item 6 A.1", "before item 1 A.1", "after item 1 A.1",
                 "before item 20 A", "after item 20 A", "before item 17 A", "after item 17 A"}));
}

TEST_F(UserTest, OkInAnotherModeSavesAndKeepsTheFormOpen) {
  user_.openForm(u"3101");
  desk_.forms.find(u"F_1")->setMode(kAddMode);
  const auto sink = listen(desk_);
  EXPECT_TRUE(user_.click({u"F_1", u"1"}));
  EXPECT_EQ(sink->log, (Log{"before item 6 F_1.1", "after item 6 F_1.1", "before item 1 F_1.1",
                            "before data F_1 31 ", "after data F_1 31 ", "after item 1 F_1.1"}));
  EXPECT_EQ(desk_.forms.find(u"F_1")->mode(), kOkMode);
}

TEST_F(UserTest, VetoedSavingKeepsTheMode) {
  user_.openForm(u"3101");
  desk_.forms.find(u"F_1")->setMode(kAddMode);
  listen(desk_, veto("before data F_1 31 "));
  user_.click({u"F_1", u"1"});
  EXPECT_EQ(desk_.forms.find(u"F_1")->mode(), kAddMode);
}

TEST_F(UserTest, StopsAtTheFirstVeto) {
  openForm();
  const auto sink = listen(desk_, veto("before item 6 A.6"));
  EXPECT_FALSE(user_.click({u"A", u"6"}));
  EXPECT_EQ(sink->log, (Log{"before item 6 A.6"}));
  const auto press = listen(desk_, veto("before item 1 A.2"));
  EXPECT_FALSE(user_.click({u"A", u"2"}));
  EXPECT_NE(desk_.forms.find(u"A"), nullptr);
}

TEST_F(UserTest, ButtonIsNotPressedIfTheClickClosesItsForm) {
  const auto form = openForm();
  const auto sink = listen(desk_, [&](const std::string& words, bool&) {
    if (words == "before item 6 A.6") desk_.forms.close(form);
  });
  EXPECT_TRUE(user_.click({u"A", u"6"}));
  EXPECT_EQ(sink->log, (Log{"before item 6 A.6", "before item 20 A", "after item 20 A",
                            "before item 17 A", "after item 17 A"}));
}

TEST_F(UserTest, TypesKeyByKeyAndLeavesOkMode) {
  const auto form = openForm();
  const auto sink = listen(desk_);
  EXPECT_TRUE(user_.type({u"A", u"5"}, u"ab"));
  EXPECT_EQ(sink->log, (Log{"before item 2 A.5 key 97", "after item 2 A.5 key 97",
                            "before item 2 A.5 key 98", "after item 2 A.5 key 98"}));
  EXPECT_EQ(form->item(u"5").text.get(), u"ab");
  EXPECT_EQ(form->mode(), kUpdateMode);
  EXPECT_TRUE(user_.type({u"A", u"5"}, u""));
  EXPECT_EQ(form->item(u"5").text.get(), u"");
  EXPECT_EQ(sink->log.back(), "after item 2 A.5 key 8");
}

TEST_F(UserTest, VetoedKeyIsLeftOut) {
  const auto form = openForm();
  listen(desk_, veto("before item 2 A.5 key 98"));
  EXPECT_FALSE(user_.type({u"A", u"5"}, u"abc"));
  EXPECT_EQ(form->item(u"5").text.get(), u"ac");
}

TEST_F(UserTest, KeepsOkModeForAnEditThatDoesNotAffectIt) {
  const auto form = openForm();
  form->item(u"5").affectsFormMode = false;
  user_.type({u"A", u"5"}, u"a");
  EXPECT_EQ(form->mode(), kOkMode);
}

TEST_F(UserTest, TypingStopsAtTheSizeOfTheSource) {
  const auto form = openForm();
  form->addSource(u"UD", 9, 2);
  form->item(u"5").text.bind(form->findSource(u"UD"));
  EXPECT_TRUE(user_.type({u"A", u"5"}, u"abc"));
  EXPECT_EQ(form->item(u"5").text.get(), u"ab");
}

TEST_F(UserTest, ChangedEditIsValidatedWhenTheFocusLeavesIt) {
  openForm();
  user_.type({u"A", u"5"}, u"a");
  const auto sink = listen(desk_);
  EXPECT_TRUE(user_.click({u"A", u"6"}));
  EXPECT_EQ(sink->log, (Log{"before item 10 A.5", "after item 10 A.5", "before item 6 A.6",
                            "after item 6 A.6", "before item 1 A.6", "after item 1 A.6"}));
}

TEST_F(UserTest, VetoedValidationKeepsTheFocus) {
  const auto form = openForm();
  user_.type({u"A", u"5"}, u"a");
  const auto sink = listen(desk_, veto("before item 10 A.5"));
  EXPECT_FALSE(user_.click({u"A", u"1"}));
  EXPECT_EQ(form->focus, u"5");
  EXPECT_EQ(sink->log, (Log{"before item 10 A.5"}));
  EXPECT_FALSE(user_.validate({u"A", u"5"}));
}

TEST_F(UserTest, EnterPressesTheDefaultButtonBetweenTheEventsOfTheKey) {
  openForm();
  const auto sink = listen(desk_);
  EXPECT_TRUE(user_.key({u"A", u"5"}, 13));
  EXPECT_EQ(sink->log,
            (Log{"before item 2 A.5 key 13", "before item 6 A.1", "after item 6 A.1",
                 "before item 1 A.1", "after item 1 A.1", "after item 2 A.5 key 13",
                 "before item 20 A", "after item 20 A", "before item 17 A", "after item 17 A"}));
}

TEST_F(UserTest, TabMovesTheFocusAndValidatesAChangedEdit) {
  const auto form = openForm();
  const auto sink = listen(desk_);
  EXPECT_TRUE(user_.tab(u"A"));
  EXPECT_EQ(form->focus, u"1") << "without a focus, the first item gets it";
  EXPECT_EQ(sink->log, Log{});
  EXPECT_TRUE(user_.type({u"A", u"5"}, u"a"));
  sink->log.clear();
  EXPECT_TRUE(user_.tab(u"A"));
  EXPECT_EQ(form->focus, u"6");
  EXPECT_EQ(sink->log, (Log{"before item 2 A.5 key 9", "before item 10 A.5", "after item 10 A.5",
                            "after item 2 A.5 key 9"}));
  EXPECT_TRUE(user_.tab(u"A"));
  EXPECT_EQ(form->focus, u"1");
  EXPECT_EQ(form->item(u"5").text.get(), u"a") << "the key enters nothing";
}

TEST_F(UserTest, TabWithShiftMovesTheFocusBackWithTheEventsOfTheTabKey) {
  const auto form = openForm();
  const auto sink = listen(desk_);
  EXPECT_TRUE(user_.backTab(u"A"));
  EXPECT_EQ(form->focus, u"6") << "without a focus, the last item gets it";
  EXPECT_EQ(sink->log, Log{});
  EXPECT_TRUE(user_.backTab(u"A"));
  EXPECT_EQ(form->focus, u"5");
  EXPECT_EQ(sink->log, (Log{"before item 2 A.6 key 9", "after item 2 A.6 key 9"}));
  EXPECT_TRUE(user_.type({u"A", u"5"}, u"a"));
  sink->log.clear();
  EXPECT_TRUE(user_.backTab(u"A"));
  EXPECT_EQ(form->focus, u"2");
  EXPECT_EQ(sink->log, (Log{"before item 2 A.5 key 9", "before item 10 A.5", "after item 10 A.5",
                            "after item 2 A.5 key 9"}));
  EXPECT_EQ(raisedBy([&] { user_.backTab(u"none"); }), kInvalidForm);
}

TEST_F(UserTest, VetoOfTheTabKeyOrOfTheValidationKeepsTheFocus) {
  for (const char* event : {"before item 2 A.5 key 9", "before item 10 A.5"}) {
    Desk desk(testSettings());
    const auto form = makeAddOnForm(u"A");
    desk.forms.open(form);
    UserActions user(desk);
    user.type({u"A", u"5"}, u"a");
    listen(desk, veto(event));
    EXPECT_FALSE(user.tab(u"A")) << event;
    EXPECT_FALSE(user.backTab(u"A")) << event;
    EXPECT_FALSE(user.key({u"A", u"5"}, 9)) << event;
    EXPECT_EQ(form->focus, u"5") << event;
  }
}

TEST_F(UserTest, TabGoesOnFromAnItemThatIsNoLongerUsable) {
  const auto form = openForm();
  user_.click({u"A", u"5"});
  form->item(u"5").visible = false;
  const auto sink = listen(desk_);
  EXPECT_TRUE(user_.tab(u"A"));
  EXPECT_EQ(form->focus, u"6");
  EXPECT_EQ(sink->log, Log{});
  desk_.forms.show(form, false);
  EXPECT_EQ(raisedBy([&] { user_.tab(u"A"); }), kNotValidTarget);
  EXPECT_EQ(raisedBy([&] { user_.tab(u"none"); }), kInvalidForm);
}

TEST_F(UserTest, ItemOnAnotherPaneCannotBeReached) {
  const auto form = openForm();
  form->item(u"6").fromPane = form->item(u"6").toPane = 2;
  EXPECT_EQ(raisedBy([&] { user_.click({u"A", u"6"}); }), kNotValidTarget);
  form->pane = 2;
  EXPECT_TRUE(user_.click({u"A", u"6"}));
}

TEST_F(UserTest, EnterPressesNothingWithoutAUsableDefaultButton) {
  const auto form = openForm();
  const auto sink = listen(desk_);
  const Log keyOnly{"before item 2 A.5 key 13", "after item 2 A.5 key 13"};
  const auto enter = [&] {
    sink->log.clear();
    EXPECT_TRUE(user_.key({u"A", u"5"}, 13));
    return sink->log;
  };
  form->item(u"1").enabled = false;
  EXPECT_EQ(enter(), keyOnly);
  form->item(u"1").enabled = true;
  form->item(u"1").visible = false;
  EXPECT_EQ(enter(), keyOnly);
  form->setDefaultItem(u"5");
  EXPECT_EQ(enter(), keyOnly) << "an edit is no button";
  form->setDefaultItem(u"");
  EXPECT_EQ(enter(), keyOnly);
}

TEST_F(UserTest, LabelTakesNoFocusAndLeavesTheItemThatHasIt) {
  user_.openForm(u"3101");
  user_.type({u"F_1", u"4"}, u"a");
  const auto sink = listen(desk_);
  EXPECT_TRUE(user_.click({u"F_1", u"L4"}));
  EXPECT_EQ(sink->log, (Log{"before item 6 F_1.L4", "after item 6 F_1.L4"}));
  EXPECT_EQ(desk_.forms.find(u"F_1")->focus, u"4");
}

TEST_F(UserTest, HiddenColumnIsReachedByAnAddOnOnly) {
  user_.openForm(u"3101");
  desk_.forms.find(u"F_1")->item(u"20").matrix->columns()[2]->visible = false;
  const Spot spot{u"F_1", u"20", u"2", 1};
  EXPECT_EQ(raisedBy([&] { user_.click(spot); }), kNotValidTarget);
  EXPECT_EQ(raisedBy([&] { user_.type(spot, u"1"); }), kNotValidTarget);
  EXPECT_TRUE(UserActions(desk_, Actor::kAddOn).click(spot));
}

TEST_F(UserTest, ClickSelectsTheRowsThatTheMatrixAllows) {
  user_.openForm(u"3101");
  MatrixModel& lines = *desk_.forms.find(u"F_1")->item(u"20").matrix;
  lines.addRows(1, -1);
  const auto selectedAfterClicks = [&](long mode) {
    lines.selectionMode = mode;
    for (const long row : {1L, 2L}) {
      user_.click({u"F_1", u"20", u"1", row});
    }
    std::string out;
    for (const long row : {1L, 2L}) out += lines.isRowSelected(row) ? '*' : '-';
    return out;
  };
  EXPECT_EQ(selectedAfterClicks(kSelectNone), "--");
  EXPECT_EQ(selectedAfterClicks(kSelectOne), "-*");
  EXPECT_EQ(selectedAfterClicks(kSelectMany), "-*") << "a click selects one row";
  lines.selectRow(1, true, true);
  EXPECT_TRUE(lines.isRowSelected(1) && lines.isRowSelected(2)) << "an add-on may select both";
}

TEST_F(UserTest, ClicksAndDoubleClicksIntoAMatrix) {
  user_.openForm(u"3101");
  const auto sink = listen(desk_);
  EXPECT_TRUE(user_.click({u"F_1", u"20", u"2", 0}));
  EXPECT_TRUE(user_.doubleClick({u"F_1", u"20", u"2", 1}));
  EXPECT_EQ(sink->log, (Log{"before item 6 F_1.20.2.0", "after item 6 F_1.20.2.0",
                            "before item 6 F_1.20.2.1", "after item 6 F_1.20.2.1",
                            "before item 7 F_1.20.2.1", "after item 7 F_1.20.2.1"}));
  EXPECT_TRUE(desk_.forms.find(u"F_1")->item(u"20").matrix->isRowSelected(1));
  EXPECT_EQ(raisedBy([&] { user_.click({u"F_1", u"20", u"2", 2}); }), kIllegalOffset);
  EXPECT_EQ(raisedBy([&] { user_.click({u"F_1", u"20", u"99", 1}); }), kInvalidColumn);
}

TEST_F(UserTest, TypesIntoACell) {
  user_.openForm(u"3101");
  EXPECT_TRUE(user_.type({u"F_1", u"20", u"2", 1}, u"12"));
  const MatrixModel& lines = *desk_.forms.find(u"F_1")->item(u"20").matrix;
  EXPECT_EQ(lines.cell(1, *lines.columns()[2]), u"12");
}

TEST_F(UserTest, ChoosesInAComboBox) {
  user_.openForm(u"3101");
  EXPECT_TRUE(user_.choose({u"F_1", u"7"}, u"C"));
  EXPECT_EQ(desk_.forms.find(u"F_1")->item(u"7").combo->selected(), 1U);
  EXPECT_EQ(raisedBy([&] { user_.choose({u"F_1", u"7"}, u"X"); }), kInvalidFieldValue);
  EXPECT_EQ(raisedBy([&] { user_.choose({u"F_1", u"4"}, u"X"); }), kNotValidTarget);
}

TEST_F(UserTest, RefusesMissingHiddenAndDisabledTargets) {
  const auto form = openForm();
  EXPECT_EQ(raisedBy([&] { user_.click({u"none", u"1"}); }), kInvalidForm);
  EXPECT_EQ(raisedBy([&] { user_.click({u"A", u"none"}); }), kInvalidItem);
  EXPECT_EQ(raisedBy([&] { user_.type({u"A", u"1"}, u"x"); }), kNotValidTarget);
  form->item(u"6").enabled = false;
  EXPECT_EQ(raisedBy([&] { user_.click({u"A", u"6"}); }), kNotValidTarget);
  form->item(u"5").visible = false;
  EXPECT_EQ(raisedBy([&] { user_.type({u"A", u"5"}, u"x"); }), kNotValidTarget);
  desk_.forms.show(form, false);
  EXPECT_EQ(raisedBy([&] { user_.click({u"A", u"1"}); }), kNotValidTarget);
  EXPECT_EQ(raisedBy([&] { user_.selectForm(u"A"); }), kNotValidTarget);
  EXPECT_TRUE(UserActions(desk_, Actor::kAddOn).click({u"A", u"1"}));
}

TEST_F(UserTest, ClickFailsWhileADialogKeepsTheFront) {
  openForm(u"A");
  const auto dialog = openForm(u"B");
  const auto sink = listen(desk_, [&](const std::string& words, bool&) {
    if (words.find("item 19 B") != std::string::npos) desk_.forms.select(dialog);
  });
  EXPECT_FALSE(user_.click({u"A", u"1"}));
  EXPECT_EQ(sink->log, (Log{"before item 19 B", "after item 19 B"}));
}

TEST_F(UserTest, RaisesTheOtherEvents) {
  openForm();
  const auto sink = listen(desk_);
  EXPECT_TRUE(user_.rightClick({u"A", u"5"}));
  EXPECT_TRUE(user_.formData(u"A", u"2", u"C1"));
  EXPECT_TRUE(user_.progressBar());
  EXPECT_TRUE(user_.print(u"A"));
  EXPECT_TRUE(user_.reportData(u"A"));
  user_.statusMessage(u"saved", smt_Info);
  user_.changeLanguage(ln_German);
  user_.changeCompany("/data/Quay.db");
  user_.shutDown();
  user_.serverTermination();
  EXPECT_EQ(sink->log,
            (Log{"before right A.5", "after right A.5", "before data A 2 C1", "after data A 2 C1",
                 "before progress", "after progress", "before print A", "after print A",
                 "before report A", "after report A", "status saved 3", "app 66", "app 65",
                 "before item 20 A", "after item 20 A", "before item 17 A", "after item 17 A",
                 "app 64", "app 67"}));
  EXPECT_EQ(desk_.settings().language, ln_German);
  EXPECT_EQ(desk_.databaseName(), u"Quay");
  EXPECT_EQ(toUtf8(printStatus(desk_.statusBar)), "info: saved\n");
}

TEST_F(UserTest, ProgressBarThatCanBeStoppedStopsBetweenItsEvents) {
  const auto progress = desk_.statusBar.createProgress(u"Loading", 10, true);
  std::string stopped;
  const auto sink = listen(desk_, [&](const std::string& words, bool&) {
    stopped += words + (progress->stopped() ? ": stopped\n" : ": runs\n");
  });
  EXPECT_TRUE(user_.progressBar());
  EXPECT_EQ(stopped, "before progress: runs\nafter progress: stopped\n");
  EXPECT_EQ(desk_.statusBar.progress(), nullptr);
}

TEST_F(UserTest, ProgressBarGoesOnAfterAVetoAndIfItCannotBeStopped) {
  auto progress = desk_.statusBar.createProgress(u"Loading", 10, false);
  EXPECT_TRUE(user_.progressBar());
  EXPECT_FALSE(progress->stopped());
  progress->stop();
  progress = desk_.statusBar.createProgress(u"Loading", 10, true);
  listen(desk_, veto("before progress"));
  EXPECT_FALSE(user_.progressBar());
  EXPECT_FALSE(progress->stopped());
}

TEST_F(UserTest, ProgressBarThatAHandlerBeginsMeanwhileIsNotStopped) {
  auto progress = desk_.statusBar.createProgress(u"Loading", 10, true);
  listen(desk_, [&](const std::string& words, bool&) {
    if (words != "before progress") return;
    progress.reset();
    progress = desk_.statusBar.createProgress(u"Clearing up", 10, true);
  });
  EXPECT_TRUE(user_.progressBar());
  EXPECT_FALSE(progress->stopped());
}

TEST_F(UserTest, ClickWithCtrlOrShiftSelectsSeveralRowsWithTheEventsOfAClick) {
  const auto form = openForm();
  ItemModel item;
  item.uid = u"20";
  item.type = kMatrix;
  MatrixModel& matrix = *form->addItem(std::move(item)).matrix;
  matrix.selectionMode = kSelectMany;
  matrix.addRows(4, -1);
  user_.click({u"A", u"20", u"", 1});
  const auto sink = listen(desk_, veto("before item 6 A.20..4"));
  EXPECT_TRUE(user_.click({u"A", u"20", u"", 3}, {.shift = true}));
  EXPECT_TRUE(user_.click({u"A", u"20", u"", 2}, {.ctrl = true}));
  EXPECT_FALSE(user_.click({u"A", u"20", u"", 4}, {.ctrl = true}));
  EXPECT_EQ(sink->log,
            (Log{"before item 6 A.20..3", "after item 6 A.20..3", "before item 6 A.20..2",
                 "after item 6 A.20..2", "before item 6 A.20..4"}));
  EXPECT_TRUE(matrix.isRowSelected(1) && matrix.isRowSelected(3));
  EXPECT_FALSE(matrix.isRowSelected(2) || matrix.isRowSelected(4));
}

TEST_F(UserTest, CloseDuringAMenuEventTakesEffectAfterIt) {
  const auto form = openForm();
  bool openDuringTheEvent = false;
  const auto sink = listen(desk_, [&](const std::string& words, bool&) {
    if (words == "before menu 43523") desk_.forms.close(form);
    if (words == "after menu 43523") openDuringTheEvent = form->isOpen();
  });
  EXPECT_TRUE(user_.pickMenu(u"43523"));
  EXPECT_TRUE(openDuringTheEvent);
  EXPECT_FALSE(form->isOpen());
}

}  // namespace
}  // namespace qx::screens
