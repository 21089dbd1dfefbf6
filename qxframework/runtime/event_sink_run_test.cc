#include "qxframework/host/events.h"
#include "qxframework/logging/result_names.h"
#include "qxframework/os/message_loop.h"
#include "qxframework/os/module.h"
#include "qxframework/runtime/addon_fixture.h"
#include "qxframework/runtime/event_sink.h"
#include "qxframework/runtime/framework_host_fixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

namespace qx::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Strings = std::vector<std::string>;

const std::set<std::string> kVersionTableWork{"SQL",    "Recordset", "Tables",
                                              "Fields", "StatusBar", "Bar"};

Hook giving(long result) {
  return [result](short*) { return result; };
}

class EventSinkRunTest : public testing::Test {
 protected:
  static constexpr long kAppId = 7;

  EventSinkRunTest()
      : addOn(host), dispatch(host, hooks), sink(host.application.p, &dispatch, &addOn) {
    host.application->appId = kAppId;
    CQXAddOn::IncAttachCount(kAppId);
    log.records.clear();
  }
  ~EventSinkRunTest() override {
    while (CQXAddOn::GetAttachCount(kAppId) > 0) CQXAddOn::DecAttachCount(kAppId);
  }
  long advise() { return sink.AdviseEvents(host.application.p, identifier); }
  void run() {
    ASSERT_EQ(advise(), 0);
    host.calls.clear();
    log.records.clear();
  }
  /// Returns the calls without the work on the version table and without the XML of the batches.
  Strings steps() const {
    Strings out;
    for (const std::string& call : host.calls) {
      const std::string object = call.substr(0, call.find_first_of(".("));
      if (kVersionTableWork.contains(object)) continue;
      if (call.starts_with("App.LoadBatchActions")) {
        const bool adds = call.find("\"add\"") != std::string::npos;
        out.emplace_back(adds ? "add menu" : "remove menu");
      } else {
        out.push_back(call);
      }
    }
    return out;
  }
  Strings messages(std::u16string_view function) const { return messagesOf(log, function); }

  RecordingLogger log;
  FrameworkHost host;
  Hooks hooks;
  TestAddOn addOn;
  TestDispatch dispatch;
  CQXEventSink sink;
  CComBSTR identifier{u"IDENT"};
};

// The start.

TEST_F(EventSinkRunTest, AdviseEventsRunsTheStartInItsOrder) {
  EXPECT_EQ(advise(), 0);
  EXPECT_THAT(steps(), ElementsAre("Company.PutLanguage(3)", "Company.PutUiApplication(app)",
                                   "Company.Connect", "Form.Freeze(-1)", "add menu",
                                   "Form.Freeze(0)", "Form.Update", "ConnectionPoint.Advise",
                                   "OnApplicationLoad", "App.PutStartupDone(-1)"));
  EXPECT_THAT(messages(u"CQXEventSink::AdviseEvents"),
              ElementsAre("Entering critical section....", "Leaving critical section...."));
  EXPECT_THAT(messages(u"CQXEventSink::LoadApplication"), ElementsAre("Add-on started.\n"));
  EXPECT_EQ(host.application->sink, &sink);
}

TEST_F(EventSinkRunTest, AdviseEventsReadsTheApplicationNumberAgain) {
  host.application->appId = 9;
  EXPECT_EQ(advise(), 0);
  EXPECT_EQ(log.records.front().appId, 7);
  EXPECT_TRUE(std::any_of(log.records.begin(), log.records.end(), [](const LogRecord& record) {
    return record.message == u"Add-on started.\n" && record.appId == 9;
  }));
}

TEST_F(EventSinkRunTest, AdviseEventsRefusesANullApplication) {
  EXPECT_EQ(sink.AdviseEvents(nullptr, identifier), E_INVALIDARG);
  EXPECT_THAT(host.calls, IsEmpty());
  EXPECT_THAT(messages(u"CQXEventSink::AdviseEvents"),
              ElementsAre("Entering critical section....", "Event source is null.",
                          "Failed to connect to the database."));
}

TEST_F(EventSinkRunTest, AdviseEventsStopsWithoutACompany) {
  host.failures["Company.Connect"] = E_FAIL;
  host.company->errorText = u"No";
  EXPECT_EQ(advise(), QX_E_CONNECTION);
  EXPECT_THAT(steps(), ElementsAre("Company.PutLanguage(3)", "Company.PutUiApplication(app)",
                                   "Company.Connect", "App.MessageBox(No, 1, OK, , )"));
  EXPECT_THAT(messages(u"CQXEventSink::AdviseEvents"),
              ElementsAre("Entering critical section....", "Failed to connect to the database."));
}

TEST_F(EventSinkRunTest, AFailedDatabaseCheckSkipsTheMenuButNotOnApplicationLoad) {
  host.setVersion(u"9.20.00.01", u"Upgrading");
  EXPECT_EQ(advise(), 0);
  const Strings calls = steps();
  EXPECT_EQ(std::count(calls.begin(), calls.end(), "add menu"), 0);
  const Strings end(calls.end() - 3, calls.end());
  EXPECT_THAT(end,
              ElementsAre("ConnectionPoint.Advise", "OnApplicationLoad", "App.PutStartupDone(-1)"));
}

TEST_F(EventSinkRunTest, StartGoesOnIfTheMenuCannotBeBuilt) {
  host.failures["App.LoadBatchActions"] = E_FAIL;
  EXPECT_EQ(advise(), 0);
  EXPECT_TRUE(log.has(1, u"Failed to create add-on menu tree!"));
  EXPECT_TRUE(host.called("OnApplicationLoad"));
}

TEST_F(EventSinkRunTest, MissingConnectionPointStopsTheStart) {
  host.failures["App.FindConnectionPoint"] = CONNECT_E_NOCONNECTION;
  EXPECT_EQ(advise(), CONNECT_E_NOCONNECTION);
  EXPECT_FALSE(host.called("OnApplicationLoad"));
  EXPECT_TRUE(
      log.has(1, u"DispEventAdvise failed [" + errorText(CONNECT_E_NOCONNECTION) + u"] \n"));
  EXPECT_EQ(messages(u"CQXEventSink::AdviseEvents").back(), "Leaving critical section....");
}

TEST_F(EventSinkRunTest, RefusedAdviseStopsTheStart) {
  host.failures["ConnectionPoint.Advise"] = CONNECT_E_ADVISELIMIT;
  EXPECT_EQ(advise(), CONNECT_E_ADVISELIMIT);
  EXPECT_FALSE(host.called("OnApplicationLoad"));
}

std::string setUpBox() {
  return "App.MessageBox(Set-up function of add-on failed (" + toUtf8(modulePath(nullptr)) +
         "), 1, OK, , )";
}

TEST_F(EventSinkRunTest, FailedOnApplicationLoadEndsTheRun) {
  hooks["OnApplicationLoad"] = giving(E_ACCESSDENIED);
  EXPECT_EQ(advise(), E_ACCESSDENIED);
  const Strings calls = steps();
  const Strings end(calls.end() - 4, calls.end());
  EXPECT_THAT(end, ElementsAre("OnApplicationLoad", setUpBox(), "remove menu",
                               "ConnectionPoint.Unadvise(5)"));
  EXPECT_TRUE(log.has(QXLoggerLib::sl_Warning, u"OnApplicationLoad failed.\n"));
  EXPECT_EQ(host.liveCompanies, 0);
}

TEST_F(EventSinkRunTest, ExceptionOfOnApplicationLoadEndsTheRun) {
  for (const auto& [what, thrower] : throwers()) {
    CQXEventSink each(host.application.p, &dispatch, &addOn);
    hooks["OnApplicationLoad"] = thrower;
    log.records.clear();
    EXPECT_EQ(each.AdviseEvents(host.application.p, identifier), E_FAIL) << what;
    EXPECT_THAT(messages(u"CQXEventSink::LoadApplication"),
                ElementsAre("Exception not handled by Add-On\n", "OnApplicationLoad failed.\n"))
        << what;
    EXPECT_EQ(steps().back(), "ConnectionPoint.Unadvise(5)") << what;
  }
}

TEST_F(EventSinkRunTest, FailedOnApplicationLoadKeepsTheMenuForOtherAddOns) {
  CQXAddOn::IncAttachCount(host.application->appId);
  hooks["OnApplicationLoad"] = giving(E_FAIL);
  EXPECT_EQ(advise(), E_FAIL);
  const Strings calls = steps();
  const Strings end(calls.end() - 2, calls.end());
  EXPECT_THAT(end, ElementsAre(setUpBox(), "ConnectionPoint.Unadvise(5)"));
}

TEST_F(EventSinkRunTest, LoadResultOfOneBecomesZero) {
  hooks["OnApplicationLoad"] = giving(1);
  EXPECT_EQ(sink.LoadApplication(), 0);
  hooks["OnApplicationLoad"] = giving(2);
  EXPECT_EQ(sink.LoadApplication(), 2);
}

TEST_F(EventSinkRunTest, StartupDoneIsNotSetTwice) {
  host.application->startupDone = VARIANT_TRUE;
  EXPECT_EQ(advise(), 0);
  EXPECT_EQ(host.calls.back(), "OnApplicationLoad");
}

// The stop.

TEST_F(EventSinkRunTest, UnadviseEventsReleasesEverythingOnce) {
  TestForm form(host, &addOn, &host.addForm(u"F1", true));
  run();
  sink.RegisterForm(&form);
  const HWND window = CreateMessageWindow({});
  sink.SetWndHandle(window);
  sink.UnadviseEvents();
  EXPECT_THAT(host.calls, ElementsAre("ConnectionPoint.Unadvise(5)"));
  EXPECT_EQ(host.liveCompanies, 0) << "released, but not disconnected";
  CQXAddOnForm* found = nullptr;
  EXPECT_EQ(sink.GetSelectedForm(u"EXT", found), 1) << "the forms are forgotten";

  MSG message;
  ASSERT_TRUE(PeekMessageW(&message, PM_REMOVE));
  EXPECT_EQ(message.hwnd, window);
  EXPECT_EQ(message.message, 2U);
  EXPECT_EQ(message.wParam, 0U);
  EXPECT_EQ(message.lParam, 0);

  log.records.clear();
  sink.UnadviseEvents();
  EXPECT_FALSE(PeekMessageW(&message, PM_REMOVE));
  EXPECT_THAT(host.calls, ElementsAre("ConnectionPoint.Unadvise(5)"));
  EXPECT_TRUE(log.records.empty());
  DestroyMessageWindow(window);
}

TEST_F(EventSinkRunTest, UnadviseEventsLogsARefusal) {
  run();
  host.failures["ConnectionPoint.Unadvise"] = S_FALSE;
  sink.UnadviseEvents();
  EXPECT_TRUE(log.has(1, u"Unadvise failed for Halvex application 7"));
}

TEST_F(EventSinkRunTest, UnloadApplicationEndsTheRun) {
  run();
  EXPECT_EQ(sink.UnloadApplication(), 0);
  EXPECT_THAT(steps(),
              ElementsAre("OnApplicationUnload", "remove menu", "ConnectionPoint.Unadvise(5)"));
  EXPECT_TRUE(log.has(QXLoggerLib::sl_Error, u"Add-on stopped."));
}

TEST_F(EventSinkRunTest, OnlyTheLastOfTwoAddOnsRemovesTheMenu) {
  CQXEventSink other(host.application.p, &dispatch, &addOn);
  CQXAddOn::IncAttachCount(host.application->appId);
  run();
  sink.UnloadApplication();
  EXPECT_THAT(steps(), ElementsAre("OnApplicationUnload", "ConnectionPoint.Unadvise(5)"));
  CQXAddOn::DecAttachCount(host.application->appId);
  host.calls.clear();
  other.UnloadApplication();
  EXPECT_THAT(steps(), ElementsAre("OnApplicationUnload", "remove menu"));
}

TEST_F(EventSinkRunTest, ExceptionOfOnApplicationUnloadStillEndsTheRun) {
  for (const auto& [what, thrower] : throwers()) {
    CQXEventSink each(host.application.p, &dispatch, &addOn);
    hooks["OnApplicationUnload"] = thrower;
    host.calls.clear();
    log.records.clear();
    EXPECT_EQ(each.UnloadApplication(), 0) << what;
    EXPECT_THAT(
        messages(u"CQXEventSink::UnloadApplication"),
        ElementsAre("Add-on's OnApplicationUnload handler threw an exception", "Add-on stopped."))
        << what;
    EXPECT_THAT(steps(), ElementsAre("OnApplicationUnload", "remove menu")) << what;
  }
}

// Application events.

TEST_F(EventSinkRunTest, BothStoppingEventsStopTheAddOn) {
  for (const long type : {64L, 67L}) {
    CQXEventSink each(host.application.p, &dispatch, &addOn);
    host.calls.clear();
    EXPECT_EQ(each.OnAppEvent(type), 0);
    EXPECT_THAT(steps(), ElementsAre("OnApplicationUnload", "remove menu"));
  }
}

TEST_F(EventSinkRunTest, CompanyChangeReconnectsCallsTheAddOnAndRebuildsTheMenu) {
  run();
  EXPECT_EQ(sink.OnAppEvent(65), 0);
  EXPECT_THAT(steps(),
              ElementsAre("Company.Disconnect", "Company.PutLanguage(3)",
                          "Company.PutUiApplication(app)", "Company.Connect", "OnChangeCompany",
                          "Form.Freeze(-1)", "add menu", "Form.Freeze(0)", "Form.Update"));
  EXPECT_THAT(
      messages(u"CQXEventSink::OnAppEvent"),
      ElementsAre("Changing DB connection due to event aet_CompanyChanged.", "Company changed.\n"));
  EXPECT_EQ(host.liveCompanies, 1);
}

TEST_F(EventSinkRunTest, FailedCompanyChangeDoesNotReachTheAddOn) {
  run();
  host.failures["Company.Connect"] = E_FAIL;
  EXPECT_EQ(sink.OnAppEvent(65), QX_E_CONNECTION);
  EXPECT_FALSE(host.called("OnChangeCompany"));
  EXPECT_FALSE(host.called("Form.Freeze(-1)"));
  EXPECT_THAT(messages(u"CQXEventSink::OnAppEvent"),
              ElementsAre("Changing DB connection due to event aet_CompanyChanged.",
                          "Failed to connect to the database."));
}

TEST_F(EventSinkRunTest, CompanyChangeWithFailedTablesReturnsTheFailureAndRebuildsTheMenu) {
  run();
  host.setVersion(u"9.20.00.01", u"Upgrading");
  EXPECT_EQ(sink.OnAppEvent(65), QX_E_UPGRADE_RUNNING);
  EXPECT_FALSE(host.called("OnChangeCompany"));
  EXPECT_TRUE(host.called("Form.Freeze(-1)"));
  EXPECT_EQ(messages(u"CQXEventSink::OnAppEvent").back(), "Company changed.\n");
}

TEST_F(EventSinkRunTest, LanguageChangeCallsTheAddOnAndRebuildsTheMenu) {
  run();
  host.application->language = ln_German;
  EXPECT_EQ(sink.OnAppEvent(66), 0);
  EXPECT_THAT(steps(), ElementsAre("OnChangeLanguage", "Form.Freeze(-1)", "add menu",
                                   "Form.Freeze(0)", "Form.Update"));
  EXPECT_THAT(messages(u"CQXEventSink::OnAppEvent"),
              ElementsAre("Language changed to 'ln_German'\n"));
}

TEST_F(EventSinkRunTest, ResultIsTheSameIfTheMenuCannotBeRebuilt) {
  run();
  host.failures["App.LoadBatchActions"] = E_FAIL;
  EXPECT_EQ(sink.OnAppEvent(66), 0);
  EXPECT_EQ(sink.OnAppEvent(65), 0);
  const Strings logged = messages(u"CQXEventSink::OnAppEvent");
  EXPECT_EQ(std::count(logged.begin(), logged.end(), "Failed to create add-on menu tree!"), 2);
}

TEST_F(EventSinkRunTest, ExceptionAtAChangeIsLoggedWithTheCommonText) {
  run();
  for (const auto& [what, thrower] : throwers()) {
    hooks["OnChangeCompany"] = thrower;
    hooks["OnChangeLanguage"] = thrower;
    log.records.clear();
    EXPECT_EQ(sink.OnAppEvent(65), 0) << what;
    EXPECT_EQ(sink.OnAppEvent(66), 0) << what;
    EXPECT_THAT(
        messages(u"CQXEventSink::OnAppEvent"),
        ElementsAre("Changing DB connection due to event aet_CompanyChanged.",
                    "Add-on's OnChangeCompany handler threw an exception", "Company changed.\n",
                    "Add-on's OnChangeCompany handler threw an exception",
                    "Language changed to 'ln_English'\n"))
        << what;
  }
}

TEST_F(EventSinkRunTest, NegativeResultOfTheAddOnIsLogged) {
  run();
  hooks["OnChangeLanguage"] = giving(E_ACCESSDENIED);
  EXPECT_EQ(sink.OnAppEvent(66), E_ACCESSDENIED);
  EXPECT_TRUE(log.has(1, u"Failed to dispatch application event.\n"));
}

TEST_F(EventSinkRunTest, UnknownApplicationEventIsAFailure) {
  EXPECT_EQ(sink.OnAppEvent(12), E_FAIL);
  EXPECT_THAT(messages(u"CQXEventSink::OnAppEvent"),
              ElementsAre("Unknown application event type: 12.\n",
                          "Failed to dispatch application event.\n"));
}

class EventSinkWithoutHandler : public EventSinkRunTest {
 protected:
  CQXEventSink bare{host.application.p, nullptr, &addOn};
};

TEST_F(EventSinkWithoutHandler, StartsAndStops) {
  EXPECT_EQ(bare.AdviseEvents(host.application.p, identifier), 0);
  EXPECT_EQ(messages(u"CQXEventSink::LoadApplication"), Strings{"Add-on started.\n"});
  host.calls.clear();
  EXPECT_EQ(bare.OnAppEvent(64), 0);
  EXPECT_THAT(steps(), ElementsAre("remove menu", "ConnectionPoint.Unadvise(5)"));
  EXPECT_TRUE(log.has(QXLoggerLib::sl_Error, u"Add-on stopped."));
}

TEST_F(EventSinkWithoutHandler, FollowsAChangeOfCompanyAndLanguage) {
  ASSERT_EQ(bare.AdviseEvents(host.application.p, identifier), 0);
  host.calls.clear();
  EXPECT_EQ(bare.OnAppEvent(65), 0);
  EXPECT_EQ(steps(), (Strings{"Company.Disconnect", "Company.PutLanguage(3)",
                              "Company.PutUiApplication(app)", "Company.Connect", "Form.Freeze(-1)",
                              "add menu", "Form.Freeze(0)", "Form.Update"}));
  host.calls.clear();
  EXPECT_EQ(bare.OnAppEvent(66), 0);
  EXPECT_EQ(steps(), (Strings{"Form.Freeze(-1)", "add menu", "Form.Freeze(0)", "Form.Update"}));
  EXPECT_EQ(log.messages(1), std::vector<std::u16string>());
}

}  // namespace
}  // namespace qx::test
