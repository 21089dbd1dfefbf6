#include "qxframework/runtime/event_handlers_fixture.h"

namespace qx::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(EventHandlersTest, NullMenuEventReturnsOneWithoutAScope) {
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

TEST_F(EventHandlersTest, MenuEventWithoutFormsGoesToTheAddOn) {
  host.application->forms.clear();
  EXPECT_EQ(menu(u"1281"), 0);
  EXPECT_THAT(host.calls, ElementsAre("OnMenuEvent"));
}

TEST_F(EventHandlersTest, MenuEventOnAFormOfTheHostGoesToTheAddOn) {
  host.application->forms[0]->selected = false;
  host.addForm(u"HOST1", true);
  EXPECT_EQ(menu(u"1281"), 0);
  EXPECT_THAT(host.calls, ElementsAre("OnMenuEvent"));
}

TEST_F(EventHandlersTest, VetoOfTheFormKeepsTheMenuEventFromTheAddOn) {
  form->hooks["OnMenuEvent"] = setting(0);
  EXPECT_EQ(menu(u"1281"), 0);
  EXPECT_THAT(host.calls, ElementsAre("F1.OnMenuEvent"));
  EXPECT_EQ(bubble, 0);
}

TEST_F(EventHandlersTest, VetoOfTheHostKeepsTheMenuEventFromTheAddOn) {
  form->hooks["OnMenuEvent"] = setting(-1);
  bubble = 0;
  menu(u"1281");
  EXPECT_THAT(host.calls, ElementsAre("F1.OnMenuEvent"));
  EXPECT_EQ(bubble, 0);
}

TEST_F(EventHandlersTest, AddOnCanVetoAMenuEvent) {
  hooks["OnMenuEvent"] = setting(0, 4);
  EXPECT_EQ(menu(u"1281"), 4);
  EXPECT_EQ(bubble, 0);
}

TEST_F(EventHandlersTest, MenuEventReachesTheAddOnEvenIfTheFormThrows) {
  for (const auto& [what, thrower] : throwers()) {
    host.calls.clear();
    log.records.clear();
    form->hooks["OnMenuEvent"] = thrower;
    EXPECT_EQ(menu(u"1281"), 0) << what;
    EXPECT_THAT(host.calls, ElementsAre("F1.OnMenuEvent", "OnMenuEvent")) << what;
    EXPECT_TRUE(logged(1, u"Form F1 threw exception")) << what;
  }
}

TEST_F(EventHandlersTest, ExceptionOfTheAddOnEndsInTheMenuEvent) {
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

TEST_F(EventHandlersTest, FailureToCreateTheLogSettingsFormIsLogged) {
  CQXEventSink::SetLogSettingsOpener([](CQXAddOn*, CComPtr<IApplication>,
                                        CComPtr<ICompany>) -> long { raiseError(E_ACCESSDENIED); });
  EXPECT_EQ(menu(u"QX_551", kBefore), E_ACCESSDENIED);
  EXPECT_TRUE(logged(1, u"Failed to create FrmLogSettings form.\n"));
  EXPECT_EQ(bubble, -1);
}

}  // namespace
}  // namespace qx::test
