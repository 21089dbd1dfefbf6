#include "qxframework/persistence/internal/dialect_classes.h"

#include "qxframework/foundation/date_time.h"
#include "qxframework/persistence/internal/persistence_factory.h"
#include "qxframework/query/testing/query_parts.h"
#include "qxframework/sql/testing/dialect_param.h"

#include <cmath>

namespace Persistence {
namespace {

using namespace qx::test;

/// Checks each piece of SQL with the class for a row and with that for a set of rows.
class DialectSql : public testing::TestWithParam<DialectParam> {
 protected:
  template <class Work>
  void expect(const PerDialect& texts, Work work) {
    const std::string& text = texts.of(GetParam());
    EXPECT_EQ(work(*object), text);
    EXPECT_EQ(work(*collection), text);
  }
  void expectTable(const OLECHAR* name, const PerDialect& texts) {
    expect(texts, [name](auto& sql) { return utf8(sql.GetSQLTableName(name)); });
  }
  void expectDate(const CComVariant& date, const PerDialect& texts) {
    expect(texts, [&date](auto& sql) {
      CComVariant value = date;
      sql.GetSQLDate(value);
      return utf8(value);
    });
  }
  void expectValue(const CComVariant& given, const PerDialect& texts) {
    expect(texts, [&given](auto& sql) {
      CComVariant value = given;
      return utf8(sql.GetSQLValue(value));
    });
  }
  void expectFields(const Persistence::FieldNames& fields, const OLECHAR* correlation,
                    const PerDialect& texts) {
    expect(texts, [&](auto& sql) {
      sql.SetFields(fields);
      CComBSTR list;
      sql.AppendFieldList(list, fields, correlation);
      return utf8(list);
    });
  }

  std::unique_ptr<CQXPersistentObject> object = qx::persistentObjectFor(GetParam().dialect());
  std::unique_ptr<CQXPersistentCollection> collection =
      qx::persistentCollectionFor(GetParam().dialect());
};

INSTANTIATE_TEST_SUITE_P(Each, DialectSql, eachDialect(), nameOf<DialectParam>);

TEST_P(DialectSql, EnclosesAUserTable) {
  expectTable(u"@T", {.mssql = "[@T]", .db2 = "@T", .kordb = R"("@T")"});
}

TEST_P(DialectSql, OnlyKordbEnclosesAHostTable) {
  expectTable(u"OFPR", {.mssql = "OFPR", .db2 = "OFPR", .kordb = R"("OFPR")"});
}

TEST_P(DialectSql, AcceptsAnEmptyOrNullTableName) {
  expectTable(u"", {.mssql = "", .db2 = "", .kordb = R"("")"});
  expectTable(nullptr, {.mssql = "", .db2 = "", .kordb = R"("")"});
}

TEST_P(DialectSql, ALaterAtSignMakesNoUserTable) {
  expectTable(u"A@T", {.mssql = "A@T", .db2 = "A@T", .kordb = R"("A@T")"});
}

TEST_P(DialectSql, AFieldWithACorrelationHasAnAliasOfBothNames) {
  expectFields({u"Code"}, u"T0",
               {.mssql = "T0.Code AS'T0.Code'",
                .db2 = R"(T0.Code AS "T0.Code" )",
                .kordb = R"(T0."Code" AS"T0.Code")"});
  expectFields({u"Code", u"U_A"}, u"T0",
               {.mssql = "T0.Code AS'T0.Code',T0.U_A AS'T0.U_A'",
                .db2 = R"(T0.Code AS "T0.Code" ,T0.U_A AS "T0.U_A" )",
                .kordb = R"(T0."Code" AS"T0.Code",T0."U_A" AS"T0.U_A")"});
}

TEST_P(DialectSql, AFieldWithoutACorrelationHasNoAlias) {
  expectFields({u"Code", u"U_A"}, nullptr,
               {.mssql = "Code,U_A", .db2 = "Code,U_A", .kordb = R"("Code","U_A")"});
  expectFields({u"Code"}, u"", {.mssql = "Code", .db2 = "Code", .kordb = R"("Code")"});
}

TEST_P(DialectSql, NoFieldsAreAllColumns) {
  expectFields({}, nullptr, {.mssql = "*", .db2 = "*", .kordb = "*"});
  expectFields({}, u"", {.mssql = "*", .db2 = "*", .kordb = "*"});
  expectFields({}, u"T0", {.mssql = "T0.*", .db2 = "T0.*", .kordb = "T0.*"});
}

TEST_P(DialectSql, OnlyKordbEnclosesAColumn) {
  expect({.mssql = "U_A", .db2 = "U_A", .kordb = R"("U_A")"},
         [](auto& sql) { return utf8(sql.GetSQLColumnName(CComBSTR(u"U_A"))); });
}

TEST_P(DialectSql, OnlyKordbWritesAnAliasInDoubleQuotes) {
  expect({.mssql = "'T0.A'", .db2 = "'T0.A'", .kordb = R"("T0.A")"},
         [](auto& sql) { return utf8(sql.GetSQLAlias(CComBSTR(u"T0.A"))); });
}

TEST_P(DialectSql, ADateOfARowHasTheDialectsText) {
  expect({.mssql = "20240131", .db2 = "20240131", .kordb = "2024-01-31 00:00:00"},
         [](auto& sql) { return utf8(sql.GetDateString(CQXDateTime(2024, 1, 31, 17, 5, 9))); });
}

TEST_P(DialectSql, ADateBecomesTheDialectsLiteral) {
  expectDate(someDate(), {.mssql = "CONVERT(datetime,N'20240131',112)",
                          .db2 = "TIMESTAMP_ISO(N'2024-01-31')",
                          .kordb = "'2024-01-31 00:00:00'"});
}

TEST_P(DialectSql, TheEmptyDateIsTheFirstDay) {
  expectDate(CComVariant(0.0, VT_DATE), {.mssql = "CONVERT(datetime,N'18991230',112)",
                                         .db2 = "TIMESTAMP_ISO(N'1899-12-30')",
                                         .kordb = "'1899-12-30 00:00:00'"});
}

TEST_P(DialectSql, AnInvalidDateIsTheFirstDay) {
  for (const double none : {std::nan(""), HUGE_VAL, 1e300})
    expectDate(CComVariant(none, VT_DATE), {.mssql = "CONVERT(datetime,N'18991230',112)",
                                            .db2 = "TIMESTAMP_ISO(N'1899-12-30')",
                                            .kordb = "'1899-12-30 00:00:00'"});
}

TEST_P(DialectSql, ATextOfADateBecomesALiteral) {
  expectDate(u"20240131", {.mssql = "CONVERT(datetime,N'20240131',112)",
                           .db2 = "TIMESTAMP_ISO(N'2024-01-31')",
                           .kordb = "'20240131'"});
  expectDate(u"2024-01-31", {.mssql = "CONVERT(datetime,N'2024-01-31',112)",
                             .db2 = "TIMESTAMP_ISO(N'2024-01-31')",
                             .kordb = "'2024-01-31'"});
}

TEST_P(DialectSql, ALiteralOfADateStaysUnchanged) {
  expect({.mssql = "CONVERT(datetime,N'20240131',112)",
          .db2 = "TIMESTAMP_ISO(N'2024-01-31')",
          .kordb = "'2024-01-31 00:00:00'"},
         [](auto& sql) {
           CComVariant value = someDate();
           sql.GetSQLDate(value);
           sql.GetSQLDate(value);
           return utf8(value);
         });
}

TEST_P(DialectSql, ATextAsLongAsTheFunctionsNameBecomesALiteral) {
  expectDate(u"TIMESTAMP-ISO", {.mssql = "CONVERT(datetime,N'TIMESTAMP-ISO',112)",
                                .db2 = "TIMESTAMP_ISO(N'TIMESTAMP-ISO')",
                                .kordb = "'TIMESTAMP-ISO'"});
  expectDate(u"CONVERT", {.mssql = "CONVERT(datetime,N'CONVERT',112)",
                          .db2 = "TIMESTAMP_ISO(N'CONV-ER-T')",
                          .kordb = "'CONVERT'"});
  expectDate(u"CONVERT-",
             {.mssql = "CONVERT-", .db2 = "TIMESTAMP_ISO(N'CONVERT-')", .kordb = "'CONVERT-'"});
  // Thirteen characters, but the dashes are inserted first.
  expectDate(u"TIMESTAMP_ISO", {.mssql = "CONVERT(datetime,N'TIMESTAMP_ISO',112)",
                                .db2 = "TIMESTAMP_ISO(N'TIME-ST-AMP_ISO')",
                                .kordb = "'TIMESTAMP_ISO'"});
  expectDate(u"TIMESTAMP_ISO-", {.mssql = "CONVERT(datetime,N'TIMESTAMP_ISO-',112)",
                                 .db2 = "TIMESTAMP_ISO-",
                                 .kordb = "'TIMESTAMP_ISO-'"});
}

TEST_P(DialectSql, ALiteralOfDb2WithoutADashBecomesALiteralAgain) {
  expectDate(u"TIMESTAMP_ISO(N'20240131')",
             {.mssql = "CONVERT(datetime,N'TIMESTAMP_ISO(N''20240131'')',112)",
              .db2 = "TIMESTAMP_ISO(N'TIME-ST-AMP_ISO(N''20240131'')')",
              .kordb = "'TIMESTAMP_ISO(N'20240131')'"});
  expectDate(u"TIMESTAMP_ISO(N'2024-01-31')",
             {.mssql = "CONVERT(datetime,N'TIMESTAMP_ISO(N''2024-01-31'')',112)",
              .db2 = "TIMESTAMP_ISO(N'2024-01-31')",
              .kordb = "'TIMESTAMP_ISO(N'2024-01-31')'"});
}

TEST_P(DialectSql, AShortTextOfADateGetsItsDashesAtItsEnd) {
  expectDate(u"2024", {.mssql = "CONVERT(datetime,N'2024',112)",
                       .db2 = "TIMESTAMP_ISO(N'2024--')",
                       .kordb = "'2024'"});
  expectDate(u"",
             {.mssql = "CONVERT(datetime,N'',112)", .db2 = "TIMESTAMP_ISO(N'--')", .kordb = "''"});
}

TEST_P(DialectSql, AnotherTypeOfValueForADateIsReadAsText) {
  expectDate(20240131, {.mssql = "CONVERT(datetime,N'20240131',112)",
                        .db2 = "TIMESTAMP_ISO(N'2024-01-31')",
                        .kordb = "'20240131'"});
}

TEST_P(DialectSql, KordbDoublesNoQuotesInADate) {
  expectDate(u"a-b'c", {.mssql = "CONVERT(datetime,N'a-b''c',112)",
                        .db2 = "TIMESTAMP_ISO(N'a-b''c')",
                        .kordb = "'a-b'c'"});
}

TEST_P(DialectSql, AValueIsWrittenByItsType) {
  expectValue(u"O'Brien", {.mssql = "N'O''Brien'", .db2 = "N'O''Brien'", .kordb = "N'O''Brien'"});
  expectValue(12.5, {.mssql = "12.5", .db2 = "12.5", .kordb = "12.5"});
  expectValue(-3, {.mssql = "-3", .db2 = "-3", .kordb = "-3"});
  expectValue(true, {.mssql = "-1", .db2 = "-1", .kordb = "-1"});
  expectValue(CComVariant(), {.mssql = "", .db2 = "", .kordb = ""});
  expectValue(someDate(), {.mssql = "CONVERT(datetime,N'20240131',112)",
                           .db2 = "TIMESTAMP_ISO(N'2024-01-31')",
                           .kordb = "'2024-01-31 00:00:00'"});
}

TEST_P(DialectSql, AChooseListHasColumnsWithTitles) {
  CSimpleMap<CComBSTR, CComBSTR> fields;
  fields.Add(u"Code", u"No.");
  fields.Add(u"U_A", u"Some A");
  object->SetMasterTable(u"@T");
  object->SetUserTable(true);
  CComBSTR text;
  object->GetSQLforChooseList(fields, u"U_A > 3", text);
  EXPECT_EQ(
      utf8(text),
      (PerDialect{.mssql = "SELECT Code AS 'No.' ,U_A AS 'Some A' FROM [@T] WHERE U_A > 3",
                  .db2 = R"(SELECT Code AS "No." ,U_A AS "Some A" FROM @T WHERE U_A > 3)",
                  .kordb = R"(SELECT "Code" AS "No." ,"U_A" AS "Some A" FROM "@T" WHERE U_A > 3)"}
           .of(GetParam())));
}

TEST_P(DialectSql, AChooseListWithoutColumnsSelectsAll) {
  object->SetMasterTable(u"OFPR");
  CComBSTR text(u"before");
  object->GetSQLforChooseList({}, CComBSTR(), text);
  EXPECT_EQ(utf8(text), "SELECT * FROM OFPR");
}

// The two classes of each dialect, by their names.
TEST(DialectClasses, BelongToTheServerTypes) {
  const auto is = []<class Object, class Collection>(long serverType) {
    return dynamic_cast<Object*>(qx::persistentObjectFor(qx::dialectOf(serverType)).get()) !=
               nullptr &&
           dynamic_cast<Collection*>(
               qx::persistentCollectionFor(qx::dialectOf(serverType)).get()) != nullptr;
  };
  EXPECT_TRUE((is.operator()<CQXPersistentObjectDB2, CQXPersistentCollectionDB2>(2)));
  EXPECT_TRUE((is.operator()<CQXPersistentObjectSybase, CQXPersistentCollectionSybase>(3)));
  EXPECT_TRUE((is.operator()<CQXPersistentObjectKORDB, CQXPersistentCollectionKORDB>(9)));
  for (const long other : {0L, 1L, 4L, 8L, 10L, -1L})
    EXPECT_TRUE((is.operator()<CQXPersistentObjectMSSQL, CQXPersistentCollectionMSSQL>(other)));
}

}  // namespace
}  // namespace Persistence
