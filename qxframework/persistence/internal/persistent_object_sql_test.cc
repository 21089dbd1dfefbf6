// The statements of a row in each dialect. No company is needed.

#include "qxframework/persistence/internal/persistence_factory.h"
#include "qxframework/persistence/internal/persistent_object.h"
#include "qxframework/query/testing/condition_access.h"
#include "qxframework/query/testing/query_parts.h"
#include "qxframework/sql/testing/dialect_param.h"

namespace Persistence {
namespace {

using namespace qx::test;
using qx::ConditionAccess;
using namespace std::literals;

class ObjectSql : public testing::TestWithParam<DialectParam> {
 protected:
  ObjectSql() {
    object->SetMasterTable(u"@T");
    object->SetUserTable(true);
  }
  void expectInsert(const PerDialect& texts) {
    EXPECT_EQ(utf8(object->InsertText(u"1")), texts.of(GetParam()));
  }
  void expectUpdate(const TyFieldValues& keys, const PerDialect& texts) {
    EXPECT_EQ(utf8(object->UpdateText(keys)), texts.of(GetParam()));
  }
  void expectRemove(const PerDialect& texts) {
    EXPECT_EQ(utf8(object->RemoveText()), texts.of(GetParam()));
  }
  void expectSelect(const PerDialect& texts) {
    EXPECT_EQ(utf8(object->SelectText()), texts.of(GetParam()));
  }

  std::unique_ptr<CQXPersistentObject> object = qx::persistentObjectFor(GetParam().dialect());
};

INSTANTIATE_TEST_SUITE_P(Each, ObjectSql, eachDialect(), nameOf<DialectParam>);

TEST_P(ObjectSql, AnInsertIntoAUserTableAddsCodeAndName) {
  object->GetFieldValues() = values({{u"U_A", u"x"}});
  expectInsert(
      {.mssql = "INSERT INTO [@T] ( Code, Name, U_A)  VALUES ( N'1', N'1', N'x') ",
       .db2 = "INSERT INTO @T ( Code, Name, U_A)  VALUES ( N'1', N'1', N'x') ",
       .kordb = R"(INSERT INTO "@T" ( "Code", "Name", "U_A")  VALUES ( N'1', N'1', N'x') )"});
}

TEST_P(ObjectSql, AnInsertIntoAUserTableReplacesCodeAndName) {
  object->GetFieldValues() = values({{u"Name", u"mine"}, {u"U_A", u"x"}, {u"Code", u"mine"}});
  expectInsert(
      {.mssql = "INSERT INTO [@T] ( Name, U_A, Code)  VALUES ( N'1', N'x', N'1') ",
       .db2 = "INSERT INTO @T ( Name, U_A, Code)  VALUES ( N'1', N'x', N'1') ",
       .kordb = R"(INSERT INTO "@T" ( "Name", "U_A", "Code")  VALUES ( N'1', N'x', N'1') )"});
  EXPECT_EQ(utf8(object->GetFieldValues().GetValue(u"Name")), "1");
}

TEST_P(ObjectSql, AnInsertAddsTheOneOfCodeAndNameThatIsMissing) {
  object->GetFieldValues() = values({{u"Name", u"mine"}});
  expectInsert({.mssql = "INSERT INTO [@T] ( Code, Name)  VALUES ( N'1', N'1') ",
                .db2 = "INSERT INTO @T ( Code, Name)  VALUES ( N'1', N'1') ",
                .kordb = R"(INSERT INTO "@T" ( "Code", "Name")  VALUES ( N'1', N'1') )"});
}

TEST_P(ObjectSql, AnInsertIntoAHostTableKeepsCodeAndName) {
  object->SetUserTable(false);
  object->SetMasterTable(u"HVRATE");
  object->GetFieldValues() = values({{u"Code", u"it's"}, {u"Rate", 12.5}, {u"Day", someDate()}});
  expectInsert({.mssql = "INSERT INTO HVRATE ( Code, Rate, Day)  "
                         "VALUES ( N'it''s', 12.5, CONVERT(datetime,N'20240131',112)) ",
                .db2 = "INSERT INTO HVRATE ( Code, Rate, Day)  "
                       "VALUES ( N'it''s', 12.5, TIMESTAMP_ISO(N'2024-01-31')) ",
                .kordb = R"(INSERT INTO "HVRATE" ( "Code", "Rate", "Day")  )"
                         "VALUES ( N'it''s', 12.5, '2024-01-31 00:00:00') "});
  EXPECT_EQ(utf8(object->GetFieldValues().GetValue(u"Code")), "it's");
}

TEST_P(ObjectSql, AnInsertOfNothingIntoAUserTableEndsWithAComma) {
  expectInsert({.mssql = "INSERT INTO [@T] ( Code, Name, )  VALUES ( N'1', N'1', ) ",
                .db2 = "INSERT INTO @T ( Code, Name, )  VALUES ( N'1', N'1', ) ",
                .kordb = R"(INSERT INTO "@T" ( "Code", "Name", )  VALUES ( N'1', N'1', ) )"});
}

TEST_P(ObjectSql, AnInsertRefusesAValueWithoutText) {
  CComVariant null;
  null.vt = VT_NULL;
  object->GetFieldValues() = values({{u"U_A", null}});
  EXPECT_EQ(refusalOf([&] { object->InsertText(u"1"); }), "-1: A value of type 1 has no text form");
}

TEST_P(ObjectSql, AnUpdateByConditionsWritesAllButTheKey) {
  object->SetKeyFields({u"Code"});
  object->SetCorrelationName(u"T0");
  object->SetConditions(conditions({{u"Code", co_Equal, u"A", u"VT_BSTR", cr_And, 1, 1},
                                    {u"U_N", co_GreaterOrEqual, u"3", u"VT_R8", cr_Or},
                                    {u"U_D", co_Less, u"20240131", u"VT_DATE"}}));
  object->GetFieldValues() = values({{u"Code", u"B"}, {u"U_A", u"x"}, {u"U_N", 12.5}});
  expectUpdate(
      values({{u"U_A", u"not read"}}),
      {.mssql = "UPDATE [@T]  SET U_A = N'x', U_N = 12.5  WHERE Code = N'A' OR U_N >= 3 AND "
                "U_D < CONVERT(datetime,N'20240131',112)",
       .db2 = "UPDATE @T  SET U_A = N'x', U_N = 12.5  WHERE Code = N'A' OR U_N >= 3 AND "
              "U_D < TIMESTAMP_ISO(N'2024-01-31')",
       .kordb =
           R"(UPDATE "@T"  SET "U_A" = N'x', "U_N" = 12.5  WHERE "Code" = N'A' OR "U_N" >= 3 AND )"
           R"("U_D" < '20240131')"});
}

TEST_P(ObjectSql, AnUpdateWithoutConditionsComparesKnownKeyValues) {
  object->GetFieldValues() = values({{u"Code", u"A"}, {u"U_A", u"x"}});
  expectUpdate(
      values({{u"U_X", u"missing"}, {u"U_A", u"old"}, {u"Code", 5}}),
      {.mssql = "UPDATE [@T]  SET Code = N'A', U_A = N'x'  WHERE U_A = N'old' AND Code = 5",
       .db2 = "UPDATE @T  SET Code = N'A', U_A = N'x'  WHERE U_A = N'old' AND Code = 5",
       .kordb = R"(UPDATE "@T"  SET "Code" = N'A', "U_A" = N'x'  )"
                R"(WHERE "U_A" = N'old' AND "Code" = 5)"});
}

TEST_P(ObjectSql, AnUpdateFindsKeyValuesInUpperCase) {
  object->GetFieldValues() = values({{u"U_a", u"x"}, {u"u_b", u"x"}});
  expectUpdate(
      values({{u"U_A", 1}, {u"u_B", 2}, {u"U_B", 3}}),
      {.mssql = "UPDATE [@T]  SET U_a = N'x', u_b = N'x'  WHERE U_A = 1 AND U_B = 3",
       .db2 = "UPDATE @T  SET U_a = N'x', u_b = N'x'  WHERE U_A = 1 AND U_B = 3",
       .kordb = R"(UPDATE "@T"  SET "U_a" = N'x', "u_b" = N'x'  WHERE "U_A" = 1 AND "U_B" = 3)"});
}

TEST_P(ObjectSql, AnUpdateRemovesTheCorrelationNameFromKeyValues) {
  object->SetCorrelationName(u"T0");
  object->SetFields({u"Code"});
  object->SetKeyFields({u"Code"});
  object->GetFieldValues() = values({{u"Code", u"A"}, {u"U_A", u"x"}});
  expectUpdate(values({{u"T0.Code", u"A"}, {u"U_A", u"y"}, {u"T1.U_B.c", u"z"}}),
               {.mssql = "UPDATE [@T]  SET U_A = N'x'  WHERE Code = N'A' AND U_A = N'y'",
                .db2 = "UPDATE @T  SET U_A = N'x'  WHERE Code = N'A' AND U_A = N'y'",
                .kordb = R"(UPDATE "@T"  SET "U_A" = N'x'  WHERE "Code" = N'A' AND "U_A" = N'y')"});
}

TEST_P(ObjectSql, AnUpdateKeepsTheCorrelationNameOfKeyValuesWithoutAFieldList) {
  object->SetCorrelationName(u"T0");
  object->GetFieldValues() = values({{u"Code", u"A"}});
  expectUpdate(values({{u"T0.Code", u"A"}}),
               {.mssql = "UPDATE [@T]  SET Code = N'A'  WHERE ",
                .db2 = "UPDATE @T  SET Code = N'A'  WHERE ",
                .kordb = R"(UPDATE "@T"  SET "Code" = N'A'  WHERE )"});
}

TEST_P(ObjectSql, AnUpdateByUnknownKeyValuesEndsAfterWhere) {
  object->GetFieldValues() = values({{u"Code", u"A"}});
  const PerDialect texts{.mssql = "UPDATE [@T]  SET Code = N'A'  WHERE ",
                         .db2 = "UPDATE @T  SET Code = N'A'  WHERE ",
                         .kordb = R"(UPDATE "@T"  SET "Code" = N'A'  WHERE )"};
  expectUpdate(values({{u"U_X", u"missing"}, {u"code", u"A"}}), texts);
  expectUpdate({}, texts);
}

// If the cost grew with the square of the columns, this would take minutes.
TEST(UpdateText, ComparesTwentyThousandKeyValues) {
  constexpr int kColumns = 20000;
  const auto object = qx::persistentObjectFor(qx::dialectOf(1));
  object->SetMasterTable(u"T");
  TyFieldValues keys;
  std::string where;
  for (int i = 0; i < kColumns; ++i) {
    const std::string number = std::to_string(i);
    object->GetFieldValues().Add(qx::toUtf16("u" + number).c_str(), 1);
    keys.Add(qx::toUtf16((i % 2 == 0 ? "U" : "x") + number).c_str(), i);
    if (i % 2 == 0) where += (where.empty() ? "U" : " AND U") + number + " = " + number;
  }
  EXPECT_TRUE(utf8(object->UpdateText(keys)).ends_with("  WHERE " + where));
}

TEST_P(ObjectSql, AnUpdateOfKeyFieldsOnlySetsNothing) {
  object->SetKeyFields({u"Code"});
  object->SetConditions(codeIs(u"A"));
  object->GetFieldValues() = values({{u"Code", u"B"}});
  expectUpdate({}, {.mssql = "UPDATE [@T]  SET   WHERE Code = N'A'",
                    .db2 = "UPDATE @T  SET   WHERE Code = N'A'",
                    .kordb = R"(UPDATE "@T"  SET   WHERE "Code" = N'A')"});
}

TEST_P(ObjectSql, AnUpdateComparesKeyNamesWithTheirCase) {
  object->SetKeyFields({u"code"});
  object->SetConditions(codeIs(u"A"));
  object->GetFieldValues() = values({{u"Code", u"B"}});
  expectUpdate({}, {.mssql = "UPDATE [@T]  SET Code = N'B'  WHERE Code = N'A'",
                    .db2 = "UPDATE @T  SET Code = N'B'  WHERE Code = N'A'",
                    .kordb = R"(UPDATE "@T"  SET "Code" = N'B'  WHERE "Code" = N'A')"});
}

TEST_P(ObjectSql, AnUpdateWithAnEmptyListOfConditionsComparesKeyValues) {
  object->SetConditions(CConditions::CreateNewInstance());
  object->GetFieldValues() = values({{u"U_A", u"x"}});
  expectUpdate(values({{u"U_A", u"y"}}),
               {.mssql = "UPDATE [@T]  SET U_A = N'x'  WHERE U_A = N'y'",
                .db2 = "UPDATE @T  SET U_A = N'x'  WHERE U_A = N'y'",
                .kordb = R"(UPDATE "@T"  SET "U_A" = N'x'  WHERE "U_A" = N'y')"});
}

TEST_P(ObjectSql, AnUpdateRefusesAComparisonOfFields) {
  const auto list = codeIs(u"A");
  ConditionAccess::compareFields(*list->Item(0L), VARIANT_TRUE);
  object->SetConditions(list);
  EXPECT_EQ(refusalOf([&] { object->UpdateText({}); }),
            "-1: Comparing of fields is not implemented");
}

TEST_P(ObjectSql, ARemoveComparesTheConditions) {
  object->SetCorrelationName(u"T0");
  object->SetConditions(conditions({{u"Code", co_Equal, u"O'Brien"},
                                    {u"Price", co_Equal, u"12.5", u"VT_R8"},
                                    {u"Day", co_Equal, u"20240131", u"VT_DATE", cr_Or}}));
  expectRemove({.mssql = "DELETE FROM [@T]  WHERE Code = N'O''Brien' AND Price = N'12.5' OR "
                         "Day = CONVERT(datetime,N'20240131',112)",
                .db2 = "DELETE FROM @T  WHERE Code = N'O''Brien' AND Price = N'12.5' OR "
                       "Day = TIMESTAMP_ISO(N'2024-01-31')",
                .kordb = R"(DELETE FROM "@T"  WHERE "Code" = N'O''Brien' AND "Price" = N'12.5' OR )"
                         R"("Day" = '20240131')"});
}

TEST_P(ObjectSql, ARemoveWithoutConditionsEndsAfterWhere) {
  expectRemove({.mssql = "DELETE FROM [@T]  WHERE ",
                .db2 = "DELETE FROM @T  WHERE ",
                .kordb = R"(DELETE FROM "@T"  WHERE )"});
}

TEST_P(ObjectSql, ASelectWithoutJoinsHasFiveBlanksBeforeWhere) {
  object->SetCorrelationName(u"T0");
  object->SetFields({u"Code"});
  object->SetConditions(codeIs(u"A"));
  expectSelect(
      {.mssql = "SELECT T0.Code AS'T0.Code' FROM [@T] T0     WHERE T0.Code = N'A'",
       .db2 = R"(SELECT T0.Code AS "T0.Code"  FROM @T T0     WHERE T0.Code = N'A')",
       .kordb = R"(SELECT T0."Code" AS"T0.Code" FROM "@T" T0     WHERE T0."Code" = N'A')"});
}

TEST_P(ObjectSql, ASelectWithoutACorrelationNameIsBare) {
  object->SetConditions(codeIs(u"A"));
  expectSelect({.mssql = "SELECT * FROM [@T]     WHERE Code = N'A'",
                .db2 = "SELECT * FROM @T     WHERE Code = N'A'",
                .kordb = R"(SELECT * FROM "@T"     WHERE "Code" = N'A')"});
}

TEST_P(ObjectSql, ASelectWritesEveryOperationAndNoBrackets) {
  object->SetMasterTable(u"OFPR");
  object->SetConditions(conditions({{u"A", co_Like, u"x%", u"VT_BSTR", cr_Or, 1, 1},
                                    {u"B", co_Greater, u"1", u"VT_R8", cr_Or, 1, 0},
                                    {u"C", co_NotEqual, u"2", u"", cr_And, 0, 1},
                                    {u"D", co_LessOrEqual, u"20240131", u"VT_DATE"},
                                    {u"E", co_Equal, u"5", u"odd"}}));
  expectSelect({.mssql = "SELECT * FROM OFPR     WHERE A LIKE N'x%' OR B > 1 AND C <> 2 AND "
                         "D <= CONVERT(datetime,N'20240131',112) AND E = 5",
                .db2 = "SELECT * FROM OFPR     WHERE A LIKE N'x%' OR B > 1 AND C <> 2 AND "
                       "D <= TIMESTAMP_ISO(N'2024-01-31') AND E = 5",
                .kordb =
                    R"(SELECT * FROM "OFPR"     WHERE "A" LIKE N'x%' OR "B" > 1 AND "C" <> 2 AND )"
                    R"("D" <= '20240131' AND "E" = 5)"});
}

TEST_P(ObjectSql, ANewConditionIsALikeOfTheBareValue) {
  auto bare = CConditions::CreateNewInstance();
  CCondition* const condition = bare->Add();
  condition->PutAlias(u"Code");
  condition->PutCondVal(u"A");
  object->SetConditions(bare);
  expectSelect({.mssql = "SELECT * FROM [@T]     WHERE Code LIKE A",
                .db2 = "SELECT * FROM @T     WHERE Code LIKE A",
                .kordb = R"(SELECT * FROM "@T"     WHERE "Code" LIKE A)"});
}

TEST_P(ObjectSql, ASelectJoinsItsTables) {
  object->SetCorrelationName(u"T0");
  object->SetFields({u"Code"});
  object->SetConditions(codeIs(u"A"));
  CQXLinkTableCriteria one(u"@B", u"T1", jm_Inner, true);
  one.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"U_B", u"Code"));
  one.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"U_Kind", CComVariant(u"k"), co_NotEqual));
  one.SetFields({u"U_C"});
  object->AddLinkTable(one);
  CQXLinkTableCriteria two(u"OFPR", u"T2", jm_LeftOuter, false);
  two.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"U_Day", u"Day"));
  object->AddLinkTable(two);
  expectSelect(
      {.mssql = "SELECT T0.Code AS'T0.Code',T1.U_C AS'T1.U_C',T2.* FROM [@T] T0  "
                " INNER JOIN [@B] T1 ON T0.U_B = T1.Code AND T1.U_Kind  <>  N'k'"
                " LEFT OUTER JOIN OFPR T2 ON T0.U_Day = T2.Day   WHERE T0.Code = N'A'",
       .db2 = R"(SELECT T0.Code AS "T0.Code" ,T1.U_C AS "T1.U_C" ,T2.* FROM @T T0  )"
              R"( INNER JOIN @B T1 ON T0.U_B = T1.Code AND T1.U_Kind  <>  N'k')"
              R"( LEFT OUTER JOIN OFPR T2 ON T0.U_Day = T2.Day   WHERE T0.Code = N'A')",
       .kordb = R"(SELECT T0."Code" AS"T0.Code",T1."U_C" AS"T1.U_C",T2.* FROM "@T" T0  )"
                R"( INNER JOIN "@B" T1 ON T0."U_B" = T1."Code" AND T1."U_Kind"  <>  N'k')"
                R"( LEFT OUTER JOIN OFPR T2 ON T0."U_Day" = T2."Day"   WHERE T0."Code" = N'A')"});
}

TEST_P(ObjectSql, ASelectNeedsConditions) {
  EXPECT_EQ(refusalOf([&] { object->SelectText(); }), "-1: No conditions are set for select");
}

TEST_P(ObjectSql, ASelectWithAnEmptyListOfConditionsEndsAfterWhere) {
  object->SetConditions(CConditions::CreateNewInstance());
  expectSelect({.mssql = "SELECT * FROM [@T]     WHERE ",
                .db2 = "SELECT * FROM @T     WHERE ",
                .kordb = R"(SELECT * FROM "@T"     WHERE )"});
}

TEST_P(ObjectSql, ASelectRefusesAComparisonOfFields) {
  const auto list = codeIs(u"A");
  ConditionAccess::compareFields(*list->Item(0L), VARIANT_TRUE);
  object->SetConditions(list);
  EXPECT_EQ(refusalOf([&] { object->SelectText(); }), "-1: Comparing of fields is not implemented");
  // Only the value -1 counts here.
  ConditionAccess::compareFields(*list->Item(0L), 1);
  object->SetConditions(list);
  EXPECT_NE(utf8(object->SelectText()), "");
}

TEST_P(ObjectSql, ASelectRefusedForItsConditionsDoesNotWriteTheJoins) {
  object->SetCorrelationName(u"T0");
  CQXLinkTableCriteria one(u"B", u"T1", jm_Inner, false);
  one.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"U_Kind", CComVariant(u"k"), co_Equal));
  object->AddLinkTable(one);
  EXPECT_NE(refusalOf([&] { object->SelectText(); }), "");
  object->SetConditions(CConditions::CreateNewInstance());
  EXPECT_NE(utf8(object->SelectText()).find("  =  N'k' "), std::string::npos);
  EXPECT_NE(utf8(object->SelectText()).find("  =  N'N''k''' "), std::string::npos);
}

TEST_P(ObjectSql, AValueKeepsItsUnits) {
  const std::u16string odd = u"a\r\n\U0001F600"s + u'\0' + u"\xD800z";
  auto list = CConditions::CreateNewInstance();
  CCondition* const condition = list->Add();
  condition->PutAlias(u"Code");
  condition->PutOperation(co_Equal);
  condition->PutComparedAlias(u"VT_BSTR");
  condition->PutCondVal(odd);
  object->SetConditions(list);
  EXPECT_TRUE(object->SelectText().View().ends_with(u" = N'" + odd + u"'"));
  EXPECT_TRUE(object->RemoveText().View().ends_with(u" = N'" + odd + u"'"));
  object->GetFieldValues() = values({{u"Code", CComVariant(std::u16string_view(odd))}});
  object->SetUserTable(false);
  EXPECT_TRUE(object->InsertText(CComBSTR()).View().ends_with(u"( N'" + odd + u"') "));
}

TEST_P(ObjectSql, AMillionUnitsAreWrittenCompletely) {
  const std::u16string million(1 << 20, u'\'');
  object->SetUserTable(false);
  object->GetFieldValues() = values({{u"U_A", CComVariant(std::u16string_view(million))}});
  EXPECT_TRUE(
      object->InsertText(CComBSTR()).View().ends_with(u"( N'" + million + million + u"') "));
}

}  // namespace
}  // namespace Persistence
