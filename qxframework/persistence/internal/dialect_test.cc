#include "qxframework/persistence/internal/dialect.h"

#include "qxframework/foundation/date_time.h"
#include "qxframework/persistence/internal/dialect_classes.h"
#include "qxframework/persistence/internal/persistence_factory.h"
#include "qxframework/persistence/testing/query_parts.h"

#include <cmath>

namespace Persistence {
namespace {

using namespace qx::test;

/// Each piece of SQL is asked of the class for one row and of that for many.
class Dialect : public testing::TestWithParam<DialectParam> {
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

  std::unique_ptr<CQXPersistentObject> object = qx::persistentObjectFor(GetParam().serverType);
  std::unique_ptr<CQXPersistentCollection> collection =
      qx::persistentCollectionFor(GetParam().serverType);
};

INSTANTIATE_TEST_SUITE_P(Each, Dialect, allDialects(), nameOf<DialectParam>);

TEST_P(Dialect, AUserTableStandsAsTheEngineWantsIt) {
  expectTable(u"@T", {"@T", R"("@T")", "[@T]"});
}

TEST_P(Dialect, AHostTableIsBareButForKordb) {
  expectTable(u"OFPR", {"OFPR", R"("OFPR")", "OFPR"});
}

TEST_P(Dialect, AnEmptyOrNullTableNameIsNoFault) {
  expectTable(u"", {"", R"("")", ""});
  expectTable(nullptr, {"", R"("")", ""});
}

TEST_P(Dialect, AnAtSignFurtherBehindMakesNoUserTable) {
  expectTable(u"A@T", {"A@T", R"("A@T")", "A@T"});
}

TEST_P(Dialect, AFieldOfACorrelationHasAnAliasOfBoth) {
  expectFields({u"Code"}, u"T0",
               {R"(T0.Code AS "T0.Code" )", R"(T0."Code" AS"T0.Code")", "T0.Code AS'T0.Code'"});
  expectFields(
      {u"Code", u"U_A"}, u"T0",
      {R"(T0.Code AS "T0.Code" ,T0.U_A AS "T0.U_A" )",
       R"(T0."Code" AS"T0.Code",T0."U_A" AS"T0.U_A")", "T0.Code AS'T0.Code',T0.U_A AS'T0.U_A'"});
}

TEST_P(Dialect, AFieldWithoutACorrelationHasNoAlias) {
  expectFields({u"Code", u"U_A"}, nullptr, {"Code,U_A", R"("Code","U_A")", "Code,U_A"});
  expectFields({u"Code"}, u"", {"Code", R"("Code")", "Code"});
}

TEST_P(Dialect, NoFieldsAreAllColumns) {
  expectFields({}, nullptr, {"*", "*", "*"});
  expectFields({}, u"", {"*", "*", "*"});
  expectFields({}, u"T0", {"T0.*", "T0.*", "T0.*"});
}

TEST_P(Dialect, AColumnNameIsBareButForKordb) {
  expect({"U_A", R"("U_A")", "U_A"},
         [](auto& sql) { return utf8(sql.GetSQLColumnName(CComBSTR(u"U_A"))); });
}

TEST_P(Dialect, AnAliasStandsInSingleQuotesButForKordb) {
  expect({"'T0.A'", R"("T0.A")", "'T0.A'"},
         [](auto& sql) { return utf8(sql.GetSQLAlias(CComBSTR(u"T0.A"))); });
}

TEST_P(Dialect, ADateOfARowReadsAsTheEngineReadsIt) {
  expect({"20240131", "2024-01-31 00:00:00", "20240131"},
         [](auto& sql) { return utf8(sql.GetDateString(CQXDateTime(2024, 1, 31, 17, 5, 9))); });
}

TEST_P(Dialect, ADateBecomesTheEnginesLiteral) {
  expectDate(someDate(), {"TIMESTAMP_ISO(N'2024-01-31')", "'2024-01-31 00:00:00'",
                          "CONVERT(datetime,N'20240131',112)"});
}

TEST_P(Dialect, TheEmptyDateIsTheFirstDay) {
  expectDate(CComVariant(0.0, VT_DATE), {"TIMESTAMP_ISO(N'1899-12-30')", "'1899-12-30 00:00:00'",
                                         "CONVERT(datetime,N'18991230',112)"});
}

TEST_P(Dialect, ADateThatIsNoneIsTheFirstDay) {
  for (const double none : {std::nan(""), HUGE_VAL, 1e300})
    expectDate(CComVariant(none, VT_DATE), {"TIMESTAMP_ISO(N'1899-12-30')", "'1899-12-30 00:00:00'",
                                            "CONVERT(datetime,N'18991230',112)"});
}

TEST_P(Dialect, ATextOfADateIsWrapped) {
  expectDate(u"20240131",
             {"TIMESTAMP_ISO(N'2024-01-31')", "'20240131'", "CONVERT(datetime,N'20240131',112)"});
  expectDate(u"2024-01-31", {"TIMESTAMP_ISO(N'2024-01-31')", "'2024-01-31'",
                             "CONVERT(datetime,N'2024-01-31',112)"});
}

TEST_P(Dialect, ALiteralOfADateIsLeftAlone) {
  expect({"TIMESTAMP_ISO(N'2024-01-31')", "'2024-01-31 00:00:00'",
          "CONVERT(datetime,N'20240131',112)"},
         [](auto& sql) {
           CComVariant value = someDate();
           sql.GetSQLDate(value);
           sql.GetSQLDate(value);
           return utf8(value);
         });
}

TEST_P(Dialect, ATextAsLongAsTheHeadOfALiteralIsWrapped) {
  expectDate(u"TIMESTAMP-ISO", {"TIMESTAMP_ISO(N'TIMESTAMP-ISO')", "'TIMESTAMP-ISO'",
                                "CONVERT(datetime,N'TIMESTAMP-ISO',112)"});
  expectDate(u"CONVERT",
             {"TIMESTAMP_ISO(N'CONV-ER-T')", "'CONVERT'", "CONVERT(datetime,N'CONVERT',112)"});
  expectDate(u"CONVERT-", {"TIMESTAMP_ISO(N'CONVERT-')", "'CONVERT-'", "CONVERT-"});
  // Thirteen characters, but the dashes come first.
  expectDate(u"TIMESTAMP_ISO", {"TIMESTAMP_ISO(N'TIME-ST-AMP_ISO')", "'TIMESTAMP_ISO'",
                                "CONVERT(datetime,N'TIMESTAMP_ISO',112)"});
  expectDate(u"TIMESTAMP_ISO-",
             {"TIMESTAMP_ISO-", "'TIMESTAMP_ISO-'", "CONVERT(datetime,N'TIMESTAMP_ISO-',112)"});
}

TEST_P(Dialect, ALiteralOfDb2WithoutADashGetsDashesAndIsWrappedAgain) {
  expectDate(u"TIMESTAMP_ISO(N'20240131')",
             {"TIMESTAMP_ISO(N'TIME-ST-AMP_ISO(N''20240131'')')", "'TIMESTAMP_ISO(N'20240131')'",
              "CONVERT(datetime,N'TIMESTAMP_ISO(N''20240131'')',112)"});
  expectDate(u"TIMESTAMP_ISO(N'2024-01-31')",
             {"TIMESTAMP_ISO(N'2024-01-31')", "'TIMESTAMP_ISO(N'2024-01-31')'",
              "CONVERT(datetime,N'TIMESTAMP_ISO(N''2024-01-31'')',112)"});
}

TEST_P(Dialect, AShortTextOfADateGetsItsDashesWhereItEnds) {
  expectDate(u"2024", {"TIMESTAMP_ISO(N'2024--')", "'2024'", "CONVERT(datetime,N'2024',112)"});
  expectDate(u"", {"TIMESTAMP_ISO(N'--')", "''", "CONVERT(datetime,N'',112)"});
}

TEST_P(Dialect, AnotherKindOfValueForADateIsTakenAsText) {
  expectDate(20240131,
             {"TIMESTAMP_ISO(N'2024-01-31')", "'20240131'", "CONVERT(datetime,N'20240131',112)"});
}

TEST_P(Dialect, KordbDoublesNoQuotesInADate) {
  expectDate(u"a-b'c", {"TIMESTAMP_ISO(N'a-b''c')", "'a-b'c'", "CONVERT(datetime,N'a-b''c',112)"});
}

TEST_P(Dialect, AValueIsWrittenByItsKind) {
  expectValue(u"O'Brien", {"N'O''Brien'", "N'O''Brien'", "N'O''Brien'"});
  expectValue(12.5, {"12.5", "12.5", "12.5"});
  expectValue(-3, {"-3", "-3", "-3"});
  expectValue(true, {"-1", "-1", "-1"});
  expectValue(CComVariant(), {"", "", ""});
  expectValue(someDate(), {"TIMESTAMP_ISO(N'2024-01-31')", "'2024-01-31 00:00:00'",
                           "CONVERT(datetime,N'20240131',112)"});
}

TEST_P(Dialect, AChooseListGivesItsColumnsTheirTitles) {
  CSimpleMap<CComBSTR, CComBSTR> fields;
  fields.Add(u"Code", u"No.");
  fields.Add(u"U_A", u"Some A");
  object->SetMasterTable(u"@T");
  object->SetUserTable(true);
  CComBSTR text;
  object->GetSQLforChooseList(fields, u"U_A > 3", text);
  EXPECT_EQ(utf8(text),
            (PerDialect{R"(SELECT Code AS "No." ,U_A AS "Some A" FROM @T WHERE U_A > 3)",
                        R"(SELECT "Code" AS "No." ,"U_A" AS "Some A" FROM "@T" WHERE U_A > 3)",
                        "SELECT Code AS 'No.' ,U_A AS 'Some A' FROM [@T] WHERE U_A > 3"}
                 .of(GetParam())));
}

TEST_P(Dialect, AChooseListWithoutColumnsHasAllOfAHostTableAsItIs) {
  object->SetMasterTable(u"OFPR");
  CComBSTR text(u"before");
  object->GetSQLforChooseList({}, CComBSTR(), text);
  EXPECT_EQ(utf8(text), "SELECT * FROM OFPR");
}

// The leading classes of each dialect, by their names.
TEST(DialectClasses, AreWhatAServerTypeGives) {
  const auto is = []<class Object, class Collection>(long serverType) {
    return dynamic_cast<Object*>(qx::persistentObjectFor(serverType).get()) != nullptr &&
           dynamic_cast<Collection*>(qx::persistentCollectionFor(serverType).get()) != nullptr;
  };
  EXPECT_TRUE((is.operator()<CQXPersistentObjectDB2, CQXPersistentCollectionDB2>(2)));
  EXPECT_TRUE((is.operator()<CQXPersistentObjectSybase, CQXPersistentCollectionSybase>(3)));
  EXPECT_TRUE((is.operator()<CQXPersistentObjectKORDB, CQXPersistentCollectionKORDB>(9)));
  for (const long other : {0L, 1L, 4L, 8L, 10L, -1L})
    EXPECT_TRUE((is.operator()<CQXPersistentObjectMSSQL, CQXPersistentCollectionMSSQL>(other)));
}

}  // namespace
}  // namespace Persistence
