// Loads: when rows come from memory, and what a load from the database leaves in memory.

#include "qxframework/cache/rows_in_cache.h"
#include "qxframework/cache/sql_generator.h"
#include "qxframework/cache/testing/cache_fixture.h"
#include "testing/raised_by.h"

namespace Persistence {
namespace {

using namespace qx::test;
using testing::ElementsAre;
using testing::IsEmpty;
using Strings = std::vector<std::u16string>;

class CacheLoad : public CacheFixture {
 protected:
  CacheLoad() { answerRows({{u"A", 1}, {u"B", 2}}); }
};

TEST_F(CacheLoad, ALoadReturnsTheRowsByTheirKeys) {
  EXPECT_EQ(load(param()), 2);
  EXPECT_THAT(shown(rows), ElementsAre("Code=A | Code=A U_N=1", "Code=B | Code=B U_N=2"));
  EXPECT_THAT(statements(), ElementsAre(kSelectAll));
}

TEST_F(CacheLoad, ALoadAddsToTheRowsOfItsCaller) {
  rows[code(u"Z")] = qx_ptr<TyRow>(new TyRow(rowOf(u"Z", 0, 0)), true);
  EXPECT_EQ(cache()->Load(param(), rows), 2);
  EXPECT_EQ(rows.size(), 3U);
}

TEST_F(CacheLoad, EqualParametersWithinTheTimeSpanRunOneQuery) {
  load(param());
  EXPECT_EQ(load(param()), 2);
  EXPECT_THAT(shown(rows), ElementsAre("Code=A | Code=A U_N=1", "Code=B | Code=B U_N=2"));
  EXPECT_THAT(statements(), ElementsAre(kSelectAll));
}

TEST_F(CacheLoad, EveryLoadWithoutReadAheadRunsAQuery) {
  load(param(pb_NoPrefetch));
  load(param(pb_NoPrefetch));
  EXPECT_THAT(statements(), ElementsAre(kSelectAll, kSelectAll));
}

TEST_F(CacheLoad, RowsAreServedUntilTheirTimeSpanIsExceeded) {
  const qx_ptr<Param> all = param();
  load(all);
  wait(300);
  load(all);
  EXPECT_THAT(statements(), ElementsAre(kSelectAll));
  wait(1);
  load(all);
  EXPECT_THAT(statements(), ElementsAre(kSelectAll));
}

TEST_F(CacheLoad, TheTimeCountsFromTheLoadFromTheDatabase) {
  const qx_ptr<Param> all = param();
  for (int i = 0; i < 4; ++i) {
    load(all);
    wait(150);
  }
  EXPECT_THAT(statements(), ElementsAre(kSelectAll, kSelectAll));
}

TEST_F(CacheLoad, ExactlyTheTimeSpanIsServedAtAnyTimeOfDay) {
  // Differences of dates are not exact to the last digit of the double.
  const qx_ptr<Param> all = param();
  for (std::size_t i = 0; i < 2000; ++i) {
    cache()->ClearCache(true, false);
    load(all);
    wait(300);
    load(all);
    ASSERT_EQ(company->runs.size(), 2 * i + 1);
    wait(1);
    load(all);
    ASSERT_EQ(company->runs.size(), 2 * i + 2);
    wait(41);
  }
}

TEST_F(CacheLoad, TheTimeSpanIsThatOfTheNewParameter) {
  const qx_ptr<Param> all = param();
  load(all);
  wait(10);
  all->SetMaxCacheTimeSpan(COleDateTimeSpan(0, 0, 0, 9));
  load(all);
  EXPECT_THAT(statements(), ElementsAre(kSelectAll, kSelectAll));
}

TEST_F(CacheLoad, AClockThatIsSetBackKeepsTheRows) {
  const qx_ptr<Param> all = param();
  load(all);
  clock.setNow(clock.now() - std::chrono::hours(48));
  load(all);
  EXPECT_THAT(statements(), ElementsAre(kSelectAll));
  clock.setNow(clock.now() + std::chrono::hours(48) + std::chrono::seconds(301));
  load(all);
  EXPECT_THAT(statements(), ElementsAre(kSelectAll));
}

TEST_F(CacheLoad, AnotherParameterReplacesTheRows) {
  load(param());
  const qx_ptr<Param> other = param();
  other->SetConditions(codeIs(u"B"));
  answerRows({{u"B", 3}});
  EXPECT_EQ(load(other), 1);
  EXPECT_THAT(shown(rows), ElementsAre("Code=B | Code=B U_N=3"));
  EXPECT_EQ(shown(cache()->GetRowByKey(code(u"A"))), "null");
  EXPECT_THAT(statements(),
              ElementsAre(kSelectAll,
                          "SELECT [Code] AS N'__kf__.Code', *\r\nFROM [@T]\r\nWHERE [Code] = "
                          "N'B'\r\nORDER BY [Code] ASC\r\n"));
}

TEST_F(CacheLoad, TheParameterThatWasLoadedIsCopied) {
  const qx_ptr<Param> all = param();
  load(all);
  wait(1);
  all->SetMajorTable(u"@OTHER");
  load(param());
  EXPECT_THAT(statements(), ElementsAre(kSelectAll));
}

TEST_F(CacheLoad, RowsThatWereClearedAreReadAgain) {
  load(param());
  cache()->ClearCache(true, false);
  EXPECT_FALSE(cache()->IsLoaded());
  load(param());
  EXPECT_TRUE(cache()->IsLoaded());
  EXPECT_THAT(statements(), ElementsAre(kSelectAll, kSelectAll));
}

TEST_F(CacheLoad, AnEmptyTableIsServedFromMemoryToo) {
  answerRows({});
  EXPECT_EQ(load(param()), 0);
  EXPECT_EQ(load(param()), 0);
  EXPECT_THAT(statements(), ElementsAre(kSelectAll));
}

TEST_F(CacheLoad, KeyFieldsOnlyMakesTheDataACopyOfTheKey) {
  company->otherwise = {{u"__kf__.Code"}, {{u"A"}, {u"B"}}};
  const qx_ptr<Param> keys = param();
  keys->SetKeyFieldsOnly(true);
  load(keys);
  EXPECT_THAT(shown(rows), ElementsAre("Code=A | Code=A", "Code=B | Code=B"));
}

TEST_F(CacheLoad, TheLastOfTwoRowsWithOneKeyCounts) {
  answerRows({{u"A", 1}, {u"B", 2}, {u"A", 3}});
  EXPECT_EQ(load(param()), 2);
  EXPECT_THAT(shown(rows), ElementsAre("Code=A | Code=A U_N=3", "Code=B | Code=B U_N=2"));
}

TEST_F(CacheLoad, AHostMayNameTheEndByAnyTruth) {
  company->truth = 1;
  EXPECT_EQ(load(param()), 2);
}

TEST_F(CacheLoad, TheRecordSetIsReleasedAfterALoad) {
  load(param());
  load(param(pb_NoPrefetch));
  EXPECT_EQ(company->recordsets, 2);
  EXPECT_EQ(cache()->GetRecordSet().p, cache()->GetRecordSet().p);
  EXPECT_EQ(company->recordsets, 3);
  cache()->ReleaseRecordSet();
  cache()->GetRecordSet();
  EXPECT_EQ(company->recordsets, 4);
}

TEST_F(CacheLoad, WhatWasReadIsLogged) {
  load(param());
  EXPECT_EQ(logger.messagesOf(u"CDBRecordCache::Load"),
            (Strings{u"'SELECT [Code] AS N'__kf__.Code', *\r\nFROM [@T]\r\nORDER BY [Code] "
                     u"ASC\r\n'",
                     u"'@T' Loaded"}));
  for (const LogRecord& record : logger.records) {
    if (record.message == u"'@T' Loaded") {
      EXPECT_EQ(record.level, QXLoggerLib::sl_Information);
    }
  }
}

TEST_F(CacheLoad, ALoadIsOneScopeAndEachRowAnother) {
  load(param());
  Strings scopes;
  for (const LogRecord& record : logger.records)
    if (record.message == u"Entering function\n") scopes.push_back(record.function);
  EXPECT_EQ(scopes, (Strings{u"CDBRecordCache::ClearAllCaches", u"CDBRecordCache::Load",
                             u"CQXPersistentCollectionMSSQL::BuildSQL_Select",
                             u"CDBRecordCache::LoadRecordSetRowsToCache",
                             u"CDBRecordCache::LoadRowFromRecordSet",
                             u"CDBRecordCache::LoadRowFromRecordSet"}));
}

TEST_F(CacheLoad, RowsHaveTheNamesOfTheirOwnRead) {
  company->otherwise = {{u"__kf__.Code", u"Code", u"U_N"}, {{u"A", u"A", 1}}};
  load(param());
  EXPECT_THAT(shown(rows), ElementsAre("Code=A | Code=A U_N=1"));
  wait(1000);
  company->otherwise = {{u"__kf__.Code", u"Code", u"U_M"}, {{u"A", u"A", 2}}};
  load(param());
  EXPECT_THAT(shown(rows), ElementsAre("Code=A | Code=A U_M=2"));
}

TEST_F(CacheLoad, NamesAreReadOnceForAllRows) {
  struct Counting : CDBRecordCache {
    explicit Counting(const CComPtr<ICompany>& company) : CDBRecordCache(company) {}
    void LoadRowFromRecordSet(IRecordset* recordSet, bool keysOnly, TyFieldValues& key,
                              TyFieldValues& prefetch, std::vector<CComBSTR>& names,
                              TyRow& row) override {
      known.push_back(names.size());
      CDBRecordCache::LoadRowFromRecordSet(recordSet, keysOnly, key, prefetch, names, row);
    }
    std::vector<std::size_t> known;
  };
  Counting counting(host());
  counting.Load(param(), rows);
  EXPECT_THAT(counting.known, ElementsAre(0U, 3U));
}

// With prefetch fields.

class CachePages : public CacheFixture {
 protected:
  CachePages() { answerGroups({{u"A", 1, 10}, {u"B", 1, 20}, {u"C", 2, 30}}); }
};

TEST_F(CachePages, AStartKeyReturnsTheRowsOfItsValueOnly) {
  EXPECT_EQ(load(from(1)), 2);
  EXPECT_THAT(shown(rows),
              ElementsAre("Code=A | Code=A U_G=1 U_N=10", "Code=B | Code=B U_G=1 U_N=20"));
  EXPECT_THAT(statements(), ElementsAre(selectFrom(1)));
}

TEST_F(CachePages, AnotherStartKeyOfTheSameReadComesFromMemory) {
  load(from(1));
  EXPECT_EQ(load(from(2)), 1);
  EXPECT_THAT(shown(rows), ElementsAre("Code=C | Code=C U_G=2 U_N=30"));
  EXPECT_THAT(statements(), ElementsAre(selectFrom(1)));
  EXPECT_EQ(cache()->GetRecordCountByPrefetchedKey(group(1)), 2);
  EXPECT_EQ(cache()->GetRecordCountByPrefetchedKey(group(2)), 1);
  EXPECT_EQ(cache()->GetRecordCountByPrefetchedKey(group(3)), 0);
}

TEST_F(CachePages, AStartKeyThatWasNotReadReplacesEverything) {
  load(from(1));
  answerGroups({{u"D", 7, 40}});
  EXPECT_EQ(load(from(7)), 1);
  EXPECT_THAT(shown(rows), ElementsAre("Code=D | Code=D U_G=7 U_N=40"));
  EXPECT_EQ(shown(cache()->GetRowByKey(code(u"A"))), "null");
  EXPECT_EQ(cache()->GetRecordCountByPrefetchedKey(group(1)), 0);
  EXPECT_THAT(statements(), ElementsAre(selectFrom(1), selectFrom(7)));
}

TEST_F(CachePages, AStartKeyWithoutRowsIsRemembered) {
  answerGroups({{u"C", 2, 30}});
  EXPECT_EQ(load(from(1)), 0);
  EXPECT_EQ(load(from(1)), 0);
  EXPECT_THAT(shown(rows), IsEmpty());
  EXPECT_THAT(statements(), ElementsAre(selectFrom(1)));
  EXPECT_THAT(shown(cache()->GetKeyCollection(group(1))), IsEmpty());
  EXPECT_EQ(load(from(2)), 1);
  EXPECT_THAT(statements(), IsEmpty());
}

TEST_F(CachePages, KeysOfAValueKeepTheOrderOfTheRead) {
  answerGroups({{u"B", 1, 1}, {u"A", 1, 2}, {u"C", 2, 3}, {u"D", 1, 4}});
  load(from(1));
  EXPECT_THAT(shown(cache()->GetKeyCollection(group(1))),
              ElementsAre("Code=B", "Code=A", "Code=D"));
  EXPECT_THAT(shown(cache()->GetKeyCollection(group(9))), ElementsAre("null"));
  EXPECT_TRUE(logger.has(u"Entering function\n"));
  EXPECT_EQ(logger.records.back().function, u"CDBRecordCache::GetKeyCollection");
}

TEST_F(CachePages, OtherFieldsInTheStartKeyAreAnotherParameter) {
  load(from(1));
  const qx_ptr<Param> other = param(pb_FirstRowsFrom, values({{u"U_G", 1}, {u"U_N", 10}}));
  answerRows({});
  EXPECT_EQ(load(other), 0);
  EXPECT_EQ(statements().size(), 2U);
}

TEST_F(CachePages, AllRowsFromAStartKeyAreReadWithoutALimit) {
  wait(1);
  const qx_ptr<Param> all = param();
  const TyFieldValues start = group(1);
  all->SetPrefetchBehavior(pb_FirstRowsFrom, &start, 100001);
  EXPECT_EQ(load(all), 2);
  EXPECT_THAT(statements(),
              ElementsAre("SELECT [Code] AS N'__kf__.Code', [U_G] AS N'__pff__.U_G', * \r\nFROM "
                          "[@T]\r\nWHERE ([U_G] >= 1)\r\nORDER BY [U_G] ASC,[Code] ASC"));
}

TEST_F(CachePages, RowsOfOneKeyCountTwiceAndAreReturnedOnce) {
  answerGroups({{u"A", 1, 1}, {u"A", 1, 2}});
  EXPECT_EQ(load(from(1)), 2);
  EXPECT_THAT(shown(rows), ElementsAre("Code=A | Code=A U_G=1 U_N=2"));
}

// Reads past the cache.

class DirectRead : public CacheFixture {
 protected:
  qx_ptr<Param> only(const OLECHAR* codeOfRow) {
    qx_ptr<Param> made = param(pb_NoPrefetch);
    made->SetConditions(codeIs(codeOfRow));
    return made;
  }
  static std::string select(const std::string& fields, const std::string& end) {
    return "SELECT " + fields + "\r\nFROM [@T]\r\nWHERE [Code] = N'A'\r\n" + end;
  }
  const std::string one = select("[Code] AS N'__kf__.Code', *", "ORDER BY [Code] ASC\r\n");
};

TEST_F(DirectRead, ReturnsTheRowAndLeavesTheCache) {
  answerRows({{u"A", 1}});
  EXPECT_EQ(shown(cache()->GetByKey_DirectFromDB(only(u"A"))), "Code=A | Code=A U_N=1");
  EXPECT_FALSE(cache()->IsLoaded());
  EXPECT_EQ(shown(cache()->GetRowByKey(code(u"A"))), "null");
  EXPECT_THAT(statements(), ElementsAre(one));
  EXPECT_EQ(logger.messagesOf(u"CDBRecordCache::GetByKey_DirectFromDB"),
            (Strings{u"RunSQL:" + qx::toUtf16(one)}));
}

TEST_F(DirectRead, ReturnsNullWithoutARow) {
  answerRows({});
  EXPECT_EQ(shown(cache()->GetByKey_DirectFromDB(only(u"A"))), "null");
}

TEST_F(DirectRead, SendsBufferedStatementsFirst) {
  answerRows({{u"A", 1}});
  cache()->Add(u"@T", false, rowOf(u"A", 1, 1));
  cache()->GetByKey_DirectFromDB(only(u"A"));
  EXPECT_THAT(statements(),
              ElementsAre("INSERT INTO [@T] ([Code], [U_G], [U_N]) \r\nVALUES (N'A', 1, 1)", one));
}

TEST_F(DirectRead, RefusesSeveralRowsAndKeepsTheRecordSet) {
  answerRows({{u"A", 1}, {u"A", 2}});
  EXPECT_EQ(refusalOf([&] { cache()->GetByKey_DirectFromDB(only(u"A")); }),
            "-1: Invalid key: found duplicate record based on one key");
  EXPECT_EQ(company->recordsets, 1);
  answerRows({{u"A", 1}});
  cache()->GetByKey_DirectFromDB(only(u"A"));
  EXPECT_EQ(company->recordsets, 1);
  cache()->GetByKey_DirectFromDB(only(u"A"));
  EXPECT_EQ(company->recordsets, 2);
}

TEST_F(DirectRead, ReadsKeysOnly) {
  company->otherwise = {{u"__kf__.Code"}, {{u"A"}}};
  const qx_ptr<Param> keys = only(u"A");
  keys->SetKeyFieldsOnly(true);
  EXPECT_EQ(shown(cache()->GetByKey_DirectFromDB(keys)), "Code=A | Code=A");
}

TEST_F(DirectRead, ExistsIfTheCountIsAtLeastOne) {
  const qx_ptr<Param> count = only(u"A");
  count->SetReturnRecordCountOnly(true);
  company->otherwise = {{u""}, {{0}}};
  EXPECT_FALSE(cache()->ExistsInDB(count));
  company->otherwise = {{u""}, {{1}}};
  EXPECT_TRUE(cache()->ExistsInDB(count));
  company->otherwise = {{u""}, {{u"2"}}};
  EXPECT_TRUE(cache()->ExistsInDB(count));
  company->otherwise = {{u""}, {{-1.0}}};
  EXPECT_FALSE(cache()->ExistsInDB(count));
  const std::string sql = select("COUNT(*)", "");
  EXPECT_THAT(statements(), ElementsAre(sql, sql, sql, sql));
  EXPECT_EQ(company->recordsets, 4);
  EXPECT_EQ(logger.messagesOf(u"CDBRecordCache::ExistsInDB").front(),
            u"RunSQL:" + qx::toUtf16(sql));
}

TEST_F(DirectRead, ExistsSendsBufferedStatementsFirst) {
  company->otherwise = {{u""}, {{1}}};
  const qx_ptr<Param> count = only(u"A");
  count->SetReturnRecordCountOnly(true);
  cache()->DeleteByKey(u"@T", code(u"A"));
  cache()->ExistsInDB(count);
  EXPECT_THAT(statements(),
              ElementsAre("DELETE FROM [@T] WHERE [Code]=N'A'", select("COUNT(*)", "")));
}

// The rows of a load.

class RowsOfALoad : public CacheFixture {};

TEST_F(RowsOfALoad, AreInTheOrderOfTheirKeys) {
  answerRows({{u"B", 2}, {u"A", 1}});
  CRowsInCache view(host(), u"@T");
  EXPECT_EQ(view.GetRecordCount(), 0);
  EXPECT_TRUE(view.GetFirstIterator() == view.GetEndIterator());
  EXPECT_TRUE(view.GetLastIterator() == view.GetEndIterator());
  EXPECT_EQ(view.Load(param()), 2);
  EXPECT_EQ(view.GetRecordCount(), 2);
  EXPECT_EQ(shown(view.GetFirstIterator()->second), "Code=A | Code=A U_N=1");
  EXPECT_EQ(shown(view.GetLastIterator()->second), "Code=B | Code=B U_N=2");
  EXPECT_TRUE(std::next(view.GetLastIterator()) == view.GetEndIterator());
  EXPECT_THAT(shown(view.GetKeyCollection()), ElementsAre("Code=A", "Code=B"));
}

TEST_F(RowsOfALoad, StayWhenTheCacheChanges) {
  answerRows({{u"A", 1}});
  CRowsInCache view(host(), u"@T");
  view.Load(param());
  cache()->DeleteByKey(u"@T", code(u"A"));
  EXPECT_EQ(view.GetRecordCount(), 1);
  EXPECT_EQ(shown(view.GetFirstIterator()->second), "Code=A | Code=A U_N=1");
  EXPECT_EQ(shown(view.GetByKey(code(u"A"))), "null");
  view.Load(param());
  EXPECT_EQ(view.GetRecordCount(), 0);
}

TEST_F(RowsOfALoad, AreCopiedAndCleared) {
  answerRows({{u"A", 1}});
  CRowsInCache view(host(), u"@T");
  view.Load(param());
  view.CheckConsistency();
  const CRowsInCache copy = view;
  view.Clear();
  EXPECT_EQ(view.GetRecordCount(), 0);
  EXPECT_EQ(copy.GetRecordCount(), 1);
  EXPECT_EQ(shown(view.GetByKey(code(u"A"))), "Code=A | Code=A U_N=1");
}

}  // namespace
}  // namespace Persistence
