#include "qxframework/runtime/event_handlers_fixture.h"

namespace qx::test {
namespace {

using testing::ElementsAre;

// Events that go to the add-on only.

TEST_F(EventHandlersTest, ReturnTheResultOfTheHandler) {
  hooks["OnStatusBarEvent"] = giving(5);
  hooks["OnProgressBarEvent"] = giving(6);
  hooks["OnPrintEvent"] = giving(E_FAIL);
  hooks["OnReportDataEvent"] = giving(8);
  EXPECT_EQ(sink.StatusBarEvent(CComBSTR(u"Hello"), 3), 5);
  EXPECT_EQ(sink.ProgressBarEvent(nullptr, &bubble), 6);
  EXPECT_EQ(sink.PrintEvent(nullptr, &bubble), E_FAIL);
  EXPECT_EQ(sink.ReportDataEvent(nullptr, &bubble), 8);
}

TEST_F(EventHandlersTest, KeepTheResultIfTheHandlerThrows) {
  for (const auto& [what, thrower] : throwers()) {
    for (const char* name :
         {"OnStatusBarEvent", "OnProgressBarEvent", "OnPrintEvent", "OnReportDataEvent"}) {
      hooks[name] = thrower;
    }
    log.records.clear();
    EXPECT_EQ(sink.StatusBarEvent(nullptr, 3), 0) << what;
    EXPECT_EQ(sink.ProgressBarEvent(nullptr, &bubble), 0) << what;
    EXPECT_EQ(sink.PrintEvent(nullptr, &bubble), 0) << what;
    EXPECT_EQ(sink.ReportDataEvent(nullptr, &bubble), 0) << what;
    std::vector<std::u16string> errors = log.messages(1);
    EXPECT_THAT(errors, ElementsAre(u"Add-on's OnStatusBarEvent handler threw an exception",
                                    u"Add-on's OnProgressBarEvent handler threw an exception",
                                    u"Add-on's OnPrintEvent handler threw an exception",
                                    u"Add-on's OnReportDataEvent handler threw an exception"))
        << what;
  }
}

TEST_F(EventHandlersTest, HandlerCannotTakeAVetoBack) {
  hooks["OnProgressBarEvent"] = setting(-1);
  hooks["OnPrintEvent"] = setting(-1);
  hooks["OnReportDataEvent"] = setting(-1);
  bubble = 0;
  sink.ProgressBarEvent(nullptr, &bubble);
  EXPECT_EQ(bubble, 0);
  sink.PrintEvent(nullptr, &bubble);
  EXPECT_EQ(bubble, 0);
  sink.ReportDataEvent(nullptr, &bubble);
  EXPECT_EQ(bubble, 0);
}

// Right click and form data.

TEST_F(EventHandlersTest, RightClickGoesToTheSelectedFormAndThenToTheAddOn) {
  hooks["OnRightClickEvent"] = giving(2);
  EXPECT_EQ(sink.RightClickEvent(makeObject<StubContextMenuInfo>().p, &bubble), 2);
  EXPECT_THAT(host.calls, ElementsAre("F1.OnRightClickEvent", "OnRightClickEvent"));
}

TEST_F(EventHandlersTest, VetoOfTheFormKeepsTheRightClickFromTheAddOn) {
  form->hooks["OnRightClickEvent"] = setting(0);
  sink.RightClickEvent(makeObject<StubContextMenuInfo>().p, &bubble);
  EXPECT_THAT(host.calls, ElementsAre("F1.OnRightClickEvent"));
}

TEST_F(EventHandlersTest, ExceptionInARightClickIsLoggedAndReturnsOne) {
  for (const auto& [what, thrower] : throwers()) {
    log.records.clear();
    form->hooks["OnRightClickEvent"] = thrower;
    hooks["OnRightClickEvent"] = thrower;
    EXPECT_EQ(sink.RightClickEvent(makeObject<StubContextMenuInfo>().p, &bubble), 1) << what;
    EXPECT_THAT(
        messages(u"CQXEventSink::RightClickEvent"),
        ElementsAre("Form F1 threw exception", "Add-on's OnRightClickEvent threw exception"))
        << what;
  }
}

TEST_F(EventHandlersTest, FormDataGoesToTheSelectedFormOnly) {
  form->hooks["OnFormDataEvent"] = setting(0, 9);
  EXPECT_EQ(sink.FormDataEvent(makeObject<StubBusinessObjectInfo>().p, &bubble), 0);
  EXPECT_THAT(host.calls, ElementsAre("F1.OnFormDataEvent"));
  EXPECT_EQ(bubble, 0);
}

TEST_F(EventHandlersTest, FormDataReturnsZeroEvenIfTheFormThrows) {
  for (const auto& [what, thrower] : throwers()) {
    log.records.clear();
    form->hooks["OnFormDataEvent"] = thrower;
    EXPECT_EQ(sink.FormDataEvent(makeObject<StubBusinessObjectInfo>().p, &bubble), 0) << what;
    EXPECT_TRUE(logged(1, u"Form F1 threw exception")) << what;
  }
}

TEST_F(EventHandlersTest, RightClickAndFormDataKeepAVeto) {
  bubble = VARIANT_FALSE;
  form->hooks["OnRightClickEvent"] = form->hooks["OnFormDataEvent"] = [](short* veto) {
    *veto = VARIANT_TRUE;
    return 0L;
  };
  sink.RightClickEvent(makeObject<StubContextMenuInfo>().p, &bubble);
  EXPECT_EQ(bubble, VARIANT_FALSE);
  sink.FormDataEvent(makeObject<StubBusinessObjectInfo>().p, &bubble);
  EXPECT_EQ(bubble, VARIANT_FALSE);
  EXPECT_THAT(host.calls, ElementsAre("F1.OnRightClickEvent", "F1.OnFormDataEvent"));
}

TEST_F(EventHandlersTest, MissingHandlerLeavesEventsToTheForms) {
  CQXEventSink lonely(host.application.p, nullptr, &addOn);
  lonely.RegisterForm(form);
  const auto event = makeObject<FakeMenuEvent>(u"1281", kBefore);
  EXPECT_EQ(lonely.OnMenuEvent(event.p, &bubble), 0);
  EXPECT_EQ(lonely.RightClickEvent(nullptr, &bubble), 0);
  EXPECT_EQ(lonely.StatusBarEvent(nullptr, 1), 0);
  EXPECT_EQ(lonely.ItemEvent(CComBSTR(u"HOST1"), makeObject<FakeItemEvent>(16, false).p, &bubble),
            0);
  EXPECT_THAT(host.calls, ElementsAre("F1.OnMenuEvent", "F1.OnRightClickEvent"));
}

}  // namespace
}  // namespace qx::test
