// Reading rows by their keys, and collections that share rows.

#include "qxframework/automation/com_error.h"
#include "qxframework/cache/cached_collection.h"
#include "qxframework/cache/sql_generator.h"
#include "qxframework/cache/testing/cached_collection_fixture.h"
#include "testing/raised_by.h"

#include <gmock/gmock.h>

#include <stdexcept>

namespace Persistence {
namespace {

using namespace qx::test;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kNoKey[] = "-1: Failed to find the key in database";

std::string selectOf(const std::string& codeOfRow) {
  return "SELECT [Code] AS N'__kf__.Code', *\r\nFROM [@T]\r\nWHERE [Code] = N'" + codeOfRow +
         "'\r\nORDER BY [Code] ASC\r\n";
}

class CachedCollectionKeys : public CachedCollectionFixture {
 protected:
  /// Makes the company answer the statement of one row.
  void answerRow(const std::string& codeOfRow, int count = 1) {
    ScriptedRows answer{{u"__kf__.Code", u"Code", u"U_N"}, {}};
    const std::u16string text = qx::toUtf16(codeOfRow);
    for (int i = 0; i < count; ++i)
      answer.rows.push_back({std::u16string_view(text), std::u16string_view(text), 70 + i});
    company->answers[qx::toUtf16(selectOf(codeOfRow))] = answer;
  }
  /// Reads keys only, each row by a statement of its own.
  void setKeysOnly() {
    parts.SetKeysOnly(true);
    company->otherwise = {{u"__kf__.Code"}, {{u"A"}, {u"B"}, {u"C"}}};
    for (const char* each : {"A", "B", "C"}) answerRow(each);
  }
  static constexpr char kSelectKeys[] =
      "SELECT [Code] AS N'__kf__.Code'\r\nFROM [@T]\r\nORDER BY [Code] ASC\r\n";
};

TEST_F(CachedCollectionKeys, KeysOnlyReadsEachRowByAStatementOfItsOwn) {
  setKeysOnly();
  EXPECT_EQ(parts.First(part), 0);
  EXPECT_THAT(statements(), ElementsAre(kSelectKeys, selectOf("A")));
  EXPECT_EQ(part.text(), "Code=A U_N=70");
  EXPECT_EQ(parts.Next(part), 0);
  EXPECT_THAT(statements(), ElementsAre(selectOf("B")));
  EXPECT_EQ(part.text(), "Code=B U_N=70");
  EXPECT_EQ(parts.Next(part), 0);
  EXPECT_THAT(statements(), ElementsAre(selectOf("C")));
  EXPECT_EQ(parts.Next(part), 1);
  EXPECT_EQ(parts.Last(nullptr), 0);
  EXPECT_EQ(parts.Previous(nullptr), 0);
  EXPECT_THAT(statements(), IsEmpty());
}

TEST_F(CachedCollectionKeys, KeysOnlyRefusesAKeyWithoutARowOrWithTwo) {
  setKeysOnly();
  answerRow("A", 0);
  answerRow("B", 2);
  part = Part(u"kept", 7);
  EXPECT_EQ(refusalOf([this] { parts.First(part); }), kNoKey);
  EXPECT_EQ(refusalOf([this] { parts.Next(part); }),
            "-1: Invalid key: found duplicate record based on one key");
  EXPECT_EQ(part.text(), "Code=kept U_N=7");
  EXPECT_EQ(parts.Next(part), 0);
  EXPECT_EQ(part.text(), "Code=C U_N=70");
}

TEST_F(CachedCollectionKeys, ARowOfTheCacheReplacesOneWithTheSameKey) {
  answerRows({{u"A", 1}, {u"A", 2}});
  EXPECT_EQ(parts.GetRecordCount(), 1);
  parts.First(part);
  EXPECT_EQ(part.text(), "Code=A U_N=2");
}

TEST_F(CachedCollectionKeys, TheParameterOfAKeyReadsItsRowOnly) {
  const TyFieldValues start = group(1);
  parts.GetLoadParameter()->SetPrefetchBehavior(pb_FirstRowsFrom, &start, 3);
  parts.GetLoadParameter()->SetConditions(codeIs(u"x"));
  parts.SetKeysOnly(true);
  const qx_ptr<Param> param =
      parts.GetLoadParaFromKey(values({{u"Code", u"A"}, {u"U_D", someDate()}}));
  EXPECT_EQ(param->GetPrefetchBehavior(), pb_NoPrefetch);
  EXPECT_FALSE(param->HasPrefetchFields());
  EXPECT_FALSE(param->IsKeyFieldsOnly());
  EXPECT_EQ(shown(param->GetConditions()), "Code|1|98|VT_BSTR|A; U_D|1|98|VT_DATE|N'20240131'");
  EXPECT_EQ(shown(parts.GetLoadParameter()->GetConditions()), "Code|1|98|VT_BSTR|x");
  EXPECT_TRUE(parts.GetLoadParameter()->HasPrefetchFields());
}

TEST_F(CachedCollectionKeys, ConditionsOfAKeyAreThoseOfTheGenerator) {
  EXPECT_EQ(shown(parts.GetConditionsFromKeyFields(
                values({{u"A", u"x"}, {u"B", 1.5}, {u"C", someDate()}, {u"D", 2}}),
                {co_Like, co_Less, co_Greater, co_NotEqual})),
            "A|0|98|VT_BSTR|x; B|3|98|VT_R8|1.5; C|2|98|VT_DATE|N'20240131'; D|6|98||2");
  EXPECT_EQ(shown(parts.GetConditionsFromKeyFields(code(u"x"), {})), "Code|1|98|VT_BSTR|x");
  EXPECT_EQ(refusalOf([this] {
              parts.GetConditionsFromKeyFields(values({{u"A", 1}, {u"B", 1}}), {co_Equal});
            }),
            "-1: Operations count is less than the count of key fields");
  EXPECT_EQ(parts.GetSQLGenerator(), cache()->GetSQLGenerator());
}

TEST_F(CachedCollectionKeys, ExistsAsksTheDatabaseForACount) {
  parts.Load();
  statements();
  parts.GetLoadParameter()->SetSortFields(qx_ptr<CQXPersistenceSortFieldCollection>(
      new CQXPersistenceSortFieldCollection{CQXPersistenceSortField(u"U_N")}, true));
  company->otherwise = {{u""}, {{1}}};
  EXPECT_TRUE(parts.Exists(code(u"x")));
  EXPECT_THAT(statements(), ElementsAre("SELECT COUNT(*)\r\nFROM [@T]\r\nWHERE [Code] = N'x'\r\n"));
  company->otherwise = {{u""}, {{0}}};
  EXPECT_FALSE(parts.Exists(code(u"A")));
  EXPECT_NE(parts.GetLoadParameter()->GetSortFields().get(), nullptr);
  EXPECT_FALSE(parts.GetLoadParameter()->IsReturnRecordCount());
}

TEST_F(CachedCollectionKeys, ExistsDoesNotLoad) {
  company->otherwise = {{u""}, {{1}}};
  EXPECT_TRUE(parts.Exists(code(u"A")));
  EXPECT_EQ(statements().size(), 1u);
}

TEST_F(CachedCollectionKeys, ExistsInCacheAsksTheRowsInMemory) {
  TyFieldValues known = code(u"B");
  TyFieldValues unknown = code(u"X");
  EXPECT_TRUE(parts.ExistsInCache(known));
  EXPECT_FALSE(parts.ExistsInCache(unknown));
  EXPECT_THAT(statements(), ElementsAre(kSelectAll));
}

TEST_F(CachedCollectionKeys, FindByKeyMovesToTheRow) {
  EXPECT_TRUE(parts.FindByKey(code(u"B"), &part));
  EXPECT_EQ(part.text(), "Code=B U_N=2");
  EXPECT_EQ(parts.Next(part), 0);
  EXPECT_EQ(part.text(), "Code=C U_N=1");
  EXPECT_EQ(parts.Next(part), 1);
  EXPECT_TRUE(parts.FindByKey(code(u"A"), nullptr));
  EXPECT_EQ(parts.Previous(part), 1);
  EXPECT_TRUE(parts.Bof());
  EXPECT_TRUE(parts.FindByKey(code(u"C"), nullptr));
  EXPECT_EQ(parts.Next(part), 1);
}

TEST_F(CachedCollectionKeys, FindByKeyLeavesRecordAndCursorIfThereIsNoRow) {
  parts.First(part);
  parts.Next(part);
  EXPECT_FALSE(parts.FindByKey(code(u"X"), &part));
  EXPECT_EQ(part.text(), "Code=B U_N=2");
  EXPECT_EQ(parts.Next(part), 0);
  EXPECT_EQ(part.text(), "Code=C U_N=1");
}

TEST_F(CachedCollectionKeys, FindByKeyOfARowThatWasAddedSinceMovesToTheLastRow) {
  parts.Load();
  parts.Add(Part(u"Aa", 9));
  EXPECT_TRUE(parts.FindByKey(code(u"Aa"), &part));
  EXPECT_EQ(part.text(), "Code=Aa U_N=9");
  EXPECT_FALSE(parts.Eof());
  EXPECT_EQ(parts.Previous(part), 0);
  EXPECT_EQ(part.text(), "Code=B U_N=2");
}

TEST_F(CachedCollectionKeys, FindByKeyOfARowThatWasAddedToNoRowsHasNoRowToMoveTo) {
  answerRows({});
  parts.Load();
  parts.Add(Part(u"A", 9));
  EXPECT_TRUE(parts.FindByKey(code(u"A"), &part));
  EXPECT_EQ(part.text(), "Code=A U_N=9");
  EXPECT_TRUE(parts.Eof());
  EXPECT_TRUE(parts.Bof());
}

TEST_F(CachedCollectionKeys, AKeyWithAnotherNumberOfFieldsIsRefused) {
  parts.Load();
  try {
    parts.FindByKey(values({{u"Code", u"A"}, {u"Line", 1}}), nullptr);
    FAIL() << "no failure";
  } catch (const OLECHAR* failure) {
    EXPECT_EQ(qx::toUtf8(failure), "Not compatible TyFieldvalues for comparison");
  }
}

TEST_F(CachedCollectionKeys, AConversionThatThrowsLeavesTheCursorOnTheRow) {
  parts.reading = [] { throw std::runtime_error("no"); };
  EXPECT_THROW(parts.First(part), std::runtime_error);
  EXPECT_THROW(parts.Next(part), std::runtime_error);
  parts.reading = nullptr;
  EXPECT_EQ(parts.Next(part), 0);
  EXPECT_EQ(part.text(), "Code=C U_N=1");
}

TEST_F(CachedCollectionKeys, AConversionMayLoadTheCollection) {
  parts.reading = [this] {
    wait(301);
    parts.Load();
  };
  EXPECT_EQ(parts.Last(part), 0);
  EXPECT_EQ(part.text(), "Code=C U_N=1");
  parts.reading = nullptr;
  EXPECT_EQ(parts.Next(part), 0);
  EXPECT_EQ(part.text(), "Code=B U_N=2");
}

TEST_F(CachedCollectionKeys, CollectionsShareACacheByItsName) {
  Parts other;
  setUp(other);
  parts.Connect(host(), u"@T", false, u"shared");
  other.Connect(host(), u"@T", false, u"shared");
  wait(1);
  EXPECT_EQ(codes(parts), "ABC");
  EXPECT_THAT(statements(), ElementsAre(kSelectAll));
  EXPECT_EQ(codes(other), "ABC");
  EXPECT_THAT(statements(), IsEmpty());
  Parts apart;
  setUp(apart);
  EXPECT_EQ(codes(apart), "ABC");
  EXPECT_THAT(statements(), ElementsAre(kSelectAll));
}

TEST_F(CachedCollectionKeys, ACopyGoesOnByItself) {
  parts.First(part);
  parts.Next(part);
  Parts copy(parts);
  EXPECT_EQ(copy.Next(part), 0);
  EXPECT_EQ(part.text(), "Code=C U_N=1");
  copy.SetKeysOnly(true);
  copy.GetLoadParameter()->GetKeyFields()->clear();
  EXPECT_FALSE(parts.GetLoadParameter()->IsKeyFieldsOnly());
  EXPECT_EQ(parts.GetLoadParameter()->GetKeyFields()->size(), 1u);
  answerRows({{u"X", 1}});
  wait(301);
  parts.Load();
  EXPECT_EQ(copy.GetRecordCount(), 3);
  EXPECT_EQ(copy.Next(part), 1);
  EXPECT_EQ(parts.GetRecordCount(), 1);
}

TEST_F(CachedCollectionKeys, AnAssignedCollectionGoesOnFromTheSameRow) {
  Parts other;
  other = parts;
  EXPECT_EQ(codes(other), "ABC");
  parts.Last(part);
  other = parts;
  answerRows({{u"X", 1}});
  wait(301);
  parts.Load();
  EXPECT_EQ(other.Previous(part), 0);
  EXPECT_EQ(part.text(), "Code=B U_N=2");
  const Parts& same = other;
  other = same;
  EXPECT_EQ(other.Next(part), 0);
  EXPECT_EQ(part.text(), "Code=C U_N=1");
  EXPECT_EQ(other.Next(part), 1);
  Parts ended(other);
  EXPECT_TRUE(ended.Eof());
}

}  // namespace
}  // namespace Persistence
