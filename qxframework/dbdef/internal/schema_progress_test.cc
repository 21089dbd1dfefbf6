#include "qxframework/dbdef/internal/schema_progress.h"

#include "qxframework/os/clock.h"
#include "testing/fake_application.h"
#include "testing/raised_by.h"
#include "testing/recording_logger.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qx::dbdef {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class SchemaProgressTest : public ::testing::Test {
 protected:
  SchemaProgress progress() { return {application, 7, bar, value}; }
  long wait(long minutes) {
    return progress().waitForBar(minutes, u"Title", 1, [this](long left, bool own) {
      notices.push_back(std::to_string(left) + (own ? " own" : " other"));
    });
  }
  std::vector<std::string> barCalls() const { return calls.of("Bar."); }

  test::HostCalls calls;
  CComPtr<test::FakeApplication> application = makeObject<test::FakeApplication>(calls);
  test::RecordingLogger logger;
  ManualClock clock;
  CComPtr<IProgressBar> bar;
  long value = 5;
  std::vector<std::string> notices;

 private:
  ScopedClock scopedClock_{clock};
};

TEST_F(SchemaProgressTest, CreatesABarAtZero) {
  EXPECT_EQ(progress().createBar(u"Title", 3), S_OK);
  EXPECT_NE(bar, nullptr);
  EXPECT_EQ(value, 0);
  EXPECT_THAT(calls.of("StatusBar."), ElementsAre("CreateProgressBar(Title, 3, 0)"));
  EXPECT_THAT(barCalls(), ElementsAre("PutValue(0)"));
}

TEST_F(SchemaProgressTest, ABarThatIsHeldIsNoBarAndKeepsTheCounter) {
  application->barHeldFor = 1;
  EXPECT_EQ(progress().createBar(u"Title", 1), E_FAIL);
  EXPECT_EQ(bar, nullptr);
  EXPECT_EQ(value, 5);
}

TEST_F(SchemaProgressTest, WaitsForABarUntilItIsFree) {
  application->barHeldFor = 2;
  EXPECT_EQ(wait(30), S_OK);
  EXPECT_EQ(clock.sleeps(), 2);
  EXPECT_NE(bar, nullptr);
}

TEST_F(SchemaProgressTest, TriesOnceMoreAfterTheLastPause) {
  application->barHeldFor = 2;
  EXPECT_EQ(wait(1), S_OK);
  EXPECT_EQ(clock.sleeps(), 2);
}

TEST_F(SchemaProgressTest, GivesUpAfterTheMinutes) {
  application->barHeldFor = 3;
  EXPECT_EQ(wait(1), kWaitTimeout);
  EXPECT_EQ(clock.sleeps(), 2);
  EXPECT_EQ(bar, nullptr);
}

TEST_F(SchemaProgressTest, DoesNotWaitForZeroMinutes) {
  application->barHeldFor = 1;
  EXPECT_EQ(wait(0), kWaitTimeout);
  EXPECT_EQ(clock.sleeps(), 0);
  EXPECT_THAT(notices, IsEmpty());
}

TEST_F(SchemaProgressTest, GivesNoticeBeforeEachPauseWithTheMinutesThatAreLeft) {
  application->barHeldFor = 4;
  EXPECT_EQ(wait(2), S_OK);
  EXPECT_THAT(notices, ElementsAre("2 other", "2 other", "1 other", "1 other"));
}

TEST_F(SchemaProgressTest, GivesNoticeThatTheBarIsItsOwn) {
  progress().createBar(u"Title", 1);
  application->barHeldFor = 1;
  EXPECT_EQ(wait(2), S_OK);
  EXPECT_THAT(notices, ElementsAre("2 own"));
}

TEST_F(SchemaProgressTest, GivesNoNoticeForABarThatIsFree) {
  EXPECT_EQ(wait(30), S_OK);
  EXPECT_THAT(notices, IsEmpty());
}

TEST_F(SchemaProgressTest, ShowsTextAndCountPastTheMaximum) {
  progress().createBar(u"Title", 1);
  progress().show(u"one");
  progress().show(u"two");
  EXPECT_THAT(barCalls(), ElementsAre("PutValue(0)", "PutText(one)", "PutValue(1)", "PutText(two)",
                                      "PutValue(2)"));
}

TEST_F(SchemaProgressTest, CountsWithoutABar) {
  progress().show(u"one");
  EXPECT_EQ(value, 6);
  EXPECT_THAT(barCalls(), IsEmpty());
}

TEST_F(SchemaProgressTest, ABarThatFailsIsAFailure) {
  progress().createBar(u"Title", 1);
  calls.failures["Bar.PutText"] = E_FAIL;
  EXPECT_EQ(test::raisedBy([this] { progress().show(u"one"); }), E_FAIL);
}

TEST_F(SchemaProgressTest, StopReleasesTheBarAndClearsTheCounter) {
  progress().createBar(u"Title", 1);
  progress().show(u"one");
  progress().stop();
  EXPECT_EQ(bar, nullptr);
  EXPECT_EQ(value, 0);
  EXPECT_EQ(barCalls().back(), "Stop()");
}

TEST_F(SchemaProgressTest, StopReleasesABarThatFailsToStop) {
  progress().createBar(u"Title", 1);
  calls.failures["Bar.Stop"] = E_FAIL;
  progress().stop();
  EXPECT_EQ(bar, nullptr);
}

TEST_F(SchemaProgressTest, StopWithoutABarOnlyClearsTheCounter) {
  progress().stop();
  EXPECT_EQ(value, 0);
  EXPECT_THAT(barCalls(), IsEmpty());
}

TEST_F(SchemaProgressTest, LogsUnderTheNamesOfTheSchemasOperations) {
  wait(1);
  progress().show(u"one");
  progress().stop();
  std::vector<std::u16string> scopes;
  for (const test::LogRecord& record : logger.records)
    if (record.message.starts_with(u"Entering function")) scopes.push_back(record.function);
  EXPECT_THAT(scopes,
              ElementsAre(u"CQXDbDef::GetProgressBar", u"CQXDbDef::CreateProgressBar",
                          u"CQXDbDef::DisplayProgressMessage", u"CQXDbDef::StopProgressBar"));
}

}  // namespace
}  // namespace qx::dbdef
