// What an author sees of a cache: counts, and one line for each load.

#include "qxframework/cache/cache_counters.h"
#include "qxframework/cache/db_record_cache.h"
#include "qxframework/cache/testing/cache_fixture.h"

namespace Persistence {
namespace {

using namespace qx::test;
using testing::ElementsAre;
using testing::IsEmpty;
using Strings = std::vector<std::u16string>;

class CacheCount : public CacheFixture {
 protected:
  CacheCount() { answerGroups({{u"A", 1, 10}, {u"B", 1, 20}}); }
  Strings reasons() { return logger.messagesOf(u"CDBRecordCache::LoadReason"); }
};

TEST_F(CacheCount, EveryLoadHasItsReason) {
  const qx_ptr<Param> first = from(1);
  load(first);
  load(first);
  company->otherwise.rows.clear();
  load(from(5));
  load(from(1));
  const qx_ptr<Param> other = from(1);
  other->SetConditions(codeIs(u"A"));
  load(other);
  wait(301);
  load(other);
  cache()->ClearCache(true, false);
  load(other);
  load(param(pb_NoPrefetch));
  EXPECT_EQ(reasons(),
            (Strings{u"'@T' from the database: there are no rows in memory", u"'@T' from memory",
                     u"'@T' from the database: the start key is not among the rows",
                     u"'@T' from the database: the start key is not among the rows",
                     u"'@T' from the database: the rows were read with another parameter",
                     u"'@T' from the database: the rows are 301 s old, and 300 s are allowed",
                     u"'@T' from the database: there are no rows in memory",
                     u"'@T' from the database: its behaviour reads no rows ahead"}));
  for (const LogRecord& record : logger.records) {
    if (record.function == u"CDBRecordCache::LoadReason") {
      EXPECT_EQ(record.level, QXLoggerLib::sl_Debug0);
    }
  }
  const CacheCounters counters = cache()->Counters();
  EXPECT_EQ(counters.hits, 1);
  EXPECT_EQ(counters.misses.notLoaded, 2);
  EXPECT_EQ(counters.misses.keyNotSeen, 2);
  EXPECT_EQ(counters.misses.otherParameter, 1);
  EXPECT_EQ(counters.misses.expired, 1);
  EXPECT_EQ(counters.misses.noReadAhead, 1);
  EXPECT_EQ(counters.misses.total(), 7);
}

TEST_F(CacheCount, EveryFlushHasItsReason) {
  const auto remove = [this] { cache()->DeleteByKey(u"@T", code(u"X")); };
  for (int i = 0; i < 100; ++i) remove();
  remove();
  load(from(1));
  remove();
  cache()->GetByKey_DirectFromDB([this] {
    answerRows({});
    return param(pb_NoPrefetch);
  }());
  remove();
  cache()->FlushToDB();
  remove();
  CDBRecordCache::FlushAllCaches();
  remove();
  CDBRecordCache::BeforeTransaction_Start();
  remove();
  CDBRecordCache::BeforeTransaction_Commit();
  remove();
  CDBRecordCache::ClearAllCaches(false, false);
  remove();
  company->companyDB = u"OTHER";
  const CacheCounters counters = cache()->Counters();
  EXPECT_EQ(counters.flushes.full, 1);
  EXPECT_EQ(counters.flushes.load, 1);
  EXPECT_EQ(counters.flushes.directRead, 1);
  EXPECT_EQ(counters.flushes.request, 2);
  EXPECT_EQ(counters.flushes.transactionStart, 1);
  EXPECT_EQ(counters.flushes.commit, 1);
  EXPECT_EQ(counters.flushes.lastUse, 1);
  EXPECT_EQ(counters.flushes.companyChange, 1);
  EXPECT_EQ(counters.flushes.total(), 9);
  EXPECT_EQ(counters.statementsSent, 108);
  EXPECT_EQ(counters.statementsDiscarded, 0);
}

TEST_F(CacheCount, AFlushForAKeyThatWasNotSeenIsForTheLoad) {
  load(from(1));
  cache()->DeleteByKey(u"@T", code(u"X"));
  load(from(5));
  EXPECT_EQ(cache()->Counters().flushes.load, 1);
  EXPECT_EQ(cache()->Counters().flushes.total(), 1);
}

TEST_F(CacheCount, ExistenceFlushesForADirectRead) {
  cache()->DeleteByKey(u"@T", code(u"X"));
  company->otherwise = {{u""}, {{1}}};
  cache()->ExistsInDB(param(pb_NoPrefetch));
  EXPECT_EQ(cache()->Counters().flushes.directRead, 1);
}

TEST_F(CacheCount, AFailedFlushIsNoFlush) {
  for (int i = 0; i < 3; ++i) cache()->DeleteByKey(u"@T", code(u"X"));
  company->failStatement = 2;
  EXPECT_THROW(cache()->FlushToDB(), _com_error);
  EXPECT_EQ(cache()->Counters().flushes.total(), 0);
  EXPECT_EQ(cache()->Counters().statementsSent, 1);
  EXPECT_EQ(cache()->Counters().bufferedStatements, 3);
}

TEST_F(CacheCount, WhatIsHeldIsThatOfTheCacheInUse) {
  load(from(1));
  cache()->GetRowByKey(code(u"A"));
  cache()->GetRowByKey(code(u"Z"));
  cache()->DeleteByKey(u"@T", code(u"X"));
  const CacheCounters held = cache()->Counters();
  EXPECT_EQ(held.rows, 2);
  EXPECT_GT(held.bytes, 200);
  EXPECT_LT(held.bytes, 4000);
  EXPECT_EQ(held.bufferedStatements, 1);
  EXPECT_EQ(held.rowsFound, 1);
  EXPECT_EQ(held.queriesSaved(), 1);

  CDBRecordCache::BeforeTransaction_Rollback();
  const CacheCounters after = CDBRecordCache::AllCounters().at(0);
  EXPECT_EQ(after.table.View(), u"@T");
  EXPECT_EQ(after.rows, 0);
  EXPECT_EQ(after.bytes, 0);
  EXPECT_EQ(after.bufferedStatements, 0);
  EXPECT_EQ(after.statementsDiscarded, 1);
  EXPECT_EQ(after.misses.notLoaded, 1);
}

TEST_F(CacheCount, BytesGrowWithTheRows) {
  load(from(1));
  const long long two = cache()->Counters().bytes;
  answerGroups({{u"A", 1, 10}, {u"B", 1, 20}, {u"C", 1, 30}, {u"D", 1, 40}});
  cache()->ClearCache(true, false);
  load(from(1));
  const long long four = cache()->Counters().bytes;
  EXPECT_GT(four, two + (two - 300) * 3 / 4);
  EXPECT_LT(four, 2 * two);
}

TEST_F(CacheCount, AllTablesAreShownOnOneLineEach) {
  load(from(1));
  load(from(1));
  cache(u"@U")->DeleteByKey(u"@U", code(u"X"));
  EXPECT_EQ(std::string(qx::toUtf8(CDBRecordCache::CountersText().View())),
            "@T: 1 hits, misses 1 (1 not loaded); 0 rows found; 2 rows held, " +
                std::to_string(cache()->Counters().bytes) +
                " bytes; 0 statements buffered, 0 sent, 0 discarded; flushes 0; 1 queries saved\n"
                "@U: 0 hits, misses 0; 0 rows found; 0 rows held, 0 bytes; 1 statements buffered, "
                "0 sent, 0 discarded; flushes 0; 0 queries saved\n");
}

TEST_F(CacheCount, TheLinesGoToTheLogOnRequest) {
  cache();
  cache(u"@U");
  CDBRecordCache::FlushAllCaches();
  logger.records.clear();
  CDBRecordCache::LogCounters();
  const std::u16string none =
      u": 0 hits, misses 0; 0 rows found; 0 rows held, 0 bytes; 0 statements buffered, 0 sent, 0 "
      u"discarded; flushes 0; 0 queries saved";
  EXPECT_EQ(logger.messages(QXLoggerLib::sl_Information), (Strings{u"@T" + none, u"@U" + none}));
  EXPECT_EQ(logger.messagesOf(u"CDBRecordCache::LogCounters"),
            (Strings{u"@T" + none, u"@U" + none}));
}

TEST_F(CacheCount, SeveralReasonsAreListed) {
  CacheCounters counters;
  counters.table = u"@T";
  counters.hits = 1;
  counters.misses = {2, 3, 4, 5, 6};
  counters.rowsFound = 7;
  counters.flushes = {1, 2, 3, 4, 5, 6, 7, 8};
  counters.statementsSent = 9;
  counters.statementsDiscarded = 10;
  counters.rows = 11;
  counters.bytes = 12'000'000'000;
  counters.bufferedStatements = 13;
  EXPECT_EQ(
      counters.Text().View(),
      u"@T: 1 hits, misses 20 (2 no read-ahead, 3 other parameter, 4 not loaded, 5 expired, "
      u"6 key not seen); 7 rows found; 11 rows held, 12000000000 bytes; 13 statements "
      u"buffered, 9 sent, 10 discarded; flushes 36 (1 full, 2 load, 3 direct read, 4 request, "
      u"5 transaction start, 6 commit, 7 company change, 8 last use); 8 queries saved");
}

TEST_F(CacheCount, CountsBeginAnewOnRequest) {
  load(from(1));
  cache(u"@U");
  EXPECT_EQ(CDBRecordCache::AllCounters().size(), 2U);
  CDBRecordCache::ResetCounters();
  EXPECT_EQ(cache()->Counters().misses.total(), 0);
  EXPECT_EQ(cache()->Counters().rows, 2);
  EXPECT_EQ(CDBRecordCache::AllCounters().at(1).table.View(), u"@U");
  CDBRecordCache::ClearAllCaches(false, true);
  CDBRecordCache::ResetCounters();
  EXPECT_THAT(CDBRecordCache::AllCounters(), IsEmpty());
  EXPECT_EQ(CDBRecordCache::CountersText().Length(), 0U);
}

}  // namespace
}  // namespace Persistence
