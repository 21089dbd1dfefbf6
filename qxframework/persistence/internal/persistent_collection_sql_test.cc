// The statements of a set of rows in each dialect. No company is needed.

#include "qxframework/persistence/internal/dialect_classes.h"
#include "qxframework/persistence/internal/persistence_factory.h"
#include "qxframework/persistence/internal/persistent_collection.h"
#include "qxframework/query/testing/condition_access.h"
#include "qxframework/query/testing/query_parts.h"
#include "qxframework/sql/testing/dialect_param.h"

#include <gmock/gmock.h>

namespace Persistence {
namespace {

using namespace qx::test;
using qx::ConditionAccess;
using namespace std::literals;
using testing::ElementsAre;

class CollectionSql : public testing::TestWithParam<DialectParam> {
 protected:
  CollectionSql() {
    collection->SetMasterTable(u"@T");
    collection->SetUserTable(true);
    collection->SetKeyFields({u"Code"});
  }
  std::vector<std::string> select() {
    std::vector<std::string> texts;
    for (const CComBSTR& text : collection->SelectTexts()) texts.push_back(utf8(text));
    return texts;
  }
  /// Returns the only statement of a SELECT without a limit.
  void expectSelect(const PerDialect& texts) {
    EXPECT_THAT(select(), ElementsAre(texts.of(GetParam())));
  }
  void setAliased() {
    collection->SetCorrelationName(u"T0");
    collection->SetFields({u"Code", u"U_A"});
    collection->SetKeysOnly(false);
  }

  std::unique_ptr<CQXPersistentCollection> collection =
      qx::persistentCollectionFor(GetParam().dialect());
};

INSTANTIATE_TEST_SUITE_P(Each, CollectionSql, eachDialect(), nameOf<DialectParam>);

TEST_P(CollectionSql, KeysOnlySelectsTheKeysInTheirOrder) {
  expectSelect({.mssql = "SELECT Code FROM [@T]     ORDER BY Code",
                .db2 = "SELECT Code FROM @T     ORDER BY Code  ",
                .kordb = R"(SELECT "Code" FROM "@T"     ORDER BY "Code")"});
}

TEST_P(CollectionSql, KeysOnlyUsesTheCorrelationName) {
  collection->SetKeyFields({u"Code", u"Line"});
  collection->SetCorrelationName(u"T0");
  expectSelect({.mssql = "SELECT T0.Code AS'T0.Code',T0.Line AS'T0.Line' FROM [@T] T0    "
                         " ORDER BY T0.Code,T0.Line",
                .db2 = R"(SELECT T0.Code AS "T0.Code" ,T0.Line AS "T0.Line"  FROM @T T0    )"
                       R"( ORDER BY T0.Code,T0.Line  )",
                .kordb = R"(SELECT T0."Code" AS"T0.Code",T0."Line" AS"T0.Line" FROM "@T" T0    )"
                         R"( ORDER BY T0."Code",T0."Line")"});
}

TEST_P(CollectionSql, KeysOnlyWithoutKeysSelectsNothing) {
  collection->SetKeyFields({});
  expectSelect({.mssql = "SELECT  FROM [@T]     ORDER BY ",
                .db2 = "SELECT  FROM @T     ORDER BY   ",
                .kordb = R"(SELECT  FROM "@T"     ORDER BY )"});
}

TEST_P(CollectionSql, AllColumnsAreSelectedWithoutAFieldList) {
  collection->SetKeysOnly(false);
  expectSelect({.mssql = "SELECT * FROM [@T]     ORDER BY Code",
                .db2 = "SELECT * FROM @T     ORDER BY Code  ",
                .kordb = R"(SELECT * FROM "@T"     ORDER BY "Code")"});
}

TEST_P(CollectionSql, TheWhereClauseHasBracketsAfterTheRelationship) {
  setAliased();
  collection->SetConditions(conditions({{u"Code", co_Like, u"A%", u"VT_BSTR", cr_Or, 1, 0},
                                        {u"U_N", co_Greater, u"3", u"VT_R8", cr_Or, 2, 1},
                                        {u"U_D", co_Less, u"20240131", u"VT_DATE", cr_And, 0, 2}}));
  expectSelect({.mssql = "SELECT T0.Code AS'T0.Code',T0.U_A AS'T0.U_A' FROM [@T] T0    "
                         " WHERE (T0.Code LIKE N'A%' OR ((T0.U_N > 3) AND"
                         " T0.U_D < CONVERT(datetime,N'20240131',112))) ORDER BY T0.Code",
                .db2 = R"(SELECT T0.Code AS "T0.Code" ,T0.U_A AS "T0.U_A"  FROM @T T0    )"
                       R"( WHERE (T0.Code LIKE N'A%' OR ((T0.U_N > 3) AND)"
                       R"( T0.U_D < TIMESTAMP_ISO(N'2024-01-31'))) ORDER BY T0.Code  )",
                .kordb = R"(SELECT T0."Code" AS"T0.Code",T0."U_A" AS"T0.U_A" FROM "@T" T0    )"
                         R"( WHERE (T0."Code" LIKE N'A%' OR ((T0."U_N" > 3) AND)"
                         R"( T0."U_D" < '20240131')) ORDER BY T0."Code")"});
}

TEST_P(CollectionSql, SortFieldsReplaceTheKeyInTheOrder) {
  collection->SetCorrelationName(u"T0");
  collection->SetSortFields({CQXPersistenceSortField(u"U_A", so_Descending),
                             CQXPersistenceSortField(u"U_B"),
                             CQXPersistenceSortField(u"U_C", etSORT_ORDER(7))});
  expectSelect({.mssql = "SELECT T0.Code AS'T0.Code' FROM [@T] T0    "
                         " ORDER BY T0.U_A DESC,T0.U_B ASC,T0.U_C DESC",
                .db2 = R"(SELECT T0.Code AS "T0.Code"  FROM @T T0    )"
                       R"( ORDER BY T0.U_A DESC,T0.U_B ASC,T0.U_C DESC  )",
                .kordb = R"(SELECT T0."Code" AS"T0.Code" FROM "@T" T0    )"
                         R"( ORDER BY T0."U_A" DESC,T0."U_B" ASC,T0."U_C" DESC)"});
}

TEST_P(CollectionSql, AHostTableHasItsForm) {
  collection->SetMasterTable(u"OFPR");
  expectSelect({.mssql = "SELECT Code FROM OFPR     ORDER BY Code",
                .db2 = "SELECT Code FROM OFPR     ORDER BY Code  ",
                .kordb = R"(SELECT "Code" FROM "OFPR"     ORDER BY "Code")"});
}

TEST_P(CollectionSql, TenConditionsAndTwoJoins) {
  setAliased();
  std::vector<Tested> tested;
  for (int i = 0; i < 10; ++i) tested.push_back({u"U_A", co_Equal, u"x"});
  collection->SetConditions(conditions(tested));
  CQXLinkTableCriteria one(u"@B", u"T1", jm_Inner, true);
  one.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"U_B", u"Code"));
  one.SetFields({u"U_C"});
  collection->AddLinkTable(one);
  CQXLinkTableCriteria two(u"OFPR", u"T2", jm_FullOuter, false);
  two.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"U_Day", CComVariant(2.5), co_Less));
  collection->AddLinkTable(two);
  const auto ten = [](const std::string& condition) {
    std::string text = condition;
    for (int i = 1; i < 10; ++i) text += " AND " + condition;
    return text;
  };
  expectSelect(
      {.mssql =
           "SELECT T0.Code AS'T0.Code',T0.U_A AS'T0.U_A',T1.U_C AS'T1.U_C',T2.* FROM [@T] T0  "
           " INNER JOIN [@B] T1 ON T0.U_B = T1.Code FULL OUTER JOIN OFPR T2 ON T2.U_Day  <  2.5  "
           " WHERE " +
           ten("T0.U_A = N'x'") + " ORDER BY T0.Code",
       .db2 =
           R"(SELECT T0.Code AS "T0.Code" ,T0.U_A AS "T0.U_A" ,T1.U_C AS "T1.U_C" ,T2.* FROM @T T0  )"
           " INNER JOIN @B T1 ON T0.U_B = T1.Code FULL OUTER JOIN OFPR T2 ON T2.U_Day  <  2.5  "
           " WHERE " +
           ten("T0.U_A = N'x'") + " ORDER BY T0.Code  ",
       .kordb =
           R"(SELECT T0."Code" AS"T0.Code",T0."U_A" AS"T0.U_A",T1."U_C" AS"T1.U_C",T2.* FROM )"
           R"("@T" T0   INNER JOIN "@B" T1 ON T0."U_B" = T1."Code" FULL OUTER JOIN OFPR T2 ON )"
           R"(T2."U_Day"  <  2.5   WHERE )" +
           ten(R"(T0."U_A" = N'x')") + R"( ORDER BY T0."Code")"});
}

TEST_P(CollectionSql, ALimitHasThePlaceOfItsDialect) {
  collection->SetCorrelationName(u"T0");
  collection->SetMaxRecordCount(5);
  const std::string plain = "SELECT T0.Code AS'T0.Code' FROM [@T] T0     ORDER BY T0.Code";
  if (GetParam().name == "Sybase") {
    EXPECT_THAT(select(), ElementsAre("SET ROWCOUNT 5 ", plain, "SET ROWCOUNT 0"));
    return;
  }
  expectSelect(
      {.mssql = "SELECT TOP 5 T0.Code AS'T0.Code' FROM [@T] T0     ORDER BY T0.Code",
       .db2 = R"(SELECT T0.Code AS "T0.Code"  FROM @T T0     ORDER BY T0.Code  )"
              "FETCH FIRST 5 ROWS ONLY",
       .kordb = R"(SELECT TOP 5 T0."Code" AS"T0.Code" FROM "@T" T0     ORDER BY T0."Code")"});
}

TEST_P(CollectionSql, ALimitIsWrittenWithItsLow32Bits) {
  collection->SetMaxRecordCount((1L << 33) + 5);
  if (GetParam().name == "Sybase") {
    EXPECT_EQ(select().front(), "SET ROWCOUNT 5 ");
    return;
  }
  expectSelect({.mssql = "SELECT TOP 5 Code FROM [@T]     ORDER BY Code",
                .db2 = "SELECT Code FROM @T     ORDER BY Code  FETCH FIRST 5 ROWS ONLY",
                .kordb = R"(SELECT TOP 5 "Code" FROM "@T"     ORDER BY "Code")"});
}

TEST_P(CollectionSql, ALimitPrecedesAllColumns) {
  collection->SetKeysOnly(false);
  collection->SetMaxRecordCount(1);
  const auto texts = select();
  EXPECT_EQ(texts[texts.size() / 2],
            (PerDialect{.mssql = "SELECT TOP 1 * FROM [@T]     ORDER BY Code",
                        .sybase = "SELECT * FROM [@T]     ORDER BY Code",
                        .db2 = "SELECT * FROM @T     ORDER BY Code  FETCH FIRST 1 ROWS ONLY",
                        .kordb = R"(SELECT TOP 1 * FROM "@T"     ORDER BY "Code")"}
                 .of(GetParam())));
}

TEST_P(CollectionSql, AClearedLimitIsNotWritten) {
  collection->SetMaxRecordCount(5);
  collection->SetMaxRecordCount(-1);
  expectSelect({.mssql = "SELECT Code FROM [@T]     ORDER BY Code",
                .db2 = "SELECT Code FROM @T     ORDER BY Code  ",
                .kordb = R"(SELECT "Code" FROM "@T"     ORDER BY "Code")"});
}

TEST_P(CollectionSql, WithoutConditionsNothingFollowsWhere) {
  collection->SetConditions(CConditions::CreateNewInstance());
  expectSelect({.mssql = "SELECT Code FROM [@T]     WHERE  ORDER BY Code",
                .db2 = "SELECT Code FROM @T     WHERE  ORDER BY Code  ",
                .kordb = R"(SELECT "Code" FROM "@T"     WHERE  ORDER BY "Code")"});
}

TEST_P(CollectionSql, AComparisonOfFieldsIsRefused) {
  const auto list = codeIs(u"A");
  ConditionAccess::compareFields(*list->Item(0L), VARIANT_TRUE);
  collection->SetConditions(list);
  EXPECT_EQ(refusalOf([&] { select(); }), "-1: Comparing of fields is not implemented");
}

TEST_P(CollectionSql, JoinsNeedACorrelationNameUnlessKeysOnly) {
  collection->AddLinkTable(CQXLinkTableCriteria(u"B", u"T1", jm_Inner, false));
  collection->SetKeysOnly(false);
  EXPECT_EQ(refusalOf([&] { select(); }), "-1: Correlation name for master table is missing");
}

TEST_P(CollectionSql, RemoveIsADeleteByItsConditions) {
  collection->SetCorrelationName(u"T0");
  collection->SetConditions(codeIs(u"not read"));
  EXPECT_EQ(
      utf8(collection->RemoveText(conditions(
          {{u"Code", co_Equal, u"O'Brien"}, {u"Day", co_Equal, u"20240131", u"VT_DATE"}}))),
      (PerDialect{.mssql = "DELETE FROM [@T]  WHERE Code = N'O''Brien' AND "
                           "Day = CONVERT(datetime,N'20240131',112)",
                  .db2 = "DELETE FROM @T  WHERE Code = N'O''Brien' AND "
                         "Day = TIMESTAMP_ISO(N'2024-01-31')",
                  .kordb = R"(DELETE FROM "@T"  WHERE "Code" = N'O''Brien' AND "Day" = '20240131')"}
           .of(GetParam())));
}

TEST_P(CollectionSql, AValueKeepsItsUnits) {
  const std::u16string odd = u"\x7F'\r\n\U0001F600"s + u'\0' + u"\xDC00";
  auto list = codeIs(u"");
  list->Item(0L)->PutCondVal(odd);
  collection->SetConditions(list);
  const CComBSTR text = collection->SelectTexts().front();
  EXPECT_NE(text.View().find(u" = N'''''\r\n\U0001F600"s + u'\0' + u"\xDC00' ORDER BY "),
            std::u16string_view::npos);
}

// A statement without ORDER BY, which no operation asks for at present.
template <const qx::Dialect& kDialect>
class Unsorted final : public qx::CollectionInDialect<kDialect> {
 public:
  Unsorted() { this->m_bSorted = false; }
};

template <const qx::Dialect& kDialect>
std::vector<std::string> unsortedTexts(long maximum) {
  Unsorted<kDialect> collection;
  collection.SetMasterTable(u"OFPR");
  collection.SetKeysOnly(false);
  collection.SetMaxRecordCount(maximum);
  std::vector<std::string> texts;
  for (const CComBSTR& text : collection.SelectTexts()) texts.push_back(utf8(text));
  return texts;
}

TEST(UnsortedSelect, HasTheEndOfItsDialect) {
  EXPECT_THAT(unsortedTexts<qx::kDb2Dialect>(-1), ElementsAre("SELECT * FROM OFPR      "));
  EXPECT_THAT(unsortedTexts<qx::kDb2Dialect>(3),
              ElementsAre("SELECT * FROM OFPR      FETCH FIRST 3 ROWS ONLY"));
  EXPECT_THAT(unsortedTexts<qx::kKordbDialect>(3),
              ElementsAre(R"(SELECT TOP 3 * FROM "OFPR"    )"));
  EXPECT_THAT(unsortedTexts<qx::kMssqlDialect>(3), ElementsAre("SELECT TOP 3 * FROM OFPR    "));
  EXPECT_THAT(unsortedTexts<qx::kSybaseDialect>(-1), ElementsAre("SELECT * FROM OFPR     "));
  EXPECT_THAT(unsortedTexts<qx::kSybaseDialect>(3),
              ElementsAre("SET ROWCOUNT 3 ", "SELECT * FROM OFPR     ", "SET ROWCOUNT 0"));
}

}  // namespace
}  // namespace Persistence
