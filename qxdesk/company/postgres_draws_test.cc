// Connections to a PostgreSQL server that keep the lock of a table's codes over several Adds: when
// they keep it, and all that ends it.

#include "qxdesk/company/test_support.h"
#include "qxframework/automation/format.h"
#include "qxframework/automation/text.h"
#include "testing/odbc_program.h"
#include "testing/postgres_server.h"

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <thread>

namespace qx::desk {
namespace {

using test::OdbcProgram;
using test::PostgresServer;

constexpr int kForever = 600'000;

/// Returns the code that follows the highest one, as the framework draws it.
std::u16string draw(const CComPtr<ICompany>& company) {
  const std::u16string code = rowsOf(company, u"SELECT MAX(Code) FROM [@T]");
  return format(u"%08X", code.empty() ? 0 : std::stol(toUtf8(code), nullptr, 16) + 1);
}

bool insert(const CComPtr<ICompany>& company, const std::u16string& code) {
  const auto rows = businessObject<IRecordset>(company, kRecordset);
  return rows->raw_DoQuery(CComBSTR(u"INSERT INTO [@T] (Code, Name) VALUES (N'" + code + u"', N'" +
                                    code + u"')")) == S_OK;
}

bool add(const CComPtr<ICompany>& company) { return insert(company, draw(company)); }

/// Adds twice: the second Add follows the first one closely, so the lock is kept after it.
bool addInSeries(const CComPtr<ICompany>& company) { return add(company) && add(company); }

/// A world whose clock stands still, in which a lock is neither given up nor passed over by itself.
CompanyEnvironment patientEnvironment() {
  CompanyEnvironment environment = testEnvironment();
  environment.busyTimeoutMs = 60'000;
  environment.drawTimeoutMs = kForever;
  environment.codeIdleMs = kForever;
  return environment;
}

class PostgresDraws : public testing::Test {
 protected:
  PostgresDraws() { EXPECT_EQ(addTable(company, u"T"), 0); }

  LoginTarget target() const { return {database, kMssql, ln_English, u"manager", u"Demo"}; }
  CComPtr<ICompany> another(const CompanyEnvironment& world = patientEnvironment()) const {
    return connectTo(target(), world);
  }
  std::string connection() const { return database.substr(std::string("odbc:").size()); }
  std::string name() const {
    const std::size_t begin = database.find("Database=") + 9;
    return database.substr(begin, database.find(';', begin) - begin);
  }
  /// Returns how many locks of codes the sessions of the database have.
  std::string locks() const {
    return server.ask(name(),
                      "SELECT COUNT(*) FROM pg_locks WHERE locktype = 'advisory' AND granted AND "
                      "database = (SELECT oid FROM pg_database WHERE datname = '" +
                          name() + "')");
  }
  void awaitNoLocks() const {
    while (locks() != "0") {
    }
  }
  /// Returns once a session of the database waits for a lock.
  void awaitBlocked() const {
    while (server.ask("postgres", "SELECT COUNT(*) FROM pg_stat_activity WHERE datname = '" +
                                      name() + "' AND wait_event_type = 'Lock'") != "1") {
    }
  }
  void expectRows(int count) const {
    EXPECT_EQ(rowsOf(company, u"SELECT COUNT(*), MIN(Code), MAX(Code) FROM [@T]"),
              format(u"%d|00000000|%08X", count, count - 1));
  }
  /// Starts a process that does the work with a company of its own and then waits for its end.
  /// Returns when the work is done.
  pid_t inProcess(const std::function<void(const CComPtr<ICompany>&)>& work,
                  const CompanyEnvironment& world) const {
    std::array<int, 2> ready{};
    EXPECT_EQ(pipe(ready.data()), 0);
    const pid_t child = fork();
    if (child == 0) {
      const CComPtr<ICompany> own = another(world);
      work(own);
      if (write(ready[1], "d", 1) == 1) pause();
      _exit(1);
    }
    char done = 0;
    EXPECT_EQ(read(ready[0], &done, 1), 1);
    close(ready[0]);
    close(ready[1]);
    return child;
  }
  static void end(pid_t process) {
    kill(process, SIGKILL);
    waitpid(process, nullptr, 0);
  }

  PostgresServer& server = PostgresServer::shared();
  TestPlace place{Engine::Postgres};
  std::string database = place.companyDatabase();
  CompanyEnvironment environment = patientEnvironment();
  CComPtr<ICompany> company = another(environment);
};

TEST_F(PostgresDraws, AnAddByItselfKeepsNothing) {
  EXPECT_TRUE(add(company));
  EXPECT_EQ(locks(), "0");
}

TEST_F(PostgresDraws, AddsThatFollowEachOtherKeepTheLock) {
  EXPECT_TRUE(addInSeries(company));
  EXPECT_EQ(locks(), "1");
  EXPECT_TRUE(add(company));
  EXPECT_EQ(locks(), "1");
}

TEST_F(PostgresDraws, AddsBetweenOtherStatementsKeepNothing) {
  for (int i = 0; i < 3; ++i) {
    EXPECT_TRUE(add(company));
    EXPECT_EQ(rowsOf(company, u"SELECT Country FROM HVCOMP"), u"DE");
    EXPECT_EQ(locks(), "0");
  }
}

TEST_F(PostgresDraws, AddsWithPausesKeepNothing) {
  for (int i = 0; i < 3; ++i) {
    EXPECT_TRUE(add(company));
    EXPECT_EQ(locks(), "0");
    environment.sleep(10);
  }
}

TEST_F(PostgresDraws, TheInsertGivesTheLockUpWhenTheTurnIsOver) {
  EXPECT_TRUE(addInSeries(company));
  const std::u16string code = draw(company);
  environment.sleep(environment.codeTurnMs);
  EXPECT_TRUE(insert(company, code));
  EXPECT_EQ(locks(), "0");
}

TEST_F(PostgresDraws, AConnectionWhoseTurnIsOverDrawsAfterThoseWhoWait) {
  EXPECT_TRUE(addInSeries(company));
  const std::string key =
      server.ask(name(),
                 "SELECT (CAST(classid AS bigint) << 32) | CAST(objid AS bigint) FROM pg_locks "
                 "WHERE locktype = 'advisory'");
  OdbcProgram other(connection());
  std::atomic<bool> had = false;
  std::thread waiting([&] {
    other.run("SELECT pg_advisory_lock(" + key + ")");
    had = true;
    other.run("SELECT pg_advisory_unlock(" + key + ")");
  });
  awaitBlocked();
  environment.sleep(environment.codeTurnMs);
  EXPECT_TRUE(add(company));
  EXPECT_TRUE(had);
  waiting.join();
}

TEST_F(PostgresDraws, AnIdleConnectionGivesTheLockUp) {
  CompanyEnvironment quick = patientEnvironment();
  quick.codeIdleMs = 1;
  const CComPtr<ICompany> own = another(quick);
  for (int i = 0; i < 3; ++i) {
    EXPECT_TRUE(addInSeries(own));
    awaitNoLocks();
  }
  expectRows(6);
}

TEST_F(PostgresDraws, AnotherStatementGivesTheLockUp) {
  EXPECT_TRUE(addInSeries(company));
  EXPECT_EQ(rowsOf(company, u"SELECT Country FROM HVCOMP"), u"DE");
  EXPECT_EQ(locks(), "0");
}

TEST_F(PostgresDraws, ADrawFromAnotherTableGivesTheLockUp) {
  EXPECT_EQ(addTable(company, u"T2"), 0);
  EXPECT_TRUE(addInSeries(company));
  EXPECT_EQ(rowsOf(company, u"SELECT MAX(Code) FROM [@T2]"), u"");
  EXPECT_EQ(locks(), "1");
  query(company, u"INSERT INTO [@T2] (Code, Name) VALUES ('00000000', 'n')");
  EXPECT_EQ(locks(), "0");
}

TEST_F(PostgresDraws, TheBeginOfATransactionGivesTheLockUp) {
  EXPECT_TRUE(addInSeries(company));
  company->StartTransaction();
  EXPECT_EQ(locks(), "0");
  company->EndTransaction(et_RollBack);
}

TEST_F(PostgresDraws, AddsInATransactionKeepNothingBeyondIt) {
  company->StartTransaction();
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(add(company));
  company->EndTransaction(et_Commit);
  EXPECT_EQ(locks(), "0");
  expectRows(3);
}

TEST_F(PostgresDraws, AnInsertThatFailsGivesTheLockUp) {
  EXPECT_TRUE(addInSeries(company));
  draw(company);
  EXPECT_FALSE(insert(company, u"00000000"));
  EXPECT_EQ(locks(), "0");
  EXPECT_TRUE(add(company));
  expectRows(3);
}

TEST_F(PostgresDraws, TheEndOfTheConnectionGivesTheLockUp) {
  EXPECT_TRUE(addInSeries(company));
  company->Disconnect();
  awaitNoLocks();
}

// The catalogue is read between the draw and the INSERT.
TEST_F(PostgresDraws, AddsWhoseStatementsAreTranslatedAnewKeepNothing) {
  const CComPtr<ICompany> own = connectTo(
      {database, kMssql, ln_English, u"manager", u"Demo", false, false}, patientEnvironment());
  for (int i = 0; i < 3; ++i) {
    EXPECT_TRUE(add(own));
    EXPECT_EQ(locks(), "0");
  }
  expectRows(3);
}

// ---- two connections of one process

TEST_F(PostgresDraws, AnotherConnectionOfTheProcessGetsTheLockAtOnce) {
  const CComPtr<ICompany> other = another();
  EXPECT_TRUE(addInSeries(company));
  EXPECT_TRUE(add(other));
  EXPECT_EQ(locks(), "0");
  EXPECT_TRUE(add(company));
  expectRows(4);
}

TEST_F(PostgresDraws, TwoConnectionsThatAddInTurnKeepNothing) {
  const CComPtr<ICompany> other = another();
  EXPECT_TRUE(addInSeries(company));
  for (int i = 0; i < 3; ++i) {
    EXPECT_TRUE(add(other));
    EXPECT_EQ(locks(), "0");
    EXPECT_TRUE(add(company));
    EXPECT_EQ(locks(), "0");
  }
}

// Without an INSERT between the draws the thread would wait for itself.
TEST_F(PostgresDraws, AThreadDoesNotWaitForItsOwnDrawThroughAnotherConnection) {
  draw(company);
  const CComPtr<ICompany> other = another();
  EXPECT_TRUE(add(other));
  EXPECT_TRUE(add(other));
  EXPECT_FALSE(insert(company, u"00000000"));
  EXPECT_TRUE(add(company));
  expectRows(3);
}

TEST_F(PostgresDraws, OfThreeConnectionsOfAThreadTheLastGoesWithoutALock) {
  draw(company);
  const CComPtr<ICompany> second = another();
  draw(second);
  EXPECT_TRUE(add(another()));
  expectRows(1);
}

TEST_F(PostgresDraws, ADrawInATransactionDoesNotWaitForItsOwnThreadEither) {
  draw(company);
  const CComPtr<ICompany> other = another();
  other->StartTransaction();
  EXPECT_TRUE(add(other));
  other->EndTransaction(et_Commit);
  expectRows(1);
}

TEST_F(PostgresDraws, TheDrawOfAnotherThreadIsWaitedFor) {
  const std::u16string code = draw(company);
  const CComPtr<ICompany> other = another();
  bool added = false;
  std::thread waiting([&] { added = add(other); });
  awaitBlocked();
  EXPECT_TRUE(insert(company, code));
  waiting.join();
  EXPECT_TRUE(added);
  expectRows(2);
}

// ---- processes

TEST_F(PostgresDraws, AProcessMadeByForkGivesItsLockUp) {
  EXPECT_TRUE(addInSeries(company));  // from now on this process has the thread
  query(company, u"SELECT Country FROM HVCOMP");
  environment.codeIdleMs = 1;
  const pid_t child =
      inProcess([](const CComPtr<ICompany>& own) { addInSeries(own); }, environment);
  awaitNoLocks();
  end(child);
  expectRows(4);
}

TEST_F(PostgresDraws, AProcessThatIsStoppedWithAKeptLockStopsOthersForAShortTimeOnly) {
  const pid_t child =
      inProcess([](const CComPtr<ICompany>& own) { addInSeries(own); }, environment);
  EXPECT_EQ(locks(), "1");
  kill(child, SIGSTOP);
  CompanyEnvironment brief = systemEnvironment();
  brief.drawTimeoutMs = 20;
  EXPECT_TRUE(add(another(brief)));
  end(child);
  expectRows(3);
}

TEST_F(PostgresDraws, AProcessThatIsKilledWithAKeptLockStopsNoOne) {
  end(inProcess([](const CComPtr<ICompany>& own) { addInSeries(own); }, environment));
  EXPECT_TRUE(add(company));
  expectRows(3);
}

TEST_F(PostgresDraws, AProcessMayEndWithAKeptLock) {
  environment.codeIdleMs = 1;
  const pid_t child = fork();
  if (child == 0) {
    [[maybe_unused]] static const CComPtr<ICompany> own = another(environment);
    exit(addInSeries(own) ? 0 : 1);
  }
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  EXPECT_TRUE(add(company));
  expectRows(3);
}

}  // namespace
}  // namespace qx::desk
