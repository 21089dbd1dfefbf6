#include "qxframework/runtime/event_sink.h"

#include "qxframework/host/events.h"
#include "qxframework/logging/result_names.h"
#include "qxframework/runtime/addon_fixture.h"
#include "qxframework/runtime/framework_host_fixture.h"
#include "testing/fake_events.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qx::test {
namespace {

using testing::ElementsAre;

constexpr auto kEntering = u"Entering function\n";

class EventSinkTest : public testing::Test {
 protected:
  EventSinkTest()
      : addOn(host), dispatch(host, hooks), sink(host.application.p, &dispatch, &addOn) {
    host.application->sink = &sink;
    log.records.clear();
  }
  /// Makes the application the sink's event source, as the start does, and clears the calls.
  void advise() {
    CComBSTR identifier(u"IDENT");
    ASSERT_EQ(sink.AdviseEvents(host.application.p, identifier), 0);
    host.calls.clear();
    log.records.clear();
  }
  std::vector<std::string> messages(std::u16string_view function) const {
    return messagesOf(log, function);
  }

  RecordingLogger log;
  FrameworkHost host;
  Hooks hooks;
  TestAddOn addOn;
  TestDispatch dispatch;
  CQXEventSink sink;
  short bubble = -1;
};

TEST_F(EventSinkTest, AnswersForItsThreeInterfacesOnly) {
  for (const IID& iid : {IUnknown::kIid, IDispatch::kIid, DIID_IApplicationEvents}) {
    void* object = nullptr;
    EXPECT_EQ(sink.QueryInterface(iid, &object), S_OK);
    EXPECT_EQ(object, static_cast<IDispatch*>(&sink));
  }
  void* object = &sink;
  EXPECT_EQ(sink.QueryInterface(IApplication::kIid, &object), E_NOINTERFACE);
  EXPECT_EQ(object, nullptr);
  EXPECT_EQ(sink.QueryInterface(IUnknown::kIid, nullptr), E_POINTER);
}

TEST_F(EventSinkTest, CountsNoReferences) {
  EXPECT_EQ(sink.AddRef(), 0U);
  EXPECT_EQ(sink.Release(), 0U);
  EXPECT_EQ(sink.Release(), 0U);
}

TEST_F(EventSinkTest, HasNoTypeInformation) {
  UINT count = 9;
  EXPECT_EQ(sink.GetTypeInfoCount(&count), E_NOTIMPL);
  EXPECT_EQ(count, 0U);
  EXPECT_EQ(sink.GetTypeInfoCount(nullptr), E_NOTIMPL);
  EXPECT_EQ(sink.GetTypeInfo(0, 0, nullptr), E_NOTIMPL);
  EXPECT_EQ(sink.GetIDsOfNames(GUID{}, nullptr, 0, 0, nullptr), E_NOTIMPL);
}

struct TooFew {
  DISPID id;
  std::size_t minimum;
  const OLECHAR* message;
};

class TooFewArguments : public EventSinkTest, public testing::WithParamInterface<TooFew> {};

TEST_P(TooFewArguments, LogsTheErrorAndCallsNobody) {
  const TooFew& each = GetParam();
  for (std::size_t count = 0; count < each.minimum; ++count) {
    log.records.clear();
    EXPECT_EQ(host.fire(each.id, std::vector<VARIANT>(count)), S_OK);
    ASSERT_EQ(log.records.size(), 1U);
    EXPECT_EQ(log.records[0],
              (LogRecord{7, u"TESTADDON", 1, u"CQXEventSink::Invoke", each.message}));
  }
  EXPECT_THAT(host.calls, ElementsAre());
}

INSTANTIATE_TEST_SUITE_P(EventSink, TooFewArguments,
                         testing::Values(TooFew{100, 3, u"Too few arguments for item event"},
                                         TooFew{101, 2, u"Too few arguments for menu event"},
                                         TooFew{102, 1, u"Too few arguments for application event"},
                                         TooFew{103, 2, u"Too few arguments for status bar event"},
                                         TooFew{104, 2,
                                                u"Too few arguments for progress bar event"},
                                         TooFew{105, 2, u"Too few arguments for print event"},
                                         TooFew{106, 2, u"Too few arguments for report data event"},
                                         TooFew{107, 2, u"Too few arguments for right click event"},
                                         TooFew{108, 2, u"Too few arguments for form data event"}),
                         [](const auto& each) { return "Id" + std::to_string(each.param.id); });

TEST_F(EventSinkTest, InvokeLogsAnUnknownId) {
  EXPECT_EQ(host.fire(99, {}), S_OK);
  EXPECT_EQ(host.fire(109, {numberArg(1), numberArg(2), numberArg(3)}), S_OK);
  EXPECT_THAT(messages(u"CQXEventSink::Invoke"),
              ElementsAre("Unknown event type 99 in Invoke", "Unknown event type 109 in Invoke"));
}

TEST_F(EventSinkTest, InvokeTakesNullParametersForACallWithoutArguments) {
  EXPECT_EQ(sink.Invoke(100, GUID{}, 0, DISPATCH_METHOD, nullptr, nullptr, nullptr, nullptr), S_OK);
  EXPECT_THAT(messages(u"CQXEventSink::Invoke"), ElementsAre("Too few arguments for item event"));
}

TEST_F(EventSinkTest, InvokeDeliversEveryEventToItsHandler) {
  const CComBSTR uid(u"F1");
  const CComBSTR text(u"Saved");
  const auto item = makeObject<FakeItemEvent>(kFormLoad, false);
  const auto menu = makeObject<FakeMenuEvent>(u"1281", true);
  const auto any = makeObject<FakeObject>();
  const auto rightClick = makeObject<StubContextMenuInfo>();
  host.fire(100, {textArg(uid), objectArg(item.p), vetoArg(&bubble)});
  host.fire(101, {objectArg(menu.p), vetoArg(&bubble)});
  host.fire(102, {numberArg(kLanguageChanged)});
  host.fire(103, {textArg(text), numberArg(2)});
  host.fire(104, {objectArg(menu.p), vetoArg(&bubble)});
  host.fire(105, {objectArg(any.p), vetoArg(&bubble)});
  host.fire(106, {objectArg(any.p), vetoArg(&bubble)});
  host.fire(107, {objectArg(rightClick.p), vetoArg(&bubble)});
  host.fire(108, {objectArg(any.p), vetoArg(&bubble)});
  std::erase_if(host.calls, [](const std::string& call) {
    return call.starts_with("Form.") || call.starts_with("App.");
  });
  EXPECT_THAT(host.calls,
              ElementsAre("OnFormLoad", "OnMenuEvent", "OnChangeLanguage", "text Saved, type 2",
                          "OnStatusBarEvent", "OnProgressBarEvent", "OnPrintEvent",
                          "OnReportDataEvent", "OnRightClickEvent"));
  EXPECT_EQ(bubble, -1);
}

TEST_F(EventSinkTest, InvokePassesNullForAProgressBarObjectThatIsNotAMenuEvent) {
  const auto any = makeObject<FakeObject>();
  host.fire(104, {objectArg(any.p), vetoArg(&bubble)});
  EXPECT_THAT(host.calls, ElementsAre("no event", "OnProgressBarEvent"));
}

TEST_F(EventSinkTest, InvokeSurvivesArgumentsOfTheWrongKinds) {
  const VARIANT number = numberArg(3);
  for (DISPID id = 100; id <= 108; ++id) {
    EXPECT_EQ(host.fire(id, {number, number, number}), S_OK) << id;
    EXPECT_EQ(host.fire(id, {objectArg(nullptr), objectArg(nullptr), vetoArg(nullptr)}), S_OK)
        << id;
    EXPECT_EQ(host.fire(id, {VARIANT(), VARIANT(), VARIANT()}), S_OK) << id;
  }
}

TEST_F(EventSinkTest, InvokeAcceptsACallWithoutAVeto) {
  hooks["OnPrintEvent"] = [](short* veto) { return *veto = 0, 0L; };
  const auto any = makeObject<FakeObject>();
  EXPECT_EQ(host.fire(105, {objectArg(any.p), numberArg(0)}), S_OK);
  EXPECT_THAT(host.calls, ElementsAre("OnPrintEvent"));
}

TEST_F(EventSinkTest, InvokeReturnsZeroIfTheHostFailsBetweenTheCalls) {
  host.failures["App.GetForms"] = E_ACCESSDENIED;
  const auto menu = makeObject<FakeMenuEvent>(u"1281", true);
  EXPECT_EQ(host.fire(101, {objectArg(menu.p), vetoArg(&bubble)}), S_OK);
  EXPECT_TRUE(log.has(1, u"Event 101 failed: " + errorText(E_ACCESSDENIED) + u"\n"));
}

TEST_F(EventSinkTest, RegisterFormRefusesNull) {
  EXPECT_EQ(sink.RegisterForm(nullptr), E_INVALIDARG);
}

TEST_F(EventSinkTest, RegisterFormRefusesAFormWithoutAHostForm) {
  TestForm form(host, &addOn, nullptr);
  EXPECT_EQ(sink.RegisterForm(&form), E_POINTER);
}

TEST_F(EventSinkTest, RegisterFormLogsTheUid) {
  TestForm form(host, &addOn, &host.addForm(u"F1"));
  EXPECT_EQ(sink.RegisterForm(&form), 0);
  EXPECT_TRUE(log.has(QXLoggerLib::sl_Information, u"Registering form 'F1'\n"));
}

TEST_F(EventSinkTest, RegisterFormKeepsTheFirstFormOfAUid) {
  FakeForm& hostForm = host.addForm(u"F1", true);
  TestForm first(host, &addOn, &hostForm);
  TestForm second(host, &addOn, &hostForm);
  advise();
  EXPECT_EQ(sink.RegisterForm(&first), 0);
  EXPECT_EQ(sink.RegisterForm(&second), 0);
  CQXAddOnForm* found = nullptr;
  EXPECT_EQ(sink.GetSelectedForm(u"EXT", found), 0);
  EXPECT_EQ(found, &first);
}

TEST_F(EventSinkTest, GetSelectedFormFindsTheRegisteredFormOfTheExtension) {
  host.addForm(u"F1");
  TestForm form(host, &addOn, &host.addForm(u"F2", true));
  advise();
  sink.RegisterForm(&form);
  CQXAddOnForm* found = nullptr;
  EXPECT_EQ(sink.GetSelectedForm(u"EXT", found), 0);
  EXPECT_EQ(found, &form);
  EXPECT_TRUE(log.has(QXLoggerLib::sl_Debug0, u"Requested ExtID='EXT' Form ExtID='EXT'\n"));
}

TEST_F(EventSinkTest, GetSelectedFormTakesTheFirstFormIfNoneIsSelected) {
  TestForm form(host, &addOn, &host.addForm(u"F1"));
  host.addForm(u"F2");
  advise();
  sink.RegisterForm(&form);
  CQXAddOnForm* found = nullptr;
  EXPECT_EQ(sink.GetSelectedForm(u"EXT", found), 0);
  EXPECT_EQ(found, &form);
}

TEST_F(EventSinkTest, GetSelectedFormOfAnotherExtensionReturnsNullAndOne) {
  TestForm form(host, &addOn, &host.addForm(u"F1", true));
  advise();
  sink.RegisterForm(&form);
  CQXAddOnForm* found = &form;
  EXPECT_EQ(sink.GetSelectedForm(u"OTHER", found), 1);
  EXPECT_EQ(found, nullptr);
}

TEST_F(EventSinkTest, GetSelectedFormLeavesTheOutputUnchangedForAFormOfTheHost) {
  TestForm form(host, &addOn, nullptr);
  host.addForm(u"F1", true);
  advise();
  CQXAddOnForm* found = &form;
  EXPECT_EQ(sink.GetSelectedForm(u"EXT", found), 1);
  EXPECT_EQ(found, &form);
}

TEST_F(EventSinkTest, GetSelectedFormReturnsOneWithoutForms) {
  advise();
  CQXAddOnForm* found = nullptr;
  EXPECT_EQ(sink.GetSelectedForm(u"EXT", found), 1);
  EXPECT_TRUE(log.has(QXLoggerLib::sl_Information, u"No selected form found.\n"));
}

TEST_F(EventSinkTest, GetSelectedFormWarnsAboutAFormWithoutAnExtension) {
  TestForm form(host, &addOn, &host.addForm(u"F1", true));
  form.setExtId(u"");
  advise();
  sink.RegisterForm(&form);
  CQXAddOnForm* found = nullptr;
  EXPECT_EQ(sink.GetSelectedForm(u"EXT", found), 1);
  EXPECT_TRUE(
      log.has(QXLoggerLib::sl_Warning,
              u"Form does not provide ExtID. Developer note: use rather DECLARE_XML_FORM_EX.\n"));
  EXPECT_EQ(sink.GetSelectedForm(u"", found), 0);
  EXPECT_EQ(found, &form);
}

TEST_F(EventSinkTest, EveryEventReturnsZeroWithoutAScopeAfterTheStop) {
  TestForm form(host, &addOn, &host.addForm(u"F1", true));
  advise();
  sink.RegisterForm(&form);
  sink.UnadviseEvents();
  host.calls.clear();
  log.records.clear();
  const auto item = makeObject<FakeItemEvent>(kClick, true);
  const auto menu = makeObject<FakeMenuEvent>(u"1281", true);
  const CComBSTR uid(u"F1");
  for (DISPID id = 100; id <= 108; ++id) {
    host.fire(id, {textArg(uid), objectArg(item.p), vetoArg(&bubble)});
  }
  EXPECT_EQ(sink.ItemEvent(uid, item.p, &bubble), 0);
  EXPECT_EQ(sink.OnMenuEvent(menu.p, &bubble), 0);
  EXPECT_EQ(sink.OnMenuEvent(nullptr, &bubble), 0);
  EXPECT_EQ(sink.OnAppEvent(kShutDown), 0);
  EXPECT_THAT(host.calls, ElementsAre());
  EXPECT_TRUE(log.records.empty());
}

TEST_F(EventSinkTest, EveryHandlerHasAScopeOfItsName) {
  const auto any = makeObject<FakeObject>();
  const auto menu = makeObject<FakeMenuEvent>(u"1281", true);
  sink.ItemEvent(nullptr, nullptr, &bubble);
  sink.OnMenuEvent(menu.p, &bubble);
  sink.OnAppEvent(1);
  sink.StatusBarEvent(nullptr, 0);
  sink.ProgressBarEvent(nullptr, &bubble);
  sink.PrintEvent(any.p, &bubble);
  sink.ReportDataEvent(any.p, &bubble);
  sink.RightClickEvent(nullptr, &bubble);
  sink.FormDataEvent(nullptr, &bubble);
  std::vector<std::string> scopes;
  for (const LogRecord& record : log.records) {
    if (record.message == kEntering) scopes.push_back(toUtf8(record.function));
  }
  EXPECT_THAT(scopes, ElementsAre("CQXEventSink::ItemEvent", "CQXEventSink::OnMenuEvent",
                                  "CQXEventSink::OnAppEvent", "CQXEventSink::StatusBarEvent",
                                  "CQXEventSink::ProgressBarEvent", "CQXEventSink::PrintEvent",
                                  "CQXEventSink::ReportDataEvent", "CQXEventSink::RightClickEvent",
                                  "CQXEventSink::FormDataEvent"));
  for (const LogRecord& record : log.records) EXPECT_EQ(record.appId, 7);
}

}  // namespace
}  // namespace qx::test
