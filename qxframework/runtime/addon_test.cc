#include "qxframework/runtime/addon.h"

#include "qxframework/automation/class_object.h"
#include "qxframework/logging/result_names.h"
#include "qxframework/os/clock.h"
#include "qxframework/os/named_mutex.h"
#include "qxframework/os/shared_counters.h"
#include "qxframework/runtime/addon_fixture.h"
#include "qxframework/runtime/framework_host_fixture.h"
#include "qxframework/runtime/internal/attach_counters.h"
#include "testing/message_recorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <future>
#include <memory>
#include <thread>
#include <utility>

namespace qx::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Strings = std::vector<std::string>;

constexpr char kFailedBox[] = "App.MessageBox(Initialization failed, 1, OK, null, null)";

Hook giving(long result) {
  return [result](short*) { return result; };
}

class AddOnTest : public testing::Test {
 protected:
  ~AddOnTest() override {
    addOn.reset();
    EXPECT_EQ(CQXAddOn::GetAttachCount(host.application->appId), 0);
  }
  Strings messages() const { return messagesOf(log, u"CQXAddOn::Connect"); }
  Strings firstCalls(std::ptrdiff_t count) const {
    return {host.calls.begin(), host.calls.begin() + std::min(count, std::ssize(host.calls))};
  }

  RecordingLogger log;
  MessageRecorder boxes;
  FrameworkHost host;
  std::unique_ptr<TestAddOn> addOn = std::make_unique<TestAddOn>(host);
};

TEST_F(AddOnTest, ConnectRunsTheWholeStart) {
  EXPECT_EQ(addOn->Connect(0), 0);
  EXPECT_THAT(firstCalls(8), ElementsAre("Gui.PutAddOnIdentifier(IDENT)", "Gui.Connect(CONNECTION)",
                                         "Gui.GetApplication(-1)", "CreateDispatch",
                                         "App.PutStartupDone(0)", "Company.PutLanguage(3)",
                                         "Company.PutUiApplication(app)", "Company.Connect"));
  EXPECT_EQ(host.calls[host.calls.size() - 2], "OnApplicationLoad");
  EXPECT_EQ(host.calls.back(), "App.PutStartupDone(-1)");
  EXPECT_THAT(messages(), ElementsAre("Current version of UI API is 9.20"));
  EXPECT_EQ(CQXAddOn::GetAttachCount(7), 1);
  EXPECT_THAT(MessageRecorder::boxes(), IsEmpty());
}

TEST_F(AddOnTest, ConnectLogsUnderItsModuleAndWithoutAnApplication) {
  addOn->Connect(0);
  EXPECT_EQ(log.records.front(),
            (LogRecord{0, u"TESTADDON", 6, u"CQXAddOn::Connect", u"Entering function\n"}));
}

TEST_F(AddOnTest, ConnectPassesStartupDoneToTheClient) {
  EXPECT_EQ(addOn->Connect(3), 0);
  EXPECT_TRUE(host.called("App.PutStartupDone(-1)"));
  EXPECT_FALSE(host.called("App.PutStartupDone(0)"));
}

TEST_F(AddOnTest, EmptyIdentifierIsReplacedByTheFixedOne) {
  addOn = std::make_unique<TestAddOn>(host, u"");
  EXPECT_EQ(addOn->Connect(0), 0);
  const std::string fixed =
      host.calls.front().substr(std::string("Gui.PutAddOnIdentifier(").size());
  ASSERT_EQ(fixed.size(), 88U + 1);
  EXPECT_EQ(fixed.find_first_not_of("0123456789ABCDEF"), 88U);
}

TEST_F(AddOnTest, IdentifierGoesToTheCompanyInTheHandShake) {
  addOn->SetConnectionViaUI(false);
  EXPECT_EQ(addOn->Connect(0), 0);
  EXPECT_FALSE(host.called("Company.PutUiApplication(app)"));
  EXPECT_TRUE(host.called("Company.PutConnectionString(IDENT)"));
}

TEST_F(AddOnTest, MissingHostLibraryShowsABoxAndReturnsZero) {
  host.failures["create Gui"] = REGDB_E_CLASSNOTREG;
  EXPECT_EQ(addOn->Connect(0), 0);
  EXPECT_THAT(MessageRecorder::boxes(),
              ElementsAre("Connection to UI-API Error: " + toUtf8(errorText(REGDB_E_CLASSNOTREG))));
  EXPECT_THAT(host.calls, IsEmpty());
  EXPECT_THAT(messages(), ElementsAre("Failed to detect current version of UI API",
                                      "Current version of UI API is "));
}

TEST_F(AddOnTest, RefusalOfOneBecomesAnAbort) {
  host.connectAnswer = 1;
  EXPECT_EQ(addOn->Connect(0), E_ABORT);
  EXPECT_THAT(messages(), ElementsAre("Current version of UI API is 9.20",
                                      "Connection to UI-API failed: error 1"));
  EXPECT_THAT(MessageRecorder::boxes(),
              ElementsAre("Connection to UI-API Error: " + toUtf8(errorText(E_ABORT))));
  EXPECT_EQ(CQXAddOn::GetAttachCount(7), 0);
}

TEST_F(AddOnTest, NegativeRefusalIsReturned) {
  host.connectAnswer = -7200;
  EXPECT_EQ(addOn->Connect(0), -7200);
  EXPECT_TRUE(log.has(1, u"Connection to UI-API failed: error -7200"));
  EXPECT_THAT(MessageRecorder::boxes(),
              ElementsAre("Connection to UI-API Error: Connection string not valid"));
}

TEST_F(AddOnTest, HostThatIsGoneAtConnectCountsAsARefusal) {
  host.failures["Gui.Connect"] = E_ACCESSDENIED;
  EXPECT_EQ(addOn->Connect(0), E_ACCESSDENIED);
  EXPECT_EQ(MessageRecorder::boxes().size(), 1U);
}

TEST_F(AddOnTest, PositiveRefusalIsShownAndReturnedUnchanged) {
  host.connectAnswer = 5;
  EXPECT_EQ(addOn->Connect(0), 5);
  EXPECT_THAT(messages(),
              ElementsAre("Current version of UI API is 9.20",
                          "Connection to UI-API failed: error 5", "Initialization failed"));
  EXPECT_THAT(MessageRecorder::boxes(),
              ElementsAre("Connection to UI-API Error: Unknown error (5, 0x00000005)"));
  EXPECT_FALSE(host.called("CreateDispatch"));
}

TEST_F(AddOnTest, ApplicationRefusedWithAPositiveCodeIsShown) {
  host.failures["Gui.GetApplication"] = 6;
  EXPECT_EQ(addOn->Connect(0), 6);
  EXPECT_THAT(MessageRecorder::boxes(),
              ElementsAre("Connection to UI-API Error: Unknown error (6, 0x00000006)"));
  EXPECT_EQ(messages().back(), "Initialization failed");
}

TEST_F(AddOnTest, ApplicationRefusedWithOneIsAFailure) {
  host.failures["Gui.GetApplication"] = 1;
  EXPECT_EQ(addOn->Connect(0), E_FAIL);
  EXPECT_THAT(MessageRecorder::boxes(),
              ElementsAre("Connection to UI-API Error: " + toUtf8(errorText(E_FAIL))));
}

TEST_F(AddOnTest, MissingApplicationIsAFailure) {
  host.givesApplication = false;
  EXPECT_EQ(addOn->Connect(0), E_POINTER);
  EXPECT_EQ(MessageRecorder::boxes().size(), 1U);
}

TEST_F(AddOnTest, MissingHandlerStopsTheStartAndIsShownInTheClient) {
  addOn->givesDispatch = false;
  EXPECT_EQ(addOn->Connect(0), E_FAIL);
  EXPECT_EQ(addOn->GetEventSink(), nullptr);
  EXPECT_THAT(host.calls, ElementsAre("Gui.PutAddOnIdentifier(IDENT)", "Gui.Connect(CONNECTION)",
                                      "Gui.GetApplication(-1)", "CreateDispatch", kFailedBox));
  EXPECT_EQ(messages().back(), "Initialization failed");
}

TEST_F(AddOnTest, ClientThatIsGoneAfterTheConnectionIsAFailure) {
  host.failures["App.GetAppId"] = E_ACCESSDENIED;
  EXPECT_EQ(addOn->Connect(0), E_ACCESSDENIED);
  host.failures.clear();
  host.failures["App.PutStartupDone"] = E_UNEXPECTED;
  host.failures["App.GetLanguage"] = E_UNEXPECTED;
  addOn = std::make_unique<TestAddOn>(host);
  EXPECT_EQ(addOn->Connect(0), E_UNEXPECTED);
  EXPECT_EQ(messages().back(), "Initialization failed");
}

TEST_F(AddOnTest, ExceptionOfCreateDispatchReachesTheCaller) {
  class Throwing : public CQXAddOn {
   public:
    Throwing() : CQXAddOn(u"CONNECTION", u"TESTADDON", u"IDENT") {}
    CQXIDispatch* CreateDispatch() override { throw ForeignThing(); }
    CQXResourceLoader* GetResourceLoader() override { return nullptr; }
  };
  Throwing throwing;
  EXPECT_THROW(throwing.Connect(0), ForeignThing);
}

TEST_F(AddOnTest, FailedStartIsShownInTheClient) {
  addOn->hooks["OnApplicationLoad"] = giving(E_ACCESSDENIED);
  EXPECT_EQ(addOn->Connect(0), E_ACCESSDENIED);
  EXPECT_EQ(host.calls.back(), kFailedBox);
  EXPECT_EQ(messages().back(), "Initialization failed");
}

TEST_F(AddOnTest, PositiveResultOfTheStartIsShownAndReturned) {
  addOn->hooks["OnApplicationLoad"] = giving(4);
  EXPECT_EQ(addOn->Connect(0), 4);
  EXPECT_EQ(host.calls.back(), kFailedBox);
}

TEST_F(AddOnTest, StartThatThrowsIsLoggedAndKeepsTheResult) {
  host.hooks["Form.Freeze"] = [] { throw ForeignThing(); };
  EXPECT_EQ(addOn->Connect(0), 0);
  EXPECT_EQ(messages().back(), "Advise Events Error!");
  NamedMutex mutex(u"AddOnStartMutex");
  EXPECT_TRUE(mutex.try_lock()) << "the mutex is released";
  mutex.unlock();
}

TEST_F(AddOnTest, TheStartMutexIsHeldForTheWholeOfAdviseEventsOnly) {
  NamedMutex mutex(u"AddOnStartMutex");
  Strings seen;
  const auto probe = [&](const char* where) {
    const bool isFree = mutex.try_lock();
    if (isFree) mutex.unlock();
    seen.push_back(std::string(where) + (isFree ? " free" : " held"));
  };
  host.hooks["App.PutStartupDone"] = [&] { probe("sink built:"); };
  host.hooks["Company.Connect"] = [&] { probe("company:"); };
  host.hooks["SQL select"] = [&] { probe("tables:"); };
  host.application->startupDone = VARIANT_TRUE;
  addOn->hooks["OnApplicationLoad"] = [&](short*) {
    host.hooks.clear();
    probe("load:");
    return 0L;
  };
  EXPECT_EQ(addOn->Connect(1), 0);
  probe("connected:");
  EXPECT_THAT(seen, ElementsAre("sink built: free", "company: held", "tables: held", "tables: held",
                                "load: held", "connected: free"));
}

/// A clock whose first wait for an event ends at once, without the event. Then it lets the holder
/// go and waits for the event without a limit.
class TwoSecondClock : public ManualClock {
 public:
  explicit TwoSecondClock(NamedMutex& held) : held_(held) {}
  bool waitFor(const std::future<void>& event, std::chrono::milliseconds) override {
    if (!std::exchange(over_, true)) return false;
    held_.unlock();
    event.wait();
    return true;
  }

 private:
  NamedMutex& held_;
  bool over_ = false;
};

TEST_F(AddOnTest, AStartThatWaitsForAnotherOneSaysForWhom) {
  NamedMutex other(u"AddOnStartMutex");
  other.lock();
  TwoSecondClock clock(other);
  host.application->startupDone = VARIANT_TRUE;
  {
    const ScopedClock scope(clock);
    EXPECT_EQ(addOn->Connect(1), 0);
  }
  const std::string holder =
      "the program 'qxframework_runtime_test' (process " + std::to_string(getpid()) + ")";
  const std::string line =
      "Waiting for AddOnStartMutex for 2 seconds. It is held by " + holder + ".";
  EXPECT_THAT(messages(), ElementsAre("Current version of UI API is 9.20", line));
  EXPECT_EQ(MessageRecorder::trace(), line + "\n");
  EXPECT_THAT(host.of("StatusBar.SetText"),
              ElementsAre("(Waiting until another add-on has started: " + holder + ", 20, 1)"));
  EXPECT_TRUE(host.called("OnApplicationLoad"));
}

TEST_F(AddOnTest, TwoAddOnsStartOneAfterTheOther) {
  NamedMutex gate(u"AddOnStartMutex");
  gate.lock();        // both are waiting for their start
  log.refuse = true;  // its list is not made for two threads
  std::atomic<int> waiting = 0;
  std::atomic<int> inside = 0;
  std::atomic<int> most = 0;
  host.hooks["App.PutStartupDone"] = [&] { ++waiting; };
  const auto load = [&](short*) {
    most = std::max(most.load(), ++inside);
    std::this_thread::yield();
    --inside;
    return 0L;
  };
  host.application->startupDone = VARIANT_TRUE;
  TestAddOn second(host);
  addOn->hooks["OnApplicationLoad"] = load;
  second.hooks["OnApplicationLoad"] = load;
  auto first = std::async(std::launch::async, [&] { return addOn->Connect(1); });
  while (waiting < 1) std::this_thread::yield();
  auto other = std::async(std::launch::async, [&] { return second.Connect(1); });
  while (waiting < 2) std::this_thread::yield();
  EXPECT_FALSE(host.called("OnApplicationLoad"));
  EXPECT_FALSE(host.called("Company.Connect"));
  gate.unlock();
  EXPECT_EQ(first.get(), 0);
  EXPECT_EQ(other.get(), 0);
  EXPECT_EQ(most, 1);
  EXPECT_EQ(std::count(host.calls.begin(), host.calls.end(), "OnApplicationLoad"), 2);
}

TEST_F(AddOnTest, ConnectWorksWithoutALogger) {
  addOn->Connect(0);
  const Strings expected = host.calls;
  addOn.reset();
  host.calls.clear();
  host.application->startupDone = VARIANT_FALSE;
  log.records.clear();
  log.refuse = true;
  addOn = std::make_unique<TestAddOn>(host);
  EXPECT_EQ(addOn->Connect(0), 0);
  EXPECT_EQ(host.calls, expected);
  EXPECT_TRUE(log.records.empty());
}

// The end of an add-on.

TEST_F(AddOnTest, DestructorEndsTheRunAndLowersTheCounter) {
  addOn->Connect(0);
  host.calls.clear();
  addOn.reset();
  EXPECT_THAT(host.calls, ElementsAre("~Dispatch", "ConnectionPoint.Unadvise(5)"));
  EXPECT_EQ(CQXAddOn::GetAttachCount(7), 0);
  EXPECT_EQ(host.liveCompanies, 0);
}

TEST_F(AddOnTest, EventAfterTheDestructorReachesTheSinkOnly) {
  addOn->Connect(0);
  addOn.reset();
  host.calls.clear();
  VARIANT type;
  type.vt = VT_I4;
  type.lVal = 66;
  EXPECT_EQ(host.fire(102, {type}), S_OK);
  EXPECT_THAT(host.calls, IsEmpty());
}

TEST_F(AddOnTest, AddOnDestroyedWithoutConnectCallsNothing) {
  CQXAddOn::IncAttachCount(7);
  addOn.reset();
  EXPECT_THAT(host.calls, IsEmpty());
  EXPECT_TRUE(log.records.empty());
  EXPECT_EQ(CQXAddOn::GetAttachCount(7), 1);
  CQXAddOn::DecAttachCount(7);
}

// An add-on before Connect.

TEST_F(AddOnTest, FormsAreRefusedBeforeConnect) {
  TestForm form(host, addOn.get(), nullptr);
  CQXAddOnForm* found = &form;
  EXPECT_EQ(addOn->RegisterForm(&form), E_FAIL);
  EXPECT_EQ(addOn->GetSelectedForm(u"EXT", found), E_FAIL);
  EXPECT_EQ(found, &form);
  addOn->SetWndHandle(reinterpret_cast<HWND>(&form));
  EXPECT_EQ(addOn->GetEventSink(), nullptr);
}

TEST_F(AddOnTest, FindsRegisteredFormsAfterConnect) {
  addOn->Connect(0);
  TestForm form(host, addOn.get(), &host.addForm(u"F1", true));
  EXPECT_EQ(addOn->RegisterForm(&form), 0);
  CQXAddOnForm* found = nullptr;
  EXPECT_EQ(addOn->GetSelectedForm(u"EXT", found), 0);
  EXPECT_EQ(found, &form);
}

TEST_F(AddOnTest, WriteLogForwardsItsFiveArguments) {
  log.writeResult = 3;
  EXPECT_EQ(addOn->WriteLog(12, u"MODULE", QXLoggerLib::sl_Warning, u"Function", u"Message"), 3);
  ASSERT_EQ(log.records.size(), 1U);
  EXPECT_EQ(log.records[0], (LogRecord{12, u"MODULE", 2, u"Function", u"Message"}));
}

TEST_F(AddOnTest, WriteLogFailsWithoutALogger) {
  log.refuse = true;
  EXPECT_EQ(addOn->WriteLog(12, u"MODULE", QXLoggerLib::sl_Warning, u"Function", u"Message"),
            E_FAIL);
}

// The attach counters.

TEST(AttachCounters, CountPerApplication) {
  EXPECT_EQ(CQXAddOn::IncAttachCount(3), 0);
  EXPECT_EQ(CQXAddOn::IncAttachCount(3), 0);
  EXPECT_EQ(CQXAddOn::GetAttachCount(3), 2);
  EXPECT_EQ(CQXAddOn::GetAttachCount(4), 0);
  EXPECT_EQ(CQXAddOn::DecAttachCount(3), 0);
  EXPECT_EQ(CQXAddOn::DecAttachCount(3), 0);
  EXPECT_EQ(CQXAddOn::GetAttachCount(3), 0);
}

TEST(AttachCounters, StayAtZero) {
  EXPECT_EQ(CQXAddOn::DecAttachCount(3), 0);
  EXPECT_EQ(CQXAddOn::GetAttachCount(3), 0);
}

TEST(AttachCounters, RefuseApplicationNumbersFromFifty) {
  EXPECT_EQ(CQXAddOn::IncAttachCount(50), E_FAIL);
  EXPECT_EQ(CQXAddOn::DecAttachCount(50), E_FAIL);
  EXPECT_EQ(CQXAddOn::GetAttachCount(50), 0);
  EXPECT_EQ(CQXAddOn::GetAttachCount(1L << 40), 0);
  EXPECT_EQ(CQXAddOn::IncAttachCount(49), 0);
  EXPECT_EQ(CQXAddOn::DecAttachCount(49), 0);
}

TEST(AttachCounters, CountNothingForANegativeNumber) {
  EXPECT_EQ(CQXAddOn::IncAttachCount(-1), 0);
  EXPECT_EQ(CQXAddOn::GetAttachCount(-1), 0);
  EXPECT_EQ(CQXAddOn::DecAttachCount(-1), E_FAIL);
  for (long id = 0; id < 50; ++id) EXPECT_EQ(CQXAddOn::GetAttachCount(id), 0) << id;
}

TEST(AttachCounters, AreSharedBetweenUsersOfTheBlock) {
  CQXAddOn::IncAttachCount(6);
  SharedCounters other(kAttachCounters);
  EXPECT_EQ(other.get(6), 1);
  other.add(6, 1);
  EXPECT_EQ(CQXAddOn::GetAttachCount(6), 2);
  CQXAddOn::DecAttachCount(6);
  CQXAddOn::DecAttachCount(6);
  EXPECT_EQ(other.get(6), 0);
}

TEST(AttachCounters, ApplicationNumberOfFiftyCountsNoAddOns) {
  FrameworkHost host;
  host.application->appId = 50;
  TestAddOn first(host);
  TestAddOn second(host);
  first.Connect(0);
  second.Connect(0);
  EXPECT_EQ(CQXAddOn::GetAttachCount(50), 0);
  host.calls.clear();
  first.GetEventSink()->UnloadApplication();
  EXPECT_THAT(host.calls, testing::Contains(testing::HasSubstr("\"remove\"")));
}

}  // namespace
}  // namespace qx::test
