#include "qxframework/sql/engine_sql.h"

#include "qxframework/automation/format.h"
#include "qxframework/automation/text.h"
#include "qxframework/host/recordset.h"
#include "testing/scripted_company.h"

#include <gtest/gtest.h>

namespace qx::dbdef {
namespace {

std::u16string rowOn(long engine, std::u16string_view token) {
  RowInsert insert(engine, u"@T", u"0000001F");
  insert.add(u"Name", token);
  return insert.text();
}

TEST(EngineText, FourAndAnyUnknownEngineTakeTheBracketForm) {
  const EngineText text{u"kordb", u"db2", u"other"};
  EXPECT_EQ(viewOf(text.of(9)), u"kordb");
  EXPECT_EQ(viewOf(text.of(2)), u"db2");
  for (const long engine : {1L, 3L, 4L, 0L, -1L, 10L}) EXPECT_EQ(viewOf(text.of(engine)), u"other");
}

TEST(EngineText, TheLookUpOfAUserFieldNamesTheTableWithItsSign) {
  constexpr char16_t kPlain[] = u"SELECT FieldID FROM CUFD WHERE TableID = '@T' AND AliasID = 'F'";
  for (const long engine : {1L, 2L, 3L, 4L})
    EXPECT_EQ(format(kSelectUserField.of(engine), u"T", u"F"), kPlain);
  EXPECT_EQ(format(kSelectUserField.of(9), u"T", u"F"),
            u"SELECT \"FieldID\" FROM CUFD WHERE \"TableID\" = '@T' AND \"AliasID\" = 'F'");
}

TEST(EngineText, TheLookUpOfAnotherTablesFieldNamesItAsGiven) {
  for (const long engine : {1L, 2L, 3L, 4L})
    EXPECT_EQ(format(kSelectTableField.of(engine), u"HVITEM", u"F"),
              u"SELECT FieldID FROM CUFD WHERE TableID = 'HVITEM' AND AliasID = 'F'");
  EXPECT_EQ(format(kSelectTableField.of(9), u"HVITEM", u"F"),
            u"SELECT \"FieldID\" FROM CUFD WHERE \"TableID\" = 'HVITEM' AND \"AliasID\" = 'F'");
}

TEST(TableNameOn, Db2KeepsNineCharactersAndCutsTenToEight) {
  EXPECT_EQ(tableNameOn(2, u"ABCDEFGHI"), u"ABCDEFGHI");
  EXPECT_EQ(tableNameOn(2, u"ABCDEFGHIJ"), u"ABCDEFGH");
  EXPECT_EQ(tableNameOn(2, u""), u"");
}

TEST(TableNameOn, OtherEnginesKeepTheName) {
  for (const long engine : {1L, 3L, 4L, 9L})
    EXPECT_EQ(tableNameOn(engine, u"ABCDEFGHIJKLMNOP"), u"ABCDEFGHIJKLMNOP");
}

TEST(RowInsert, HasAFormForEachEngine) {
  constexpr char16_t kBracket[] =
      u"insert into [@T] (Code, Name, U_Name) values ('0000001F', '0000001F', 5)";
  EXPECT_EQ(rowOn(1, u"5"), kBracket);
  EXPECT_EQ(rowOn(3, u"5"), kBracket);
  EXPECT_EQ(rowOn(4, u"5"), kBracket);
  EXPECT_EQ(rowOn(2, u"5"),
            u"insert into @T (Code, Name, U_Name) values ('0000001F', '0000001F', 5)");
  EXPECT_EQ(rowOn(9, u"5"),
            u"insert into \"@T\"(\"Code\", \"Name\", \"U_Name\") values ('0000001F', '0000001F', "
            u"5)");
}

TEST(RowInsert, QuotedTextGetsTheLetterUnlessTheEngineIsTwoOrThree) {
  EXPECT_EQ(rowOn(1, u"'x'"),
            u"insert into [@T] (Code, Name, U_Name) values ('0000001F', '0000001F', N'x')");
  EXPECT_EQ(rowOn(4, u"'x'"), rowOn(1, u"'x'"));
  EXPECT_EQ(rowOn(2, u"'x'"),
            u"insert into @T (Code, Name, U_Name) values ('0000001F', '0000001F', 'x')");
  EXPECT_EQ(rowOn(3, u"'x'"),
            u"insert into [@T] (Code, Name, U_Name) values ('0000001F', '0000001F', 'x')");
  EXPECT_EQ(rowOn(9, u"'x'"),
            u"insert into \"@T\"(\"Code\", \"Name\", \"U_Name\") values ('0000001F', '0000001F', "
            u"N'x')");
}

std::u16string valueOn(long engine, std::u16string_view token) {
  const std::u16string row = rowOn(engine, token);
  const std::size_t start = row.rfind(u"'0000001F', ") + 12;
  return row.substr(start, row.size() - start - 1);
}

TEST(RowInsert, InnerQuotesAreDoubled) {
  EXPECT_EQ(valueOn(1, u"'O'Brien'"), u"N'O''Brien'");
  EXPECT_EQ(valueOn(2, u"'O'Brien'"), u"'O''Brien'");
  EXPECT_EQ(valueOn(3, u"'O'Brien'"), u"'O''Brien'");
  EXPECT_EQ(valueOn(3, u"'''"), u"''''");
  EXPECT_EQ(valueOn(3, u"'a''b'"), u"'a''''b'");
}

TEST(RowInsert, TheFirstAndTheLastCharacterAreNeverDoubled) {
  EXPECT_EQ(valueOn(3, u"''"), u"''");
  EXPECT_EQ(valueOn(3, u"'"), u"'");
  EXPECT_EQ(valueOn(3, u"'a'b"), u"'a''b");
}

TEST(RowInsert, FunctionsAndNumbersGoInUnchanged) {
  EXPECT_EQ(valueOn(1, u"GETDATE()"), u"GETDATE()");
  EXPECT_EQ(valueOn(1, u"-1.5"), u"-1.5");
  EXPECT_EQ(valueOn(1, u"f('x')"), u"f('x')");
  EXPECT_EQ(valueOn(1, u" 'x'"), u" 'x'");
  EXPECT_EQ(valueOn(1, u""), u"");
}

TEST(RowInsert, FieldsStandInTheirOrder) {
  RowInsert insert(1, u"@T", u"00000000");
  EXPECT_FALSE(insert.hasFields());
  insert.add(u"B", u"1");
  insert.add(u"A", u"'2'");
  EXPECT_TRUE(insert.hasFields());
  EXPECT_EQ(insert.text(),
            u"insert into [@T] (Code, Name, U_B, U_A) values ('00000000', '00000000', 1, N'2')");
}

TEST(FieldText, IsEmptyForNullAndWithoutARow) {
  test::HostCalls calls;
  const auto company = test::makeScriptedCompany(calls);
  company->answer(u"none", {});
  company->answer(u"one", {{CComVariant(u"text"), CComVariant(12L), CComVariant()}});
  const CComQIPtr<IRecordset> recordset(company->GetBusinessObject(kRecordset));
  recordset->DoQuery(u"none");
  EXPECT_EQ(fieldText(recordset, 0), u"");
  recordset->DoQuery(u"one");
  EXPECT_EQ(fieldText(recordset, 0), u"text");
  EXPECT_EQ(fieldText(recordset, 1), u"12");
  EXPECT_EQ(fieldText(recordset, 2), u"");
  EXPECT_THROW(fieldText(recordset, 3), _com_error);
}

}  // namespace
}  // namespace qx::dbdef
