#include "qxframework/util/wait_report.h"

#include "qxframework/automation/text.h"
#include "testing/fake_application.h"
#include "testing/message_recorder.h"
#include "testing/recording_logger.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace qx::test;
using qx::LockHolder;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(NameOfHolder, IsTheProgramAndItsProcess) {
  const LockHolder holder{4711, u"orders"};
  EXPECT_EQ(qx::nameOfHolder(holder, ln_English), u"the program 'orders' (process 4711)");
  EXPECT_EQ(qx::nameOfHolder(holder, ln_German), u"das Programm „orders“ (Prozess 4711)");
}

TEST(NameOfHolder, OfNoKnownProgramSaysSo) {
  EXPECT_EQ(qx::nameOfHolder(std::optional<LockHolder>(), ln_English), u"an unknown program");
  EXPECT_EQ(qx::nameOfHolder(CComBSTR(), ln_French_Fr), u"un programme inconnu");
}

TEST(NameOfHolder, OfADatabaseIsWhatTheDatabaseSays) {
  EXPECT_EQ(qx::nameOfHolder(CComBSTR(u"orders on desk-7"), ln_German), u"orders on desk-7");
}

class WaitReport : public ::testing::Test {
 protected:
  void report(const CComPtr<IApplication>& client) {
    const qx::Waiting waiting{.function = u"Some::Function", .what = u"SomeMutex", .text = 229};
    qx::reportWaiting(
        waiting,
        [](HvLanguages language) {
          return qx::nameOfHolder(LockHolder{7, u"orders"}, language);
        },
        std::chrono::seconds(62), 5, client);
  }

  /// Returns the records of the report, without those of the functions that it calls.
  std::vector<LogRecord> records() const {
    std::vector<LogRecord> found;
    for (const LogRecord& record : log.records)
      if (record.function == u"Some::Function") found.push_back(record);
    return found;
  }

  HostCalls calls;
  RecordingLogger log;
  MessageRecorder recorder;
  CComPtr<FakeApplication> application = qx::makeObject<FakeApplication>(calls);
};

constexpr char kLine[] =
    "Waiting for SomeMutex for 62 seconds. It is held by the program 'orders' (process 7).";

TEST_F(WaitReport, GoesToTheLogAsAWarning) {
  report(application.p);
  ASSERT_EQ(records().size(), 1U);
  EXPECT_EQ(records()[0].level, QXLoggerLib::sl_Warning);
  EXPECT_EQ(records()[0].appId, 5);
  EXPECT_EQ(qx::toUtf8(records()[0].message), kLine);
}

TEST_F(WaitReport, GoesToTheDeveloperTrace) {
  report(application.p);
  EXPECT_EQ(MessageRecorder::trace(), kLine + std::string("\n"));
}

TEST_F(WaitReport, GoesToTheStatusBarInTheClientsLanguage) {
  report(application.p);
  application->language = ln_German;
  report(application.p);
  EXPECT_THAT(
      calls.of("StatusBar.SetText"),
      ElementsAre(
          "(Waiting until another add-on has started: the program 'orders' (process 7), 20, 1)",
          "(Warten, bis ein anderes Add-On gestartet ist: das Programm „orders“ (Prozess 7), 20, "
          "1)"));
}

TEST_F(WaitReport, NeedsNoClient) {
  report(nullptr);
  EXPECT_THAT(calls.calls, IsEmpty());
  EXPECT_EQ(records().size(), 1U);
}

TEST_F(WaitReport, DoesNotFailForAClientThatShowsNothing) {
  calls.failures["StatusBar.SetText"] = E_FAIL;
  calls.failures["App.GetLanguage"] = E_FAIL;
  report(application.p);
  EXPECT_EQ(records().size(), 1U);
}

}  // namespace
