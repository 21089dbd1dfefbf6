// Several add-on processes on one machine and one company: they start one at a time, the last one
// to stop removes the common menu, and a crash of one does not keep the next from starting.

#include "testing/child_process.h"
#include "testing/machine.h"
#include "testing/sqlite_file.h"
#include "testing/temp_folder.h"

#include <gmock/gmock.h>

#include <csignal>

namespace {

using qx::test::ChildProcess;
using qx::test::rowsOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr char kEnter[] = "log Entering critical section....";
constexpr char kLeave[] = "log Leaving critical section....";
constexpr char kRemove[] = "log Removing common menu of Add-Ons";
constexpr char kFirstQuestion[] =
    "box The database upgrade of the Halvex add-On to version 9.20.00.01.00 is either in progress "
    "or the upgrade process has been cancelled and the upgrade is incomplete. Do you want to "
    "restart the upgrade process?";
constexpr char kSecondQuestion[] = "box Do you really want to restart the DB upgrade?";

class Processes : public testing::Test {
 protected:
  /// Starts a probe, see probe_addon.cc, up to its report that it connects.
  std::unique_ptr<ChildProcess> start(const std::string& halt = "") {
    auto probe = std::make_unique<ChildProcess>(
        std::vector<std::string>{qx::test::buildProgram("probe_addon").string(), file.string(),
                                 halt},
        std::vector<std::string>{"QX_RUNTIME_DIR=" + (folder.path() / "run").string()});
    EXPECT_EQ(probe->line(), "connecting");
    return probe;
  }
  /// Starts a probe up to its OnApplicationLoad, where it waits; `others` add-ons are attached
  /// already.
  std::unique_ptr<ChildProcess> startLoading(int others = 0) {
    auto probe = start();
    EXPECT_EQ(probe->line(), kEnter);
    EXPECT_EQ(nextAfter(*probe, "log Db is OK."), "loading " + std::to_string(others + 1));
    return probe;
  }
  /// Returns the next report of a probe, or the one after it if the next is `optional`.
  static std::string nextAfter(ChildProcess& probe, const std::string& optional) {
    std::string line = probe.line();
    return line == optional ? probe.line() : line;
  }
  static void finishStart(ChildProcess& probe) {
    probe.send("go");
    EXPECT_EQ(probe.line(), kLeave);
    EXPECT_EQ(probe.line(), "connected 0");
  }
  /// Sends a command and returns the next report.
  static std::string ask(ChildProcess& probe, const std::string& command) {
    probe.send(command);
    return probe.line();
  }
  void interruptUpgrade() const {
    qx::test::SqliteFile(file).execute("UPDATE \"@QXEXTDBVERSION\" SET U_Status = 'Upgrading'");
  }
  std::vector<std::string> versions() const {
    return rowsOf(file,
                  "SELECT U_ExtID, U_Version, U_EFNum, U_Status FROM \"@QXEXTDBVERSION\" "
                  "ORDER BY Code");
  }

  qx::test::TempFolder folder;
  std::filesystem::path file = folder.path() / "company.db";
};

TEST_F(Processes, StartOneAfterTheOther) {
  const auto first = startLoading();
  const auto second = start();
  EXPECT_TRUE(second->blocksOnLock());
  first->send("go");
  EXPECT_EQ(first->line(), kLeave);
  EXPECT_EQ(second->line(), kEnter);
  EXPECT_EQ(second->line(), "log Db is OK.");
  EXPECT_EQ(second->line(), "loading 2");
  EXPECT_EQ(first->line(), "connected 0");
  finishStart(*second);
}

TEST_F(Processes, LastToStopRemovesTheCommonMenuAndTheFirstDoesNot) {
  const auto first = startLoading();
  finishStart(*first);
  const auto second = startLoading(1);
  finishStart(*second);
  EXPECT_EQ(ask(*first, "menus"), "menus 1");
  EXPECT_EQ(ask(*second, "menus"), "menus 1");

  EXPECT_EQ(ask(*first, "stop"), "log Add-on stopped.");
  EXPECT_EQ(first->line(), "stopped");
  EXPECT_EQ(ask(*first, "menus"), "menus 1");
  first->send("leave");
  EXPECT_EQ(first->wait(), 0);
  EXPECT_EQ(ask(*second, "count"), "count 1");

  EXPECT_EQ(ask(*second, "stop"), "log Add-on stopped.");
  EXPECT_EQ(second->line(), kRemove);
  EXPECT_EQ(second->line(), "stopped");
  EXPECT_EQ(ask(*second, "menus"), "menus 0");
  second->send("leave");
  EXPECT_EQ(second->wait(), 0);
}

TEST_F(Processes, AddOnThatFailsToLoadReleasesTheMutexAndItsCount) {
  const auto first = startLoading();
  first->send("fail");
  EXPECT_THAT(first->line(), StartsWith("box Set-up function of add-on failed"));
  first->send("1");
  EXPECT_EQ(first->line(), kRemove);
  EXPECT_EQ(first->line(), kLeave);
  EXPECT_EQ(first->line(), "box Initialization failed");
  const auto second = startLoading(1);
  first->send("1");
  EXPECT_EQ(first->line(), "connected -2147467259");
  first->send("leave");
  EXPECT_EQ(first->wait(), 0);
  finishStart(*second);
  EXPECT_EQ(ask(*second, "count"), "count 1");
}

TEST_F(Processes, KillWhileLoadingReleasesTheMutexAndTheCount) {
  const auto victim = startLoading();
  victim->kill();
  EXPECT_EQ(victim->wait(), -SIGKILL);
  const auto next = startLoading();
  finishStart(*next);
  EXPECT_EQ(ask(*next, "count"), "count 1");
}

TEST_F(Processes, WaitingAddOnStartsWhenTheOneBeforeItIsKilled) {
  const auto victim = startLoading();
  const auto next = start();
  EXPECT_TRUE(next->blocksOnLock());
  victim->kill();
  EXPECT_EQ(next->line(), kEnter);
  EXPECT_EQ(next->line(), "log Db is OK.");
  // The waiting process has kept the counters open, so they still include the killed one.
  EXPECT_EQ(next->line(), "loading 2");
  finishStart(*next);
  EXPECT_EQ(ask(*next, "stop"), "log Add-on stopped.");
  EXPECT_EQ(next->line(), "stopped");
  next->send("leave");
  EXPECT_EQ(next->wait(), 0);
  // No process has the counters open any more, so the next one finds them zeroed.
  const auto last = startLoading();
  finishStart(*last);
}

TEST_F(Processes, KillInsideAMessageBoxReleasesTheMutex) {
  {
    const auto first = startLoading();
    finishStart(*first);
    first->send("leave");
    EXPECT_EQ(first->wait(), 0);
  }
  interruptUpgrade();
  const auto victim = start();
  EXPECT_EQ(victim->line(), kEnter);
  EXPECT_EQ(victim->line(), "log Uncompleted update detected.");
  EXPECT_EQ(victim->line(), kFirstQuestion);
  victim->kill();
  const auto next = start();
  EXPECT_EQ(next->line(), kEnter);
  EXPECT_EQ(next->line(), "log Uncompleted update detected.");
  EXPECT_EQ(next->line(), kFirstQuestion);
  EXPECT_EQ(ask(*next, "2"), kSecondQuestion);
  next->kill();
  const auto last = start();
  EXPECT_EQ(last->line(), kEnter);
  EXPECT_EQ(last->line(), "log Uncompleted update detected.");
  EXPECT_EQ(last->line(), kFirstQuestion);
  EXPECT_EQ(ask(*last, "2"), kSecondQuestion);
  EXPECT_EQ(ask(*last, "2"), "loading 1");
  finishStart(*last);
  EXPECT_THAT(versions(), ElementsAre("|9.20.00.01|00|Installed"));
}

TEST_F(Processes, AnAddOnThatEndsWithAnOpenFormLeavesTheCompanyInOneFile) {
  const auto probe = startLoading();
  finishStart(*probe);
  EXPECT_EQ(ask(*probe, "open"), "opened F_1");
  probe->send("leave");
  EXPECT_EQ(probe->wait(), 0);
  EXPECT_FALSE(std::filesystem::exists(file.string() + "-wal"));
  EXPECT_FALSE(std::filesystem::exists(file.string() + "-shm"));
  EXPECT_THAT(versions(), ElementsAre("|9.20.00.01|00|Installed"));
}

TEST_F(Processes, AKilledAddOnLeavesItsTablesToTheNextWhichLeavesOneFile) {
  const auto victim = startLoading();
  EXPECT_EQ(ask(*victim, "tables"), "tables 1");
  EXPECT_EQ(ask(*victim, "go"), "created 0");
  EXPECT_EQ(victim->line(), kLeave);
  EXPECT_EQ(victim->line(), "connected 0");
  EXPECT_EQ(ask(*victim, "open"), "opened F_1");
  victim->kill();
  EXPECT_TRUE(std::filesystem::exists(file.string() + "-wal"));

  const auto next = startLoading();
  EXPECT_EQ(ask(*next, "tables"), "tables 0");
  next->kill();
  const auto last = startLoading();
  finishStart(*last);
  EXPECT_EQ(ask(*last, "stop"), "log Add-on stopped.");
  EXPECT_EQ(last->line(), kRemove);
  EXPECT_EQ(last->line(), "stopped");
  EXPECT_FALSE(std::filesystem::exists(file.string() + "-wal"));
  EXPECT_THAT(rowsOf(file, "SELECT Code, U_Kind, U_Rate FROM \"@SYSTDATA\""),
              ElementsAre("00000000|A|1.5", "00000001|B|2"));
}

TEST_F(Processes, NextStartCompletesTheFrameworksTablesAfterAKill) {
  const auto victim = start("Field 'Version' in table");
  EXPECT_EQ(victim->line(), kEnter);
  EXPECT_EQ(victim->line(), "halted Field 'Version' in table");
  victim->kill();
  EXPECT_THAT(rowsOf(file, "SELECT AliasID FROM CUFD ORDER BY FieldID"),
              ElementsAre("ExtID", "Version"));
  const auto next = startLoading();
  finishStart(*next);
  EXPECT_THAT(rowsOf(file, "SELECT AliasID FROM CUFD ORDER BY FieldID"),
              ElementsAre("ExtID", "Version", "EFNum", "Status", "Rdate"));
  EXPECT_THAT(versions(), ElementsAre("|9.20.00.01|00|Installed"));
}

TEST_F(Processes, NextStartCompletesTheAddOnsOwnTablesAfterAKill) {
  constexpr char kIncomplete[] = "tables 4";
  const auto victim = start("Field 'Kind' in table");
  EXPECT_EQ(victim->line(), kEnter);
  EXPECT_EQ(victim->line(), "loading 1");
  EXPECT_EQ(ask(*victim, "tables"), "tables 1");
  EXPECT_EQ(ask(*victim, "go"), "halted Field 'Kind' in table");
  victim->kill();
  EXPECT_THAT(versions(), ElementsAre("|9.20.00.01|00|Installed", "PROBE|3.01.00.00|07|Upgrading"));

  const auto next = startLoading();
  EXPECT_EQ(ask(*next, "tables"), kIncomplete);
  EXPECT_EQ(ask(*next, "go"), "created 0");
  EXPECT_EQ(next->line(), kLeave);
  EXPECT_EQ(next->line(), "connected 0");
  next->send("leave");
  EXPECT_EQ(next->wait(), 0);
  EXPECT_THAT(versions(), ElementsAre("|9.20.00.01|00|Installed", "PROBE|3.01.00.00|07|Installed"));
  EXPECT_THAT(rowsOf(file, "SELECT Code, U_Kind, U_Rate FROM \"@SYSTDATA\""),
              ElementsAre("00000000|A|1.5", "00000001|B|2"));

  const auto last = startLoading();
  EXPECT_EQ(ask(*last, "tables"), "tables 0");
}

}  // namespace
