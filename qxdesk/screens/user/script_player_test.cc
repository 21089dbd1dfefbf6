#include "qxdesk/screens/user/script_player.h"

#include "qxdesk/screens/model/test_support.h"

#include <gtest/gtest.h>

#include <deque>

namespace qx::screens {
namespace {

class ScriptPlayerTest : public testing::Test {
 protected:
  /// Plays a whole script, one task after the other, and returns its output.
  std::string play(std::string_view script) {
    std::string out;
    std::deque<std::function<void()>> tasks;
    ScriptPlayer player(
        desk_, parsePlayScript(script, "demo.txt"),
        [&](std::function<void()> task) { tasks.push_back(std::move(task)); },
        [&](std::string_view text) { out += text; });
    player.start();
    player.start();
    while (!tasks.empty()) {
      EXPECT_EQ(tasks.size(), 1U);
      const auto task = std::move(tasks.front());
      tasks.pop_front();
      task();
      ++tasks_;
    }
    EXPECT_TRUE(player.finished());
    return out;
  }

  Desk desk_{testSettings()};
  int tasks_ = 0;
};

TEST_F(ScriptPlayerTest, PlaysTheStepsBeforeStartAtOnce) {
  std::string out;
  int posted = 0;
  ScriptPlayer player(
      desk_, parsePlayScript("status One\nstart\nstatus Two\n", "demo.txt"),
      [&](std::function<void()>) { ++posted; }, [&](std::string_view text) { out += text; });
  player.playAhead();
  EXPECT_EQ(out, "the client's status bar says \"One\"\n");
  EXPECT_EQ(posted, 0);
  player.start();
  EXPECT_EQ(posted, 1);
}

TEST_F(ScriptPlayerTest, PlaysNothingAtOnceWithoutStart) {
  std::string out;
  ScriptPlayer player(
      desk_, parsePlayScript("status One\n", "demo.txt"), [](std::function<void()>) {},
      [&](std::string_view text) { out += text; });
  player.playAhead();
  EXPECT_EQ(out, "");
}

TEST_F(ScriptPlayerTest, PlaysTheRestAtOnceAfterTheShutdown) {
  EXPECT_EQ(play("shutdown\nstatus After\n"),
            "shut the client down\nthe client's status bar says \"After\"\n");
  EXPECT_EQ(tasks_, 1);
}

TEST_F(ScriptPlayerTest, PrintsTheOutcomeOfEachStep) {
  EXPECT_EQ(play("menu 3001\n"
                 "type * 4 C001\n"
                 "cell F_1 20 1 1 Bolt\n"
                 "choose F_1 7 Closed\n"
                 "click F_1 20 1 1\n"
                 "print forms\n"
                 "press F_1 1\n"
                 "close F_1\n"
                 "open 1001\n"
                 "language 9\n"
                 "company /data/Quay.db\n"
                 "status Good morning\n"
                 "say And now:\n"
                 "print status\n"),
            "picked menu 3001\n"
            "typed \"C001\" into item 4 of form F_1\n"
            "typed \"Bolt\" into item 20, column 1, row 1 of form F_1\n"
            "chose \"Closed\" in item 7 of form F_1\n"
            "clicked item 20, column 1, row 1 of form F_1\n"
            "F_0 169 \"Main Menu\"\nF_1 3101 \"Sales Order\" selected update\n"
            "pressed item 1 of form F_1\n"
            "closed form F_1\n"
            "opened form of type 1001: F_2\n"
            "changed the language to 9\n"
            "changed the company to /data/Quay.db\n"
            "the client's status bar says \"Good morning\"\n"
            "And now:\n"
            "Good morning\n");
  EXPECT_EQ(tasks_, 14);
}

TEST_F(ScriptPlayerTest, MovesTheFocusByTheTabKey) {
  EXPECT_EQ(play("menu 3001\ntype * 4 C001\ntab *\ntab none\n"),
            "picked menu 3001\n"
            "typed \"C001\" into item 4 of form F_1\n"
            "tab key in form F_1\n"
            "line 4 refused: Invalid form (-7000)\n");
  EXPECT_EQ(desk_.forms.find(u"F_1")->focus, u"5");
}

TEST_F(ScriptPlayerTest, MovesTheFocusBackByTheTabKeyWithShift) {
  EXPECT_EQ(play("menu 3001\nclick * 5\nbacktab *\nbacktab none\n"),
            "picked menu 3001\n"
            "clicked item 5 of form F_1\n"
            "tab key with Shift in form F_1\n"
            "line 4 refused: Invalid form (-7000)\n");
  EXPECT_EQ(desk_.forms.find(u"F_1")->focus, u"4");
}

TEST_F(ScriptPlayerTest, ClicksRowsWithCtrlAndShift) {
  play("menu 3001\n");
  MatrixModel& lines = *desk_.forms.find(u"F_1")->item(u"20").matrix;
  lines.selectionMode = kSelectMany;
  lines.addRows(3, -1);
  EXPECT_EQ(play("click F_1 20 1 1\nshiftclick F_1 20 1 3\nctrlclick F_1 20 1 2\n"),
            "clicked item 20, column 1, row 1 of form F_1\n"
            "clicked with Shift item 20, column 1, row 3 of form F_1\n"
            "clicked with Ctrl item 20, column 1, row 2 of form F_1\n");
  EXPECT_TRUE(lines.isRowSelected(1) && lines.isRowSelected(3));
  EXPECT_FALSE(lines.isRowSelected(2));
}

TEST_F(ScriptPlayerTest, DrawsAForm) {
  const auto form = std::make_shared<FormModel>(u"A", u"-1", false);
  form->rect = {0, 0, 40 + kFrameWidth, 16 + kFrameHeight};
  form->title = u"T";
  form->visible = true;
  desk_.forms.open(form);
  EXPECT_EQ(play("draw *\ndraw B"), "+- T -+\n|     |\n+-----+\nthere is no form B\n");
  desk_.forms.show(form, false);
  EXPECT_EQ(play("draw A"), "form A is hidden\n");
}

TEST_F(ScriptPlayerTest, PrintsAVeto) {
  desk_.forms.open(makeAddOnForm(u"A"));
  listen(desk_, veto("before item 1 A.1"));
  EXPECT_EQ(play("press A 1"), "pressed item 1 of form A: vetoed by the add-on\n");
}

TEST_F(ScriptPlayerTest, PrintsARefusalAndGoesOn) {
  EXPECT_EQ(play("press A 1\nmenu 101"), "line 1 refused: Invalid form (-7000)\npicked menu 101\n");
}

TEST_F(ScriptPlayerTest, AnswersABoxWithTheAnswerThatFollowsItsAction) {
  long answer = 0;
  listen(desk_, [&](const std::string& words, bool&) {
    if (words != "before menu 43523") return;
    MessageBoxCall box;
    box.text = u"Go on?";
    box.buttons = {u"Yes", u"No", u""};
    answer = desk_.boxes.show(box);
  });
  EXPECT_EQ(play("menu 43523\nanswer 2\nprint boxes"),
            "box \"Go on?\": answered with button 2\n"
            "picked menu 43523\n"
            "\"Go on?\" [Yes] [No] -> 2\n");
  EXPECT_EQ(answer, 2);
}

TEST_F(ScriptPlayerTest, AnswersABoxWithTheAnswerThatPrecedesItsAction) {
  long answer = 0;
  listen(desk_, [&](const std::string& words, bool&) {
    if (words != "before menu 43523") return;
    MessageBoxCall box;
    box.buttons = {u"Yes", u"No", u""};
    answer = desk_.boxes.show(box);
  });
  EXPECT_EQ(play("answer 2\nmenu 43523"),
            "will answer the next box with button 2\npicked menu 43523\n");
  EXPECT_EQ(answer, 2);
}

TEST_F(ScriptPlayerTest, PrintsABoxWithoutAnswer) {
  listen(desk_, [&](const std::string&, bool&) {
    MessageBoxCall box;
    box.text = u"Well?";
    desk_.boxes.show(box);
  });
  EXPECT_EQ(play("shutdown"), "box \"Well?\": no answer\nshut the client down\n");
}

}  // namespace
}  // namespace qx::screens
