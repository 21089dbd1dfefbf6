#include "qxframework/dbdef/internal/definition_sql.h"

#include "qxframework/automation/format.h"
#include "qxframework/sql/dialects.h"

#include <gtest/gtest.h>

namespace qx::dbdef {
namespace {

std::u16string rowOn(long serverType, std::u16string_view token) {
  RowInsert insert(dialectOf(serverType), u"@T", u"0000001F");
  insert.add(u"Name", token);
  return insert.text();
}

TEST(FieldLookUp, NamesAUserTableWithItsSign) {
  constexpr char16_t kPlain[] = u"SELECT FieldID FROM CUFD WHERE TableID = '@T' AND AliasID = 'F'";
  for (const long serverType : {1L, 2L, 3L, 4L})
    EXPECT_EQ(format(kSelectUserField.of(dialectOf(serverType)), u"T", u"F"), kPlain);
  EXPECT_EQ(format(kSelectUserField.of(kKordbDialect), u"T", u"F"),
            u"SELECT \"FieldID\" FROM CUFD WHERE \"TableID\" = '@T' AND \"AliasID\" = 'F'");
}

TEST(FieldLookUp, NamesAHostTableAsGiven) {
  for (const long serverType : {1L, 2L, 3L, 4L})
    EXPECT_EQ(format(kSelectTableField.of(dialectOf(serverType)), u"HVITEM", u"F"),
              u"SELECT FieldID FROM CUFD WHERE TableID = 'HVITEM' AND AliasID = 'F'");
  EXPECT_EQ(format(kSelectTableField.of(kKordbDialect), u"HVITEM", u"F"),
            u"SELECT \"FieldID\" FROM CUFD WHERE \"TableID\" = 'HVITEM' AND \"AliasID\" = 'F'");
}

TEST(DefinedTableName, IsCutToEightCharactersAboveNineByDb2) {
  EXPECT_EQ(definedTableName(kDb2Dialect, u"ABCDEFGHI"), u"ABCDEFGHI");
  EXPECT_EQ(definedTableName(kDb2Dialect, u"ABCDEFGHIJ"), u"ABCDEFGH");
  EXPECT_EQ(definedTableName(kDb2Dialect, u""), u"");
}

TEST(DefinedTableName, IsKeptByTheOtherDialects) {
  for (const long serverType : {1L, 3L, 4L, 9L})
    EXPECT_EQ(definedTableName(dialectOf(serverType), u"ABCDEFGHIJKLMNOP"), u"ABCDEFGHIJKLMNOP");
}

TEST(RowInsert, HasAFormForEachDialect) {
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

TEST(RowInsert, QuotedTextHasThePrefixInMssqlAndKordb) {
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

std::u16string valueOn(long serverType, std::u16string_view token) {
  const std::u16string row = rowOn(serverType, token);
  const std::size_t start = row.rfind(u"'0000001F', ") + 12;
  return row.substr(start, row.size() - start - 1);
}

TEST(RowInsert, DoublesInnerQuotes) {
  EXPECT_EQ(valueOn(1, u"'O'Brien'"), u"N'O''Brien'");
  EXPECT_EQ(valueOn(2, u"'O'Brien'"), u"'O''Brien'");
  EXPECT_EQ(valueOn(3, u"'O'Brien'"), u"'O''Brien'");
  EXPECT_EQ(valueOn(3, u"'''"), u"''''");
  EXPECT_EQ(valueOn(3, u"'a''b'"), u"'a''''b'");
}

TEST(RowInsert, NeverDoublesTheFirstAndTheLastCharacter) {
  EXPECT_EQ(valueOn(3, u"''"), u"''");
  EXPECT_EQ(valueOn(3, u"'"), u"'");
  EXPECT_EQ(valueOn(3, u"'a'b"), u"'a''b");
}

TEST(RowInsert, WritesFunctionsAndNumbersUnchanged) {
  EXPECT_EQ(valueOn(1, u"GETDATE()"), u"GETDATE()");
  EXPECT_EQ(valueOn(1, u"-1.5"), u"-1.5");
  EXPECT_EQ(valueOn(1, u"f('x')"), u"f('x')");
  EXPECT_EQ(valueOn(1, u" 'x'"), u" 'x'");
  EXPECT_EQ(valueOn(1, u""), u"");
}

TEST(RowInsert, WritesFieldsInTheOrderOfTheirAddition) {
  RowInsert insert(kMssqlDialect, u"@T", u"00000000");
  EXPECT_FALSE(insert.hasFields());
  insert.add(u"B", u"1");
  insert.add(u"A", u"'2'");
  EXPECT_TRUE(insert.hasFields());
  EXPECT_EQ(insert.text(),
            u"insert into [@T] (Code, Name, U_B, U_A) values ('00000000', '00000000', 1, N'2')");
}

}  // namespace
}  // namespace qx::dbdef
