// What another user of the machine tries against a running add-on. No attempt may stop it, slow it
// down or read what is its user's.

#include "testing/child_process.h"
#include "testing/file_content.h"
#include "testing/machine.h"
#include "tests/system/two_users.h"

#include <gmock/gmock.h>

#include <fstream>

namespace {

using qx::test::ChildProcess;
using qx::test::contentOfExisting;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class OtherUsers : public qx::test::TwoUsers {
 protected:
  /// Starts a probe of A, see probe_addon.cc, up to its OnApplicationLoad, where it waits. It holds
  /// the start mutex, the counters and the company then.
  std::unique_ptr<ChildProcess> startProbe(const std::vector<std::string>& variables = {}) const {
    auto probe = std::make_unique<ChildProcess>(
        a_.running({"/bin/sh", "-c", "umask 0; exec \"$0\" \"$1\"",
                    qx::test::buildProgram("probe_addon").string(), company_.string()},
                   variables),
        std::vector<std::string>{});
    for (std::string line = probe->line(); line != "loading 1"; line = probe->line()) {
      if (line.starts_with("<")) {
        ADD_FAILURE() << line;
        break;
      }
    }
    return probe;
  }
  static void leave(ChildProcess& probe) {
    probe.send("go");
    leaveOnceLoaded(probe);
  }
  static void leaveOnceLoaded(ChildProcess& probe) {
    EXPECT_EQ(probe.line(), "log Leaving critical section....");
    EXPECT_EQ(probe.line(), "connected 0");
    probe.send("count");
    EXPECT_EQ(probe.line(), "count 1");
    probe.send("leave");
    EXPECT_EQ(probe.wait(), 0);
  }
  /// Lets B do `command` to each file. Returns what B could do; nothing if each time is refused.
  std::string achieved(const std::vector<std::filesystem::path>& files,
                       const std::string& command) const {
    std::string script;
    for (const auto& file : files) script += "f='" + file.string() + "'; " + command + "\n";
    std::string others;
    const std::size_t refused = qx::test::linesEnding(b_.runs(script), "Permission denied", others);
    EXPECT_EQ(refused, files.size());
    return others;
  }
};

// B can do all this to files of B's, so that a refusal below is one of rights.
TEST_F(OtherUsers, CanDoToTheirOwnFilesWhatTheTestsTry) {
  EXPECT_EQ(b_.runs("echo text > own; cat own; flock -n own echo locked; truncate -s 0 own;"
                    "head -c 9 /dev/zero >> own; stat -c %s own"),
            "text\nlocked\n9\n");
}

TEST_F(OtherUsers, HaveNoHoldOnTheLocksAndCountersOfARunningAddOn) {
  const auto probe = startProbe();
  const auto files = qx::test::filesBelow(a_.home() / ".local/state/qxframework/run");
  EXPECT_THAT(files, testing::SizeIs(3));
  EXPECT_EQ(achieved(files, "flock -n \"$f\" echo locked"), "");
  EXPECT_EQ(achieved(files, "truncate -s 0 \"$f\""), "");
  EXPECT_EQ(achieved(files, "head -c 1000000 /dev/zero >> \"$f\""), "");
  EXPECT_EQ(achieved(files, "mv \"$f\" own"), "");
  EXPECT_EQ(achieved(files, "touch \"$f.new\""), "");
  EXPECT_EQ(achieved(files, "cat \"$f\""), "");
  leave(*probe);
}

// Where a user has neither a runtime folder nor a home, the folder in /tmp is the last choice;
// there B could be first.
TEST_F(OtherUsers, WhoMakeTheLastFolderForLocksFirstDoNotStopAnAddOn) {
  const std::string own = lastFolder_.string();
  ASSERT_EQ(b_.runs("mkdir " + own + " && chmod 777 " + own + " && echo made"), "made\n");
  EXPECT_EQ(runHello(), undisturbed());
  EXPECT_EQ(b_.runs("ls -A " + own), "");
}

TEST_F(OtherUsers, DoNotGetTheLocksIntoTheirFolderByTheEnvironment) {
  const auto theirs = b_.home() / "run";
  ASSERT_EQ(b_.runs("mkdir run && chmod 777 run && echo made"), "made\n");
  EXPECT_EQ(runHello({"XDG_RUNTIME_DIR=" + theirs.string()}), undisturbed());
  EXPECT_THAT(qx::test::filesBelow(theirs), IsEmpty());
}

TEST_F(OtherUsers, ReadNothingOfACompanyAndItsLog) {
  EXPECT_EQ(runHello(), undisturbed());
  const auto probe = startProbe();
  auto files = qx::test::filesBelow(a_.home());
  std::erase(files, errors_);  // the test's own
  std::string all;
  for (const auto& file : files) all += file.filename().string() + "\n";
  for (const char* name :
       {"company.db\n", "company.db-wal\n", "company.db-lock\n", "HELLO.log\n"}) {
    EXPECT_THAT(all, HasSubstr(name));
  }
  EXPECT_EQ(achieved(files, "cat \"$f\""), "");
  EXPECT_EQ(achieved(files, "truncate -s 0 \"$f\""), "");
  leave(*probe);
}

// Where an administrator has made one folder for all, B takes part: B can hold the mutex and change
// the counters. But B cannot end A's add-on.
TEST_F(OtherUsers, WhoShareTheLocksCannotEndAnAddOnByTheirFiles) {
  makeEveryUsersFolder();
  const auto probe = startProbe();
  const std::string folder = kEveryUsersFolder;
  EXPECT_EQ(b_.runs("cd " + folder + " && for f in *; do truncate -s 0 $f; done; cat *"), "");
  probe->send("go");
  EXPECT_EQ(probe->line(), "log Leaving critical section....");
  EXPECT_EQ(probe->line(), "connected 0");
  probe->send("count");
  EXPECT_EQ(probe->line(), "count 0");
  probe->send("leave");
  EXPECT_EQ(probe->wait(), 0);
}

// A company in a folder of all users, in which B has made the lock file first. Its mapping would
// end A's add-on once B shortens it.
TEST_F(OtherUsers, WhoShortenTheLockFileOfACompanyDoNotEndAnAddOn) {
  company_ = shared_ / "company.db";
  const std::string theirs = "'" + company_.string() + "-lock'";
  ASSERT_EQ(b_.runs("{ printf 'qxdesk locks 1\\n'; head -c 4081 /dev/zero; } > " + theirs +
                    " && chmod 666 " + theirs + " && stat -c %s " + theirs),
            "4096\n");
  const auto probe = startProbe();
  ASSERT_EQ(b_.runs("truncate -s 0 " + theirs + " && echo short"), "short\n");
  probe->send("tables");
  EXPECT_EQ(probe->line(), "tables 1");
  probe->send("go");
  EXPECT_EQ(probe->line(), "created 0");
  leaveOnceLoaded(*probe);
  EXPECT_EQ(runHello(), undisturbed());
  const std::string trace = contentOfExisting(errors_.string());
  const std::string sentence = "The lock file " + company_.string() + "-lock is not used";
  EXPECT_THAT(trace, HasSubstr(sentence));
  EXPECT_EQ(trace.find(sentence), trace.rfind(sentence));
}

/// What B puts at a place where A is going to write. $place is the path, $mine a file of A's.
struct Trap {
  const char* name;
  const char* script;
  bool byRoot = false;  // in place of B, whom many systems keep from it
};

void PrintTo(const Trap& trap, std::ostream* stream) { *stream << trap.name; }

constexpr Trap kTraps[] = {
    {"Pipe", "mkfifo -m 666 \"$place\""},
    {"Link", "ln -s \"$mine\" \"$place\""},
    {"LinkToNothing", "ln -s \"$mine.new\" \"$place\""},
    {"HardLink", "ln \"$mine\" \"$place\"", true},
    {"OpenFile", "touch \"$place\" && chmod 666 \"$place\""},
    {"ClosedFile", "touch \"$place\" && chmod 600 \"$place\""},
    {"Folder", "mkdir \"$place\" && touch \"$place/full\""},
    {"LinkToADevice", "ln -s /dev/full \"$place\""},
};

class OtherUsersTraps : public OtherUsers, public testing::WithParamInterface<Trap> {
 protected:
  void SetUp() override {
    OtherUsers::SetUp();
    if (IsSkipped()) return;
    a_.runs("echo precious > mine; chmod 644 mine");
  }
  /// Lets B put the trap at each of the places, which are in the shared folder. Locks them, too,
  /// for as long as the returned program lives.
  std::unique_ptr<ChildProcess> trap(const std::vector<std::string>& names) const {
    std::string script = "mine='" + (a_.home() / "mine").string() + "'\n";
    std::string locks;
    for (const std::string& name : names) {
      const std::string place = (shared_ / name).string();
      script += "place='" + place + "'; " + GetParam().script + "\n";
      locks += "flock -n '" + place + "' ";
    }
    const std::vector<std::string> setting{"/bin/sh", "-ec", script};
    EXPECT_EQ(ChildProcess(GetParam().byRoot ? setting : b_.running(setting), {}).wait(), 0);
    // Only B's own plain files let B lock them.
    const std::string hold = "sh -c 'echo ready; read end'";
    auto b = std::make_unique<ChildProcess>(
        b_.running({"/bin/sh", "-c",
                    "if test -O '" + (shared_ / names[0]).string() + "' && test -f '" +
                        (shared_ / names[0]).string() + "'; then exec " + locks + hold +
                        "; else exec " + hold + "; fi"}),
        std::vector<std::string>{});
    EXPECT_EQ(b->line(), "ready");
    return b;
  }
  void expectMineUntouched() const {
    EXPECT_EQ(contentOfExisting((a_.home() / "mine").string()), "precious\n");
    EXPECT_FALSE(std::filesystem::exists(a_.home() / "mine.new"));
  }
};

// A log in a folder of all users: it is not written then, but the add-on goes on and the trace says
// so once.
TEST_P(OtherUsersTraps, AtTheLogDoNotStopAnAddOn) {
  const auto b = trap({"HELLO.log", ".HELLO.sync1"});
  EXPECT_EQ(runHello({"QX_LOG_DIR=" + shared_.string()}), undisturbed());
  expectMineUntouched();
  const std::string trace = contentOfExisting(errors_.string());
  const std::string sentence = "log: " + (shared_ / "HELLO.log").string() + " cannot be written (";
  EXPECT_THAT(trace, HasSubstr(sentence));
  EXPECT_EQ(trace.find(sentence), trace.rfind(sentence));
}

TEST_P(OtherUsersTraps, AtTheDumpOfAFormDoNotStopAnAddOn) {
  const auto b = trap({"HVX_Form.xml"});
  const auto probe = startProbe({"TMPDIR=" + shared_.string()});
  probe->send("go");
  EXPECT_EQ(probe->line(), "log Leaving critical section....");
  EXPECT_EQ(probe->line(), "connected 0");
  probe->send("dump");
  EXPECT_EQ(probe->line(), "dumped -2147024809");
  probe->send("leave");
  EXPECT_EQ(probe->wait(), 0);
  expectMineUntouched();
}

// A company in a folder of all users.
TEST_P(OtherUsersTraps, AtTheLocksOfACompanyDoNotStopAnAddOn) {
  company_ = shared_ / "company.db";
  const auto b = trap({"company.db-lock"});
  EXPECT_EQ(runHello(), undisturbed());
  expectMineUntouched();
}

INSTANTIATE_TEST_SUITE_P(Trap, OtherUsersTraps, testing::ValuesIn(kTraps),
                         [](const auto& each) { return std::string(each.param.name); });

}  // namespace
