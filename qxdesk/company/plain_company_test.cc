// A company on an ODBC source other than PostgreSQL: statements of add-ons reach it unchanged. The
// source here is the SQLite driver, an engine that accepts [x] and LIMIT by itself.

#include "qxdesk/company/test_support.h"
#include "qxframework/automation/text.h"
#include "qxframework/host/company_sharing.h"
#include "testing/odbc_program.h"

namespace qx::desk {
namespace {

class PlainSourceTest : public testing::Test {
 protected:
  LoginTarget target() const {
    return {"odbc:" + connection, kMssql, ln_English, u"manager", u"Demo"};
  }
  static CComVariant field(const CComPtr<IRecordset>& rows, const CComVariant& index) {
    return rows->GetFields()->Item(index)->GetValue();
  }

  test::TempFolder folder;
  std::string connection = "Driver=SQLite3;Database=" + folder.file("plain.db");
  CComPtr<ICompany> company = connectTo(target());
};

TEST_F(PlainSourceTest, AnEmptySourceBecomesANewCompany) {
  EXPECT_EQ(rowsOf(company, u"SELECT CompanyName, Currency FROM HVCOMP"), u"Demo|EUR");
  EXPECT_EQ(rowsOf(company, u"SELECT COUNT(*) FROM OFPR"), u"36");
  const CComPtr<ICompany> again = connectTo(target());
  EXPECT_EQ(rowsOf(again, u"SELECT CompanyName FROM HVCOMP"), u"Demo");
}

TEST_F(PlainSourceTest, StatementsArriveUntouched) {
  EXPECT_EQ(rowsOf(company, u"SELECT '[x] {ts ''1''} ? \"y\" --' AS [odd name]"),
            u"[x] {ts '1'} ? \"y\" --");
  EXPECT_EQ(query(company, u"SELECT 1 AS [odd name]")->GetFields()->Item(0)->GetName().View(),
            u"odd name");
  EXPECT_EQ(rowsOf(company, u"SELECT Currency FROM HVCURR ORDER BY 1 LIMIT 2 -- own words"),
            u"EUR\nGBP");
  EXPECT_EQ(rowsOf(company, u"SELECT typeof(1) || sqlite_version() LIKE 'integer3%'"), u"1");
}

TEST_F(PlainSourceTest, TextsOfAnyCharacterReadBackUnchanged) {
  const std::u16string text = u"\u00C4rger \U0001F600 \\ % _ \u4E2D";
  EXPECT_EQ(rowsOf(company, u"SELECT '" + text + u"' AS [\u4E2D]"), text);
  EXPECT_EQ(query(company, u"SELECT 1 AS [\u4E2D]")->GetFields()->Item(0)->GetName().View(),
            u"\u4E2D");
  LoginTarget place = target();
  place.database = "odbc:Driver=SQLite3;Database=" + folder.file("named.db");
  place.companyName = text;
  EXPECT_EQ(rowsOf(connectTo(place), u"SELECT CompanyName FROM HVCOMP"), text);
}

TEST_F(PlainSourceTest, ARefusalOfTheSourceIsReportedInItsWords) {
  const auto rows = businessObject<IRecordset>(company, kRecordset);
  EXPECT_EQ(raisedBy([&] { rows->DoQuery(CComBSTR(u"SELECT TOP 1 Code FROM HVCOMP")); }),
            kSqlFailure);
  EXPECT_NE(lastError(company).text.find(u"syntax error"), std::u16string::npos)
      << toUtf8(lastError(company).text);
}

TEST_F(PlainSourceTest, UserTablesFieldsAndKeysExistInTheSource) {
  EXPECT_EQ(addTable(company, u"QX"), 0) << toUtf8(lastError(company).text);
  EXPECT_EQ(addTable(company, u"qx"), kAlreadyExists);
  EXPECT_EQ(addField(company, {u"QX", u"A", kAlphaField, 0, 5, u"x"}), 0);
  EXPECT_EQ(addField(company, {u"QX", u"N", kNumericField}), 0);
  EXPECT_EQ(addField(company, {u"QX", u"D", kDateField, 0, 0, u"20240229"}), 0);
  EXPECT_EQ(addKey(company, u"QX", u"K", true, {u"A", u"Name"}), 0);
  query(company, u"INSERT INTO [@QX] (Code, Name) VALUES ('1', 'n')");
  EXPECT_EQ(rowsOf(company, u"SELECT U_A, U_D FROM [@QX]"), u"x|2024-02-29 00:00:00");
  const auto rows = businessObject<IRecordset>(company, kRecordset);
  EXPECT_EQ(raisedBy([&] {
              rows->DoQuery(CComBSTR(u"INSERT INTO [@QX] (Code, Name) VALUES ('2', 'n')"));
            }),
            kSqlFailure);
}

TEST_F(PlainSourceTest, AFieldThatGrowsKeepsItsRowsAndKeys) {
  addTable(company, u"QX");
  addField(company, {u"QX", u"A", kAlphaField, 0, 2, u"x"});
  addKey(company, u"QX", u"K", true, {u"A"});
  query(company, u"INSERT INTO [@QX] (Code, Name, U_A) VALUES ('1', 'n', 'ab')");
  const auto field = businessObject<IUserFieldsMD>(company, kUserFieldsMD);
  EXPECT_EQ(field->GetByKey(CComBSTR(u"@QX"), 0), VARIANT_TRUE);
  field->PutSize(4);
  field->PutDefaultValue(CComBSTR(u"wxyz"));
  EXPECT_EQ(field->Update(), 0) << toUtf8(lastError(company).text);
  query(company, u"INSERT INTO [@QX] (Code, Name) VALUES ('2', 'm')");
  EXPECT_EQ(rowsOf(company, u"SELECT Code, U_A FROM [@QX] ORDER BY Code"), u"1|ab\n2|wxyz");
  EXPECT_EQ(rowsOf(company, u"SELECT COUNT(*) FROM sqlite_master WHERE name = 'KEY @QX K'"), u"1");
  EXPECT_EQ(rowsOf(company, u"SELECT COUNT(*) FROM sqlite_master WHERE name LIKE 'qx_old%'"), u"0");
}

TEST_F(PlainSourceTest, TransactionsCommitAndRollBack) {
  company->StartTransaction();
  query(company, u"UPDATE HVCOMP SET Country = 'FR'");
  company->EndTransaction(et_RollBack);
  EXPECT_EQ(rowsOf(company, u"SELECT Country FROM HVCOMP"), u"DE");
  company->StartTransaction();
  query(company, u"UPDATE HVCOMP SET Country = 'FR'");
  EXPECT_EQ(addTable(company, u"QX"), 0) << toUtf8(lastError(company).text);
  company->EndTransaction(et_Commit);
  EXPECT_EQ(test::OdbcProgram(connection).ask("SELECT Country FROM HVCOMP"), "FR");
}

TEST_F(PlainSourceTest, LongTextsAndNullsAreRead) {
  addTable(company, u"QX");
  addField(company, {u"QX", u"M", kMemoField});
  const std::u16string text =
      std::u16string(500'000, u'a') + u"\u00E4\u4E2D\U0001F600" + std::u16string(500'000, u'z');
  query(company, u"INSERT INTO [@QX] (Code, Name, U_M) VALUES ('1', 'n', '" + text + u"')");
  query(company, u"INSERT INTO [@QX] (Code, Name) VALUES ('2', 'n')");
  EXPECT_TRUE(rowsOf(company, u"SELECT U_M, Code FROM [@QX] ORDER BY Code") == text + u"|1\n|2");
}

TEST_F(PlainSourceTest, TextsLongerThanTheirColumnAreReadInFull) {
  test::OdbcProgram other(connection);
  other.run("CREATE TABLE loose (n integer, t varchar(3))");
  other.run("INSERT INTO loose VALUES (1, 'abc'), (2, '0123456789'), (3, NULL), (4, 'x')");
  EXPECT_EQ(rowsOf(company, u"SELECT n, t FROM loose ORDER BY n"), u"1|abc\n2|0123456789\n3|\n4|x");
  other.run(
      "UPDATE loose SET t = (SELECT group_concat(n, '') FROM (WITH RECURSIVE c(n) AS (SELECT "
      "1 UNION ALL SELECT n + 1 FROM c WHERE n < 300) SELECT n FROM c)) WHERE n = 2");
  EXPECT_EQ(rowsOf(company, u"SELECT t FROM loose WHERE n = 2").size(), 792U);
}

TEST_F(PlainSourceTest, ColumnsHaveTheirTypes) {
  addTable(company, u"QX");
  addField(company, {u"QX", u"A", kAlphaField, 0, 5});
  addField(company, {u"QX", u"N", kNumericField});
  addField(company, {u"QX", u"P", kFloatField, 80});
  addField(company, {u"QX", u"D", kDateField});
  query(company,
        u"INSERT INTO [@QX] (Code, Name, U_A, U_N, U_P, U_D) VALUES ('1', 'n', '7', 7, 12.5, "
        u"'2024-02-29 00:00:00')");
  for (const char16_t* where : {u"", u" WHERE Code = 'none'"}) {
    const auto rows =
        query(company, u"SELECT U_A, U_N, U_P, U_D FROM [@QX]" + std::u16string(where));
    EXPECT_EQ(field(rows, 0).vt, VT_BSTR);
    EXPECT_EQ(field(rows, 1).vt, VT_I4);
    EXPECT_EQ(field(rows, 2).vt, VT_R8);
    EXPECT_EQ(field(rows, 3).vt, VT_DATE);
  }
  EXPECT_EQ(rowsOf(company, u"SELECT U_A, U_N, U_P, U_D FROM [@QX]"),
            u"7|7|12.5|2024-02-29 00:00:00");
}

TEST_F(PlainSourceTest, ALockedSourceIsReported) {
  const CComPtr<ICompany> impatient =
      connectTo({"odbc:" + connection + ";Timeout=1", kMssql, ln_English, u"manager", u"Demo"});
  test::OdbcProgram other(connection);
  other.run("BEGIN IMMEDIATE");
  const auto rows = businessObject<IRecordset>(impatient, kRecordset);
  EXPECT_EQ(raisedBy([&] { rows->DoQuery(CComBSTR(u"UPDATE HVCOMP SET Country = 'FR'")); }),
            kSqlFailure);
  EXPECT_EQ(lastError(impatient).text,
            u"A row or a table on the database server is locked by another program (database is "
            u"locked (5)). Try again when it has finished.");
  EXPECT_EQ(CComQIPtr<ICompanySharing>(impatient)->GetLastFault(), kLockedFault);
  other.run("ROLLBACK");
  query(impatient, u"UPDATE HVCOMP SET Country = 'FR'");
}

TEST_F(PlainSourceTest, ADoubleKeyIsADuplicateFault) {
  addTable(company, u"QX");
  query(company, u"INSERT INTO [@QX] (Code, Name) VALUES ('1', 'n')");
  const auto rows = businessObject<IRecordset>(company, kRecordset);
  const CComBSTR again(u"INSERT INTO [@QX] (Code, Name) VALUES ('1', 'm')");
  EXPECT_EQ(raisedBy([&] { rows->DoQuery(again); }), kSqlFailure);
  EXPECT_EQ(CComQIPtr<ICompanySharing>(company)->GetLastFault(), kDuplicateFault);
}

TEST_F(PlainSourceTest, TheLockOfTheTablesIsAlwaysGranted) {
  const CComPtr<ICompany> other =
      connectTo({"odbc:" + connection, kMssql, ln_English, u"manager", u"Demo"});
  CComBSTR holder;
  EXPECT_TRUE(CComQIPtr<ICompanySharing>(company)->LockTables(0, holder));
  EXPECT_TRUE(CComQIPtr<ICompanySharing>(other)->LockTables(0, holder));
  CComQIPtr<ICompanySharing>(company)->UnlockTables();
}

// This driver resolves escapes although it is asked not to.
TEST_F(PlainSourceTest, AnEscapeThatTheDriverWouldResolveIsRefused) {
  const auto rows = businessObject<IRecordset>(company, kRecordset);
  EXPECT_EQ(raisedBy([&] { rows->DoQuery(CComBSTR(u"SELECT {d '2024-01-31'}")); }), kSqlFailure);
  EXPECT_EQ(lastError(company).text,
            u"the driver would rewrite the text between braces in this statement; write it in the "
            u"engine's own SQL, without braces");
}

TEST_F(PlainSourceTest, AnInfiniteNumberIsReported) {
  addTable(company, u"QX");
  addField(company, {u"QX", u"P", kFloatField, 80});
  query(company, u"INSERT INTO [@QX] (Code, Name, U_P) VALUES ('1', 'n', 9e999)");
  for (const char16_t* sql : {u"SELECT U_P FROM [@QX]", u"SELECT 1e300 * 1e300", u"SELECT -9e999",
                              u"SELECT U_P * 2 FROM [@QX]"}) {
    const auto rows = businessObject<IRecordset>(company, kRecordset);
    EXPECT_EQ(raisedBy([&] { rows->DoQuery(CComBSTR(sql)); }), kSqlFailure) << toUtf8(sql);
    EXPECT_EQ(lastError(company).text, u"A number is out of range (not a finite number).");
  }
}

// The driver would run the text before it.
TEST_F(PlainSourceTest, AZeroCharacterIsRefusedAndNothingRuns) {
  const std::u16string sql(u"DELETE FROM HVCURR WHERE Currency = 'EUR'\0 AND 1 = 0", 52);
  const auto rows = businessObject<IRecordset>(company, kRecordset);
  EXPECT_EQ(raisedBy([&] { rows->DoQuery(CComBSTR(sql)); }), kSqlFailure);
  EXPECT_EQ(lastError(company).text, u"the statement holds a zero character (line 1, column 42)");
  EXPECT_EQ(rowsOf(company, u"SELECT Currency FROM HVCURR WHERE Currency = 'EUR'"), u"EUR");
}

TEST_F(PlainSourceTest, ASecondStatementIsNotIgnored) {
  const auto rows = businessObject<IRecordset>(company, kRecordset);
  EXPECT_EQ(
      raisedBy([&] { rows->DoQuery(CComBSTR(u"SELECT Code FROM HVCOMP; SELECT x FROM nowhere")); }),
      kSqlFailure);
}

TEST_F(PlainSourceTest, ADatabaseOfAnotherProgramIsReportedWithoutThePassword) {
  const std::string other = "Driver=SQLite3;Database=" + folder.file("other.db");
  test::OdbcProgram(other).run("CREATE TABLE theirs (x int)");
  LoginTarget place = target();
  place.database = "odbc:" + other + ";Pwd=secret";
  const CComPtr<ICompany> refused = companyFor(place);
  EXPECT_EQ(refused->Connect(), kOpenFailed);
  EXPECT_EQ(lastError(refused).text, u"The database 'odbc:" + toUtf16(other) +
                                         u";Pwd=***' has tables, but no company in it.");
}

/// Sources that refuse to open, played by a driver for tests.
class PlainSourceOpenTest : public testing::Test {
 protected:
  static std::u16string failureOf(const std::string& options) {
    CompanyEnvironment environment = testEnvironment();
    environment.loginTimeoutSeconds = 7;
    const CComPtr<ICompany> company = companyFor(
        {"odbc:Driver=" QX_SCRIPTED_DRIVER ";" + options, kMssql, ln_English, u"m", u"D"},
        environment);
    EXPECT_EQ(company->Connect(), kOpenFailed);
    return lastError(company).text;
  }
};

TEST_F(PlainSourceOpenTest, AServerThatDoesNotAnswerIsReportedWithTheTimeout) {
  EXPECT_EQ(failureOf("Server=silent"),
            u"The database server cannot be reached (timeout of 7 s expired).");
}

TEST_F(PlainSourceOpenTest, AConnectionThatFailsForAnUnknownReasonIsReported) {
  for (const char* state : {"HY000", "42000", "XYZ99"}) {
    EXPECT_EQ(failureOf(std::string("Connect=") + state),
              u"The database server cannot be reached (as the connection string says).");
  }
}

TEST_F(PlainSourceOpenTest, AFailureAfterTheConnectionIsReportedWithItsPlaceAndNoPassword) {
  const std::u16string driver = toUtf16(QX_SCRIPTED_DRIVER);
  EXPECT_EQ(failureOf("Pwd=secret;Refuse=CREATE"),
            u"The company database 'odbc:Driver=" + driver +
                u";Pwd=***;Refuse=CREATE' cannot be opened: syntax error near CREATE.");
}

}  // namespace
}  // namespace qx::desk
