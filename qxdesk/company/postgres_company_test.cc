// A company on a PostgreSQL server: opening it, the messages when it cannot be opened, and the
// dictionary when several processes change it.

#include "qxdesk/company/test_support.h"
#include "qxdesk/dictionary/system_tables.h"
#include "qxframework/automation/text.h"
#include "testing/postgres_server.h"

#include <algorithm>

namespace qx::desk {
namespace {

using test::PostgresServer;

class PostgresOpenTest : public testing::Test {
 protected:
  LoginTarget target() const { return targetFor("odbc:" + server.connection(name)); }
  static LoginTarget targetFor(const std::string& database) {
    return {database, kMssql, ln_English, u"manager", u"Demo"};
  }
  LastError failureOf(const LoginTarget& place) const {
    const CComPtr<ICompany> company = companyFor(place);
    EXPECT_EQ(company->Connect(), kOpenFailed);
    EXPECT_EQ(company->GetConnected(), VARIANT_FALSE);
    return lastError(company);
  }

  PostgresServer& server = PostgresServer::shared();
  std::string name = server.createDatabase();
};

TEST_F(PostgresOpenTest, AnEmptyDatabaseBecomesANewCompany) {
  const CComPtr<ICompany> company = connectTo(target());
  EXPECT_EQ(rowsOf(company, u"SELECT CompanyName, Currency FROM HVCOMP"), u"Demo|EUR");
  EXPECT_EQ(rowsOf(company, u"SELECT COUNT(*) FROM OFPR"), u"36");
  EXPECT_EQ(rowsOf(company,
                   u"SELECT Category, SubNum, F_RefDate, T_RefDate FROM OFPR "
                   u"WHERE Code = '2024-02'"),
            u"2024|2|2024-02-01 00:00:00|2024-02-29 00:00:00");
  EXPECT_EQ(rowsOf(company, u"SELECT Rate FROM VTG1 WHERE Code = 'A2' ORDER BY EffecDate DESC"),
            u"19\n16");
  EXPECT_EQ(rowsOf(company, u"SELECT ItemText, Price FROM HVITEM WHERE ItemNo = 'A1000'"),
            u"Hammer|12.5");
}

TEST_F(PostgresOpenTest, AnExistingCompanyStaysAsItIs) {
  addTable(connectTo(target()), u"QX");
  LoginTarget renamed = target();
  renamed.companyName = u"Other";
  const CComPtr<ICompany> company = connectTo(renamed);
  EXPECT_EQ(rowsOf(company, u"SELECT CompanyName FROM HVCOMP"), u"Demo");
  EXPECT_EQ(addTable(company, u"QX"), kAlreadyExists);
}

TEST_F(PostgresOpenTest, SystemTablesKeepTheNamesOfTheirColumns) {
  const CComPtr<ICompany> company = connectTo(target());
  ASSERT_FALSE(systemTables().empty());
  for (const TableLayout& table : systemTables()) {
    const auto fields = query(company, u"SELECT * FROM " + toUtf16(table.name))->GetFields();
    ASSERT_EQ(fields->Count(), static_cast<long>(table.columns.size())) << table.name;
    for (long i = 0; i < fields->Count(); ++i) {
      EXPECT_EQ(fields->Item(i)->GetName().View(),
                toUtf16(table.columns[static_cast<std::size_t>(i)].name));
    }
  }
}

TEST_F(PostgresOpenTest, ADatabaseOfAnotherProgramIsReportedAndLeftAlone) {
  server.run(name, "CREATE TABLE theirs (x int)");
  EXPECT_EQ(failureOf(target()),
            (LastError{kOpenFailed, u"The database 'odbc:" + toUtf16(server.connection(name)) +
                                        u"' has tables, but no company in it."}));
  EXPECT_EQ(server.ask(name,
                       "SELECT COUNT(*) FROM pg_class WHERE relkind = 'r' AND "
                       "relnamespace = 'public'::regnamespace"),
            "1");
}

TEST_F(PostgresOpenTest, ACompanyOfANewerVersionIsReported) {
  connectTo(target());
  server.run(name, "UPDATE qxvr SET version = 99");
  EXPECT_EQ(failureOf(target()).text, u"The company database 'odbc:" +
                                          toUtf16(server.connection(name)) +
                                          u"' was written by a newer version of this component.");
}

TEST_F(PostgresOpenTest, AFailureAtAnyStatementLeavesNoCompanyOrAWholeOne) {
  const auto tables = [&] {
    return server.ask(name,
                      "SELECT COUNT(*) FROM pg_class WHERE relnamespace = 'public'::regnamespace");
  };
  FaultPlan plan{0, 1, Fault::Full};
  const CComPtr<ICompany> company = companyFor(target(), testEnvironment(), failingOpen(&plan));
  std::vector<std::string> left;
  for (; company->Connect() != 0; plan = {0, plan.refuse + 1, Fault::Full}) {
    ASSERT_EQ(lastError(company).text, u"The disk of the company database is full.");
    left.push_back(tables());
  }
  EXPECT_GT(std::count(left.begin(), left.end(), "0"), 30);
  EXPECT_EQ(
      std::count(left.begin(), left.end(), "0") + std::count(left.begin(), left.end(), tables()),
      static_cast<std::ptrdiff_t>(left.size()));
  EXPECT_EQ(rowsOf(company, u"SELECT COUNT(*) FROM HVCOMP"), u"1");
  EXPECT_EQ(rowsOf(company, u"SELECT COUNT(*) FROM OFPR"), u"36");
}

TEST_F(PostgresOpenTest, ProcessesThatMakeTheSameCompanyAtOnceAllConnect) {
  const std::vector<int> codes = atOnce(6, [&] {
    const CComPtr<ICompany> company = companyFor(target(), systemEnvironment());
    const bool good = company->Connect() == 0 &&
                      rowsOf(company, u"SELECT COUNT(*) FROM HVCOMP") == u"1" &&
                      rowsOf(company, u"SELECT COUNT(*) FROM OFPR") == u"36";
    return good ? 0 : 1;
  });
  EXPECT_EQ(codes, std::vector<int>(6, 0));
}

TEST_F(PostgresOpenTest, ProcessesThatMakeItAtOnceAllConnectUnderStricterIsolation) {
  for (const char* level : {"repeatable read", "serializable"}) {
    name = server.createDatabase();
    server.run("postgres",
               "ALTER DATABASE " + name + " SET default_transaction_isolation = '" + level + "'");
    const std::vector<int> codes = atOnce(4, [&] {
      const CComPtr<ICompany> company = companyFor(target(), systemEnvironment());
      return company->Connect() == 0 && addTable(company, u"QX") != kSqlFailure ? 0 : 1;
    });
    EXPECT_EQ(codes, std::vector<int>(4, 0)) << level;
    EXPECT_EQ(rowsOf(connectTo(target()), u"SELECT COUNT(*) FROM HVCOMP"), u"1");
  }
}

TEST_F(PostgresOpenTest, OfProcessesThatAddTheSameAtOnceOneSucceeds) {
  connectTo(target());
  const std::vector<int> codes = atOnce(5, [&] {
    const CComPtr<ICompany> company = companyFor(target(), systemEnvironment());
    if (company->Connect() != 0) return 100;
    int added = 0;
    const auto count = [&](long code) {
      if (code != 0 && code != kAlreadyExists) added += 100;
      if (code == 0) ++added;
    };
    count(addTable(company, u"QX"));
    count(addField(company, {u"QX", u"A", kAlphaField, 0, 5}));
    count(addField(company, {u"QX", u"a", kNumericField}));
    count(addKey(company, u"QX", u"K", true, {u"A"}));
    return added;
  });
  int added = 0;
  for (const int code : codes) added += code;
  EXPECT_EQ(added, 3);
  const CComPtr<ICompany> company = connectTo(target());
  EXPECT_EQ(rowsOf(company, u"SELECT TableName FROM HVUTAB"), u"QX");
  EXPECT_EQ(rowsOf(company, u"SELECT COUNT(*) FROM CUFD"), u"1");
  EXPECT_EQ(rowsOf(company, u"SELECT COUNT(*) FROM HVUKEY"), u"1");
}

TEST_F(PostgresOpenTest, ARowThatAnotherConnectionWritesIsLockedAndReadsAsBefore) {
  const CComPtr<ICompany> writer = connectTo(target());
  const CComPtr<ICompany> other = connectTo(target());
  writer->StartTransaction();
  query(writer, u"UPDATE HVCOMP SET Country = 'FR'");
  expectCountryIsLocked(other, u"DE");
  query(other, u"UPDATE HVITEM SET InStock = 1");
  writer->EndTransaction(et_Commit);
  EXPECT_EQ(rowsOf(other, u"SELECT Country FROM HVCOMP"), u"FR");
}

TEST_F(PostgresOpenTest, AChangeOfTablesWaitsForTheOneOfAnotherConnection) {
  const CComPtr<ICompany> writer = connectTo(target());
  const CComPtr<ICompany> other = connectTo(target());
  writer->StartTransaction();
  EXPECT_EQ(addTable(writer, u"QX"), 0);
  EXPECT_EQ(addTable(other, u"QY"), kSqlFailure);
  EXPECT_EQ(withoutNumbers(lastError(other).text),
            u"A row or a table on the database server is locked by another program (the program "
            u"'tester' (process #)). Try again when it has finished.");
  writer->EndTransaction(et_RollBack);
  EXPECT_EQ(addTable(other, u"QX"), 0);
}

// ---- messages when there is no connection

TEST_F(PostgresOpenTest, ARefusedLoginIsReported) {
  const LastError error =
      failureOf(targetFor("odbc:Driver=PostgreSQL Unicode;Server=" + server.folder().string() +
                          ";Database=" + name + ";Uid=nosuchuser;Pwd=secret"));
  EXPECT_EQ(error.text,
            u"The database server refused the login (connection to server on socket \"" +
                toUtf16(server.folder().string()) +
                u"/.s.PGSQL.5432\" failed: FATAL:  role \"nosuchuser\" does not exist). Check the "
                u"user and the password.");
}

TEST_F(PostgresOpenTest, AnUnknownDriverIsReported) {
  EXPECT_EQ(failureOf(targetFor("odbc:Driver=Nothing Here;Database=x;Pwd=secret")).text,
            u"There is no such ODBC driver or data source (Can't open lib 'Nothing Here' : file "
            u"not found). 'odbcinst -q -d' and 'odbcinst -q -s' list the existing ones.");
}

TEST_F(PostgresOpenTest, AnUnknownSourceIsReported) {
  EXPECT_TRUE(failureOf(targetFor("odbc:DSN=no_such_source"))
                  .text.starts_with(u"There is no such ODBC driver or data source ("));
}

TEST_F(PostgresOpenTest, ADriverWithoutItsLibraryIsReported) {
  EXPECT_TRUE(failureOf(targetFor("odbc:Driver=/no/such/driver.so;Database=x"))
                  .text.starts_with(u"There is no such ODBC driver or data source ("));
}

TEST_F(PostgresOpenTest, AMissingDatabaseIsReported) {
  const std::u16string text =
      failureOf(targetFor("odbc:" + server.connection("nosuchdatabase"))).text;
  EXPECT_TRUE(text.starts_with(u"The database server has no such database (")) << toUtf8(text);
  EXPECT_NE(text.find(u"\"nosuchdatabase\" does not exist"), std::u16string::npos);
}

TEST_F(PostgresOpenTest, ADatabaseOfAnotherEncodingIsRefused) {
  const std::string latin = name + "latin";
  server.run("postgres",
             "CREATE DATABASE " + latin + " ENCODING 'LATIN1' LOCALE 'C' TEMPLATE template0");
  const std::string database = "odbc:" + server.connection(latin);
  EXPECT_EQ(failureOf(targetFor(database)).text,
            u"The company database '" + toUtf16(database) +
                u"' cannot be opened: its encoding is LATIN1; make a database with ENCODING "
                u"'UTF8'.");
}

TEST_F(PostgresOpenTest, AMissingServerIsReported) {
  const std::u16string text =
      failureOf(targetFor("odbc:Driver=PostgreSQL Unicode;Server=/no/such/folder;Database=x")).text;
  EXPECT_TRUE(text.starts_with(u"The database server cannot be reached (")) << toUtf8(text);
}

TEST_F(PostgresOpenTest, AServerWithoutFreeConnectionsIsReported) {
  connectTo(target());
  server.run("postgres", "CREATE ROLE guest LOGIN CONNECTION LIMIT 0");
  const std::u16string text =
      failureOf(targetFor("odbc:Driver=PostgreSQL Unicode;Server=" + server.folder().string() +
                          ";Database=" + name + ";Uid=guest"))
          .text;
  EXPECT_TRUE(text.starts_with(u"The database server accepts no more connections at present ("))
      << toUtf8(text);
}

TEST_F(PostgresOpenTest, AUserWithoutRightsIsReported) {
  connectTo(target());
  server.run("postgres", "CREATE ROLE reader LOGIN");
  server.run(name, "GRANT SELECT ON ALL TABLES IN SCHEMA public TO reader");
  const CComPtr<ICompany> company =
      connectTo(targetFor("odbc:Driver=PostgreSQL Unicode;Server=" + server.folder().string() +
                          ";Database=" + name + ";Uid=reader"));
  EXPECT_EQ(rowsOf(company, u"SELECT Country FROM HVCOMP"), u"DE");
  const auto rows = businessObject<IRecordset>(company, kRecordset);
  EXPECT_EQ(raisedBy([&] { rows->DoQuery(CComBSTR(u"UPDATE HVCOMP SET Country = 'FR'")); }),
            kSqlFailure);
  EXPECT_EQ(lastError(company).text,
            u"The user of the database has no right to do this (permission denied for table "
            u"hvcomp). Ask its administrator for the right, or connect as another user.");
  EXPECT_EQ(addTable(company, u"QX"), kSqlFailure);
}

TEST_F(PostgresOpenTest, AServerThatOnlyReadsIsReported) {
  connectTo(target());
  server.run(name, "ALTER DATABASE " + name + " SET default_transaction_read_only = on");
  const CComPtr<ICompany> company = connectTo(target());
  const auto rows = businessObject<IRecordset>(company, kRecordset);
  EXPECT_EQ(raisedBy([&] { rows->DoQuery(CComBSTR(u"UPDATE HVCOMP SET Country = 'FR'")); }),
            kSqlFailure);
  EXPECT_EQ(lastError(company).text,
            u"The company database can only be read; there is no permission to write to it.");
}

}  // namespace
}  // namespace qx::desk
