// Whole statements, word for word, for each server type.

#include "qxframework/cache/sql_generator.h"
#include "qxframework/query/testing/query_parts.h"
#include "qxframework/sql/testing/dialect_param.h"
#include "testing/recording_logger.h"
#include "testing/scripted_company.h"

#include <gmock/gmock.h>

namespace Persistence {
namespace {

using namespace qx::test;
using namespace std::literals;
using testing::ElementsAre;
using Param = TyLoadParameter_WithPrefetchKeys;

class GeneratedStatements : public testing::TestWithParam<DialectParam> {
 protected:
  GeneratedStatements() {
    company->serverType = GetParam().serverType;
    generator.SetCompany(CComPtr<ICompany>(company.p));
    param->SetMajorTable(u"@T");
    setKeys({u"Code"});
  }
  void setKeys(const std::vector<CComBSTR>& keys) { param->SetKeyFields(&keys); }
  void setFields(const std::vector<CComBSTR>& fields) { param->SetFields(&fields); }
  void sortBy(CQXPersistenceSortFieldCollection fields) {
    param->SetSortFields(qx_ptr<CQXPersistenceSortFieldCollection>(
        new CQXPersistenceSortFieldCollection(std::move(fields)), true));
  }
  void behave(_TyPrefetchBehavior behavior, const TyFieldValues& start = {}, long count = 0) {
    param->SetPrefetchBehavior(behavior, &start, count);
  }
  std::string select() { return utf8(generator.BuildSQL_Select(param)); }
  /// Expects the statement: every server type but kordb gets the first.
  void expectSelect(const std::string& brackets, const std::string& kordb) {
    EXPECT_EQ(select(), expected(brackets, kordb));
  }
  static const std::string& expected(const std::string& brackets, const std::string& kordb) {
    return GetParam().name == "KORDB" ? kordb : brackets;
  }

  RecordingLogger logger;
  CComPtr<ScriptedCompany> company = makeScriptedCompany();
  CQXSQLGenerator_MSSQL generator;
  qx_ptr<Param> param{new Param, true};
};

INSTANTIATE_TEST_SUITE_P(Each, GeneratedStatements, eachDialect(), nameOf<DialectParam>);

TEST_P(GeneratedStatements, ASelectOfAllRowsIsOrderedByTheKey) {
  const std::string brackets =
      "SELECT [Code] AS N'__kf__.Code', *\r\nFROM [@T]\r\nORDER BY [Code] ASC\r\n";
  const std::string kordb =
      "SELECT \"Code\" AS \"__kf__.Code\", *\r\nFROM \"@T\"\r\nORDER BY \"Code\" ASC\r\n";
  behave(pb_NoPrefetch);
  expectSelect(brackets, kordb);
  behave(pb_AllRows);
  expectSelect(brackets, kordb);
  param->SetConditions(conditions({}));
  sortBy({});
  expectSelect(brackets, kordb);
}

TEST_P(GeneratedStatements, ASelectHasTheConditionsAndTheSortFields) {
  param->SetConditions(conditions({{u"U_A", co_Like, u"O'%"}, {u"U_B", co_Less, u"5", u"VT_R8"}}));
  sortBy({CQXPersistenceSortField(u"U_A", so_Descending), CQXPersistenceSortField(u"U_B")});
  setKeys({u"U_No", u"U_Line"});
  setFields({u"U_A"});
  param->SetMajorTableCorrelationName(u"T0");
  const std::string brackets =
      "SELECT T0.[U_No] AS N'__kf__.U_No', T0.[U_Line] AS N'__kf__.U_Line', T0.[U_A] AS "
      "N'T0.U_A'\r\nFROM [@T] T0\r\nWHERE T0.[U_A] LIKE N'O''%' AND T0.[U_B] < 5\r\nORDER BY "
      "T0.[U_A] DESC,T0.[U_B] ASC\r\n";
  const std::string kordb =
      "SELECT T0.\"U_No\" AS \"__kf__.U_No\", T0.\"U_Line\" AS \"__kf__.U_Line\", T0.\"U_A\" AS "
      "\"T0.U_A\"\r\nFROM \"@T\" T0\r\nWHERE T0.\"U_A\" LIKE N'O''%' AND T0.\"U_B\" < 5\r\nORDER "
      "BY T0.\"U_A\" DESC,T0.\"U_B\" ASC\r\n";
  behave(pb_NoPrefetch);
  expectSelect(brackets, kordb);
  behave(pb_AllRows);
  expectSelect(brackets, kordb);
}

TEST_P(GeneratedStatements, ASelectOfACountIsOrderedOnlyIfAllRowsAreRead) {
  param->SetConditions(codeIs(u"A"));
  param->SetReturnRecordCountOnly(true);
  behave(pb_NoPrefetch);
  expectSelect("SELECT COUNT(*)\r\nFROM [@T]\r\nWHERE [Code] = N'A'\r\n",
               "SELECT COUNT(*)\r\nFROM \"@T\"\r\nWHERE \"Code\" = N'A'\r\n");
  behave(pb_AllRows);
  expectSelect("SELECT COUNT(*)\r\nFROM [@T]\r\nWHERE [Code] = N'A'\r\nORDER BY [Code] ASC\r\n",
               "SELECT COUNT(*)\r\nFROM \"@T\"\r\nWHERE \"Code\" = N'A'\r\nORDER BY \"Code\" "
               "ASC\r\n");
}

TEST_P(GeneratedStatements, ASelectOfTheFirstRowsFromAKeyIsACommonTableWithTies) {
  behave(pb_FirstRowsFrom, {{u"U_Who", u"O'Brien"}}, 50);
  expectSelect(
      "WITH [__tempCTE*&^()132] AS \r\n(\r\nSELECT top 50 WITH TIES [Code] AS N'__kf__.Code', "
      "[U_Who] AS N'__pff__.U_Who', * \r\nFROM [@T]\r\nWHERE ([U_Who] >= N'O''Brien')\r\nORDER BY "
      "[U_Who] ASC\r\n)\r\n\r\nSELECT * \r\nFROM [__tempCTE*&^()132] \r\nORDER BY "
      "[__pff__.U_Who] ASC,[__kf__.Code] ASC",
      "WITH [__tempCTE*&^()132] AS \r\n(\r\nSELECT top 50 WITH TIES \"Code\" AS \"__kf__.Code\", "
      "\"U_Who\" AS \"__pff__.U_Who\", * \r\nFROM \"@T\"\r\nWHERE (\"U_Who\" >= "
      "N'O''Brien')\r\nORDER BY \"U_Who\" ASC\r\n)\r\n\r\nSELECT * \r\nFROM [__tempCTE*&^()132] "
      "\r\nORDER BY \"__pff__.U_Who\" ASC,\"__kf__.Code\" ASC");
}

TEST_P(GeneratedStatements, ACommonTableHasTheCorrelationNameInsideAndOutside) {
  setKeys({u"U_No", u"U_Line"});
  param->SetMajorTableCorrelationName(u"T0");
  param->SetConditions(conditions({{u"U_A", co_Equal, u"x"}, {u"U_B", co_Equal, u"y"}}));
  behave(pb_FirstRowsFrom, {{u"U_Who", u"Ann"}, {u"U_N", 2}}, 100000);
  expectSelect(
      "WITH [__tempCTE*&^()132] AS \r\n(\r\nSELECT top 100000 WITH TIES T0.[U_No] AS "
      "N'__kf__.U_No', T0.[U_Line] AS N'__kf__.U_Line', T0.[U_Who] AS N'__pff__.U_Who', T0.[U_N] "
      "AS N'__pff__.U_N', T0.* \r\nFROM [@T] T0\r\nWHERE (T0.[U_A] = N'x' AND T0.[U_B] = N'y') "
      "AND (T0.[U_Who] = N'Ann' AND T0.[U_N] >= 2) OR (T0.[U_Who] > N'Ann')\r\nORDER BY "
      "T0.[U_Who] ASC,T0.[U_N] ASC\r\n)\r\n\r\nSELECT * \r\nFROM [__tempCTE*&^()132] T0\r\nORDER "
      "BY T0.[__pff__.U_Who] ASC,T0.[__pff__.U_N] ASC,T0.[__kf__.U_No] ASC,T0.[__kf__.U_Line] ASC",
      "WITH [__tempCTE*&^()132] AS \r\n(\r\nSELECT top 100000 WITH TIES T0.\"U_No\" AS "
      "\"__kf__.U_No\", T0.\"U_Line\" AS \"__kf__.U_Line\", T0.\"U_Who\" AS \"__pff__.U_Who\", "
      "T0.\"U_N\" AS \"__pff__.U_N\", T0.* \r\nFROM \"@T\" T0\r\nWHERE (T0.\"U_A\" = N'x' AND "
      "T0.\"U_B\" = N'y') AND (T0.\"U_Who\" = N'Ann' AND T0.\"U_N\" >= 2) OR (T0.\"U_Who\" > "
      "N'Ann')\r\nORDER BY T0.\"U_Who\" ASC,T0.\"U_N\" ASC\r\n)\r\n\r\nSELECT * \r\nFROM "
      "[__tempCTE*&^()132] T0\r\nORDER BY T0.\"__pff__.U_Who\" ASC,T0.\"__pff__.U_N\" "
      "ASC,T0.\"__kf__.U_No\" ASC,T0.\"__kf__.U_Line\" ASC");
}

TEST_P(GeneratedStatements, ACommonTableIsSortedBySortFieldsUnlessOnlyKeysAreRead) {
  sortBy({CQXPersistenceSortField(u"U_A", so_Descending)});
  behave(pb_FirstRowsFrom, {{u"U_Who", u"A"}}, 1);
  expectSelect(
      "WITH [__tempCTE*&^()132] AS \r\n(\r\nSELECT top 1 WITH TIES [Code] AS N'__kf__.Code', "
      "[U_Who] AS N'__pff__.U_Who', * \r\nFROM [@T]\r\nWHERE ([U_Who] >= N'A')\r\nORDER BY "
      "[U_Who] ASC\r\n)\r\n\r\nSELECT * \r\nFROM [__tempCTE*&^()132] \r\nORDER BY "
      "[__pff__.U_Who] ASC,[U_A] DESC",
      "WITH [__tempCTE*&^()132] AS \r\n(\r\nSELECT top 1 WITH TIES \"Code\" AS \"__kf__.Code\", "
      "\"U_Who\" AS \"__pff__.U_Who\", * \r\nFROM \"@T\"\r\nWHERE (\"U_Who\" >= N'A')\r\nORDER BY "
      "\"U_Who\" ASC\r\n)\r\n\r\nSELECT * \r\nFROM [__tempCTE*&^()132] \r\nORDER BY "
      "\"__pff__.U_Who\" ASC,\"U_A\" DESC");
  param->SetKeyFieldsOnly(true);
  expectSelect(
      "WITH [__tempCTE*&^()132] AS \r\n(\r\nSELECT top 1 WITH TIES [Code] AS N'__kf__.Code', "
      "[U_Who] AS N'__pff__.U_Who' \r\nFROM [@T]\r\nWHERE ([U_Who] >= N'A')\r\nORDER BY [U_Who] "
      "ASC\r\n)\r\n\r\nSELECT * \r\nFROM [__tempCTE*&^()132] \r\nORDER BY [__pff__.U_Who] "
      "ASC,[__kf__.Code] ASC",
      "WITH [__tempCTE*&^()132] AS \r\n(\r\nSELECT top 1 WITH TIES \"Code\" AS \"__kf__.Code\", "
      "\"U_Who\" AS \"__pff__.U_Who\" \r\nFROM \"@T\"\r\nWHERE (\"U_Who\" >= N'A')\r\nORDER BY "
      "\"U_Who\" ASC\r\n)\r\n\r\nSELECT * \r\nFROM [__tempCTE*&^()132] \r\nORDER BY "
      "\"__pff__.U_Who\" ASC,\"__kf__.Code\" ASC");
}

TEST_P(GeneratedStatements, ASelectOfAllRowsFromAKeyIsOnePlainSelect) {
  param->SetConditions(codeIs(u"A"));
  behave(pb_FirstRowsFrom, {{u"U_Who", u"Ann"}}, 100001);
  expectSelect(
      "SELECT [Code] AS N'__kf__.Code', [U_Who] AS N'__pff__.U_Who', * \r\nFROM [@T]\r\nWHERE "
      "[Code] = N'A' AND ([U_Who] >= N'Ann')\r\nORDER BY [U_Who] ASC,[Code] ASC",
      "SELECT \"Code\" AS \"__kf__.Code\", \"U_Who\" AS \"__pff__.U_Who\", * \r\nFROM "
      "\"@T\"\r\nWHERE \"Code\" = N'A' AND (\"U_Who\" >= N'Ann')\r\nORDER BY \"U_Who\" "
      "ASC,\"Code\" ASC");
  sortBy({CQXPersistenceSortField(u"U_A", so_Descending)});
  expectSelect(
      "SELECT [Code] AS N'__kf__.Code', [U_Who] AS N'__pff__.U_Who', * \r\nFROM [@T]\r\nWHERE "
      "[Code] = N'A' AND ([U_Who] >= N'Ann')\r\nORDER BY [U_Who] ASC,[U_A] DESC",
      "SELECT \"Code\" AS \"__kf__.Code\", \"U_Who\" AS \"__pff__.U_Who\", * \r\nFROM "
      "\"@T\"\r\nWHERE \"Code\" = N'A' AND (\"U_Who\" >= N'Ann')\r\nORDER BY \"U_Who\" "
      "ASC,\"U_A\" DESC");
}

TEST_P(GeneratedStatements, ASelectDoesNotChangeTheConditionsOfTheParameter) {
  param->SetConditions(conditions({{u"U_A", co_Equal, u"x"}, {u"U_B", co_Equal, u"y"}}));
  behave(pb_FirstRowsFrom, {{u"U_Who", u"Ann"}}, 5);
  const std::string first = select();
  EXPECT_EQ(shown(param->GetConditions()), "U_A|1|98|VT_BSTR|x; U_B|1|98|VT_BSTR|y");
  EXPECT_EQ(param->GetConditions()->Item(0L)->GetBracketOpenNum(), 0);
  EXPECT_EQ(select(), first);
}

TEST_P(GeneratedStatements, AFreshParameterIsRefused) {
  EXPECT_EQ(refusalOf([this] { select(); }), "-1: not support yet, not make sense in reality");
  const qx_ptr<Param> fresh(new Param, true);
  EXPECT_EQ(refusalOf([&] { generator.BuildSQL_Select(fresh); }),
            "-1: not support yet, not make sense in reality");
}

TEST_P(GeneratedStatements, AnUnknownBehaviorIsRefused) {
  class Unknown : public Param {
    _TyPrefetchBehavior GetPrefetchBehavior() const override {
      return static_cast<_TyPrefetchBehavior>(5);
    }
  };
  param = qx_ptr<Param>(new Unknown, true);
  EXPECT_EQ(refusalOf([this] { select(); }), "-1: Invalid/NotSupported Prefetch behavior");
}

TEST_P(GeneratedStatements, ASelectWithoutAParameterIsRefused) {
  EXPECT_EQ(refusalOf([this] { generator.BuildSQL_Select({}); }),
            "-1: BuildSQL_Select needs a load parameter");
}

TEST_P(GeneratedStatements, ASelectOfRowsWithoutKeyFieldsIsRefused) {
  const std::string refusal =
      "-1: The load of table @T has no key fields: call SetKeyFields before it";
  sortBy({CQXPersistenceSortField(u"U_A")});
  const TyFieldValues start{{u"U_A", u"x"}};
  for (const long count : {-1L, 100001L, 5L}) {
    setKeys({});
    param->SetPrefetchBehavior(pb_FirstRowsFrom, count == 100001 ? nullptr : &start, count);
    EXPECT_EQ(refusalOf([this] { select(); }), refusal) << count;
  }
  param->SetPrefetchBehavior(pb_FirstRowsFrom, &start, 100001);
  param->SetKeyFields(static_cast<const std::vector<CComBSTR>*>(nullptr));
  EXPECT_EQ(refusalOf([this] { select(); }), refusal);
}

TEST_P(GeneratedStatements, ACountNeedsKeyFieldsOnlyForItsOrder) {
  setKeys({});
  param->SetReturnRecordCountOnly(true);
  behave(pb_NoPrefetch);
  expectSelect("SELECT COUNT(*)\r\nFROM [@T]\r\n", "SELECT COUNT(*)\r\nFROM \"@T\"\r\n");
  behave(pb_AllRows);
  EXPECT_EQ(refusalOf([this] { select(); }),
            "-1: The load of table @T has no key fields: call SetKeyFields before it");
  sortBy({CQXPersistenceSortField(u"U_A")});
  expectSelect("SELECT COUNT(*)\r\nFROM [@T]\r\nORDER BY [U_A] ASC\r\n",
               "SELECT COUNT(*)\r\nFROM \"@T\"\r\nORDER BY \"U_A\" ASC\r\n");
}

TEST_P(GeneratedStatements, AnInsertNamesTheFieldsOfTheRow) {
  const TyRow row{{{u"Code", u"k"}}, {{u"U_A", u"O'Brien"}, {u"U_B", -0.25}, {u"U_C", someDate()}}};
  EXPECT_EQ(utf8(generator.BuildSQL_Insert(u"@T", false, row, 7)),
            expected("INSERT INTO [@T] ([U_A], [U_B], [U_C]) \r\nVALUES (N'O''Brien', -0.25, "
                     "N'20240131')",
                     "INSERT INTO \"@T\" (\"U_A\", \"U_B\", \"U_C\") \r\nVALUES (N'O''Brien', "
                     "-0.25, N'20240131')"));
  EXPECT_EQ(utf8(generator.BuildSQL_Insert(u"@T", true, row, 255)),
            expected("INSERT INTO [@T] ([Code], [Name], [U_A], [U_B], [U_C]) \r\nVALUES "
                     "(N'000000FF', N'000000FF', N'O''Brien', -0.25, N'20240131')",
                     "INSERT INTO \"@T\" (\"Code\", \"Name\", \"U_A\", \"U_B\", \"U_C\") "
                     "\r\nVALUES (N'000000FF', N'000000FF', N'O''Brien', -0.25, N'20240131')"));
}

TEST_P(GeneratedStatements, AnUpdateSetsTheFieldsWhereTheKeyIs) {
  const TyRow row{{{u"U_No", u"A"}, {u"U_Line", 2}}, {{u"U_A", u"O'Brien"}, {u"U_B", 1.5}}};
  EXPECT_EQ(utf8(generator.BuildSQL_Update(u"@T", row)),
            expected("UPDATE [@T] SET [U_A]=N'O''Brien', [U_B]=1.5 WHERE [U_No]=N'A' AND "
                     "[U_Line]=2",
                     "UPDATE \"@T\" SET \"U_A\"=N'O''Brien', \"U_B\"=1.5 WHERE \"U_No\"=N'A' AND "
                     "\"U_Line\"=2"));
}

TEST_P(GeneratedStatements, ADeleteNamesTheKey) {
  const TyFieldValues key{{u"U_No", u"A"}, {u"U_Day", someDate()}};
  EXPECT_EQ(utf8(generator.BuildSQL_Delete(u"@T", key)),
            expected("DELETE FROM [@T] WHERE [U_No]=N'A' AND [U_Day]=N'20240131'",
                     "DELETE FROM \"@T\" WHERE \"U_No\"=N'A' AND \"U_Day\"=N'20240131'"));
}

TEST_P(GeneratedStatements, KeepAllUnitsOfAValue) {
  const TyRow row{{{u"Code", u"a\0b"sv}}, {{u"U_A", u"a\0b"sv}}};
  EXPECT_EQ(utf8(generator.BuildSQL_Update(u"T", row)),
            expected("UPDATE [T] SET [U_A]=N'a\0b' WHERE [Code]=N'a\0b'"s,
                     "UPDATE \"T\" SET \"U_A\"=N'a\0b' WHERE \"Code\"=N'a\0b'"s));
}

TEST_P(GeneratedStatements, AreWrittenInScopesOfTheirNames) {
  behave(pb_NoPrefetch);
  select();
  generator.BuildSQL_Insert(u"T", false, {{}, {{u"A", 1}}}, 0);
  generator.BuildSQL_Update(u"T", {});
  generator.BuildSQL_Delete(u"T", {});
  std::vector<std::string> scopes;
  for (const auto& record : logger.records)
    if (record.message == u"Entering function\n") scopes.push_back(qx::toUtf8(record.function));
  EXPECT_THAT(scopes, ElementsAre("CQXPersistentCollectionMSSQL::BuildSQL_Select",
                                  "CQXSQLGenerator_MSSQL::BuildSQL_Insert",
                                  "CQXSQLGenerator_MSSQL::BuildSQL_Update",
                                  "CQXSQLGenerator_MSSQL::BuildSQL_Delete"));
}

TEST_P(GeneratedStatements, OnlyAnInsertIsLoggedAsInformation) {
  behave(pb_NoPrefetch);
  select();
  const CComBSTR text = generator.BuildSQL_Insert(u"T", false, {{}, {{u"A", u"100%d"}}}, 0);
  generator.BuildSQL_Update(u"T", {});
  generator.BuildSQL_Delete(u"T", {});
  EXPECT_THAT(logger.messages(QXLoggerLib::sl_Information),
              ElementsAre(std::u16string(text.View())));
}

}  // namespace
}  // namespace Persistence
