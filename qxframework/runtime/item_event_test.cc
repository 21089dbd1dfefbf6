#include "qxframework/runtime/event_handlers_fixture.h"

namespace qx::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

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

TEST_F(EventHandlersTest, ItemEventRefusesAnObjectOfAnotherKind) {
  EXPECT_EQ(sink.ItemEvent(CComBSTR(u"F1"), makeObject<FakeObject>().p, &bubble), E_POINTER);
  EXPECT_THAT(host.calls, IsEmpty());
}

TEST_F(EventHandlersTest, ItemEventThatCannotBeReadIsNotDelivered) {
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

TEST_F(EventHandlersTest, FormLoadOfAnUnregisteredFormBeforeTheActionIsNotDelivered) {
  EXPECT_EQ(item(kFormLoad, kBefore, u"HOST1"), 0);
  EXPECT_THAT(host.calls, IsEmpty());
}

TEST_F(EventHandlersTest, OtherEventsOfUnregisteredFormsAreNotDelivered) {
  EXPECT_EQ(item(kClick, kAfter, u"HOST1"), 0);
  EXPECT_THAT(host.calls, IsEmpty());
}

TEST_F(EventHandlersTest, FormLoadOfARegisteredFormGoesToTheForm) {
  EXPECT_EQ(item(kFormLoad, kAfter), 0);
  EXPECT_THAT(host.calls, ElementsAre("F1.OnItemEvent"));
}

TEST_F(EventHandlersTest, NegativeResultBecomesOneInItemEvents) {
  form->hooks["OnItemEvent"] = giving(E_FAIL);
  hooks["OnFormLoad"] = giving(E_FAIL);
  EXPECT_EQ(item(kClick, kAfter), 1);
  EXPECT_EQ(item(kFormLoad, kAfter, u"HOST1"), 1);
}

TEST_F(EventHandlersTest, PositiveResultOfAFormIsKept) {
  form->hooks["OnItemEvent"] = giving(3);
  EXPECT_EQ(item(kClick, kAfter), 3);
}

TEST_F(EventHandlersTest, ExceptionOfAFormEndsInTheItemEvent) {
  for (const auto& [what, thrower] : throwers()) {
    log.records.clear();
    form->hooks["OnItemEvent"] = thrower;
    EXPECT_EQ(item(kClick, kBefore), 1) << what;
    EXPECT_TRUE(logged(1, u"Form F1 threw exception")) << what;
  }
  form->hooks.clear();
  EXPECT_EQ(item(kClick, kBefore), 0) << "the form stays registered";
}

TEST_F(EventHandlersTest, ExceptionOfOnFormLoadEndsInTheItemEvent) {
  for (const auto& [what, thrower] : throwers()) {
    log.records.clear();
    hooks["OnFormLoad"] = thrower;
    EXPECT_EQ(item(kFormLoad, kAfter, u"HOST1"), 1) << what;
    EXPECT_TRUE(logged(1, u"Add-on's OnFormLoad threw exception")) << what;
  }
}

TEST_F(EventHandlersTest, FormThatVetoesAndThrowsKeepsTheVeto) {
  form->hooks["OnItemEvent"] = [](short* veto) -> long {
    *veto = 0;
    throw 42;
  };
  EXPECT_EQ(item(kClick, kBefore), 1);
  EXPECT_EQ(bubble, 0);
}

TEST_F(EventHandlersTest, FormCannotTakeAVetoBack) {
  form->hooks["OnItemEvent"] = setting(-1);
  bubble = 0;
  item(kClick, kBefore);
  EXPECT_EQ(bubble, 0);
}

TEST_F(EventHandlersTest, FormThatThrowsCannotTakeAVetoBack) {
  form->hooks["OnItemEvent"] = [](short* veto) -> long {
    *veto = -1;
    throw ForeignThing();
  };
  bubble = 0;
  EXPECT_EQ(item(kClick, kBefore), 1);
  EXPECT_EQ(bubble, 0);
}

TEST_F(EventHandlersTest, OnFormLoadCannotTakeAVetoBack) {
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

TEST_F(EventHandlersTest, FormUnloadEndsTheFormBeforeOrAfterTheAction) {
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

TEST_F(EventHandlersTest, FormThatClosesItselfLivesUntilItsCallReturns) {
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

TEST_F(EventHandlersTest, FormUnloadedInsideItsUnloadEventEndsOnce) {
  form->hooks["OnItemEvent"] = [this](short*) {
    form->hooks.clear();
    return item(kFormUnload, kAfter);
  };
  EXPECT_EQ(item(kFormUnload, kAfter), 0);
  EXPECT_THAT(host.calls,
              ElementsAre("F1.OnItemEvent", "F1.OnItemEvent", "F1.OnUnloadForm", "F1.~Form"));
}

TEST_F(EventHandlersTest, StopInsideAnItemEventLetsTheEventFinish) {
  form->hooks["OnItemEvent"] = [this](short*) {
    sink.UnadviseEvents();
    return 0L;
  };
  EXPECT_EQ(item(kFormUnload, kAfter), 0);
  EXPECT_THAT(host.calls, ElementsAre("F1.OnItemEvent", "F1.OnUnloadForm", "F1.~Form"));
}

TEST_F(EventHandlersTest, FormUnloadedInsideItsUnloadHookEndsOnce) {
  form->hooks["OnUnloadForm"] = [this](short*) {
    form->hooks.clear();
    return item(kFormUnload, kAfter);
  };
  EXPECT_EQ(item(kFormUnload, kAfter), 0);
  EXPECT_THAT(host.calls,
              ElementsAre("F1.OnItemEvent", "F1.OnUnloadForm", "F1.OnItemEvent", "F1.~Form"));
}

}  // namespace
}  // namespace qx::test
