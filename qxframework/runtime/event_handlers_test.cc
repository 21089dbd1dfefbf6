#include "qxframework/host/events.h"
#include "qxframework/runtime/event_sink.h"
#include "qxframework/runtime/testing/fake_events.h"
#include "qxframework/runtime/testing/fake_host.h"
#include "qxframework/runtime/testing/test_addon.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qx::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Strings = std::vector<std::string>;

constexpr bool kBefore = true;
constexpr bool kAfter = false;

Hook giving(long result) {
  return [result](short*) { return result; };
}
Hook setting(short veto, long result = 0) {
  return [veto, result](short* bubble) { return *bubble = veto, result; };
}

/// A running sink with the selected form F1 registered.
class EventHandlersTest : public testing::Test {
 protected:
  EventHandlersTest()
      : addOn(host), dispatch(host, hooks), sink(host.application.p, &dispatch, &addOn) {
    host.sink = &sink;
    form = new TestForm(host, &addOn, &host.addForm(u"F1", true));
    sink.RegisterForm(form);
    log.records.clear();
  }
  ~EventHandlersTest() override {
    CQXEventSink::SetLogSettingsOpener(nullptr);
    if (!host.called("F1.~Form")) delete form;
  }

  long item(long type, bool before, const OLECHAR* uid = u"F1") {
    const auto event = makeObject<FakeItemEvent>(type, before);
    return sink.ItemEvent(CComBSTR(uid), event.p, &bubble);
  }
  long menu(const OLECHAR* uid, bool before = kBefore) {
    const auto event = makeObject<FakeMenuEvent>(uid, before);
    return sink.OnMenuEvent(event.p, &bubble);
  }
  Strings messages(std::u16string_view function) const { return messagesOf(log, function); }
  bool logged(int level, std::u16string_view message) const { return log.has(level, message); }

  RecordingLogger log;
  FakeHost host;
  Hooks hooks;
  TestAddOn addOn;
  TestDispatch dispatch;
  CQXEventSink sink;
  TestForm* form = nullptr;
  short bubble = -1;
};

// Item events.

TEST_F(EventHandlersTest, ItemEventGoesToTheFormOfItsUid) {
  EXPECT_EQ(item(kClick, kBefore), 0);
  EXPECT_THAT(host.calls, ElementsAre("F1.OnItemEvent"));
  EXPECT_THAT(
      messages(u"CQXEventSink::ItemEvent"),
      ElementsAre("BubbleEvent at start is -1", "Form map entry: F1", "BubbleEvent on exit is -1"));
  EXPECT_TRUE(logged(QXLoggerLib::sl_Debug1, u"BubbleEvent at start is -1"));
  EXPECT_TRUE(logged(QXLoggerLib::sl_Debug2, u"Form map entry: F1"));
  EXPECT_TRUE(logged(QXLoggerLib::sl_Debug1, u"BubbleEvent on exit is -1"));
}

TEST_F(EventHandlersTest, ItemEventLogsAllFormsInTheOrderOfTheirUids) {
  TestForm last(host, &addOn, &host.addForm(u"F3"));
  TestForm middle(host, &addOn, &host.addForm(u"F2"));
  sink.RegisterForm(&last);
  sink.RegisterForm(&middle);
  item(kClick, kBefore);
  EXPECT_THAT(messages(u"CQXEventSink::ItemEvent"),
              ElementsAre("BubbleEvent at start is -1", "Form map entry: F1", "Form map entry: F2",
                          "Form map entry: F3", "BubbleEvent on exit is -1"));
}

TEST_F(EventHandlersTest, ItemEventRefusesANullOrEmptyUidAndANullEvent) {
  const auto event = makeObject<FakeItemEvent>(kClick, kBefore);
  EXPECT_EQ(sink.ItemEvent(nullptr, event.p, &bubble), E_INVALIDARG);
  EXPECT_EQ(sink.ItemEvent(CComBSTR(u""), event.p, &bubble), E_INVALIDARG);
  EXPECT_EQ(sink.ItemEvent(CComBSTR(u"F1"), nullptr, &bubble), E_INVALIDARG);
  EXPECT_THAT(host.calls, IsEmpty());
}

TEST_F(EventHandlersTest, ItemEventRefusesAnObjectThatIsNoItemEvent) {
  EXPECT_EQ(sink.ItemEvent(CComBSTR(u"F1"), makeObject<FakeObject>().p, &bubble), E_POINTER);
  EXPECT_THAT(host.calls, IsEmpty());
}

TEST_F(EventHandlersTest, ItemEventThatCannotBeReadGoesToNobody) {
  const auto event = makeObject<FakeItemEvent>(kClick, kBefore);
  event->refusal = E_ACCESSDENIED;
  EXPECT_EQ(sink.ItemEvent(CComBSTR(u"F1"), event.p, &bubble), E_ACCESSDENIED);
  EXPECT_THAT(host.calls, IsEmpty());
  EXPECT_TRUE(log.has(u"BubbleEvent on exit is -1"));
}

TEST_F(EventHandlersTest, FormLoadOfAnUnregisteredFormGoesToTheAddOnAfterTheAction) {
  EXPECT_EQ(item(kFormLoad, kAfter, u"HOST1"), 0);
  EXPECT_THAT(host.calls, ElementsAre("OnFormLoad"));
}

TEST_F(EventHandlersTest, FormLoadOfAnUnregisteredFormBeforeTheActionCallsNobody) {
  EXPECT_EQ(item(kFormLoad, kBefore, u"HOST1"), 0);
  EXPECT_THAT(host.calls, IsEmpty());
}

TEST_F(EventHandlersTest, OtherEventsOfUnregisteredFormsCallNobody) {
  EXPECT_EQ(item(kClick, kAfter, u"HOST1"), 0);
  EXPECT_THAT(host.calls, IsEmpty());
}

TEST_F(EventHandlersTest, FormLoadOfARegisteredFormGoesToTheForm) {
  EXPECT_EQ(item(kFormLoad, kAfter), 0);
  EXPECT_THAT(host.calls, ElementsAre("F1.OnItemEvent"));
}

TEST_F(EventHandlersTest, ANegativeResultOfFormOrAddOnBecomesOneInItemEvents) {
  form->hooks["OnItemEvent"] = giving(E_FAIL);
  hooks["OnFormLoad"] = giving(E_FAIL);
  EXPECT_EQ(item(kClick, kAfter), 1);
  EXPECT_EQ(item(kFormLoad, kAfter, u"HOST1"), 1);
}

TEST_F(EventHandlersTest, APositiveResultOfAFormStays) {
  form->hooks["OnItemEvent"] = giving(3);
  EXPECT_EQ(item(kClick, kAfter), 3);
}

TEST_F(EventHandlersTest, WhateverAFormThrowsEndsInTheItemEvent) {
  for (const auto& [what, thrower] : throwers()) {
    log.records.clear();
    form->hooks["OnItemEvent"] = thrower;
    EXPECT_EQ(item(kClick, kBefore), 1) << what;
    EXPECT_TRUE(logged(1, u"Form F1 threw exception")) << what;
  }
  form->hooks.clear();
  EXPECT_EQ(item(kClick, kBefore), 0) << "the form stays registered";
}

TEST_F(EventHandlersTest, WhateverOnFormLoadThrowsEndsInTheItemEvent) {
  for (const auto& [what, thrower] : throwers()) {
    log.records.clear();
    hooks["OnFormLoad"] = thrower;
    EXPECT_EQ(item(kFormLoad, kAfter, u"HOST1"), 1) << what;
    EXPECT_TRUE(logged(1, u"Add-on's OnFormLoad threw exception")) << what;
  }
}

TEST_F(EventHandlersTest, AFormThatVetoesAndThrowsLeavesTheVetoAndOne) {
  form->hooks["OnItemEvent"] = [](short* veto) -> long {
    *veto = 0;
    throw 42;
  };
  EXPECT_EQ(item(kClick, kBefore), 1);
  EXPECT_EQ(bubble, 0);
}

TEST_F(EventHandlersTest, AVetoThatComesInStaysWhateverTheFormWrites) {
  form->hooks["OnItemEvent"] = setting(-1);
  bubble = 0;
  item(kClick, kBefore);
  EXPECT_EQ(bubble, 0);
}

TEST_F(EventHandlersTest, AVetoThatComesInStaysAlsoWhenTheFormThrows) {
  form->hooks["OnItemEvent"] = [](short* veto) -> long {
    *veto = -1;
    throw ForeignThing();
  };
  bubble = 0;
  EXPECT_EQ(item(kClick, kBefore), 1);
  EXPECT_EQ(bubble, 0);
}

TEST_F(EventHandlersTest, AVetoThatComesInStaysWhateverOnFormLoadWrites) {
  hooks["OnFormLoad"] = setting(-1);
  bubble = 0;
  item(kFormLoad, kAfter, u"HOST1");
  EXPECT_EQ(bubble, 0);
}

TEST_F(EventHandlersTest, FormUnloadEndsAndDeletesTheForm) {
  EXPECT_EQ(item(kFormUnload, kAfter), 0);
  EXPECT_THAT(host.calls, ElementsAre("F1.OnItemEvent", "F1.OnUnloadForm", "F1.~Form"));
  host.calls.push_back("again");
  EXPECT_EQ(item(kFormUnload, kAfter), 0);
  EXPECT_EQ(host.calls.back(), "again");
}

TEST_F(EventHandlersTest, FormUnloadEndsTheFormOnWhicheverSideOfTheActionItComesFirst) {
  EXPECT_EQ(item(kFormUnload, kBefore), 0);
  EXPECT_EQ(item(kFormUnload, kAfter), 0);
  EXPECT_THAT(host.calls, ElementsAre("F1.OnItemEvent", "F1.OnUnloadForm", "F1.~Form"));
}

TEST_F(EventHandlersTest, FormUnloadDeletesAFormThatThrows) {
  for (const auto& [what, thrower] : throwers()) {
    auto* const each = new TestForm(host, &addOn, &host.addForm(u"F2"));
    sink.RegisterForm(each);
    each->hooks["OnItemEvent"] = thrower;
    each->hooks["OnUnloadForm"] = thrower;
    host.calls.clear();
    log.records.clear();
    EXPECT_EQ(item(kFormUnload, kAfter, u"F2"), 1) << what;
    EXPECT_THAT(host.calls, ElementsAre("F2.OnItemEvent", "F2.OnUnloadForm", "F2.~Form")) << what;
    EXPECT_THAT(messages(u"CQXEventSink::ItemEvent"),
                ElementsAre("BubbleEvent at start is -1", "Form map entry: F1",
                            "Form map entry: F2", "Form F2 threw exception",
                            "Form F2 threw exception", "BubbleEvent on exit is -1"))
        << what;
  }
}

TEST_F(EventHandlersTest, AFormThatClosesItselfLivesUntilItsOwnCallReturns) {
  form->hooks["OnItemEvent"] = [this](short*) {
    form->hooks.clear();
    item(kFormUnload, kAfter);  // as the host does inside Close
    host.calls.emplace_back("back in the form");
    return 0L;
  };
  EXPECT_EQ(item(kClick, kAfter), 0);
  EXPECT_THAT(host.calls, ElementsAre("F1.OnItemEvent", "F1.OnItemEvent", "F1.OnUnloadForm",
                                      "back in the form", "F1.~Form"));
}

TEST_F(EventHandlersTest, AFormUnloadedInsideItsUnloadIsEndedOnce) {
  form->hooks["OnItemEvent"] = [this](short*) {
    form->hooks.clear();
    return item(kFormUnload, kAfter);
  };
  EXPECT_EQ(item(kFormUnload, kAfter), 0);
  EXPECT_THAT(host.calls,
              ElementsAre("F1.OnItemEvent", "F1.OnItemEvent", "F1.OnUnloadForm", "F1.~Form"));
}

TEST_F(EventHandlersTest, AStopInsideAnItemEventLetsTheEventEnd) {
  form->hooks["OnItemEvent"] = [this](short*) {
    sink.UnadviseEvents();
    return 0L;
  };
  EXPECT_EQ(item(kFormUnload, kAfter), 0);
  EXPECT_THAT(host.calls, ElementsAre("F1.OnItemEvent", "F1.OnUnloadForm", "F1.~Form"));
}

TEST_F(EventHandlersTest, AFormUnloadedInsideItsUnloadHookIsEndedOnce) {
  form->hooks["OnUnloadForm"] = [this](short*) {
    form->hooks.clear();
    return item(kFormUnload, kAfter);
  };
  EXPECT_EQ(item(kFormUnload, kAfter), 0);
  EXPECT_THAT(host.calls,
              ElementsAre("F1.OnItemEvent", "F1.OnUnloadForm", "F1.OnItemEvent", "F1.~Form"));
}

TEST_F(EventHandlersTest, RightClickAndFormDataLeaveAVetoThatStands) {
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

// Menu events.

TEST_F(EventHandlersTest, NullMenuEventIsOneWithoutAScope) {
  EXPECT_EQ(sink.OnMenuEvent(nullptr, &bubble), 1);
  EXPECT_TRUE(log.records.empty());
}

TEST_F(EventHandlersTest, MenuEventGoesToTheSelectedFormAndThenToTheAddOn) {
  EXPECT_EQ(menu(u"1281"), 0);
  EXPECT_THAT(host.calls, ElementsAre("F1.OnMenuEvent", "OnMenuEvent"));
  EXPECT_THAT(messages(u"CQXEventSink::OnMenuEvent"),
              ElementsAre("BubbleEvent at start is -1", "Menu: 1281 Action: Before",
                          "OuterEvent: 1281", "BubbleEvent on exit is -1"));
  EXPECT_TRUE(logged(QXLoggerLib::sl_Debug1, u"Menu: 1281 Action: Before"));
  EXPECT_TRUE(logged(QXLoggerLib::sl_Debug0, u"OuterEvent: 1281"));
}

TEST_F(EventHandlersTest, MenuEventLogsAnEmptyUidAsQuotesAndTheInnerFlag) {
  const auto event = makeObject<FakeMenuEvent>(u"", kAfter, true);
  sink.OnMenuEvent(event.p, &bubble);
  EXPECT_THAT(messages(u"CQXEventSink::OnMenuEvent"),
              ElementsAre("BubbleEvent at start is -1", "Menu: '' Action: After",
                          "InnerEvent: ", "BubbleEvent on exit is -1"));
}

TEST_F(EventHandlersTest, MenuEventThatCannotBeReadIsAnInvalidArgument) {
  const auto event = makeObject<FakeMenuEvent>(u"1281", kBefore);
  event->refusal = E_ACCESSDENIED;
  EXPECT_EQ(sink.OnMenuEvent(event.p, &bubble), E_INVALIDARG);
  EXPECT_THAT(host.calls, IsEmpty());
  EXPECT_TRUE(log.has(u"BubbleEvent on exit is -1"));
}

TEST_F(EventHandlersTest, MenuEventWithoutAnyFormGoesToTheAddOnAlone) {
  host.forms.clear();
  EXPECT_EQ(menu(u"1281"), 0);
  EXPECT_THAT(host.calls, ElementsAre("OnMenuEvent"));
}

TEST_F(EventHandlersTest, MenuEventOnAFormOfTheHostGoesToTheAddOnAlone) {
  host.forms[0]->selected = false;
  host.addForm(u"HOST1", true);
  EXPECT_EQ(menu(u"1281"), 0);
  EXPECT_THAT(host.calls, ElementsAre("OnMenuEvent"));
}

TEST_F(EventHandlersTest, AVetoOfTheFormKeepsTheMenuEventFromTheAddOn) {
  form->hooks["OnMenuEvent"] = setting(0);
  EXPECT_EQ(menu(u"1281"), 0);
  EXPECT_THAT(host.calls, ElementsAre("F1.OnMenuEvent"));
  EXPECT_EQ(bubble, 0);
}

TEST_F(EventHandlersTest, AVetoOfTheHostKeepsTheMenuEventFromTheAddOn) {
  form->hooks["OnMenuEvent"] = setting(-1);
  bubble = 0;
  menu(u"1281");
  EXPECT_THAT(host.calls, ElementsAre("F1.OnMenuEvent"));
  EXPECT_EQ(bubble, 0);
}

TEST_F(EventHandlersTest, TheAddOnMayVetoAMenuEvent) {
  hooks["OnMenuEvent"] = setting(0, 4);
  EXPECT_EQ(menu(u"1281"), 4);
  EXPECT_EQ(bubble, 0);
}

TEST_F(EventHandlersTest, WhateverTheFormThrowsTheMenuEventStillGoesToTheAddOn) {
  for (const auto& [what, thrower] : throwers()) {
    host.calls.clear();
    log.records.clear();
    form->hooks["OnMenuEvent"] = thrower;
    EXPECT_EQ(menu(u"1281"), 0) << what;
    EXPECT_THAT(host.calls, ElementsAre("F1.OnMenuEvent", "OnMenuEvent")) << what;
    EXPECT_TRUE(logged(1, u"Form F1 threw exception")) << what;
  }
}

TEST_F(EventHandlersTest, WhateverTheAddOnThrowsEndsInTheMenuEvent) {
  for (const auto& [what, thrower] : throwers()) {
    log.records.clear();
    hooks["OnMenuEvent"] = thrower;
    EXPECT_EQ(menu(u"1281"), 1) << what;
    EXPECT_TRUE(logged(1, u"Add-on's OnMenuEvent threw exception")) << what;
  }
}

TEST_F(EventHandlersTest, QuitEntryStopsTheAddOnAfterTheActionOnly) {
  EXPECT_EQ(menu(u"QX_550", kBefore), 0);
  EXPECT_THAT(host.calls, IsEmpty());
  EXPECT_EQ(menu(u"QX_550", kAfter), 0);
  EXPECT_EQ(host.calls.front(), "OnApplicationUnload");
  EXPECT_EQ(messages(u"CQXEventSink::OnMenuEvent").back(), "BubbleEvent on exit is -1");
  host.calls.clear();
  EXPECT_EQ(menu(u"1281"), 0);
  EXPECT_THAT(host.calls, IsEmpty());
}

TEST_F(EventHandlersTest, LogSettingsEntryWithoutAFormLogsTheError) {
  EXPECT_EQ(menu(u"QX_551", kBefore), 0);
  EXPECT_TRUE(logged(1, u"Failed to create instance of CFrmLogSettings.\n"));
  EXPECT_EQ(messages(u"CQXEventSink::OnMenuEvent").back(), "BubbleEvent on exit is -1");
  EXPECT_THAT(host.calls, IsEmpty());
}

TEST_F(EventHandlersTest, LogSettingsEntryOpensTheFormBeforeTheActionAndVetoes) {
  static CQXAddOn* openedFor;
  openedFor = nullptr;
  CQXEventSink::SetLogSettingsOpener(
      [](CQXAddOn* forAddOn, CComPtr<IApplication> application, CComPtr<ICompany>) {
        openedFor = application == nullptr ? nullptr : forAddOn;
        return 0L;
      });
  EXPECT_EQ(menu(u"QX_551", kAfter), 0);
  EXPECT_EQ(openedFor, nullptr);
  EXPECT_EQ(bubble, -1);
  EXPECT_EQ(menu(u"QX_551", kBefore), 0);
  EXPECT_EQ(openedFor, &addOn);
  EXPECT_EQ(bubble, 0);
  EXPECT_THAT(host.calls, IsEmpty());
}

TEST_F(EventHandlersTest, LogSettingsFormThatCannotBeCreatedIsLogged) {
  CQXEventSink::SetLogSettingsOpener([](CQXAddOn*, CComPtr<IApplication>,
                                        CComPtr<ICompany>) -> long { raiseError(E_ACCESSDENIED); });
  EXPECT_EQ(menu(u"QX_551", kBefore), E_ACCESSDENIED);
  EXPECT_TRUE(logged(1, u"Failed to create FrmLogSettings form.\n"));
  EXPECT_EQ(bubble, -1);
}

// Events that go to the add-on alone.

TEST_F(EventHandlersTest, TheResultOfTheAddOnsHandlerIsTheEvents) {
  hooks["OnStatusBarEvent"] = giving(5);
  hooks["OnProgressBarEvent"] = giving(6);
  hooks["OnPrintEvent"] = giving(E_FAIL);
  hooks["OnReportDataEvent"] = giving(8);
  EXPECT_EQ(sink.StatusBarEvent(CComBSTR(u"Hello"), 3), 5);
  EXPECT_EQ(sink.ProgressBarEvent(nullptr, &bubble), 6);
  EXPECT_EQ(sink.PrintEvent(nullptr, &bubble), E_FAIL);
  EXPECT_EQ(sink.ReportDataEvent(nullptr, &bubble), 8);
}

TEST_F(EventHandlersTest, WhateverTheseHandlersThrowLeavesTheResultAsItWas) {
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

TEST_F(EventHandlersTest, AVetoThatComesInStaysForThemToo) {
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

TEST_F(EventHandlersTest, AVetoOfTheFormKeepsTheRightClickFromTheAddOn) {
  form->hooks["OnRightClickEvent"] = setting(0);
  sink.RightClickEvent(makeObject<StubContextMenuInfo>().p, &bubble);
  EXPECT_THAT(host.calls, ElementsAre("F1.OnRightClickEvent"));
}

TEST_F(EventHandlersTest, WhateverIsThrownAtARightClickIsLoggedAndOne) {
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

TEST_F(EventHandlersTest, FormDataIsZeroEvenWhenTheFormThrew) {
  for (const auto& [what, thrower] : throwers()) {
    log.records.clear();
    form->hooks["OnFormDataEvent"] = thrower;
    EXPECT_EQ(sink.FormDataEvent(makeObject<StubBusinessObjectInfo>().p, &bubble), 0) << what;
    EXPECT_TRUE(logged(1, u"Form F1 threw exception")) << what;
  }
}

TEST_F(EventHandlersTest, WithoutAHandlerOnlyTheFormsAreCalled) {
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
