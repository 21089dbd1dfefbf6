#include "qxdesk/company/recordset.h"

#include "qxdesk/company/test_support.h"
#include "qxframework/automation/ole_date_time.h"

namespace qx::desk {
namespace {

class RecordsetTest : public CompanyTest {
 protected:
  RecordsetTest() {
    EXPECT_EQ(addTable(company, u"T"), 0);
    EXPECT_EQ(addField(company, {u"T", u"Amount", kFloatField, 80}), 0)
        << testing::PrintToString(lastError(company).text);
    EXPECT_EQ(addField(company, {u"T", u"Day", kDateField}), 0)
        << testing::PrintToString(lastError(company).text);
    EXPECT_EQ(addField(company, {u"T", u"Count", kNumericField}), 0)
        << testing::PrintToString(lastError(company).text);
    EXPECT_EQ(addField(company, {u"T", u"Text", kAlphaField, 0, 20}), 0)
        << testing::PrintToString(lastError(company).text);
    EXPECT_EQ(addField(company, {u"T", u"Time", kDateField, kTimeSubType}), 0)
        << testing::PrintToString(lastError(company).text);
  }
  void insert(const std::u16string& code, const std::u16string& values) {
    query(company,
          u"INSERT INTO [@T] (Code, Name, U_Amount, U_Day, U_Count, U_Text, U_Time) "
          u"VALUES ('" +
              code + u"', '" + code + u"', " + values + u")");
  }
  static CComVariant field(const CComPtr<IRecordset>& rows, const CComVariant& index) {
    return rows->GetFields()->Item(index)->GetValue();
  }
};

TEST_P(RecordsetTest, ValuesHaveTheTypeOfTheirColumn) {
  insert(u"A", u"12.5, '20240131', 7, N'x', 930");
  const auto rows = query(company, u"SELECT * FROM [@T]");
  EXPECT_EQ(field(rows, u"Code").vt, VT_BSTR);
  EXPECT_EQ(field(rows, u"U_Amount").vt, VT_R8);
  EXPECT_EQ(field(rows, u"U_Amount").dblVal, 12.5);
  EXPECT_EQ(field(rows, u"U_Day").vt, VT_DATE);
  EXPECT_EQ(field(rows, u"U_Day").date, *dateFromCivil({2024, 1, 31}));
  EXPECT_EQ(field(rows, u"U_Count").vt, VT_I4);
  EXPECT_EQ(field(rows, u"U_Count").lVal, 7);
  EXPECT_EQ(field(rows, u"U_Text").vt, VT_BSTR);
  EXPECT_EQ(field(rows, u"U_Time").vt, VT_I4);
  EXPECT_EQ(field(rows, u"U_Time").lVal, 930);
}

TEST_P(RecordsetTest, AWholeAmountIsStillADouble) {
  insert(u"A", u"100, NULL, NULL, NULL, NULL");
  EXPECT_EQ(field(query(company, u"SELECT U_Amount FROM [@T]"), 0).vt, VT_R8);
}

TEST_P(RecordsetTest, NullsReadAsTheEmptyValueOfTheirColumn) {
  insert(u"A", u"NULL, NULL, NULL, NULL, NULL");
  const auto rows = query(company, u"SELECT U_Amount, U_Day, U_Count, U_Text FROM [@T]");
  EXPECT_EQ(field(rows, 0).vt, VT_R8);
  EXPECT_EQ(field(rows, 0).dblVal, 0.0);
  EXPECT_EQ(field(rows, 1).vt, VT_DATE);
  EXPECT_EQ(field(rows, 1).date, 0.0);
  EXPECT_EQ(field(rows, 2).vt, VT_I4);
  EXPECT_EQ(field(rows, 2).lVal, 0);
  EXPECT_EQ(field(rows, 3).vt, VT_BSTR);
  EXPECT_EQ(cellText(field(rows, 3)), u"");
}

TEST_P(RecordsetTest, TheMaximumOfNoRowsIsTheEmptyValueOfItsColumn) {
  const auto rows =
      query(company, u"SELECT MAX(Code), MAX(U_Amount), MAX(U_Day), COUNT(*) FROM [@T]");
  EXPECT_EQ(rows->GetRecordCount(), 1);
  EXPECT_EQ(field(rows, 0).vt, VT_BSTR);
  EXPECT_EQ(cellText(field(rows, 0)), u"");
  EXPECT_EQ(field(rows, 1).vt, VT_R8);
  EXPECT_EQ(field(rows, 2).vt, VT_DATE);
  EXPECT_EQ(field(rows, 3).vt, VT_I4);
  EXPECT_EQ(field(rows, 3).lVal, 0);
}

TEST_P(RecordsetTest, ColumnsAreNamedAsWritten) {
  insert(u"A", u"1, NULL, NULL, NULL, NULL");
  const auto rows = query(company,
                          u"SELECT T0.Code AS'T0.Code', u_amount, COUNT(*) FROM [@T] T0 "
                          u"GROUP BY T0.Code, u_amount");
  const auto fields = rows->GetFields();
  EXPECT_EQ(fields->Count(), 3);
  EXPECT_EQ(fields->Item(0)->GetName().View(), u"T0.Code");
  EXPECT_EQ(fields->Item(1)->GetName().View(), u"u_amount");
  EXPECT_EQ(fields->Item(2)->GetName().View(), u"");
}

TEST_P(RecordsetTest, AColumnIsFoundByIndexAndByNameInAnyCase) {
  insert(u"A", u"1, NULL, NULL, N'x', NULL");
  const auto rows = query(company, u"SELECT Code, U_Text FROM [@T]");
  EXPECT_EQ(cellText(field(rows, u"u_TEXT")), u"x");
  EXPECT_EQ(cellText(field(rows, 1)), u"x");
}

TEST_P(RecordsetTest, AMissingColumnIsABadIndex) {
  const auto rows = query(company, u"SELECT Code FROM [@T]");
  const auto fields = rows->GetFields();
  EXPECT_EQ(raisedBy([&] { fields->Item(1); }), DISP_E_BADINDEX);
  EXPECT_EQ(raisedBy([&] { fields->Item(-1); }), DISP_E_BADINDEX);
  EXPECT_EQ(raisedBy([&] { fields->Item(u"nope"); }), DISP_E_BADINDEX);
  EXPECT_EQ(lastError(company), (LastError{DISP_E_BADINDEX, u"The rows have no column 'nope'."}));
}

TEST_P(RecordsetTest, ANullTextNamesNoColumn) {
  const auto rows = query(company, u"SELECT Code FROM [@T]");
  const auto fields = rows->GetFields();
  CComVariant name;
  name.vt = VT_BSTR;
  name.bstrVal = nullptr;
  EXPECT_EQ(raisedBy([&] { fields->Item(name); }), DISP_E_BADINDEX);
  EXPECT_EQ(lastError(company), (LastError{DISP_E_BADINDEX, u"The rows have no column ''."}));
}

TEST_P(RecordsetTest, StartsOnTheFirstRow) {
  insert(u"A", u"1, NULL, NULL, NULL, NULL");
  insert(u"B", u"2, NULL, NULL, NULL, NULL");
  const auto rows = query(company, u"SELECT Code FROM [@T] ORDER BY Code");
  EXPECT_EQ(rows->GetRecordCount(), 2);
  EXPECT_EQ(rows->GetBoF(), VARIANT_FALSE);
  EXPECT_EQ(rows->GetEoF(), VARIANT_FALSE);
  EXPECT_EQ(cellText(field(rows, 0)), u"A");
}

TEST_P(RecordsetTest, AfterTheLastRowIsTheEnd) {
  insert(u"A", u"1, NULL, NULL, NULL, NULL");
  const auto rows = query(company, u"SELECT Code FROM [@T]");
  EXPECT_EQ(rows->MoveNext(), S_OK);
  EXPECT_EQ(rows->GetEoF(), VARIANT_TRUE);
  EXPECT_EQ(rows->GetBoF(), VARIANT_FALSE);
  EXPECT_EQ(cellText(field(rows, 0)), u"");
  EXPECT_EQ(rows->MoveNext(), S_OK);
  EXPECT_EQ(rows->GetEoF(), VARIANT_TRUE);
  rows->MovePrevious();
  EXPECT_EQ(rows->GetEoF(), VARIANT_FALSE);
  EXPECT_EQ(cellText(field(rows, 0)), u"A");
}

TEST_P(RecordsetTest, BeforeTheFirstRowIsTheBeginning) {
  insert(u"A", u"1, NULL, NULL, NULL, NULL");
  const auto rows = query(company, u"SELECT Code FROM [@T]");
  EXPECT_EQ(rows->MovePrevious(), S_OK);
  EXPECT_EQ(rows->GetBoF(), VARIANT_TRUE);
  EXPECT_EQ(rows->GetEoF(), VARIANT_FALSE);
  EXPECT_EQ(cellText(field(rows, 0)), u"");
  rows->MovePrevious();
  rows->MoveNext();
  EXPECT_EQ(cellText(field(rows, 0)), u"A");
}

TEST_P(RecordsetTest, AnEmptyResultIsAtBothEndsAndReadsEmpty) {
  const auto rows = query(company, u"SELECT Code, U_Amount FROM [@T]");
  for (int round = 0; round < 4; ++round) {
    EXPECT_EQ(rows->GetRecordCount(), 0);
    EXPECT_EQ(rows->GetBoF(), VARIANT_TRUE) << round;
    EXPECT_EQ(rows->GetEoF(), VARIANT_TRUE) << round;
    EXPECT_EQ(cellText(field(rows, 0)), u"");
    EXPECT_EQ(field(rows, 1).dblVal, 0.0);
    if (round == 0) {
      EXPECT_EQ(rows->MoveFirst(), S_OK);
    }
    if (round == 1) {
      EXPECT_EQ(rows->MoveLast(), S_OK);
    }
    if (round == 2) {
      EXPECT_EQ(rows->MovePrevious(), S_OK);
    }
  }
}

TEST_P(RecordsetTest, MovesToTheFirstAndTheLastRow) {
  for (const char16_t* code : {u"A", u"B", u"C"}) insert(code, u"1, NULL, NULL, NULL, NULL");
  const auto rows = query(company, u"SELECT Code FROM [@T] ORDER BY Code");
  rows->MoveLast();
  EXPECT_EQ(cellText(field(rows, 0)), u"C");
  rows->MoveFirst();
  EXPECT_EQ(cellText(field(rows, 0)), u"A");
}

TEST_P(RecordsetTest, AFieldFollowsTheCursor) {
  insert(u"A", u"1, NULL, NULL, NULL, NULL");
  insert(u"B", u"2, NULL, NULL, NULL, NULL");
  const auto rows = query(company, u"SELECT Code FROM [@T] ORDER BY Code");
  const auto code = rows->GetFields()->Item(0);
  EXPECT_EQ(cellText(code->GetValue()), u"A");
  rows->MoveNext();
  EXPECT_EQ(cellText(code->GetValue()), u"B");
}

TEST_P(RecordsetTest, AFieldOfAnEarlierQueryIsGoneWithItsColumn) {
  const auto rows = query(company, u"SELECT Code, Name FROM [@T]");
  const auto name = rows->GetFields()->Item(1);
  rows->DoQuery(CComBSTR(u"SELECT Code FROM [@T]"));
  EXPECT_EQ(raisedBy([&] { name->GetValue(); }), DISP_E_BADINDEX);
}

TEST_P(RecordsetTest, AFieldThatIsHeldKeepsItsRows) {
  insert(u"A", u"1, NULL, NULL, NULL, NULL");
  auto rows = query(company, u"SELECT Code FROM [@T]");
  const auto code = rows->GetFields()->Item(0);
  rows.Release();
  EXPECT_EQ(code->GetName().View(), u"Code");
  EXPECT_EQ(cellText(code->GetValue()), u"A");
}

TEST_P(RecordsetTest, AFieldSurvivesQueriesThatLackItsColumn) {
  insert(u"A", u"1, NULL, NULL, NULL, NULL");
  const auto rows = query(company, u"SELECT Code, Name FROM [@T]");
  const auto name = rows->GetFields()->Item(1);
  rows->DoQuery(CComBSTR(u"SELECT Code FROM [@T]"));
  rows->DoQuery(CComBSTR(u"SELECT Name, Code, U_Text FROM [@T]"));
  EXPECT_EQ(name->GetName().View(), u"Code");
  EXPECT_EQ(cellText(name->GetValue()), u"A");
}

TEST_P(RecordsetTest, FieldsAnswerForTheirOwnInterfaceOnly) {
  const auto rows = query(company, u"SELECT Code FROM [@T]");
  const CComPtr<IFields> fields = rows->GetFields();
  void* object = this;
  EXPECT_EQ(fields->QueryInterface(IRecordset::kIid, &object), E_NOINTERFACE);
  EXPECT_EQ(object, nullptr);
  EXPECT_EQ(fields->QueryInterface(IFields::kIid, nullptr), E_POINTER);
  EXPECT_EQ(CComQIPtr<IFields>(CComPtr<IDispatch>(fields.p)).p, fields.p);
}

TEST_P(RecordsetTest, WritesLeaveNoRows) {
  const auto rows = query(company, u"SELECT Code FROM [@T]");
  rows->DoQuery(CComBSTR(u"INSERT INTO [@T] (Code, Name) VALUES ('A', 'A')"));
  EXPECT_EQ(rows->GetRecordCount(), 0);
  EXPECT_EQ(rows->GetFields()->Count(), 0);
  EXPECT_EQ(rows->GetEoF(), VARIANT_TRUE);
}

TEST_P(RecordsetTest, ChangesAndDeletesRows) {
  insert(u"A", u"1, NULL, NULL, NULL, NULL");
  query(company, u"UPDATE [@T] SET U_Text = N'O''Brien', U_Amount = 2.5 WHERE Code = 'A'");
  EXPECT_EQ(rowsOf(company, u"SELECT U_Text, U_Amount FROM [@T]"), u"O'Brien|2.5");
  query(company, u"DELETE FROM [@T] WHERE Code = N'A'");
  EXPECT_EQ(rowsOf(company, u"SELECT Code FROM [@T]"), u"");
}

TEST_P(RecordsetTest, ARefusedStatementIsReportedWithItsPosition) {
  const auto rows = businessObject<IRecordset>(company, kRecordset);
  EXPECT_EQ(raisedBy([&] { rows->DoQuery(CComBSTR(u"SELECT Code FROM [@T] WHERE\n Code = = 1")); }),
            kSqlFailure);
  EXPECT_EQ(lastError(company).code, -2000);
  EXPECT_TRUE(lastError(company).text.ends_with(u"(line 2, column 9)"))
      << testing::PrintToString(lastError(company).text);
}

TEST_P(RecordsetTest, AMissingColumnIsReportedWithItsPosition) {
  const auto rows = businessObject<IRecordset>(company, kRecordset);
  for (const std::u16string name : {u"U_None", u"ctid", u"rowid", u"T0"}) {
    EXPECT_EQ(raisedBy([&] { rows->DoQuery(CComBSTR(u"SELECT " + name + u" FROM [@T] T0")); }),
              -2000);
    EXPECT_EQ(lastError(company),
              (LastError{-2000, u"there is no column " + name + u" in @T (line 1, column 8)"}));
  }
  addField(company, {u"T", u"None", kAlphaField, 0, 10});
  EXPECT_EQ(rowsOf(company, u"SELECT U_None FROM [@T]"), u"");
}

TEST_P(RecordsetTest, AFailedStatementIsReportedInTheEnginesWords) {
  const auto rows = businessObject<IRecordset>(company, kRecordset);
  EXPECT_EQ(raisedBy([&] {
              rows->DoQuery(CComBSTR(u"SELECT Code FROM [@T] UNION SELECT Code, Name FROM [@T]"));
            }),
            -2000);
  EXPECT_EQ(lastError(company),
            (LastError{-2000, words(u"SELECTs to the left and right of UNION do not have the same "
                                    u"number of result columns",
                                    u"each UNION query must have the same number of columns")}));
}

TEST_P(RecordsetTest, AMissingTableIsReportedWithItsPosition) {
  const auto rows = businessObject<IRecordset>(company, kRecordset);
  EXPECT_EQ(raisedBy([&] { rows->DoQuery(CComBSTR(u"SELECT Code\n  FROM [@NONE]")); }), -2000);
  EXPECT_EQ(lastError(company), (LastError{-2000, u"there is no table @NONE (line 2, column 8)"}));
  addTable(company, u"NONE");
  EXPECT_EQ(rowsOf(company, u"SELECT Code FROM [@NONE]"), u"");
}

TEST_P(RecordsetTest, APlusOfATextThatIsNoNumberIsReported) {
  const auto rows = businessObject<IRecordset>(company, kRecordset);
  insert(u"00000009", u"1, NULL, NULL, NULL, NULL");
  EXPECT_EQ(rowsOf(company, u"SELECT MAX(Code) + 1 FROM [@T]"), u"10");
  insert(u"0000000A", u"1, NULL, NULL, NULL, NULL");
  EXPECT_EQ(raisedBy([&] { rows->DoQuery(CComBSTR(u"SELECT MAX(Code) + 1 FROM [@T]")); }), -2000);
  EXPECT_EQ(lastError(company).text,
            u"A text is not the number or the date that is needed in its place (" +
                words(u"not a number: '0000000A'",
                      u"invalid input syntax for type bigint: \"not a whole number: 0000000A\"") +
                u"). Correct the value.");
  EXPECT_EQ(raisedBy([&] { rows->DoQuery(CComBSTR(u"SELECT 'No ' + U_Count FROM [@T]")); }), -2000);
  EXPECT_EQ(lastError(company).text,
            u"not a number: 'No '; + adds beside a number, CAST the number to a text to join (line "
            u"1, column 8)");
}

TEST_P(RecordsetTest, AFailureLeavesNoRowsOfTheQueryBefore) {
  insert(u"A", u"1, NULL, NULL, NULL, NULL");
  const auto rows = query(company, u"SELECT Code FROM [@T]");
  EXPECT_EQ(raisedBy([&] { rows->DoQuery(CComBSTR(u"nonsense")); }), -2000);
  EXPECT_EQ(rows->GetRecordCount(), 0);
  EXPECT_EQ(rows->GetEoF(), VARIANT_TRUE);
}

TEST_P(RecordsetTest, ASuccessClearsTheLastError) {
  const auto rows = businessObject<IRecordset>(company, kRecordset);
  EXPECT_EQ(raisedBy([&] { rows->DoQuery(CComBSTR(u"nonsense")); }), -2000);
  rows->DoQuery(CComBSTR(u"SELECT Code FROM [@T]"));
  EXPECT_EQ(lastError(company), (LastError{0, u""}));
}

TEST_P(RecordsetTest, RefusesASecondStatementAndAnEmptyOne) {
  const auto rows = businessObject<IRecordset>(company, kRecordset);
  EXPECT_EQ(raisedBy([&] { rows->DoQuery(CComBSTR(u"SELECT Code FROM [@T]; DELETE FROM [@T]")); }),
            -2000);
  EXPECT_EQ(raisedBy([&] { rows->DoQuery(CComBSTR()); }), -2000);
  EXPECT_EQ(raisedBy([&] { rows->DoQuery(CComBSTR(u"DROP TABLE [@T]")); }), -2000);
  EXPECT_EQ(raisedBy([&] { rows->DoQuery(CComBSTR(u"SELECT name FROM sqlite_master")); }), -2000);
}

TEST_P(RecordsetTest, TextsOfAnyCharacterReadBackUnchanged) {
  const std::u16string text = u"Ärger \U0001F600 \\ % _ \u4E2D";
  insert(u"A", u"1, NULL, NULL, N'" + text + u"', NULL");
  EXPECT_EQ(rowsOf(company, u"SELECT U_Text FROM [@T]"), text);
}

TEST_P(RecordsetTest, AValueThatItsColumnRefusesIsReportedByName) {
  const auto rows = businessObject<IRecordset>(company, kRecordset);
  EXPECT_EQ(raisedBy([&] {
              rows->DoQuery(
                  CComBSTR(u"INSERT INTO [@T] (Code, Name, U_Text) VALUES "
                           u"('A', 'A', '123456789012345678901')"));
            }),
            -2000);
  EXPECT_EQ(lastError(company).text,
            words(u"CHECK constraint failed: U_Text: at most 20 characters",
                  u"new row for relation \"@t\" violates check constraint \"U_Text: at most 20 "
                  u"characters\" (Failing row contains (A, A, null, null, null, "
                  u"123456789012345678901, null).)"));
  EXPECT_EQ(raisedBy([&] {
              rows->DoQuery(
                  CComBSTR(u"INSERT INTO [@T] (Code, Name, U_Count) VALUES "
                           u"('A', 'A', 'many')"));
            }),
            -2000);
  EXPECT_EQ(lastError(company).text,
            u"the column U_Count takes a number, not 'many' (line 1, column 58)");
  EXPECT_EQ(raisedBy([&] { rows->DoQuery(CComBSTR(u"UPDATE [@T] SET U_Day = 45000")); }), -2000);
  EXPECT_EQ(lastError(company).text,
            u"the column U_Day takes a date, such as '20240131' or '2024-01-31 10:59:00', not the "
            u"number 45000 (line 1, column 25)");
}

TEST_P(RecordsetTest, HalfOfASurrogatePairIsRefusedWithItsPosition) {
  const auto rows = businessObject<IRecordset>(company, kRecordset);
  EXPECT_EQ(
      raisedBy([&] { rows->DoQuery(CComBSTR(u"SELECT Code FROM [@T] WHERE Code = '\xD83D'")); }),
      -2000);
  EXPECT_EQ(lastError(company).text,
            u"the statement holds half of a surrogate pair (line 1, column 37)");
}

TEST_P(RecordsetTest, ADoubledCodeIsRefused) {
  insert(u"A", u"1, NULL, NULL, NULL, NULL");
  const auto rows = businessObject<IRecordset>(company, kRecordset);
  EXPECT_EQ(raisedBy([&] {
              rows->DoQuery(CComBSTR(u"INSERT INTO [@T] (Code, Name) VALUES ('A', 'A')"));
            }),
            -2000);
  EXPECT_EQ(
      lastError(company).text,
      words(u"UNIQUE constraint failed: @T.Code",
            u"duplicate key value violates unique constraint \"@t_pkey\" (Key (code)=(A) already "
            u"exists.)"));
}

TEST_P(RecordsetTest, KeepsManyRows) {
  query(company, u"INSERT INTO [@T] (Code, Name, U_Amount, U_Text) VALUES ('0', 'n', 0.5, 'x')");
  for (int bits = 0; bits < 14; ++bits) {
    const std::u16string digit(1, static_cast<char16_t>(u'a' + bits));
    query(company, u"INSERT INTO [@T] (Code, Name, U_Amount, U_Text) SELECT Code + '" + digit +
                       u"', Name, U_Amount, U_Text FROM [@T]");
  }
  const auto rows = query(company, u"SELECT Code, U_Amount, U_Text FROM [@T] ORDER BY Code");
  EXPECT_EQ(rows->GetRecordCount(), 1 << 14);
  long seen = 0;
  for (; rows->GetEoF() == VARIANT_FALSE; rows->MoveNext()) {
    ASSERT_EQ(field(rows, 1).dblVal, 0.5);
    ++seen;
  }
  EXPECT_EQ(seen, 1 << 14);
}

/// The statements of one of the four dialects over the same table.
struct DialectCase {
  long serverType;
  std::u16string insert, select, limited, now;
  // The look-ups of an add-on: highest code, field, tax rate, posting period.
  std::u16string highest, field, rate, period;
};

class DialectTest : public testing::TestWithParam<std::tuple<DialectCase, Engine>> {
 protected:
  DialectTest()
      : dialect(std::get<DialectCase>(GetParam())),
        place(std::get<Engine>(GetParam())),
        company(connectTo({place.database("c.db"), dialect.serverType, ln_English, u"", u"Demo"})) {
    EXPECT_EQ(addTable(company, u"QXT"), 0);
    EXPECT_EQ(addField(company, {u"QXT", u"Day", kDateField}), 0);
  }
  const DialectCase& dialect;
  TestPlace place;
  CComPtr<ICompany> company;
};

TEST_P(DialectTest, RunsItsStatements) {
  EXPECT_EQ(company->GetDbServerType(), dialect.serverType);
  query(company, dialect.insert);
  EXPECT_EQ(rowsOf(company, dialect.select), u"A|2024-01-31 00:00:00");
  EXPECT_EQ(rowsOf(company, dialect.limited), u"A");
  EXPECT_EQ(rowsOf(company, dialect.now), u"A");
}

TEST_P(DialectTest, AnswersTheLookUpsOfAnAddOn) {
  EXPECT_EQ(rowsOf(company, dialect.highest), u"");
  EXPECT_EQ(rowsOf(company, dialect.field), u"0");
  EXPECT_EQ(rowsOf(company, dialect.rate), u"A2|19|2007-01-01 00:00:00\nA2|16|2000-01-01 00:00:00");
  EXPECT_EQ(rowsOf(company, dialect.period), u"2024|1|2024-01-01 00:00:00");
}

const auto kDialects = testing::Values(
    DialectCase{1,
                u"INSERT INTO [@QXT] (Code, Name, U_Day) VALUES (N'A', N'A', "
                u"CONVERT(datetime,N'20240131',112))",
                u"SELECT Code, U_Day FROM [@QXT]", u"SELECT TOP 1 Code FROM [@QXT]",
                u"SELECT Code FROM [@QXT] WHERE U_Day <= getdate()",
                u"SELECT MAX(Code) FROM [@QXT]",
                u"SELECT FieldID FROM CUFD WHERE TableID = '@QXT' AND AliasID = 'Day'",
                u"SELECT Code, Rate, EffecDate FROM VTG1 WHERE (Code = 'A2') AND "
                u"(EffecDate<=GetDate()) ORDER BY EffecDate DESC",
                u"SELECT Category, SubNum, F_RefDate FROM OFPR WHERE "
                u"(F_RefDate<=CONVERT(datetime,'20240131',112)) AND "
                u"CONVERT(datetime,'20240131',112)<=(DATEADD(day,1,T_RefDate))"},
    DialectCase{3,
                u"INSERT INTO [@QXT] (Code, Name, U_Day) VALUES ('A', 'A', "
                u"CONVERT(datetime,'20240131',112))",
                u"SELECT Code, U_Day FROM [@QXT]", u"SELECT Code FROM [@QXT]",
                u"SELECT Code FROM [@QXT] WHERE U_Day <= getdate()",
                u"SELECT MAX(Code) FROM [@QXT]",
                u"SELECT FieldID FROM CUFD WHERE TableID = '@QXT' AND AliasID = 'Day'",
                u"SELECT Code, Rate, EffecDate FROM VTG1 WHERE (Code = 'A2') AND "
                u"(EffecDate<=GetDate()) ORDER BY EffecDate DESC",
                u"SELECT Category, SubNum, F_RefDate FROM OFPR WHERE "
                u"(F_RefDate<=CONVERT(datetime,'20240131',112)) AND "
                u"CONVERT(datetime,'20240131',112)<=(DATEADD(day,1,T_RefDate))"},
    DialectCase{2,
                u"INSERT INTO @QXT (Code, Name, U_Day) VALUES ('A', 'A', "
                u"TIMESTAMP_ISO('2024-01-31'))",
                u"SELECT Code, U_Day FROM @QXT", u"SELECT Code FROM @QXT FETCH FIRST 1 ROWS ONLY",
                u"SELECT Code FROM @QXT WHERE U_Day <= CURRENT TIMESTAMP",
                u"SELECT MAX(Code) FROM @QXT",
                u"SELECT FieldID FROM CUFD WHERE TableID = '@QXT' AND AliasID = 'Day'",
                u"SELECT Code, Rate, EffecDate FROM VTG1 WHERE (Code = 'A2') AND (EffecDate<= "
                u"TIMESTAMP_ISO(CURRENT DATE)) ORDER BY EffecDate DESC",
                u"SELECT Category, SubNum,  F_RefDate FROM OFPR WHERE "
                u"(F_RefDate<=TIMESTAMP_ISO('2024-01-31')) AND "
                u"TIMESTAMP_ISO('2024-01-31')<=(T_RefDate + 1 DAYS)"},
    DialectCase{9,
                u"INSERT INTO \"@QXT\" (\"Code\", \"Name\", \"U_Day\") VALUES (N'A', N'A', "
                u"'2024-01-31 00:00:00')",
                u"SELECT \"Code\", \"U_Day\" FROM \"@QXT\"", u"SELECT TOP 1 \"Code\" FROM \"@QXT\"",
                u"SELECT \"Code\" FROM \"@QXT\" WHERE \"U_Day\" <= CURRENT_TIMESTAMP",
                u"SELECT MAX(\"Code\") FROM \"@QXT\"",
                u"SELECT \"FieldID\" FROM CUFD WHERE \"TableID\" = '@QXT' AND \"AliasID\" = 'Day'",
                u"SELECT \"Code\", \"Rate\", \"EffecDate\" FROM VTG1 WHERE (\"Code\" = 'A2') AND "
                u"(\"EffecDate\"<=CURRENT_TIMESTAMP) ORDER BY \"EffecDate\" DESC",
                u"SELECT \"Category\", \"SubNum\", \"F_RefDate\" FROM OFPR WHERE "
                u"(\"F_RefDate\"<='2024-01-31 00:00:00') AND '2024-01-31 00:00:00' "
                u"<=(ADDDATE(\"T_RefDate\", 1))"});

std::string dialectName(const testing::TestParamInfo<std::tuple<DialectCase, Engine>>& instance) {
  return "Type" + std::to_string(std::get<DialectCase>(instance.param).serverType);
}

INSTANTIATE_TEST_SUITE_P(Sqlite, DialectTest,
                         testing::Combine(kDialects, testing::Values(Engine::Sqlite)), dialectName);
INSTANTIATE_TEST_SUITE_P(Postgres, DialectTest,
                         testing::Combine(kDialects, testing::Values(Engine::Postgres)),
                         dialectName);

TEST_P(RecordsetTest, SetRowCountLimitsEveryRecordsetOfItsCompany) {
  for (const char16_t* code : {u"A", u"B", u"C"}) insert(code, u"1, NULL, NULL, NULL, NULL");
  const CComPtr<ICompany> sybase = another(kSybase);
  const CComPtr<ICompany> other = another(kSybase);
  query(sybase, u"SET ROWCOUNT 2");
  EXPECT_EQ(query(sybase, u"SELECT Code FROM [@T]")->GetRecordCount(), 2);
  EXPECT_EQ(query(other, u"SELECT Code FROM [@T]")->GetRecordCount(), 3);
  query(sybase, u"SET ROWCOUNT 0");
  EXPECT_EQ(query(sybase, u"SELECT Code FROM [@T]")->GetRecordCount(), 3);
}

QX_TEST_ON_ALL_ENGINES(RecordsetTest);

}  // namespace
}  // namespace qx::desk
