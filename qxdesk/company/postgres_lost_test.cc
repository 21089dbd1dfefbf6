// The server stops while a company is open: that is reported, never taken for the end of the rows,
// and no half of a transaction is kept.

#include "qxdesk/company/test_support.h"
#include "qxdesk/engines/open_database.h"
#include "qxframework/automation/text.h"
#include "testing/odbc_program.h"
#include "testing/postgres_server.h"

namespace qx::desk {
namespace {

using test::PostgresServer;

constexpr std::u16string_view kLost = u"The connection to the database server was lost (";

class PostgresLostTest : public testing::TestWithParam<PostgresServer::End> {
 protected:
  PostgresLostTest() {
    EXPECT_EQ(addTable(company, u"QX"), 0);
    query(company, u"INSERT INTO [@QX] (Code, Name) VALUES ('0', 'n')");
  }
  LoginTarget target() const {
    return {"odbc:" + server.connection(database), kMssql, ln_English, u"manager", u"Demo"};
  }
  HRESULT run(const std::u16string& sql) {
    const auto rows = businessObject<IRecordset>(company, kRecordset);
    return raisedBy([&] { rows->DoQuery(CComBSTR(sql)); });
  }
  std::u16string codes() {
    return rowsOf(connectTo(target()), u"SELECT Code FROM [@QX] ORDER BY Code");
  }
  void expectLost() {
    EXPECT_EQ(lastError(company).code, kSqlFailure);
    EXPECT_TRUE(lastError(company).text.starts_with(kLost)) << toUtf8(lastError(company).text);
  }
  /// Reads rows while the server stops, and with `isBack` starts again.
  void expectNoEndOfTheRows(const std::string& cursor, bool isBack);

  void TearDown() override { server.start(); }

  PostgresServer& server = PostgresServer::shared();
  std::string database = server.createDatabase();
  CComPtr<ICompany> company = connectTo(target());
};

void PostgresLostTest::expectNoEndOfTheRows(const std::string& cursor, bool isBack) {
  server.start();
  const auto opened = openDatabase(target().database + ";UseDeclareFetch=" + cursor + ";Fetch=50",
                                   testEnvironment());
  const auto rows = opened->prepareGuarded("SELECT generate_series(1, 100000)");
  EXPECT_TRUE(rows->step());
  server.stop(GetParam());
  if (isBack) server.start();
  int read = 1;
  std::optional<Fault> fault;
  try {
    while (rows->step()) ++read;
  } catch (const DatabaseError& error) {
    fault = error.fault();
  }
  EXPECT_TRUE(read == 100'000 || fault == Fault::ConnectionLost) << read;
  if (cursor == "1") {
    EXPECT_LT(read, 100'000);
  }
}

TEST_P(PostgresLostTest, IsReportedInTheMiddleOfALoopOfQueries) {
  int done = 0;
  HRESULT code = S_OK;
  for (; code == S_OK && done < 10; ++done) {
    if (done == 5) server.stop(GetParam());
    const auto rows = businessObject<IRecordset>(company, kRecordset);
    code = raisedBy([&] { rows->DoQuery(CComBSTR(u"SELECT Code FROM [@QX]")); });
    EXPECT_EQ(rows->GetRecordCount(), done < 5 ? 1 : 0);
  }
  EXPECT_EQ(done, 6);
  EXPECT_EQ(code, kSqlFailure);
  expectLost();
}

TEST_P(PostgresLostTest, IsReportedByEveryCallUntilANewConnect) {
  server.stop(GetParam());
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(run(u"SELECT Code FROM [@QX]"), kSqlFailure);
    expectLost();
  }
  EXPECT_EQ(company->GetConnected(), VARIANT_FALSE);
  EXPECT_EQ(addTable(company, u"QY"), kSqlFailure);
  expectLost();
  EXPECT_EQ(raisedBy([&] { company->StartTransaction(); }), kSqlFailure);
  EXPECT_EQ(company->Connect(), kOpenFailed);
  server.start();
  EXPECT_EQ(company->Connect(), 0) << toUtf8(lastError(company).text);
  EXPECT_EQ(company->GetConnected(), VARIANT_TRUE);
  EXPECT_EQ(rowsOf(company, u"SELECT Code FROM [@QX]"), u"0");
  EXPECT_EQ(addTable(company, u"QY"), 0);
}

TEST_P(PostgresLostTest, EndsTheOpenTransaction) {
  company->StartTransaction();
  query(company, u"INSERT INTO [@QX] (Code, Name) VALUES ('1', 'n')");
  EXPECT_EQ(addField(company, {u"QX", u"A", kNumericField}), 0);
  server.stop(GetParam());
  EXPECT_EQ(run(u"INSERT INTO [@QX] (Code, Name) VALUES ('2', 'n')"), kSqlFailure);
  expectLost();
  for (const HvEndTransaction end : {et_Commit, et_Commit, et_RollBack}) {
    EXPECT_EQ(raisedBy([&] { company->EndTransaction(end); }), kSqlFailure);
    expectLost();
    EXPECT_EQ(company->GetInTransaction(), VARIANT_FALSE);
  }
  server.start();
  EXPECT_EQ(codes(), u"0");
  EXPECT_EQ(company->Connect(), 0);
  EXPECT_EQ(addField(company, {u"QX", u"A", kNumericField}), 0);
}

TEST_P(PostgresLostTest, ACommitThatMeetsItDoesNotReportSuccess) {
  company->StartTransaction();
  query(company, u"INSERT INTO [@QX] (Code, Name) VALUES ('1', 'n')");
  server.stop(GetParam());
  EXPECT_EQ(raisedBy([&] { company->EndTransaction(et_Commit); }), kSqlFailure);
  const std::u16string text = lastError(company).text;
  EXPECT_TRUE(text.starts_with(kLost) ||
              text.starts_with(u"The connection to the database server was lost during the commit"))
      << toUtf8(text);
  EXPECT_EQ(company->GetInTransaction(), VARIANT_FALSE);
  server.start();
  EXPECT_EQ(codes(), u"0");
}

TEST_P(PostgresLostTest, ARollbackThatMeetsItIsNoFailure) {
  company->StartTransaction();
  query(company, u"INSERT INTO [@QX] (Code, Name) VALUES ('1', 'n')");
  server.stop(GetParam());
  EXPECT_EQ(raisedBy([&] { company->EndTransaction(et_RollBack); }), S_OK);
  EXPECT_EQ(company->GetInTransaction(), VARIANT_FALSE);
  EXPECT_EQ(run(u"SELECT Code FROM [@QX]"), kSqlFailure);
  expectLost();
  server.start();
  EXPECT_EQ(codes(), u"0");
}

TEST_P(PostgresLostTest, ARollbackAfterItIsNoFailure) {
  company->StartTransaction();
  query(company, u"INSERT INTO [@QX] (Code, Name) VALUES ('1', 'n')");
  server.stop(GetParam());
  EXPECT_EQ(run(u"SELECT Code FROM [@QX]"), kSqlFailure);
  EXPECT_EQ(raisedBy([&] { company->EndTransaction(et_RollBack); }), S_OK);
  EXPECT_EQ(raisedBy([&] { company->StartTransaction(); }), kSqlFailure);
  expectLost();
  server.start();
  EXPECT_EQ(codes(), u"0");
}

// The old connection stays lost when the server is back.
TEST_P(PostgresLostTest, IsReportedEvenIfTheServerIsBackBeforeTheNextCall) {
  server.stop(GetParam());
  server.start();
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(run(u"SELECT Code FROM [@QX]"), kSqlFailure);
    expectLost();
  }
  EXPECT_EQ(company->Connect(), 0) << toUtf8(lastError(company).text);
  EXPECT_EQ(rowsOf(company, u"SELECT Code FROM [@QX]"), u"0");
}

TEST_P(PostgresLostTest, ATransactionDoesNotGoOnIfTheServerIsBackBeforeTheNextCall) {
  company->StartTransaction();
  query(company, u"INSERT INTO [@QX] (Code, Name) VALUES ('1', 'n')");
  server.stop(GetParam());
  server.start();
  EXPECT_EQ(run(u"INSERT INTO [@QX] (Code, Name) VALUES ('2', 'n')"), kSqlFailure);
  expectLost();
  EXPECT_EQ(run(u"INSERT INTO [@QX] (Code, Name) VALUES ('3', 'n')"), kSqlFailure);
  EXPECT_EQ(raisedBy([&] { company->EndTransaction(et_Commit); }), kSqlFailure);
  expectLost();
  EXPECT_EQ(codes(), u"0");
}

TEST_P(PostgresLostTest, ACommitDoesNotReportSuccessIfTheServerIsBackBeforeIt) {
  company->StartTransaction();
  query(company, u"INSERT INTO [@QX] (Code, Name) VALUES ('1', 'n')");
  server.stop(GetParam());
  server.start();
  EXPECT_EQ(raisedBy([&] { company->EndTransaction(et_Commit); }), kSqlFailure);
  EXPECT_TRUE(
      lastError(company).text.starts_with(u"The connection to the database server was lost"))
      << toUtf8(lastError(company).text);
  EXPECT_EQ(codes(), u"0");
}

TEST_P(PostgresLostTest, ARollbackIsNoFailureIfTheServerIsBackBeforeIt) {
  company->StartTransaction();
  query(company, u"INSERT INTO [@QX] (Code, Name) VALUES ('1', 'n')");
  server.stop(GetParam());
  server.start();
  EXPECT_EQ(raisedBy([&] { company->EndTransaction(et_RollBack); }), S_OK);
  EXPECT_EQ(codes(), u"0");
}

INSTANTIATE_TEST_SUITE_P(Ends, PostgresLostTest,
                         testing::Values(PostgresServer::End::Fast, PostgresServer::End::Immediate,
                                         PostgresServer::End::Killed));

// With a cursor the rows come from the server in portions, so the loss must be noticed.
TEST_P(PostgresLostTest, IsNotTakenForTheEndOfTheRows) {
  for (const std::string cursor : {"0", "1"}) {
    for (const bool isBack : {false, true}) {
      SCOPED_TRACE(cursor + (isBack ? ", the server is back" : ""));
      expectNoEndOfTheRows(cursor, isBack);
    }
  }
}

class PostgresEndedTest : public CompanyTest {
 protected:
  std::string name() const { return database.substr(database.find("Database=") + 9); }
};

TEST_P(PostgresEndedTest, AConnectionThatAnAdministratorEndsIsLost) {
  PostgresServer& server = PostgresServer::shared();
  company->StartTransaction();
  query(company, u"UPDATE HVCOMP SET Country = 'FR'");
  server.run("postgres",
             "SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE datname = '" +
                 name().substr(0, name().find(';')) + "'");
  const auto rows = businessObject<IRecordset>(company, kRecordset);
  EXPECT_EQ(raisedBy([&] { rows->DoQuery(CComBSTR(u"SELECT Country FROM HVCOMP")); }), kSqlFailure);
  EXPECT_TRUE(lastError(company).text.starts_with(kLost)) << toUtf8(lastError(company).text);
  EXPECT_EQ(rowsOf(another(), u"SELECT Country FROM HVCOMP"), u"DE");
}

TEST_P(PostgresEndedTest, ATransactionThatConflictsWithAnotherIsRolledBack) {
  const std::string connection = database.substr(std::string("odbc:").size());
  test::OdbcProgram other(connection);
  const CComPtr<ICompany> own = another();
  own->StartTransaction();
  query(own, u"UPDATE HVITEM SET InStock = 5");
  EXPECT_EQ(rowsOf(own, u"SELECT Country FROM HVCOMP"), u"DE");
  other.run("UPDATE hvcomp SET country = 'FR'");
  const auto rows = businessObject<IRecordset>(own, kRecordset);
  EXPECT_EQ(raisedBy([&] { rows->DoQuery(CComBSTR(u"UPDATE HVCOMP SET Country = 'IT'")); }),
            kSqlFailure);
  EXPECT_EQ(lastError(own).text,
            u"Another program has changed the same rows since this transaction began (could not "
            u"serialize access due to concurrent update); nothing of the transaction was kept. "
            u"Start it again from its beginning.");
  EXPECT_EQ(raisedBy([&] { rows->DoQuery(CComBSTR(u"SELECT Country FROM HVCOMP")); }), kSqlFailure);
  EXPECT_EQ(raisedBy([&] { own->EndTransaction(et_Commit); }), kWrongTransactionState);
  EXPECT_EQ(rowsOf(own, u"SELECT COUNT(*) FROM HVITEM WHERE InStock = 5"), u"0");
  own->StartTransaction();
  query(own, u"UPDATE HVCOMP SET Country = 'IT'");
  own->EndTransaction(et_Commit);
  EXPECT_EQ(other.ask("SELECT country FROM hvcomp"), "IT");
}

INSTANTIATE_TEST_SUITE_P(Postgres, PostgresEndedTest, testing::Values(Engine::Postgres));

}  // namespace
}  // namespace qx::desk
