// Rows from a PostgreSQL server: their number, the length of their texts, the precision of their
// numbers, the types and names of their columns.

#include "qxdesk/company/test_support.h"
#include "qxdesk/engines/open_database.h"
#include "qxframework/automation/text.h"
#include "testing/odbc_program.h"

namespace qx::desk {
namespace {

class PostgresRowsTest : public CompanyTest {
 protected:
  PostgresRowsTest() {
    EXPECT_EQ(addTable(company, u"T"), 0);
    EXPECT_EQ(addField(company, {u"T", u"Memo", kMemoField}), 0);
    EXPECT_EQ(addField(company, {u"T", u"Amount", kFloatField, 80}), 0);
    EXPECT_EQ(addField(company, {u"T", u"Day", kDateField}), 0);
    EXPECT_EQ(addField(company, {u"T", u"Count", kNumericField}), 0);
  }
  static CComVariant field(const CComPtr<IRecordset>& rows, const CComVariant& index) {
    return rows->GetFields()->Item(index)->GetValue();
  }
  test::OdbcProgram another() const {
    return test::OdbcProgram(database.substr(std::string("odbc:").size()));
  }
};

TEST_P(PostgresRowsTest, ALongTextIsReadInFull) {
  const std::u16string text =
      std::u16string(500'000, u'a') + u"\u00E4\U0001F600" + std::u16string(500'000, u'z');
  query(company, u"INSERT INTO [@T] (Code, Name, U_Memo) VALUES ('1', 'n', N'" + text + u"')");
  query(company, u"INSERT INTO [@T] (Code, Name, U_Memo) VALUES ('2', 'n', N'short')");
  EXPECT_TRUE(rowsOf(company, u"SELECT U_Memo, Code FROM [@T] ORDER BY Code") ==
              text + u"|1\nshort|2");
}

TEST_P(PostgresRowsTest, TextsAroundTheSizeOfTheirBufferAreReadInFull) {
  for (const std::size_t length : {254U, 255U, 256U, 257U, 511U, 8189U, 8190U, 8191U, 40000U}) {
    const std::u16string text(length, u'\u00FC');
    query(company, u"DELETE FROM [@T]");
    query(company, u"INSERT INTO [@T] (Code, Name, U_Memo) VALUES ('1', 'n', N'" + text + u"')");
    EXPECT_TRUE(rowsOf(company, u"SELECT U_Memo FROM [@T]") == text) << length;
  }
}

TEST_P(PostgresRowsTest, EveryColumnMayBeNull) {
  another().run(
      "INSERT INTO \"@t\" (code, name, u_memo, u_amount, u_day, u_count) SELECT g, NULL, NULL, "
      "NULL, NULL, NULL FROM generate_series(1, 250) g");
  const auto rows = query(company, u"SELECT * FROM [@T]");
  EXPECT_EQ(rows->GetRecordCount(), 250);
  long seen = 0;
  for (; rows->GetEoF() == VARIANT_FALSE; rows->MoveNext(), ++seen) {
    ASSERT_EQ(cellText(field(rows, u"Name")), u"");
    ASSERT_EQ(cellText(field(rows, u"U_Memo")), u"");
    ASSERT_EQ(field(rows, u"U_Amount").dblVal, 0.0);
    ASSERT_EQ(field(rows, u"U_Day").date, 0.0);
    ASSERT_EQ(field(rows, u"U_Count").lVal, 0);
  }
  EXPECT_EQ(seen, 250);
}

TEST_P(PostgresRowsTest, ManyRowsComeInOrder) {
  constexpr long kRows = 100'000;
  another().run(
      "INSERT INTO \"@t\" (code, name, u_memo, u_amount, u_day, u_count) SELECT "
      "to_char(g, 'FM000000'), 'n', repeat('x', g % 400), g / 8.0, "
      "timestamp '2024-01-01' + g * interval '1 second', g FROM generate_series(0, 99999) g");
  const auto rows =
      query(company, u"SELECT Code, U_Memo, U_Amount, U_Day, U_Count FROM [@T] ORDER BY Code");
  ASSERT_EQ(rows->GetRecordCount(), kRows);
  const auto fields = rows->GetFields();
  const auto memo = fields->Item(1), amount = fields->Item(2), count = fields->Item(4);
  for (long i = 0; i < kRows; ++i, rows->MoveNext()) {
    ASSERT_EQ(count->GetValue().lVal, i);
    ASSERT_EQ(amount->GetValue().dblVal, static_cast<double>(i) / 8);
    if (i % 97 == 0) {
      ASSERT_EQ(viewOfBstr(memo->GetValue().bstrVal).size(), static_cast<std::size_t>(i % 400));
    }
  }
}

TEST_P(PostgresRowsTest, NumbersAreTheNearestDoubles) {
  for (const char16_t* number :
       {u"0.1", u"1.0845", u"-123456789012345.678901", u"999999999999999", u"0.000001", u"4.35"}) {
    query(company, u"DELETE FROM [@T]");
    query(company, u"INSERT INTO [@T] (Code, Name, U_Amount) VALUES ('1', 'n', " +
                       std::u16string(number) + u")");
    EXPECT_EQ(field(query(company, u"SELECT U_Amount FROM [@T]"), 0).dblVal,
              std::stod(toUtf8(number)));
  }
}

TEST_P(PostgresRowsTest, ExpressionsHaveTheSameTypesAsOnAFile) {
  query(company,
        u"INSERT INTO [@T] (Code, Name, U_Amount, U_Day, U_Count) VALUES "
        u"('1', 'n', 2.5, '20240131', 7)");
  const auto rows = query(company,
                          u"SELECT SUM(U_Count), SUM(U_Amount), MAX(U_Day), COUNT(*), MAX(Code), "
                          u"AVG(U_Amount) FROM [@T]");
  EXPECT_EQ(field(rows, 0).vt, VT_I4);
  EXPECT_EQ(field(rows, 0).lVal, 7);
  EXPECT_EQ(field(rows, 1).vt, VT_R8);
  EXPECT_EQ(field(rows, 2).vt, VT_DATE);
  EXPECT_EQ(field(rows, 3).vt, VT_I4);
  EXPECT_EQ(field(rows, 4).vt, VT_BSTR);
  EXPECT_EQ(field(rows, 5).dblVal, 2.5);
}

TEST_P(PostgresRowsTest, ColumnsOfAStarAreNamedAsInTheDictionary) {
  addTable(company, u"S");
  addField(company, {u"S", u"MEMO", kAlphaField, 0, 5});
  query(company, u"INSERT INTO [@T] (Code, Name) VALUES ('1', 'n')");
  query(company, u"INSERT INTO [@S] (Code, Name) VALUES ('1', 'n')");
  const auto names = [&](const std::u16string& sql) {
    const auto fields = query(company, sql)->GetFields();
    std::u16string text;
    for (long i = 0; i < fields->Count(); ++i) {
      text += fields->Item(i)->GetName().View();
      text += u' ';
    }
    return text;
  };
  EXPECT_EQ(names(u"SELECT * FROM [@T]"), u"Code Name U_Memo U_Amount U_Day U_Count ");
  EXPECT_EQ(names(u"SELECT * FROM [@t] T0 INNER JOIN [@S] T1 ON T0.Code = T1.Code"),
            u"Code Name U_Memo U_Amount U_Day U_Count Code Name U_MEMO ");
  EXPECT_EQ(names(u"SELECT T1.Code AS N'__kf__.Code', T1.*, COUNT(*) AS 'n' FROM [@S] T1 GROUP BY "
                  u"T1.Code, T1.Name, T1.U_MEMO"),
            u"__kf__.Code Code Name U_MEMO n ");
  EXPECT_EQ(names(u"SELECT * FROM (SELECT u_memo, Code FROM [@T]) X"), u"u_memo Code ");
}

TEST_P(PostgresRowsTest, WordsThatTheServerReadsAsDatesAreRefused) {
  const auto rows = businessObject<IRecordset>(company, kRecordset);
  for (const char16_t* word : {u"now", u"infinity", u"today", u"epoch"}) {
    EXPECT_EQ(raisedBy([&] {
                rows->DoQuery(CComBSTR(u"INSERT INTO [@T] (Code, Name, U_Day) VALUES ('1', 'n', '" +
                                       std::u16string(word) + u"')"));
              }),
              kSqlFailure);
  }
  EXPECT_THROW(another().run("INSERT INTO \"@t\" (code, u_day) VALUES ('1', 'infinity')"),
               std::runtime_error);
  EXPECT_THROW(another().run("INSERT INTO \"@t\" (code, u_amount) VALUES ('1', 'NaN')"),
               std::runtime_error);
}

TEST_P(PostgresRowsTest, BlanksAtTheEndOfATextCount) {
  addField(company, {u"T", u"Short", kAlphaField, 0, 3});
  query(company, u"INSERT INTO [@T] (Code, Name, U_Short) VALUES ('1', 'n', 'a  ')");
  EXPECT_EQ(rowsOf(company, u"SELECT U_Short FROM [@T] WHERE U_Short <> 'a'"), u"a  ");
  const auto rows = businessObject<IRecordset>(company, kRecordset);
  EXPECT_EQ(raisedBy([&] {
              rows->DoQuery(
                  CComBSTR(u"INSERT INTO [@T] (Code, Name, U_Short) VALUES ('2', 'n', 'abc  ')"));
            }),
            kSqlFailure);
}

TEST_P(PostgresRowsTest, ANumberOfManyDigitsIsReadInFull) {
  for (const std::string& number :
       {"1" + std::string(126, '0'), "1" + std::string(127, '0'), "1" + std::string(300, '0'),
        "-0." + std::string(125, '0') + "1", "0." + std::string(126, '0') + "123456789",
        "0." + std::string(323, '0') + "494065645841247", std::string(200, '3') + ".25"}) {
    query(company, u"DELETE FROM [@T]");
    another().run("INSERT INTO \"@t\" (code, u_amount) VALUES ('1', " + number + ")");
    EXPECT_EQ(field(query(company, u"SELECT U_Amount FROM [@T]"), 0).dblVal,
              std::strtod(number.c_str(), nullptr))
        << number;
  }
}

TEST_P(PostgresRowsTest, ANumberThatIsNotADoubleIsNeitherStoredNorRead) {
  for (const char* number : {"'NaN'", "'Infinity'", "'-Infinity'", "1e309", "-1e309"}) {
    EXPECT_THROW(another().run("INSERT INTO \"@t\" (code, u_amount) VALUES ('1', " +
                               std::string(number) + ")"),
                 std::runtime_error)
        << number;
  }
  query(company, u"INSERT INTO [@T] (Code, Name, U_Amount) VALUES ('1', 'n', 1e200)");
  const auto rows = businessObject<IRecordset>(company, kRecordset);
  EXPECT_EQ(raisedBy([&] { rows->DoQuery(CComBSTR(u"SELECT U_Amount * U_Amount FROM [@T]")); }),
            kSqlFailure);
  EXPECT_TRUE(lastError(company).text.starts_with(u"A number is out of range ("))
      << toUtf8(lastError(company).text);
  EXPECT_EQ(field(query(company, u"SELECT 1 / U_Amount / 1e200 FROM [@T]"), 0).dblVal, 0.0);
}

TEST_P(PostgresRowsTest, ANumberThatIsNotADoubleIsReportedByItsFirstDigits) {
  const auto opened = openDatabase(database, testEnvironment());
  const auto refusalOf = [&](const std::string& sql) -> std::string {
    try {
      opened->prepareGuarded(sql)->step();
    } catch (const DatabaseError& error) {
      EXPECT_EQ(error.fault(), Fault::OutOfRange);
      return error.what();
    }
    return {};
  };
  EXPECT_EQ(refusalOf("SELECT 1e400::numeric"),
            "not a number of this machine: 1" + std::string(39, '0') + "\u2026");
  EXPECT_EQ(refusalOf("SELECT 'NaN'::numeric"), "not a number of this machine: NaN");
}

TEST_P(PostgresRowsTest, ADateIsReadAsADateAndInItsStoredForm) {
  const auto opened = openDatabase(database, testEnvironment());
  const auto row = opened->prepareGuarded(
      "SELECT timestamp '2024-01-31 10:11:12', date '2024-02-29', timestamp '0050-01-01', "
      "CAST(NULL AS timestamp)");
  ASSERT_TRUE(row->step());
  EXPECT_EQ(row->storage(0), Storage::Text);
  EXPECT_EQ(row->text(0), "2024-01-31 10:11:12");
  EXPECT_EQ(row->text(1), "2024-02-29 00:00:00");
  EXPECT_EQ(row->integer(0), 2024);
  EXPECT_EQ(row->real(1), 2024.0);
  EXPECT_EQ(row->storage(3), Storage::Null);
  RowStore asDates(std::vector<RowColumn>(4, {u"d", sql::ColumnType::Date}));
  asDates.append(*row);
  EXPECT_EQ(cellText(asDates.value(0, 0)), u"2024-01-31 10:11:12");
  EXPECT_EQ(asDates.value(0, 1).vt, VT_DATE);
  // Before the first day that a date of an add-on can be.
  EXPECT_EQ(cellText(asDates.value(0, 2)), u"0050-01-01 00:00:00");
  EXPECT_EQ(asDates.value(0, 2).vt, VT_BSTR);
  EXPECT_EQ(asDates.value(0, 3).date, 0.0);
  RowStore asTexts(std::vector<RowColumn>(4, {u"d", sql::ColumnType::Text}));
  asTexts.append(*row);
  EXPECT_EQ(cellText(asTexts.value(0, 0)), u"2024-01-31 10:11:12");
  EXPECT_EQ(cellText(asTexts.value(0, 3)), u"");
}

INSTANTIATE_TEST_SUITE_P(Postgres, PostgresRowsTest, testing::Values(Engine::Postgres));

}  // namespace
}  // namespace qx::desk
