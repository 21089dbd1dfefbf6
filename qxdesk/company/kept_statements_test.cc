#include "qxdesk/company/kept_statements.h"

#include "qxdesk/company/test_support.h"
#include "qxdesk/engines/open_database.h"
#include "qxframework/automation/text.h"
#include "testing/odbc_program.h"
#include "testing/sqlite_file.h"

#include <malloc.h>

namespace qx::desk {
namespace {

class KeptStatementsTest : public CompanyTest {
 protected:
  KeptStatementsTest() {
    EXPECT_EQ(addTable(company, u"T"), 0);
    EXPECT_EQ(addField(company, {u"T", u"Count", kNumericField}), 0);
    EXPECT_EQ(addField(company, {u"T", u"Day", kDateField}), 0);
    company = watched();
    plan.prepared = 0;
  }
  CComPtr<ICompany> watched(bool keeps = true) {
    plan.keepsStatements = true;
    LoginTarget login = target();
    login.keepsStatements = keeps;
    return connectThrough(failingOpen(&plan), login);
  }
  /// Returns the number of statements that one statement of an add-on lets the engine prepare.
  int preparedBy(const std::u16string& sql) {
    const int before = plan.prepared;
    query(company, sql);
    return plan.prepared - before;
  }
  void runElsewhere(const std::string& onSqlite, const std::string& onPostgres) {
    if (GetParam() == Engine::Sqlite) {
      test::SqliteFile(database).execute(onSqlite);
    } else {
      test::OdbcProgram(database.substr(std::string("odbc:").size())).run(onPostgres);
    }
  }
  std::u16string failureOf(const std::u16string& sql) {
    const auto rows = businessObject<IRecordset>(company, kRecordset);
    EXPECT_EQ(rows->raw_DoQuery(CComBSTR(sql)), kSqlFailure);
    return lastError(company).text;
  }

  FaultPlan plan;
};

TEST_P(KeptStatementsTest, ASecondStatementOfAShapeIsNotPrepared) {
  EXPECT_GT(preparedBy(u"INSERT INTO [@T] (Code, Name, U_Count, U_Day) VALUES ('1', N'a', 5, "
                       u"CONVERT(datetime, '20240131', 112))"),
            0);
  EXPECT_EQ(preparedBy(u"INSERT INTO [@T] (Code, Name, U_Count, U_Day) VALUES (N'2', 'O''N', 70, "
                       u"CONVERT(datetime, '20240201', 112))"),
            0);
  EXPECT_GT(preparedBy(u"SELECT Name, U_Count, U_Day FROM [@T] WHERE Code = '1'"), 0);
  EXPECT_EQ(preparedBy(u"SELECT Name, U_Count, U_Day FROM [@T] WHERE Code = '2'"), 0);
  EXPECT_EQ(rowsOf(company, u"SELECT Name, U_Count, U_Day FROM [@T] WHERE Code = '1'"),
            u"a|5|2024-01-31 00:00:00");
  EXPECT_EQ(rowsOf(company, u"SELECT Name, U_Count, U_Day FROM [@T] WHERE Code = '2'"),
            u"O'N|70|2024-02-01 00:00:00");
}

TEST_P(KeptStatementsTest, LiteralsOfTheListMakeAnotherStatement) {
  query(company, u"INSERT INTO [@T] (Code, Name) VALUES ('1', 'n')");
  EXPECT_EQ(rowsOf(company, u"SELECT 'a', 1, Code FROM [@T] ORDER BY 3"), u"a|1|1");
  EXPECT_EQ(rowsOf(company, u"SELECT 'b', 2, Code FROM [@T] ORDER BY 3"), u"b|2|1");
  EXPECT_EQ(preparedBy(u"SELECT 'a', 1, Code FROM [@T] ORDER BY 3"), 0);
  EXPECT_EQ(failureOf(u"SELECT 'a', 1, Code FROM [@T] ORDER BY 4"),
            u"ORDER BY 4 is out of range; the list has 3 columns (line 1, column 40)");
}

TEST_P(KeptStatementsTest, AValueThatDoesNotFitIsRefusedAtItsPlace) {
  query(company, u"UPDATE [@T] SET U_Day = '20240131' WHERE Code = '1'");
  EXPECT_EQ(failureOf(u"UPDATE [@T] SET U_Day = '20240230' WHERE Code = '1'"),
            u"the column U_Day takes a date, such as '20240131' or '2024-01-31 10:59:00', not "
            u"'20240230' (line 1, column 25)");
}

TEST_P(KeptStatementsTest, ANumberKeepsItsSign) {
  query(company, u"INSERT INTO [@T] (Code, Name, U_Count) VALUES ('1', 'n', -5)");
  EXPECT_EQ(preparedBy(u"INSERT INTO [@T] (Code, Name, U_Count) VALUES ('2', 'n', -70)"), 0);
  query(company, u"INSERT INTO [@T] (Code, Name, U_Count) VALUES ('3', 'n', 5)");
  EXPECT_EQ(rowsOf(company, u"SELECT U_Count FROM [@T] WHERE Code = '1'"), u"-5");
  EXPECT_EQ(rowsOf(company, u"SELECT U_Count FROM [@T] WHERE Code = '2'"), u"-70");
  EXPECT_EQ(rowsOf(company, u"SELECT U_Count FROM [@T] WHERE Code = '3'"), u"5");
  EXPECT_EQ(rowsOf(company, u"SELECT Code FROM [@T] WHERE U_Count = -70"), u"2");
  EXPECT_EQ(rowsOf(company, u"SELECT Code FROM [@T] WHERE U_Count = -5"), u"1");
}

// A value takes the place of the one before it, whatever their lengths and letters are.
TEST_P(KeptStatementsTest, AValueMayHaveAnotherLengthThanTheOneBefore) {
  const std::u16string texts[] = {u"a",  u"",   u"a long one, " + std::u16string(38, u'x'),
                                  u"b",  u"ab", u"\u00E4\u20AC\U0001F600",
                                  u"cd", u"ef", u"\u4E2D"};
  int code = 0;
  for (const std::u16string& text : texts)
    query(company, u"INSERT INTO [@T] (Code, Name) VALUES ('" + toUtf16(std::to_string(++code)) +
                       u"', N'" + text + u"')");
  code = 0;
  for (const std::u16string& text : texts) {
    const std::u16string found = toUtf16(std::to_string(++code));
    EXPECT_EQ(rowsOf(company, u"SELECT Code FROM [@T] WHERE Name = N'" + text + u"'"), found);
    EXPECT_TRUE(rowsOf(company, u"SELECT Name FROM [@T] WHERE Code = '" + found + u"'") == text);
  }
}

TEST_P(KeptStatementsTest, EachRowLimitMakesAStatement) {
  LoginTarget login = target();
  login.dbServerType = 3;  // sybase, which has SET ROWCOUNT
  company = connectThrough(failingOpen(&plan), login);
  for (const char16_t* code : {u"'1'", u"'2'", u"'3'"})
    query(company, u"INSERT INTO [@T] (Code, Name) VALUES (" + std::u16string(code) + u", 'n')");
  const auto count = [this] {
    return query(company, u"SELECT Code FROM [@T] WHERE Name = 'n' ORDER BY Code")
        ->GetRecordCount();
  };
  EXPECT_EQ(count(), 3);
  query(company, u"SET ROWCOUNT 1");
  EXPECT_EQ(count(), 1);
  query(company, u"SET ROWCOUNT 2");
  EXPECT_EQ(count(), 2);
  query(company, u"SET ROWCOUNT 0");
  EXPECT_EQ(count(), 3);
}

// A statement that is used stays, however many others follow.
TEST_P(KeptStatementsTest, TheStatementWhoseUseIsLongestAgoMakesRoom) {
  const std::u16string used = u"SELECT Code FROM [@T] WHERE Name = '1'";
  const std::u16string idle = u"SELECT Name FROM [@T] WHERE Name = '1'";
  query(company, used);
  query(company, idle);
  for (std::size_t i = 0; i < KeptStatements::kMost; ++i) {
    const std::u16string name = u"x" + toUtf16(std::to_string(i));
    query(company, u"SELECT Code AS " + name + u" FROM [@T] WHERE Name = '1'");
    EXPECT_EQ(preparedBy(used), 0) << i;
  }
  EXPECT_GT(preparedBy(idle), 0);
}

TEST_P(KeptStatementsTest, ALongStatementIsNotKept) {
  const std::u16string text(sql::kMaxShapeBytes, u'x');
  const std::u16string sql = u"SELECT Code FROM [@T] WHERE Name <> '" + text + u"'";
  query(company, sql);
  EXPECT_GT(preparedBy(sql), 0);
}

TEST_P(KeptStatementsTest, NothingIsKeptIfStatementsAreFresh) {
  company = watched(false);
  query(company, u"SELECT Code FROM [@T] WHERE Name = '1'");
  EXPECT_GT(preparedBy(u"SELECT Code FROM [@T] WHERE Name = '1'"), 0);
}

TEST_P(KeptStatementsTest, AnotherProgramsChangeOfATypeIsSeen) {
  query(company, u"INSERT INTO [@T] (Code, Name, U_Count) VALUES ('1', 'n', 7)");
  EXPECT_EQ(rowsOf(company, u"SELECT Code FROM [@T] WHERE U_Count / 2 = 3"), u"1");
  runElsewhere(
      "ALTER TABLE \"@T\" DROP COLUMN U_Count; "
      "ALTER TABLE \"@T\" ADD COLUMN U_Count decimal(19,6); UPDATE \"@T\" SET U_Count = 7",
      "ALTER TABLE \"@t\" ALTER COLUMN u_count TYPE numeric(19,6)");
  EXPECT_EQ(rowsOf(company, u"SELECT Code FROM [@T] WHERE U_Count / 2 = 3"), u"");
  EXPECT_EQ(rowsOf(company, u"SELECT Code FROM [@T] WHERE U_Count / 2 = 3.5"), u"1");
}

TEST_P(KeptStatementsTest, AnotherProgramsChangeOfATypeIsSeenByAChange) {
  query(company, u"INSERT INTO [@T] (Code, Name, U_Count) VALUES ('1', 'n', 7)");
  query(company, u"UPDATE [@T] SET Name = 'half' WHERE U_Count / 2 = 3");
  query(company, u"UPDATE [@T] SET Name = 'n' WHERE U_Count / 2 = 3");
  runElsewhere(
      "ALTER TABLE \"@T\" DROP COLUMN U_Count; "
      "ALTER TABLE \"@T\" ADD COLUMN U_Count decimal(19,6); UPDATE \"@T\" SET U_Count = 7",
      "ALTER TABLE \"@t\" ALTER COLUMN u_count TYPE numeric(19,6)");
  query(company, u"UPDATE [@T] SET Name = 'half' WHERE U_Count / 2 = 3");
  EXPECT_EQ(rowsOf(company, u"SELECT Name FROM [@T]"), u"n");
}

TEST_P(KeptStatementsTest, ANewFieldOfAnotherConnectionIsSeenInAStar) {
  query(company, u"INSERT INTO [@T] (Code, Name) VALUES ('1', 'n')");
  EXPECT_EQ(rowsOf(company, u"SELECT * FROM [@T] WHERE Code = '1'"), u"1|n|0|1899-12-30 00:00:00");
  EXPECT_EQ(addField(another(), {u"T", u"More", kTextField, 0, 10}), 0);
  EXPECT_EQ(rowsOf(company, u"SELECT * FROM [@T] WHERE Code = '1'"), u"1|n|0|1899-12-30 00:00:00|");
}

TEST_P(KeptStatementsTest, TwoNewFieldsOfOneTransactionAreSeen) {
  company->StartTransaction();
  EXPECT_EQ(addField(company, {u"T", u"First", kTextField, 0, 10}), 0);
  query(company, u"INSERT INTO [@T] (Code, Name, U_First) VALUES ('1', 'n', 'x')");
  EXPECT_EQ(addField(company, {u"T", u"Second", kTextField, 0, 10}), 0);
  query(company, u"INSERT INTO [@T] (Code, Name, U_Second) VALUES ('2', 'n', 'x')");
  company->EndTransaction(et_RollBack);
  EXPECT_EQ(failureOf(u"INSERT INTO [@T] (Code, Name, U_First) VALUES ('1', 'n', 'x')"),
            u"there is no column U_First in @T (line 1, column 31)");
}

/// Returns the names of the columns of a query.
std::u16string columnsOf(const CComPtr<ICompany>& company, const std::u16string& sql) {
  const CComPtr<IFields> fields = query(company, sql)->GetFields();
  std::u16string names;
  for (long i = 0; i < fields->Count(); ++i)
    names += std::u16string(fields->Item(i)->GetName().View()) + u"|";
  return names;
}

// Names with signs that other languages quote, and one that is also a type of the server.
TEST_P(KeptStatementsTest, AnyNameOfATableOrAColumnIsKept) {
  const std::string columns = " (code varchar(10), \"a\"\"b\\c'd\" int, \"\u00F6\" int)";
  runElsewhere("CREATE TABLE \"date\"" + columns, "CREATE TABLE \"date\"" + columns);
  query(company, u"INSERT INTO [date] (code, [a\"b\\c'd], [\u00F6]) VALUES ('x', 1, 2)");
  EXPECT_EQ(rowsOf(company, u"SELECT * FROM [date] WHERE code = 'x'"), u"x|1|2");
  EXPECT_EQ(preparedBy(u"SELECT * FROM [date] WHERE code = 'y'"), 0);
  EXPECT_EQ(preparedBy(u"INSERT INTO [date] (code, [a\"b\\c'd], [\u00F6]) VALUES ('y', 1, 2)"), 0);
}

TEST_P(KeptStatementsTest, ColumnsThatChangePlacesAreSeenInAStar) {
  const std::string make = "CREATE TABLE f (code varchar(10), a int, b int)";
  runElsewhere(make, make);
  query(company, u"INSERT INTO [f] (code, a, b) VALUES ('x', 1, 2)");
  const std::u16string select = u"SELECT * FROM [f] WHERE code = 'x'";
  EXPECT_EQ(columnsOf(company, select), u"code|a|b|");
  const std::string change =
      "ALTER TABLE f RENAME COLUMN a TO c; ALTER TABLE f RENAME COLUMN b TO a; "
      "ALTER TABLE f RENAME COLUMN c TO b";
  runElsewhere(change, change);
  company->StartTransaction();  // in which the values are in the text
  EXPECT_EQ(columnsOf(company, select), u"code|b|a|");
  company->EndTransaction(et_RollBack);
  EXPECT_EQ(columnsOf(company, select), u"code|b|a|");
}

TEST_P(KeptStatementsTest, AChangeOfATypeIsSeenInATransaction) {
  query(company, u"INSERT INTO [@T] (Code, Name, U_Count) VALUES ('1', 'n', 7)");
  EXPECT_EQ(rowsOf(company, u"SELECT Code FROM [@T] WHERE U_Count / 2 = 3"), u"1");
  runElsewhere(
      "ALTER TABLE \"@T\" DROP COLUMN U_Count; "
      "ALTER TABLE \"@T\" ADD COLUMN U_Count decimal(19,6); UPDATE \"@T\" SET U_Count = 7",
      "ALTER TABLE \"@t\" ALTER COLUMN u_count TYPE numeric(19,6)");
  company->StartTransaction();
  EXPECT_EQ(rowsOf(company, u"SELECT Code FROM [@T] WHERE U_Count / 2 = 3"), u"");
  company->EndTransaction(et_Commit);
}

// A type of the server's that refuses nulls.
TEST_P(KeptStatementsTest, AChangeOfATableWithTypesOfItsOwnIsSeen) {
  runElsewhere("CREATE TABLE f (code nvarchar(10) NOT NULL, n int)",
               "CREATE DOMAIN filled AS varchar(10) NOT NULL; CREATE TABLE f (code filled, n int)");
  query(company, u"INSERT INTO [f] (code, n) VALUES ('x', 7)");
  EXPECT_EQ(rowsOf(company, u"SELECT code FROM [f] WHERE n / 2 = 3"), u"x");
  EXPECT_EQ(preparedBy(u"SELECT code FROM [f] WHERE n / 2 = 4"), 0);
  runElsewhere("ALTER TABLE f DROP COLUMN n; ALTER TABLE f ADD COLUMN n decimal(19,6)",
               "ALTER TABLE f ALTER COLUMN n TYPE numeric(19,6)");
  query(company, u"UPDATE [f] SET n = 7");
  EXPECT_EQ(rowsOf(company, u"SELECT code FROM [f] WHERE n / 2 = 3"), u"");
}

TEST_P(KeptStatementsTest, ATableThatIsMadeAnewIsSeen) {
  const std::string make = "CREATE TABLE f (code varchar(10), n int)";
  runElsewhere(make, make);
  query(company, u"INSERT INTO [f] (code, n) VALUES ('x', 7)");
  EXPECT_EQ(rowsOf(company, u"SELECT n FROM [f] WHERE code = 'x'"), u"7");
  runElsewhere("DROP TABLE f; " + make, "DROP TABLE f; " + make);
  EXPECT_EQ(rowsOf(company, u"SELECT n FROM [f] WHERE code = 'x'"), u"");
  EXPECT_EQ(preparedBy(u"SELECT n FROM [f] WHERE code = 'y'"), 0);
}

TEST_P(KeptStatementsTest, ADroppedTableIsMissedAtItsPlace) {
  query(company, u"SELECT Code FROM [@T] WHERE Name = '1'");
  runElsewhere("DROP TABLE \"@T\"", "DROP TABLE \"@t\"");
  EXPECT_EQ(failureOf(u"SELECT Code FROM [@T] WHERE Name = '2'"),
            u"there is no table @T (line 1, column 18)");
}

TEST_P(KeptStatementsTest, ManyShapesTakeNoMoreMemoryThanTheMostThatAreKept) {
  const auto run = [&](int from, int to) {
    for (int i = from; i < to; ++i) {
      query(company, u"SELECT Code AS C" + toUtf16(std::to_string(i)) +
                         u" FROM [@T] WHERE Name = 'a name' AND U_Count = 5");
    }
  };
  run(0, 300);
  const std::size_t before = mallinfo2().uordblks;
  run(300, 1200);
  EXPECT_LT(mallinfo2().uordblks, before + 100'000);
}

QX_TEST_ON_ALL_ENGINES(KeptStatementsTest);

using KeptOnServer = KeptStatementsTest;

// The check of a text's tables knows some types by conditions of their own, and others by numbers.
TEST_P(KeptOnServer, EveryChangeOfATypeIsSeen) {
  runElsewhere("", "CREATE TABLE f (code varchar(10), a varchar(10)); INSERT INTO f VALUES ('x')");
  const std::u16string select = u"SELECT a FROM [f] WHERE code = 'x'";
  const auto typeOf = [&](const CComPtr<ICompany>& by) {
    return query(by, select)->GetFields()->Item(0L)->GetType();
  };
  for (const char* type :
       {"bigint", "int", "numeric(19,6)", "smallint", "timestamp(0)", "date", "numeric", "real",
        "timestamptz", "text", "double precision", "char(3)", "boolean", "date", "varchar(5)"}) {
    typeOf(company);
    EXPECT_EQ(preparedBy(select), 0) << type;
    runElsewhere("", std::string("ALTER TABLE f ALTER COLUMN a TYPE ") + type + " USING NULL");
    EXPECT_EQ(typeOf(company), typeOf(watched(false))) << type;
  }
}

TEST_P(KeptOnServer, ATableThatTakesTheNameOfAnotherIsSeen) {
  runElsewhere("",
               "CREATE TABLE f (code varchar(10), a int); CREATE TABLE g (code varchar(10), a int);"
               "INSERT INTO f VALUES ('x', 1); INSERT INTO g VALUES ('x', 2)");
  EXPECT_EQ(rowsOf(company, u"SELECT a FROM [f] WHERE code = 'x'"), u"1");
  runElsewhere("", "ALTER TABLE f RENAME TO h; ALTER TABLE g RENAME TO f");
  EXPECT_EQ(rowsOf(company, u"SELECT a FROM [f] WHERE code = 'x'"), u"2");
}

INSTANTIATE_TEST_SUITE_P(Postgres, KeptOnServer, testing::Values(Engine::Postgres));

sql::StatementShape shapeOf(const std::string& text) {
  sql::StatementShape shape;
  EXPECT_TRUE(sql::findShape(text, shape));
  return shape;
}

KeptStatement statementFor(const sql::StatementShape& shape) { return {shape, sql::Translation{}}; }

TEST(KeptStatements, AreBoundedAndTheOneUsedLongestAgoGoes) {
  KeptStatements kept;
  const std::string first = "SELECT a0";
  std::vector<std::string> texts;
  for (std::size_t i = 0; i < KeptStatements::kMost; ++i) {
    texts.push_back("SELECT a" + std::to_string(i));
    kept.add(shapeOf(texts.back()), {}, statementFor(shapeOf(texts.back())));
  }
  EXPECT_NE(kept.find(shapeOf(texts[0]), {}), nullptr);
  kept.add(shapeOf("SELECT b"), {}, statementFor(shapeOf("SELECT b")));
  EXPECT_EQ(kept.size(), KeptStatements::kMost);
  EXPECT_NE(kept.find(shapeOf(texts[0]), {}), nullptr);
  EXPECT_EQ(kept.find(shapeOf(texts[1]), {}), nullptr);
  EXPECT_NE(kept.find(shapeOf(texts[2]), {}), nullptr);
}

TEST(KeptStatements, ARowLimitMakesAnotherStatement) {
  KeptStatements kept;
  const sql::StatementShape shape = shapeOf("SELECT a FROM t WHERE b = 1");
  kept.add(shape, {}, statementFor(shape));
  EXPECT_EQ(kept.find(shape, 5), nullptr);
  kept.add(shape, 5, statementFor(shape));
  EXPECT_NE(kept.find(shape, 5), nullptr);
  EXPECT_EQ(kept.find(shape, 6), nullptr);
}

TEST(KeptStatements, ADroppedStatementIsNotFound) {
  KeptStatements kept;
  const std::string text = "SELECT a FROM t WHERE b = 1";
  KeptStatement& one = kept.add(shapeOf(text), {}, statementFor(shapeOf(text)));
  EXPECT_EQ(kept.find(shapeOf("SELECT a FROM t WHERE b = 2"), {}), nullptr);
  EXPECT_EQ(kept.find(shapeOf(text), {}), &one);
  kept.drop(one);
  EXPECT_EQ(kept.find(shapeOf(text), {}), nullptr);
  EXPECT_EQ(kept.size(), 0U);
}

}  // namespace
}  // namespace qx::desk
