#include "qxframework/dbdef/tables_lock.h"

#include "qxframework/dbdef/db_def_fixture.h"
#include "testing/message_recorder.h"

namespace {

using namespace qx::test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class TablesLockTest : public DbDefTest {
 protected:
  TablesLockTest() {
    sharing.whileWaiting = [this](long milliseconds) {
      clock.advance(std::chrono::milliseconds(milliseconds));
    };
  }
  std::vector<std::string> warnings() const { return log(u"TablesLock"); }

  MessageRecorder recorder;
  FakeSharing& sharing = company->share();
};

constexpr char kHeld[] = " seconds. It is held by orders on desk-7.";
constexpr char kShown[] =
    "(Waiting until another add-on has checked the tables of the company: orders on desk-7, 20, 1)";

std::string waited(int seconds) {
  return "2 Waiting for the lock of the company's tables for " + std::to_string(seconds) + kHeld;
}

TEST_F(TablesLockTest, IsHeldWhileItLives) {
  {
    const qx::TablesLock lock(application.p, company.p);
    EXPECT_EQ(sharing.locks, 1);
    const qx::TablesLock again(application.p, company.p);
    EXPECT_EQ(sharing.locks, 2);
  }
  EXPECT_EQ(sharing.locks, 0);
  EXPECT_THAT(logger.records, IsEmpty());
}

TEST_F(TablesLockTest, DoesNothingForACompanyThatIsNotShared) {
  company->sharing.Release();
  const qx::TablesLock lock(application.p, company.p);
  EXPECT_THAT(calls.calls, IsEmpty());
  EXPECT_THAT(logger.records, IsEmpty());
}

TEST_F(TablesLockTest, ReportsAWaitAfterTwoSecondsAndThenEachMinute) {
  sharing.holders = {u"orders on desk-7", u"orders on desk-7", u"orders on desk-7"};
  const qx::TablesLock lock(application.p, company.p);
  EXPECT_EQ(sharing.locks, 1);
  EXPECT_THAT(calls.of("Sharing.LockTables"),
              ElementsAre("(2000)", "(60000)", "(60000)", "(60000)"));
  EXPECT_THAT(warnings(), ElementsAre(waited(2), waited(62), waited(122)));
  EXPECT_THAT(calls.of("StatusBar.SetText"), ElementsAre(kShown, kShown, kShown));
  EXPECT_EQ(clock.sleeps(), 0);
}

TEST_F(TablesLockTest, ReportsNothingIfItIsFreeWithinTwoSeconds) {
  sharing.holders = {u"orders on desk-7"};
  sharing.whileWaiting = nullptr;
  const qx::TablesLock lock(application.p, company.p);
  EXPECT_EQ(sharing.locks, 1);
  EXPECT_THAT(warnings(), IsEmpty());
}

// A host may give the time back that it does not need.
TEST_F(TablesLockTest, PausesIfTheHostDoesNotWait) {
  sharing.holders.assign(25, u"orders on desk-7");
  sharing.whileWaiting = nullptr;
  const qx::TablesLock lock(application.p, company.p);
  EXPECT_EQ(clock.sleeps(), 25);
  EXPECT_EQ(clock.monotonic().time_since_epoch(), std::chrono::milliseconds(2500));
  EXPECT_THAT(warnings(), ElementsAre(waited(2)));
}

TEST_F(TablesLockTest, NamesAHolderThatTheDatabaseDoesNotKnow) {
  sharing.holders = {u""};
  const qx::TablesLock lock(application.p, company.p);
  EXPECT_THAT(warnings(), ElementsAre("2 Waiting for the lock of the company's tables for 2 "
                                      "seconds. It is held by an unknown program."));
}

TEST_F(TablesLockTest, GoesOnWithoutALockThatTheHostRefuses) {
  calls.failures["Sharing.LockTables"] = qx::resultCode(-2100);
  { const qx::TablesLock lock(application.p, company.p); }
  EXPECT_THAT(calls.calls, ElementsAre("Sharing.LockTables(2000)"));
  EXPECT_THAT(warnings(), ElementsAre("2 Cannot take the lock of the company's tables: Unknown "
                                      "error (-2100, 0xFFFFF7CC)"));
}

TEST_F(TablesLockTest, IsGivenBackIfTheWorkThrows) {
  EXPECT_THROW(
      {
        const qx::TablesLock lock(application.p, company.p);
        throw 1;
      },
      int);
  EXPECT_EQ(sharing.locks, 0);
}

class CreateUnderLock : public TablesLockTest {};

constexpr char kTable[] =
    "<database><usertables><usertable TableName=\"T\"/></usertables></database>";

TEST_F(CreateUnderLock, TheWholeRunHasTheLock) {
  EXPECT_EQ(create(kTable, false), S_OK);
  EXPECT_EQ(calls.calls.front(), "Sharing.LockTables(2000)");
  EXPECT_EQ(calls.calls.back(), "Sharing.UnlockTables");
  EXPECT_EQ(sharing.locks, 0);
}

TEST_F(CreateUnderLock, ARunThatFailsGivesItBack) {
  calls.answers["Tables.Add"] = -1;
  EXPECT_EQ(create(kTable), E_FAIL);
  EXPECT_EQ(calls.calls.back(), "Sharing.UnlockTables");
  EXPECT_EQ(sharing.locks, 0);
}

TEST_F(CreateUnderLock, ARunWithoutTablesGivesItBack) {
  EXPECT_EQ(create("<other/>"), S_OK);
  EXPECT_EQ(sharing.locks, 0);
}

TEST_F(CreateUnderLock, TheOtherCallsAndTheLogAreThoseOfACompanyThatIsNotShared) {
  def();
  logger.records.clear();
  EXPECT_EQ(create(kTable, false), S_OK);
  std::vector<std::string> shared = std::exchange(calls.calls, {});
  shared.erase(shared.begin());
  shared.pop_back();
  const auto lines = [this] {
    std::vector<std::string> messages;
    for (const LogRecord& record : std::exchange(logger.records, {}))
      messages.push_back(qx::toUtf8(record.function + u": " + record.message));
    return messages;
  };
  const std::vector<std::string> sharedLines = lines();

  company->sharing.Release();
  company->tables.clear();
  version = CQXVersion(u"0.00.00.00.00");
  EXPECT_EQ(create(kTable, false), S_OK);
  EXPECT_EQ(calls.calls, shared);
  EXPECT_EQ(lines(), sharedLines);
}

}  // namespace
