// A connection string may set any option of the driver and the server; what the company relies on
// is corrected.

#include "qxdesk/company/test_support.h"
#include "qxdesk/engines/odbc_connection.h"
#include "qxdesk/engines/odbc_statement.h"
#include "qxdesk/engines/open_database.h"
#include "qxframework/automation/text.h"
#include "testing/postgres_server.h"

#include <cstdlib>
#include <fstream>

namespace qx::desk {
namespace {

using test::PostgresServer;

class PostgresOptionsTest : public testing::Test {
 protected:
  LoginTarget target(const std::string& options) const {
    return {database + ";" + options, kMssql, ln_English, u"manager", u"Demo"};
  }
  std::string name() const {
    const std::size_t begin = database.find("Database=") + 9;
    return database.substr(begin, database.find(';', begin) - begin);
  }
  std::string ask(const std::string& options, const std::string& sql,
                  int statementTimeoutSeconds = 600) const {
    CompanyEnvironment environment = testEnvironment();
    environment.statementTimeoutSeconds = statementTimeoutSeconds;
    return openDatabase(target(options).database, environment)->queryText(sql);
  }

  PostgresServer& server = PostgresServer::shared();
  TestPlace place{Engine::Postgres};
  std::string database = place.companyDatabase();
};

// Whatever the connection string sets, a failed statement is undone alone.
TEST_F(PostgresOptionsTest, AFailedStatementIsUndoneAlone) {
  addTable(connectTo(target("")), u"QX");
  for (const char* protocol : {"Protocol=7.4-0", "Protocol=7.4-1", "Protocol=7.4-2", "A1=7.4-0",
                               "a1=7.4-1", "AB=1;A1=7.4-1", "protocol=7.4-1;Protocol=7.4-0"}) {
    const CComPtr<ICompany> company = connectTo(target(protocol));
    query(company, u"DELETE FROM [@QX]");
    const auto insert = [&](const char16_t* code) {
      const auto rows = businessObject<IRecordset>(company, kRecordset);
      return raisedBy([&] {
        rows->DoQuery(CComBSTR(u"INSERT INTO [@QX] (Code, Name) VALUES ('" + std::u16string(code) +
                               u"', 'n')"));
      });
    };
    for (const HvEndTransaction end : {et_RollBack, et_Commit}) {
      company->StartTransaction();
      EXPECT_EQ(insert(u"1"), S_OK);
      EXPECT_EQ(insert(u"1"), kSqlFailure);
      EXPECT_EQ(insert(u"2"), S_OK);
      EXPECT_EQ(raisedBy([&] { company->EndTransaction(end); }), S_OK);
      EXPECT_EQ(rowsOf(company, u"SELECT Code FROM [@QX] ORDER BY Code"),
                end == et_Commit ? u"1\n2" : u"")
          << protocol;
    }
  }
}

TEST_F(PostgresOptionsTest, ATransactionThatTheServerAbortedIsRolledBackAndReported) {
  OdbcConnection connection(database.substr(5) + ";Protocol=7.4-0", 15);
  const auto faultOf = [&](const char* sql) -> std::optional<Fault> {
    try {
      makeOdbcStatement(connection, sql)->step();
    } catch (const DatabaseError& error) {
      return error.fault();
    }
    return std::nullopt;
  };
  connection.begin();
  EXPECT_EQ(faultOf("UPDATE hvcomp SET country = 'FR'"), std::nullopt);
  EXPECT_EQ(faultOf("SELECT nothing"), Fault::Statement);
  EXPECT_EQ(faultOf("SELECT 1"), Fault::Aborted);
  EXPECT_FALSE(connection.inTransaction());
  EXPECT_EQ(faultOf("SELECT 1"), std::nullopt);
  EXPECT_EQ(server.ask(name(), "SELECT country FROM hvcomp"), "DE");
}

TEST_F(PostgresOptionsTest, OptionsOfADataSourceAreCorrectedToo) {
  const test::TempFolder folder;
  std::ofstream(folder.file("odbc.ini"))
      << "[qx_shop]\nDriver=PostgreSQL Unicode\nServername=" << server.folder().string()
      << "\nDatabase=" << name() << "\nUsername=qx\nLFConversion=1\nProtocol=7.4-1\n";
  setenv("ODBCINI", folder.file("odbc.ini").c_str(), 1);
  const CComPtr<ICompany> company =
      connectTo({"odbc:DSN=qx_shop", kMssql, ln_English, u"manager", u"Demo"});
  query(company, u"UPDATE HVCOMP SET CompanyName = N'a\nb'");
  EXPECT_EQ(rowsOf(company, u"SELECT CompanyName FROM HVCOMP"), u"a\nb");
  unsetenv("ODBCINI");
}

TEST_F(PostgresOptionsTest, TextsKeepTheirLineFeeds) {
  for (const char* option : {"LFConversion=1", "C5=1", "CX=1b502bb"}) {
    const CComPtr<ICompany> company = connectTo(target(option));
    query(company, u"UPDATE HVCOMP SET CompanyName = N'a\nb\r\nc\rd'");
    EXPECT_EQ(rowsOf(company, u"SELECT CompanyName FROM HVCOMP"), u"a\nb\r\nc\rd") << option;
  }
}

TEST_F(PostgresOptionsTest, ValuesKeepTheirTypes) {
  for (const char* options : {"", "BI=12", "BI=8", "NumericAs=12", "NumericAs=8", "AB=1",
                              "BoolsAsChar=0;TrueIsMinus1=1;TextAsLongVarchar=0",
                              "MaxVarcharSize=1;MaxLongVarcharSize=-4;UnknownSizes=2;Parse=1"}) {
    const CComPtr<ICompany> company = connectTo(target(options));
    const auto rows = query(company, u"SELECT COUNT(*), SUM(Price), MAX(ItemText) FROM HVITEM");
    const auto type = [&](long i) { return rows->GetFields()->Item(i)->GetValue().vt; };
    EXPECT_EQ(type(0), VT_I4) << options;
    EXPECT_EQ(type(1), VT_R8) << options;
    EXPECT_EQ(type(2), VT_BSTR) << options;
    EXPECT_EQ(cellText(rows->GetFields()->Item(2)->GetValue()), u"Screwdriver");
    EXPECT_EQ(ask(options, "SELECT true"), "1") << options;
  }
}

TEST_F(PostgresOptionsTest, AServerUnderAnotherNameIsRecognised) {
  const auto opened = openDatabase(target("AB=2").database, testEnvironment());
  EXPECT_EQ(opened->route(), Route::ToPostgres);
  EXPECT_EQ(rowsOf(connectTo(target("AB=2")), u"SELECT TOP 1 Currency FROM HVCURR ORDER BY 1"),
            u"EUR");
}

TEST_F(PostgresOptionsTest, RowsMayComeInPortions) {
  const CComPtr<ICompany> company = connectTo(target("UseDeclareFetch=1;Fetch=7"));
  EXPECT_EQ(query(company, u"SELECT * FROM OFPR")->GetRecordCount(), 36);
}

TEST_F(PostgresOptionsTest, AReadOnlyConnectionReadsAndRefusesToWrite) {
  constexpr std::u16string_view kRefused =
      u"The company database can only be read; there is no permission to write to it.";
  for (const char* options : {"ReadOnly=1", "A0=1", "AB=1;ReadOnly=1"}) {
    const CComPtr<ICompany> company = connectTo(target(options));
    EXPECT_EQ(rowsOf(company, u"SELECT Country FROM HVCOMP"), u"DE");
    const auto rows = businessObject<IRecordset>(company, kRecordset);
    EXPECT_EQ(raisedBy([&] { rows->DoQuery(CComBSTR(u"UPDATE HVCOMP SET Country = 'FR'")); }),
              kSqlFailure);
    EXPECT_EQ(lastError(company).text, kRefused) << options;
    EXPECT_EQ(raisedBy([&] { company->StartTransaction(); }), kSqlFailure);
    EXPECT_EQ(lastError(company).text, kRefused) << options;
    EXPECT_EQ(addTable(company, u"QX"), kSqlFailure);
    EXPECT_EQ(lastError(company).text, kRefused) << options;
  }
  EXPECT_EQ(server.ask(name(), "SELECT country FROM hvcomp"), "DE");
}

TEST_F(PostgresOptionsTest, AReadOnlyConnectionMakesNoCompany) {
  const CComPtr<ICompany> company =
      companyFor({"odbc:" + server.connection(server.createDatabase()) + ";ReadOnly=1", kMssql,
                  ln_English, u"manager", u"Demo"});
  EXPECT_EQ(company->Connect(), kOpenFailed);
  EXPECT_EQ(lastError(company).text,
            u"The company database can only be read; there is no permission to write to it.");
}

TEST_F(PostgresOptionsTest, ATransactionOfTheConnectionStringDoesNotHoldBackChanges) {
  query(connectTo(target("ConnSettings={BEGIN}")), u"UPDATE HVCOMP SET Country = 'FR'");
  EXPECT_EQ(server.ask(name(), "SELECT country FROM hvcomp"), "FR");
}

// The driver names what it prepares by the address of the statement, and a later one may get the
// same address.
TEST_F(PostgresOptionsTest, PreparedStatementsOfTheServerEndWithTheirStatement) {
  for (const char* options : {"", "ConnSettings={BEGIN}"}) {
    const auto opened = openDatabase(target(options).database, testEnvironment());
    const auto kept = [&] {
      const auto row = opened->prepare("SELECT [Rate] FROM [HVRATE] WHERE [Currency] = ?");
      row->bind(1, std::string_view("none"));
      EXPECT_FALSE(row->step());
      return opened->queryInteger("SELECT count(*) FROM pg_prepared_statements");
    };
    EXPECT_EQ(kept(), 1);
    EXPECT_EQ(kept(), 1) << options;
    opened->begin();
    EXPECT_THROW(opened->execute("SELECT nothing"), DatabaseError);
    EXPECT_EQ(kept(), 1);
    opened->rollback();
    EXPECT_EQ(kept(), 1);
    opened->begin();
    EXPECT_THROW(opened->execute("DO 'BEGIN RAISE EXCEPTION USING ERRCODE = ''40001''; END'"),
                 DatabaseError);
    EXPECT_FALSE(opened->inTransaction());
    EXPECT_EQ(kept(), 1);
    EXPECT_EQ(kept(), 1);
  }
}

TEST_F(PostgresOptionsTest, SettingsOfTheConnectionStringThatChangeMeaningsAreReset) {
  const std::string options =
      "ConnSettings={SET transform_null_equals = on; SET datestyle = 'German'; "
      "SET default_transaction_isolation = 'serializable'; SET search_path = public}";
  EXPECT_EQ(ask(options, "SELECT count(*) FROM hvcomp WHERE 'x' = NULL"), "");
  EXPECT_EQ(ask(options, "SHOW transform_null_equals"), "off");
  EXPECT_EQ(ask(options, "SHOW datestyle"), "ISO, YMD");
  EXPECT_EQ(ask(options, "SHOW transaction_isolation"), "read committed");
  EXPECT_EQ(ask(options, "SHOW search_path"), "public");
}

TEST_F(PostgresOptionsTest, StatementsHaveATimeLimitUnlessTheServerSetsOne) {
  EXPECT_EQ(ask("", "SHOW statement_timeout"), "10min");
  EXPECT_EQ(ask("", "SHOW statement_timeout", 0), "0");
  server.run("postgres", "ALTER DATABASE " + name() + " SET statement_timeout = '77s'");
  EXPECT_EQ(ask("", "SHOW statement_timeout"), "77s");
}

TEST_F(PostgresOptionsTest, AStatementEndsWhenItsClientHasDiedUnlessTheServerLooksItself) {
  EXPECT_EQ(ask("", "SHOW client_connection_check_interval"), "10s");
  server.run("postgres", "ALTER DATABASE " + name() + " SET client_connection_check_interval = 77");
  EXPECT_EQ(ask("", "SHOW client_connection_check_interval"), "77ms");
}

}  // namespace
}  // namespace qx::desk
