// A company on a PostgreSQL server that other programs use at the same time: transactions that
// change the same rows, rows and tables that are held, tables that change beside a transaction.

#include "qxdesk/company/test_support.h"
#include "qxdesk/engines/open_database.h"
#include "qxdesk/engines/postgres_locks.h"
#include "qxdesk/engines/test_support.h"
#include "qxframework/automation/text.h"
#include "qxframework/host/company_sharing.h"
#include "testing/odbc_program.h"
#include "testing/postgres_server.h"

#include <thread>

namespace qx::desk {
namespace {

using test::OdbcProgram;
using test::PostgresServer;

class PostgresSharingTest : public testing::Test {
 protected:
  LoginTarget target() const { return {database, kMssql, ln_English, u"manager", u"Demo"}; }
  CComPtr<ICompany> another() const { return connectTo(target()); }
  HRESULT run(const std::u16string& sql) const {
    const auto rows = businessObject<IRecordset>(company, kRecordset);
    return raisedBy([&] { rows->DoQuery(CComBSTR(sql)); });
  }
  long fault() const { return CComQIPtr<ICompanySharing>(company)->GetLastFault(); }
  std::u16string failure() const { return lastError(company).text; }
  std::string connection() const { return database.substr(std::string("odbc:").size()); }
  std::string name() const {
    const std::size_t begin = database.find("Database=") + 9;
    return database.substr(begin, database.find(';', begin) - begin);
  }
  /// Returns once `count` sessions of the database wait for a lock.
  void awaitBlocked(int count) const {
    while (server.ask("postgres", "SELECT COUNT(*) FROM pg_stat_activity WHERE datname = '" +
                                      name() + "' AND wait_event_type = 'Lock'") !=
           std::to_string(count)) {
    }
  }

  PostgresServer& server = PostgresServer::shared();
  TestPlace place{Engine::Postgres};
  std::string database = place.companyDatabase();
  CComPtr<ICompany> company = another();
};

// ---- transactions that change the same rows

TEST_F(PostgresSharingTest, OfTwoThatChangeARowTheyHaveReadTheSecondMeetsAConflict) {
  const CComPtr<ICompany> other = another();
  for (const CComPtr<ICompany>& one : {company, other}) {
    one->StartTransaction();
    EXPECT_EQ(rowsOf(one, u"SELECT InStock FROM HVITEM WHERE ItemNo = 'A1000'"), u"0");
  }
  query(other, u"UPDATE HVITEM SET InStock = 1 WHERE ItemNo = 'A1000'");
  other->EndTransaction(et_Commit);
  EXPECT_EQ(run(u"UPDATE HVITEM SET InStock = 1 WHERE ItemNo = 'A1000'"), kSqlFailure);
  EXPECT_EQ(fault(), kConflictFault);
  EXPECT_EQ(failure(),
            u"Another program has changed the same rows since this transaction began (could not "
            u"serialize access due to concurrent update); nothing of the transaction was kept. "
            u"Start it again from its beginning.");
  EXPECT_EQ(company->GetInTransaction(), VARIANT_TRUE);
  EXPECT_EQ(raisedBy([&] { company->EndTransaction(et_Commit); }), kWrongTransactionState);
  EXPECT_EQ(fault(), kConflictFault);
  EXPECT_EQ(rowsOf(company, u"SELECT InStock FROM HVITEM WHERE ItemNo = 'A1000'"), u"1");
}

TEST_F(PostgresSharingTest, ATransactionReadsTheRowsAsTheyWereAtItsFirstStatement) {
  const CComPtr<ICompany> other = another();
  company->StartTransaction();
  query(other, u"UPDATE HVCOMP SET Country = 'FR'");
  EXPECT_EQ(rowsOf(company, u"SELECT Country FROM HVCOMP"), u"FR");
  query(other, u"UPDATE HVCOMP SET Country = 'IT'");
  EXPECT_EQ(rowsOf(company, u"SELECT Country FROM HVCOMP"), u"FR");
  company->EndTransaction(et_Commit);
  EXPECT_EQ(rowsOf(company, u"SELECT Country FROM HVCOMP"), u"IT");
}

TEST_F(PostgresSharingTest, ATransactionWhoseFirstStatementFailsIsAsStrict) {
  const CComPtr<ICompany> other = another();
  company->StartTransaction();
  EXPECT_EQ(run(u"INSERT INTO HVITEM (ItemNo) VALUES ('A1000')"), kSqlFailure);
  EXPECT_EQ(fault(), kDuplicateFault);
  EXPECT_EQ(rowsOf(company, u"SELECT Country FROM HVCOMP"), u"DE");
  query(other, u"UPDATE HVCOMP SET Country = 'FR'");
  EXPECT_EQ(run(u"UPDATE HVCOMP SET Country = 'IT'"), kSqlFailure);
  EXPECT_EQ(fault(), kConflictFault);
}

TEST_F(PostgresSharingTest, SingleStatementsWaitAndDoNotConflict) {
  const CComPtr<ICompany> patient = connectTo(target(), systemEnvironment());
  const CComPtr<ICompany> other = another();
  other->StartTransaction();
  query(other, u"UPDATE HVITEM SET InStock = InStock + 1 WHERE ItemNo = 'A1000'");
  std::thread end([&] {
    awaitBlocked(1);
    other->EndTransaction(et_Commit);
  });
  query(patient, u"UPDATE HVITEM SET InStock = InStock + 1 WHERE ItemNo = 'A1000'");
  end.join();
  EXPECT_EQ(rowsOf(company, u"SELECT InStock FROM HVITEM WHERE ItemNo = 'A1000'"), u"2");
}

TEST_F(PostgresSharingTest, OfTwoThatWaitForEachOtherOneMeetsADeadlock) {
  server.run("postgres", "ALTER DATABASE " + name() + " SET deadlock_timeout = '50ms'");
  CompanyEnvironment environment = systemEnvironment();
  environment.busyTimeoutMs = 500;
  const CComPtr<ICompany> own = connectTo(target(), environment);
  const CComQIPtr<ICompanySharing> sharing(own);
  OdbcProgram other(connection());
  other.run("SET deadlock_timeout = '1h'");
  other.run("BEGIN");
  other.run("UPDATE hvpartn SET balance = 1");
  own->StartTransaction();
  query(own, u"UPDATE HVITEM SET InStock = 1");
  std::thread blocked([&] { other.run("UPDATE hvitem SET instock = 2"); });
  awaitBlocked(1);
  const auto rows = businessObject<IRecordset>(own, kRecordset);
  // The server looks for a deadlock once in each wait. The other one begins its wait anew when the
  // driver releases its savepoint, and may come too late for the first look.
  do {
    EXPECT_EQ(raisedBy([&] { rows->DoQuery(CComBSTR(u"UPDATE HVPARTN SET Balance = 2")); }),
              kSqlFailure);
  } while (sharing->GetLastFault() == kLockedFault);
  blocked.join();
  EXPECT_EQ(sharing->GetLastFault(), kDeadlockFault);
  const std::u16string text = withoutNumbers(lastError(own).text);
  EXPECT_TRUE(text.starts_with(
      u"This program and another one waited for each other (deadlock detected (Process # waits "
      u"for ShareLock on transaction #; blocked by process #."))
      << toUtf8(text);
  EXPECT_TRUE(
      text.ends_with(u"); the database ended this transaction, and nothing of it was kept. "
                     u"Start it again from its beginning."))
      << toUtf8(text);
  other.run("COMMIT");
  EXPECT_EQ(raisedBy([&] { own->EndTransaction(et_RollBack); }), S_OK);
  EXPECT_EQ(rowsOf(own, u"SELECT MAX(InStock) FROM HVITEM"), u"2");
}

// ---- rows and tables that are held

TEST_F(PostgresSharingTest, TheProgramThatHoldsARowIsNamed) {
  addTable(company, u"Orders");
  query(company, u"INSERT INTO [@Orders] (Code, Name) VALUES ('1', 'n')");
  OdbcProgram other(connection());
  other.run("SET application_name = 'till 7'");
  other.run("BEGIN");
  other.run("UPDATE \"@orders\" SET name = 'm'");
  const std::u16string process = toUtf16(other.ask("SELECT pg_backend_pid()"));
  const std::u16string expected =
      u"The table '@Orders' or a row of it is locked by the program "
      u"'till 7' (process " +
      process + u"). Try again when it has finished.";
  for (const bool inTransaction : {false, true}) {
    if (inTransaction) company->StartTransaction();
    if (inTransaction) query(company, u"UPDATE HVCOMP SET Country = 'FR'");
    EXPECT_EQ(run(u"UPDATE [@ORDERS] SET Name = 'x'"), kSqlFailure);
    EXPECT_EQ(fault(), kLockedFault);
    EXPECT_EQ(failure(), expected);
  }
  company->EndTransaction(et_Commit);
  EXPECT_EQ(rowsOf(company, u"SELECT Country FROM HVCOMP"), u"FR");
}

TEST_F(PostgresSharingTest, AProgramThatHoldsAnotherTableIsNotBlamed) {
  addTable(company, u"T");
  addTable(company, u"T2");
  query(company, u"INSERT INTO [@T] (Code, Name) VALUES ('1', 'n')");
  OdbcProgram other(connection());
  other.run("SET application_name = 'other table'");
  other.run("BEGIN");
  other.run("UPDATE \"@t2\" SET name = 'm'");
  OdbcProgram holder(connection());
  holder.run("SET application_name = 'holder'");
  holder.run("BEGIN");
  holder.run("UPDATE \"@t\" SET name = 'm'");
  EXPECT_EQ(run(u"UPDATE [@T] SET Name = '\"@t2\"'"), kSqlFailure);
  EXPECT_EQ(withoutNumbers(failure()),
            u"The table '@T' or a row of it is locked by the program 'holder' (process #). Try "
            u"again when it has finished.");
}

TEST_F(PostgresSharingTest, AStatementThatWasLockedFirstCanBeTriedAgainInItsTransaction) {
  query(company, u"UPDATE HVCOMP SET Country = 'DE'");  // from now on the table is known
  OdbcProgram other(connection());
  other.run("BEGIN");
  other.run("UPDATE hvcomp SET country = 'FR'");
  company->StartTransaction();
  EXPECT_EQ(run(u"UPDATE HVCOMP SET Country = 'IT'"), kSqlFailure);
  EXPECT_EQ(fault(), kLockedFault);
  other.run("COMMIT");
  EXPECT_EQ(run(u"UPDATE HVCOMP SET Country = 'IT'"), S_OK) << toUtf8(failure());
  company->EndTransaction(et_Commit);
  EXPECT_EQ(other.ask("SELECT country FROM hvcomp"), "IT");
}

TEST_F(PostgresSharingTest, AFieldIsAddedInShortAttemptsBetweenWhichOthersRead) {
  OdbcProgram holder(connection());
  holder.run("BEGIN");
  holder.run("UPDATE hvitem SET instock = 5");
  OdbcProgram reader(connection());
  int pauses = 0;
  CompanyEnvironment environment = testEnvironment();
  environment.busyTimeoutMs = 10'000;
  environment.sleep = [&](int) {
    EXPECT_EQ(reader.ask("SELECT COUNT(*) FROM hvitem"), "2");
    if (++pauses == 2) holder.run("COMMIT");
  };
  const CComPtr<ICompany> own = connectTo(target(), environment);
  EXPECT_EQ(addField(own, {u"HVITEM", u"Colour", kAlphaField, 0, 10}), 0)
      << toUtf8(lastError(own).text);
  EXPECT_EQ(pauses, 2);
  EXPECT_EQ(rowsOf(own, u"SELECT InStock, U_Colour FROM HVITEM WHERE ItemNo = 'A1000'"), u"5|");
}

TEST_F(PostgresSharingTest, AFieldOfATableThatStaysInUseIsReportedAsLocked) {
  OdbcProgram holder(connection());
  holder.run("SET application_name = 'till 7'");
  holder.run("BEGIN");
  holder.run("UPDATE hvitem SET instock = 5");
  int slept = 0;
  CompanyEnvironment environment = testEnvironment();
  environment.busyTimeoutMs = 600;
  environment.sleep = [&](int milliseconds) { slept += milliseconds; };
  const CComPtr<ICompany> own = connectTo(target(), environment);
  EXPECT_EQ(addField(own, {u"HVITEM", u"Colour", kAlphaField, 0, 10}), kSqlFailure);
  EXPECT_EQ(withoutNumbers(lastError(own).text),
            u"The table 'HVITEM' or a row of it is locked by the program 'till #' (process #). Try "
            u"again when it has finished.");
  EXPECT_EQ(slept, 50 + 100);
  EXPECT_EQ(rowsOf(own, u"SELECT COUNT(*) FROM CUFD"), u"0");
  holder.run("COMMIT");
  EXPECT_EQ(addField(own, {u"HVITEM", u"Colour", kAlphaField, 0, 10}), 0);
}

// ---- tables that change beside a transaction

TEST_F(PostgresSharingTest, ATransactionReadsATableThatGotAFieldSinceItBegan) {
  addTable(company, u"QX");
  query(company, u"INSERT INTO [@QX] (Code, Name) VALUES ('1', 'n')");
  EXPECT_EQ(rowsOf(company, u"SELECT * FROM [@QX]"), u"1|n");
  company->StartTransaction();
  EXPECT_EQ(rowsOf(company, u"SELECT Country FROM HVCOMP"), u"DE");
  const CComPtr<ICompany> other = another();
  EXPECT_EQ(addField(other, {u"QX", u"No", kNumericField, 0, 0, u"7"}), 0);
  query(other, u"INSERT INTO [@QX] (Code, Name, U_No) VALUES ('2', 'm', 8)");
  EXPECT_EQ(rowsOf(company, u"SELECT * FROM [@QX]"), u"1|n|7");
  query(company, u"UPDATE [@QX] SET Name = 'x' WHERE Code = '1'");
  company->EndTransaction(et_Commit);
  EXPECT_EQ(rowsOf(company, u"SELECT * FROM [@QX] ORDER BY Code"), u"1|x|7\n2|m|8");
}

TEST_F(PostgresSharingTest, ATransactionRefusesATableThatIsGoneSinceItBegan) {
  addTable(company, u"QX");
  query(company, u"SELECT Code FROM [@QX]");
  company->StartTransaction();
  query(company, u"UPDATE HVCOMP SET Country = 'FR'");
  server.run(name(), "DROP TABLE \"@qx\"");
  EXPECT_EQ(run(u"SELECT Code FROM [@QX]"), kSqlFailure);
  EXPECT_EQ(failure(), u"there is no table @QX (line 1, column 18)");
  company->EndTransaction(et_Commit);
  EXPECT_EQ(rowsOf(company, u"SELECT Country FROM HVCOMP"), u"FR");
}

TEST_F(PostgresSharingTest, TablesAreNotMadeByADictionaryThatAnotherProgramHasChanged) {
  addTable(company, u"QX");
  const CComPtr<ICompany> other = another();
  company->StartTransaction();
  query(company, u"UPDATE HVCOMP SET Country = 'FR'");
  EXPECT_EQ(addField(other, {u"QX", u"A", kNumericField}), 0);
  EXPECT_EQ(addField(company, {u"QX", u"B", kNumericField}), kSqlFailure);
  EXPECT_EQ(fault(), kConflictFault);
  EXPECT_EQ(raisedBy([&] { company->EndTransaction(et_RollBack); }), S_OK);
  company->StartTransaction();
  EXPECT_EQ(addField(company, {u"QX", u"B", kNumericField}), 0);
  EXPECT_EQ(addTable(company, u"QY"), 0);
  company->EndTransaction(et_Commit);
  EXPECT_EQ(rowsOf(company, u"SELECT AliasID FROM CUFD ORDER BY FieldID"), u"A\nB");
}

// ---- the session

TEST_F(PostgresSharingTest, TheSessionHasTheNameOfTheProgramAndALimitForIdleTransactions) {
  const auto ask = [&](const std::string& options, const std::string& setting) {
    return openDatabase(database + ";" + options, testEnvironment())->queryText("SHOW " + setting);
  };
  EXPECT_EQ(ask("", "application_name"), "tester");
  EXPECT_EQ(ask("ConnSettings=SET application_name = 'mine'", "application_name"), "mine");
  EXPECT_EQ(ask("", "idle_in_transaction_session_timeout"), "15min");
  server.run("postgres",
             "ALTER DATABASE " + name() + " SET idle_in_transaction_session_timeout = '2min'");
  EXPECT_EQ(ask("", "idle_in_transaction_session_timeout"), "2min");
  EXPECT_EQ(ask("", "default_transaction_isolation"), "read committed");
}

TEST_F(PostgresSharingTest, ATransactionInWhichAProgramHasStoppedEnds) {
  server.run("postgres",
             "ALTER DATABASE " + name() + " SET idle_in_transaction_session_timeout = '50ms'");
  const CComPtr<ICompany> stopped = another();
  stopped->StartTransaction();
  query(stopped, u"UPDATE HVCOMP SET Country = 'FR'");
  query(connectTo(target(), systemEnvironment()), u"UPDATE HVCOMP SET Country = 'IT'");
  const auto rows = businessObject<IRecordset>(stopped, kRecordset);
  EXPECT_EQ(raisedBy([&] { rows->DoQuery(CComBSTR(u"SELECT Country FROM HVCOMP")); }), kSqlFailure);
  EXPECT_TRUE(
      lastError(stopped).text.starts_with(u"The connection to the database server was lost ("))
      << toUtf8(lastError(stopped).text);
  EXPECT_EQ(rowsOf(company, u"SELECT Country FROM HVCOMP"), u"IT");
}

TEST_F(PostgresSharingTest, TheLockOfTheTablesEndsWithItsConnection) {
  CComBSTR holder;
  const CComQIPtr<ICompanySharing> own(company);
  EXPECT_TRUE(own->LockTables(0, holder));
  server.run(
      "postgres",
      "SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE datname = '" + name() + "'");
  const CComPtr<ICompany> other = connectTo(target(), systemEnvironment());
  EXPECT_TRUE(CComQIPtr<ICompanySharing>(other)->LockTables(10'000, holder));
  EXPECT_EQ(raisedBy([&] { own->UnlockTables(); }), kSqlFailure);
  EXPECT_EQ(raisedBy([&] { own->LockTables(0, holder); }), kSqlFailure);
  EXPECT_EQ(company->Connect(), 0);
  EXPECT_EQ(raisedBy([&] { own->UnlockTables(); }), kWrongTransactionState);
  EXPECT_FALSE(own->LockTables(0, holder));
}

// The server can grant the lock and end the wait for it at the same moment. Then the statement
// fails, and a session that asked again would have the lock twice and give it back once.
TEST_F(PostgresSharingTest, ALockOfTheTablesThatComesAsItsTimeIsOverIsTaken) {
  const CompanyEnvironment environment = testEnvironment();
  std::unique_ptr<Database> session = openDatabase(database, environment);
  session->execute("SELECT pg_advisory_lock(hashtext('company tables'))");
  FaultPlan plan{.fault = Fault::Locked, .refusedWords = {"pg_advisory_lock"}};
  const std::unique_ptr<Database> late = failing(std::move(session), &plan);
  PostgresLocks locks(*late, environment);
  EXPECT_TRUE(locks.lockTables(std::chrono::seconds(1)));

  CComBSTR holder;
  const CComQIPtr<ICompanySharing> other(company);
  EXPECT_FALSE(other->LockTables(0, holder));
  locks.unlockTables();
  EXPECT_TRUE(other->LockTables(0, holder));
}

TEST_F(PostgresSharingTest, AConnectionThatIsLostWhileItWaitsForTheLockIsReported) {
  CComBSTR holder;
  EXPECT_TRUE(CComQIPtr<ICompanySharing>(company)->LockTables(0, holder));
  const CComPtr<ICompany> other = connectTo(target(), systemEnvironment());
  std::thread end([&] {
    awaitBlocked(1);
    server.run("postgres",
               "SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE datname = '" + name() +
                   "' AND wait_event_type = 'Lock'");
  });
  const CComQIPtr<ICompanySharing> waiting(other);
  EXPECT_EQ(raisedBy([&] { waiting->LockTables(60'000, holder); }), kSqlFailure);
  end.join();
  EXPECT_TRUE(
      lastError(other).text.starts_with(u"The connection to the database server was lost ("))
      << toUtf8(lastError(other).text);
  EXPECT_EQ(other->GetConnected(), VARIANT_FALSE);
}

TEST_F(PostgresSharingTest, AConnectionThatIsLostBetweenTheAttemptsOfAChangeIsReported) {
  OdbcProgram holder(connection());
  holder.run("BEGIN");
  holder.run("UPDATE hvitem SET instock = 5");
  CompanyEnvironment environment = testEnvironment();
  environment.busyTimeoutMs = 10'000;
  environment.program = "unlucky";
  environment.sleep = [&](int) {
    server.run("postgres",
               "SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE application_name = "
               "'unlucky'");
  };
  const CComPtr<ICompany> own = connectTo(target(), environment);
  EXPECT_EQ(addField(own, {u"HVITEM", u"Colour", kAlphaField, 0, 10}), kSqlFailure);
  EXPECT_TRUE(lastError(own).text.starts_with(u"The connection to the database server was lost ("))
      << toUtf8(lastError(own).text);
  holder.run("COMMIT");
  EXPECT_EQ(rowsOf(company, u"SELECT COUNT(*) FROM CUFD"), u"0");
  EXPECT_EQ(addField(company, {u"HVITEM", u"Colour", kAlphaField, 0, 10}), 0);
}

TEST_F(PostgresSharingTest, ACompanyIsMadeAfterTheTurnOfTheProgramBefore) {
  const std::string empty = "odbc:" + server.connection(server.createDatabase());
  OdbcProgram before(empty.substr(std::string("odbc:").size()));
  before.run("SELECT pg_advisory_lock(hashtext('company tables'))");
  const CComPtr<ICompany> own =
      companyFor({empty, kMssql, ln_English, u"manager", u"Demo"}, testEnvironment());
  // Longer than a statement of the test environment waits for a lock.
  std::thread end([&] {
    while (server.ask("postgres",
                      "SELECT COUNT(*) FROM pg_stat_activity WHERE wait_event_type = 'Lock' AND "
                      "now() - query_start > interval '100 milliseconds'") != "1") {
    }
    before.run("SELECT pg_advisory_unlock(hashtext('company tables'))");
  });
  EXPECT_EQ(own->Connect(), 0) << toUtf8(lastError(own).text);
  end.join();
}

}  // namespace
}  // namespace qx::desk
