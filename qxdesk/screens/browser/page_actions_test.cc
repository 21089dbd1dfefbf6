#include "qxdesk/screens/browser/page_actions.h"

#include "qxdesk/screens/model/test_support.h"

#include <gtest/gtest.h>

#include <string>

namespace qx::screens {
namespace {

class PageActions : public testing::Test {
 protected:
  /// Returns the outcome in a few words.
  std::string act(const std::string& text) {
    const auto message = readPageMessage(text);
    if (!message) return "no message";
    const PageOutcome outcome = performPageAction(desk_, *message);
    if (outcome.result == PageOutcome::Result::kDone) return "done";
    if (outcome.result == PageOutcome::Result::kVetoed) return "vetoed";
    return std::to_string(outcome.code) + " " + outcome.why;
  }
  FormModel& order() { return *desk_.forms.find(u"F_1"); }

  Desk desk_{testSettings()};
  std::shared_ptr<ProbeSink> sink_ = listen(desk_);
};

/// One message for each verb that acts on the item "4" or "1" of form F_1 or on the form itself.
const char* const kOnTheForm[] = {
    R"({"do":"press","form":"F_1","item":"1"})",
    R"({"do":"double","form":"F_1","item":"4"})",
    R"({"do":"key","form":"F_1","item":"4","key":65})",
    R"({"do":"type","form":"F_1","item":"4","text":"C1"})",
    R"({"do":"tab","form":"F_1"})",
    R"({"do":"tab","form":"F_1","shift":true})",
    R"({"do":"validate","form":"F_1","item":"4"})",
    R"({"do":"choose","form":"F_1","item":"7","key":"C"})",
    R"({"do":"right","form":"F_1","item":"4"})",
    R"({"do":"select","form":"F_1"})",
    R"({"do":"close","form":"F_1"})",
    R"({"do":"print","form":"F_1"})",
    R"({"do":"report","form":"F_1"})",
    R"({"do":"move","form":"F_1","left":10,"top":20})",
};

TEST_F(PageActions, EveryVerbDoesWhatTheUserDoes) {
  desk_.openSystemForm(u"3101");
  sink_->log.clear();
  EXPECT_EQ(act(R"({"do":"type","form":"F_1","item":"4","text":"C"})"), "done");
  EXPECT_EQ(order().item(u"4").text.get(), u"C");
  EXPECT_EQ(act(R"({"do":"tab","form":"F_1"})"), "done");
  EXPECT_EQ(order().focus, u"5");
  EXPECT_EQ(act(R"({"do":"choose","form":"F_1","item":"7","key":"C"})"), "done");
  EXPECT_EQ(act(R"({"do":"type","form":"F_1","item":"20","column":"1","row":1,"text":"A"})"),
            "done");
  EXPECT_EQ(act(R"({"do":"press","form":"F_1","item":"20","column":"1","row":0})"), "done");
  EXPECT_EQ(act(R"({"do":"right","form":"F_1","item":""})"), "done");
  EXPECT_EQ(act(R"({"do":"validate","form":"F_1","item":"4"})"), "done");
  EXPECT_EQ(act(R"({"do":"print","form":"F_1"})"), "done");
  EXPECT_EQ(act(R"({"do":"report","form":"F_1"})"), "done");
  EXPECT_EQ(sink_->log, (Log{"before item 2 F_1.4 key 67",
                             "after item 2 F_1.4 key 67",
                             "before item 2 F_1.4 key 9",
                             "before item 10 F_1.4",
                             "after item 10 F_1.4",
                             "after item 2 F_1.4 key 9",
                             "before item 6 F_1.7",
                             "after item 6 F_1.7",
                             "before item 10 F_1.7",
                             "after item 10 F_1.7",
                             "before item 2 F_1.20.1.1 key 65",
                             "after item 2 F_1.20.1.1 key 65",
                             "before item 6 F_1.20.1.0",
                             "after item 6 F_1.20.1.0",
                             "before right F_1.",
                             "after right F_1.",
                             "before item 10 F_1.4",
                             "after item 10 F_1.4",
                             "before print F_1",
                             "after print F_1",
                             "before report F_1",
                             "after report F_1"}));
  EXPECT_EQ(act(R"({"do":"menu","uid":"3002"})"), "done");
  EXPECT_EQ(act(R"({"do":"select","form":"F_1"})"), "done");
  EXPECT_EQ(desk_.forms.selected()->uid(), u"F_1");
  EXPECT_EQ(act(R"({"do":"close","form":"F_1"})"), "done");
  EXPECT_EQ(act(R"({"do":"language","language":9})"), "done");
  EXPECT_EQ(desk_.settings().language, ln_German);
  EXPECT_EQ(act(R"({"do":"shutdown"})"), "done");
  EXPECT_EQ(desk_.forms.all().size(), 1U);
}

TEST_F(PageActions, TheSameTextTypedAgainHasTheEventsOfItsKeys) {
  desk_.openSystemForm(u"3101");
  const std::string type = R"({"do":"type","form":"F_1","item":"4","text":"C"})";
  act(type);
  act(R"({"do":"validate","form":"F_1","item":"4"})");
  sink_->log.clear();
  EXPECT_EQ(act(type), "done");
  EXPECT_EQ(act(R"({"do":"press","form":"F_1","item":"5"})"), "done");
  EXPECT_EQ(sink_->log,
            (Log{"before item 2 F_1.4 key 8", "after item 2 F_1.4 key 8",
                 "before item 2 F_1.4 key 67", "after item 2 F_1.4 key 67", "before item 10 F_1.4",
                 "after item 10 F_1.4", "before item 6 F_1.5", "after item 6 F_1.5"}));
}

TEST_F(PageActions, TabWithShiftGoesBack) {
  desk_.openSystemForm(u"3101");
  act(R"({"do":"press","form":"F_1","item":"5"})");
  EXPECT_EQ(act(R"({"do":"tab","form":"F_1","shift":true})"), "done");
  EXPECT_EQ(order().focus, u"4");
}

TEST_F(PageActions, KeysThatAreHeldDownSelectSeveralRows) {
  desk_.openSystemForm(u"3101");
  MatrixModel& lines = *order().item(u"20").matrix;
  lines.selectionMode = kSelectMany;
  lines.addRows(3, -1);
  const auto press = [&](const std::string& row, const std::string& keys) {
    return act(R"({"do":"press","form":"F_1","item":"20","column":"1","row":)" + row + keys + "}");
  };
  EXPECT_EQ(press("1", ""), "done");
  EXPECT_EQ(press("3", R"(,"shift":true)"), "done");
  EXPECT_EQ(press("2", R"(,"ctrl":true)"), "done");
  EXPECT_TRUE(lines.isRowSelected(1) && lines.isRowSelected(3));
  EXPECT_FALSE(lines.isRowSelected(2) || lines.isRowSelected(4));
}

TEST_F(PageActions, TheProgressBarIsStopped) {
  const auto progress = desk_.statusBar.createProgress(u"Loading", 10, true);
  EXPECT_EQ(act(R"({"do":"stop","progress":1})"), "done");
  EXPECT_TRUE(progress->stopped());
  EXPECT_EQ(sink_->log, (Log{"before progress", "after progress"}));
}

TEST_F(PageActions, AProgressBarThatIsGoneOrCannotBeStoppedIsRefused) {
  EXPECT_EQ(act(R"({"do":"stop","progress":0})"), "-7023 Not valid target");
  auto progress = desk_.statusBar.createProgress(u"Loading", 10, false);
  EXPECT_EQ(act(R"({"do":"stop","progress":1})"), "-7023 Not valid target");
  progress->stop();
  progress = desk_.statusBar.createProgress(u"Loading", 10, true);
  EXPECT_EQ(act(R"({"do":"stop","progress":1})"), "-7023 Not valid target");
  EXPECT_FALSE(progress->stopped());
  EXPECT_EQ(sink_->log, Log{});
}

TEST_F(PageActions, AVetoIsReported) {
  desk_.openSystemForm(u"3101");
  const auto sink = listen(desk_, veto("before item 6 F_1.1"));
  EXPECT_EQ(act(R"({"do":"press","form":"F_1","item":"1"})"), "vetoed");
  EXPECT_NE(desk_.forms.find(u"F_1"), nullptr);
}

TEST_F(PageActions, AFormThatIsGoneIsRefusedByEveryVerb) {
  for (const char* text : kOnTheForm) EXPECT_EQ(act(text), "-7000 Invalid form") << text;
  EXPECT_EQ(sink_->log, Log{});
}

TEST_F(PageActions, AHiddenFormIsRefusedByEveryVerb) {
  desk_.openSystemForm(u"3101");
  desk_.forms.show(desk_.forms.find(u"F_1"), false);
  sink_->log.clear();
  for (const char* text : kOnTheForm) EXPECT_EQ(act(text), "-7023 Not valid target") << text;
  EXPECT_EQ(sink_->log, Log{});
}

TEST_F(PageActions, AnItemThatTheUserCannotReachIsRefused) {
  desk_.openSystemForm(u"3101");
  sink_->log.clear();
  ItemModel& edit = order().item(u"4");
  const std::string press = R"({"do":"press","form":"F_1","item":"4"})";
  const std::string right = R"({"do":"right","form":"F_1","item":"4"})";
  edit.enabled = false;
  for (const char* text :
       {R"({"do":"press","form":"F_1","item":"4"})", R"({"do":"double","form":"F_1","item":"4"})",
        R"({"do":"key","form":"F_1","item":"4","key":65})",
        R"({"do":"type","form":"F_1","item":"4","text":"C1"})",
        R"({"do":"validate","form":"F_1","item":"4"})"}) {
    EXPECT_EQ(act(text), "-7023 Not valid target") << text;
  }
  edit.enabled = true;
  edit.visible = false;
  EXPECT_EQ(act(press), "-7023 Not valid target");
  EXPECT_EQ(act(right), "-7023 Not valid target");
  edit.visible = true;
  edit.fromPane = edit.toPane = 2;
  EXPECT_EQ(act(press), "-7023 Not valid target");
  EXPECT_EQ(act(right), "-7023 Not valid target");
  EXPECT_EQ(act(R"({"do":"press","form":"F_1","item":"none"})"), "-7001 Invalid item");
  EXPECT_EQ(act(R"({"do":"right","form":"F_1","item":"none"})"), "-7001 Invalid item");
  EXPECT_EQ(act(R"({"do":"type","form":"F_1","item":"1","text":"x"})"), "-7023 Not valid target");
  EXPECT_EQ(act(R"({"do":"choose","form":"F_1","item":"5","key":"x"})"), "-7023 Not valid target");
  EXPECT_EQ(sink_->log, Log{});
}

TEST_F(PageActions, CellsOutsideAreRefused) {
  desk_.openSystemForm(u"3101");
  sink_->log.clear();
  const auto press = [&](const std::string& cell) {
    return act(R"({"do":"press","form":"F_1","item":"20",)" + cell + "}");
  };
  EXPECT_EQ(press(R"("column":"9","row":1)"), "-7015 Invalid column");
  EXPECT_EQ(press(R"("column":"1","row":2)"), "-7028 Illegal offset");
  const std::string outside =
      "-2147024809 A number or a text of the action is outside of its range.";
  EXPECT_EQ(press(R"("column":"1","row":-1)"), outside);
  EXPECT_EQ(press(R"("column":"1","row":18446744073709551615)"), outside);
  order().item(u"20").matrix->columns()[1]->visible = false;
  EXPECT_EQ(press(R"("column":"1","row":1)"), "-7023 Not valid target");
  EXPECT_EQ(sink_->log, Log{});
}

TEST_F(PageActions, NumbersAndTextsOutsideOfTheirRangeAreRefused) {
  desk_.openSystemForm(u"3101");
  const std::string outside =
      "-2147024809 A number or a text of the action is outside of its range.";
  for (const char* text :
       {R"({"do":"key","form":"F_1","item":"4","key":0})",
        R"({"do":"key","form":"F_1","item":"4","key":65536})", R"({"do":"language","language":4})",
        R"({"do":"language","language":-9})"}) {
    EXPECT_EQ(act(text), outside) << text;
  }
  EXPECT_EQ(
      act(R"({"do":"type","form":"F_1","item":"4","text":")" + std::string(10'001, 'x') + "\"}"),
      outside);
  EXPECT_EQ(act(R"({"do":"choose","form":"F_1","item":"7","key":"X"})"),
            "-7018 Invalid field value");
}

TEST_F(PageActions, MenuEntriesThatCannotBePickedAreRefused) {
  EXPECT_EQ(act(R"({"do":"menu","uid":"9"})"), "-7026 Invalid menu item");
  EXPECT_EQ(act(R"({"do":"menu","uid":""})"), "-7026 Invalid menu item");
  desk_.menus.find(u"3000")->properties().enabled = false;
  EXPECT_EQ(act(R"({"do":"menu","uid":"3001"})"), "-7023 Not valid target");
}

TEST_F(PageActions, AMovedFormKeepsItsTitleBarInReach) {
  desk_.openSystemForm(u"3101");
  sink_->log.clear();
  const auto moved = [&](const std::string& left, const std::string& top) {
    EXPECT_EQ(act(R"({"do":"move","form":"F_1","left":)" + left + ",\"top\":" + top + "}"), "done");
    return std::to_string(order().rect.left) + " " + std::to_string(order().rect.top);
  };
  EXPECT_EQ(moved("10", "20"), "10 20");
  EXPECT_EQ(moved("-2000", "-5"), "-460 0");
  EXPECT_EQ(moved("9223372036854775807", "9223372036854775807"), "4000 4000");
  EXPECT_EQ(sink_->log, Log{});
}

TEST_F(PageActions, TheMainMenuStaysOpen) {
  EXPECT_EQ(act(R"({"do":"close","form":"F_0"})").substr(0, 6), "-7002 ");
}

TEST_F(PageActions, RowsComeFromTheModel) {
  desk_.openSystemForm(u"3101");
  const auto rows = [&](const std::string& more) {
    return answerRows(desk_, *readPageMessage(R"({"do":"rows","form":"F_1",)" + more + "}"));
  };
  const std::string revision = std::to_string(order().item(u"20").matrix->revision());
  EXPECT_EQ(rows(R"("id":8,"item":"20","from":1,"count":500)"),
            R"({"form":"F_1","from":1,"is":"rows","item":"20","re":8,"revision":)" + revision +
                R"(,"rows":[{"cells":["","","",""],"selected":false}]})");
  EXPECT_EQ(rows(R"("item":"20","from":2,"count":1)"),
            R"({"form":"F_1","from":2,"is":"rows","item":"20","revision":)" + revision +
                R"(,"rows":[]})");
}

TEST_F(PageActions, RowsThatAreNoneAreRefused) {
  desk_.openSystemForm(u"3101");
  const auto rows = [&](const std::string& more) {
    return answerRows(desk_, *readPageMessage(R"({"do":"rows","id":8,)" + more + "}"));
  };
  const std::string outside =
      R"({"code":-2147024809,"is":"reply","re":8,"result":"refused",)"
      R"("why":"A number or a text of the action is outside of its range."})";
  EXPECT_EQ(rows(R"("form":"F_1","item":"20","from":0,"count":1)"), outside);
  EXPECT_EQ(rows(R"("form":"F_1","item":"20","from":1,"count":0)"), outside);
  EXPECT_EQ(rows(R"("form":"F_1","item":"20","from":1,"count":501)"), outside);
  EXPECT_EQ(rows(R"("form":"F_1","item":"4","from":1,"count":1)"),
            R"({"code":-7023,"is":"reply","re":8,"result":"refused","why":"Not valid target"})");
  EXPECT_EQ(rows(R"("form":"F_9","item":"4","from":1,"count":1)"),
            R"({"code":-7000,"is":"reply","re":8,"result":"refused","why":"Invalid form"})");
  EXPECT_EQ(answerRows(desk_, *readPageMessage(
                                  R"({"do":"rows","form":"F_9","item":"4","from":1,"count":1})")),
            "");
}

}  // namespace
}  // namespace qx::screens
