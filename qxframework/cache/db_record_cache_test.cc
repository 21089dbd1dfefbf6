// The caches of all tables: who shares one, when the buffered statements are sent, and what the
// transactions do.

#include "qxframework/cache/db_record_cache.h"

#include "qxframework/cache/sql_generator.h"
#include "qxframework/cache/testing/cache_fixture.h"
#include "testing/raised_by.h"

namespace Persistence {
namespace {

using namespace qx::test;
using testing::ElementsAre;
using testing::IsEmpty;
using Strings = std::vector<std::u16string>;

class CacheOfATable : public CacheFixture {
 protected:
  static std::string deletion(const std::string& codeOfRow, const std::string& table = "@T") {
    return "DELETE FROM [" + table + "] WHERE [Code]=N'" + codeOfRow + "'";
  }
  void remove(const OLECHAR* codeOfRow, const OLECHAR* table = u"@T") const {
    cache(table)->DeleteByKey(table, code(codeOfRow));
  }
};

/// A cache that sends its statements in smaller lots.
struct SmallBuffer : CDBRecordCache {
  SmallBuffer(const CComPtr<ICompany>& company, int size) : CDBRecordCache(company) {
    EXPECT_EQ(GetMaxBufferedSqlSize(), 100);
    SetMaxBufferedSqlSize(size);
    EXPECT_EQ(GetMaxBufferedSqlSize(), size);
  }
};

// Instances.

TEST_F(CacheOfATable, IsSharedByItsName) {
  EXPECT_EQ(cache().get(), cache().get());
  EXPECT_NE(cache(u"@T").get(), cache(u"@U").get());
}

TEST_F(CacheOfATable, BeginsEmpty) {
  EXPECT_FALSE(cache()->IsLoaded());
  EXPECT_EQ(shown(cache()->GetRowByKey(code(u"A"))), "null");
  EXPECT_EQ(cache()->GetRecordCountByPrefetchedKey(group(1)), 0);
  EXPECT_NE(cache()->GetSQLGenerator(), nullptr);
}

TEST_F(CacheOfATable, WritesInTheDialectOfItsCompany) {
  company->serverType = qx::kKordb;
  remove(u"A");
  cache()->FlushToDB();
  EXPECT_THAT(statements(), ElementsAre("DELETE FROM \"@T\" WHERE \"Code\"=N'A'"));
}

TEST_F(CacheOfATable, NeedsACompany) {
  EXPECT_EQ(raisedBy([] { CDBRecordCache::GetInstance(CComPtr<ICompany>(), u"@T"); }), E_POINTER);
  company->calls.failures["Company.GetCompanyDB"] = E_FAIL;
  EXPECT_EQ(raisedBy([this] { cache(); }), E_FAIL);
}

TEST_F(CacheOfATable, AnotherDatabaseSendsTheStatementsAndForgetsTheCaches) {
  const auto first = cache();
  remove(u"A");
  remove(u"B", u"@U");
  company->companyDB = u"OTHER";
  const auto second = cache();
  EXPECT_NE(first.get(), second.get());
  EXPECT_THAT(statements(), ElementsAre(deletion("A"), deletion("B", "@U")));
  EXPECT_EQ(second.get(), cache().get());
}

TEST_F(CacheOfATable, AnotherConnectionSendsTheStatementsToTheEarlierOne) {
  remove(u"A");
  const CComPtr<ScriptedCompany> other = makeScriptedCompany();
  const auto second = CDBRecordCache::GetInstance(CComPtr<ICompany>(other.p), u"@T");
  EXPECT_THAT(statements(), ElementsAre(deletion("A")));
  second->DeleteByKey(u"@T", code(u"B"));
  second->FlushToDB();
  EXPECT_THAT(other->statements(), ElementsAre(deletion("B")));
  EXPECT_THAT(statements(), IsEmpty());
}

TEST_F(CacheOfATable, TheCompanyIsReleasedWithTheCaches) {
  const ULONG before = referencesTo(company);
  cache();
  EXPECT_GT(referencesTo(company), before);
  CDBRecordCache::ClearAllCaches(true, false);
  EXPECT_EQ(referencesTo(company), before);
}

// Clearing.

TEST_F(CacheOfATable, ClearingMaySendTheStatementsAndKeepTheRows) {
  answerRows({{u"A", 1}});
  load(param());
  statements();
  remove(u"B");
  cache()->ClearCache(false, false);
  EXPECT_THAT(statements(), IsEmpty());
  cache()->ClearCache(false, true);
  EXPECT_THAT(statements(), ElementsAre(deletion("B")));
  EXPECT_TRUE(cache()->IsLoaded());
  EXPECT_EQ(shown(cache()->GetRowByKey(code(u"A"))), "Code=A | Code=A U_N=1");
  remove(u"C");
  cache()->ClearCache(true, false);
  EXPECT_FALSE(cache()->IsLoaded());
  EXPECT_EQ(shown(cache()->GetRowByKey(code(u"A"))), "null");
  EXPECT_THAT(statements(), IsEmpty());
}

TEST_F(CacheOfATable, ClearBufferedSqlDropsTheStatements) {
  remove(u"A");
  cache()->ClearBufferedSQL();
  cache()->FlushToDB();
  EXPECT_THAT(statements(), IsEmpty());
}

TEST_F(CacheOfATable, ClearAllCachesSendsOrDropsOrLeavesTheStatements) {
  remove(u"A");
  CDBRecordCache::ClearAllCaches(true, true);
  EXPECT_THAT(statements(), ElementsAre(deletion("A")));
  remove(u"B");
  CDBRecordCache::ClearAllCaches(false, true);
  EXPECT_THAT(statements(), IsEmpty());
  // Left in the cache, they go out with its last holder.
  auto held = cache();
  remove(u"C");
  CDBRecordCache::ClearAllCaches(false, false);
  EXPECT_THAT(statements(), IsEmpty());
  EXPECT_NE(cache().get(), held.get());
  held = 0;
  EXPECT_THAT(statements(), ElementsAre(deletion("C")));
}

TEST_F(CacheOfATable, ClearAllCachesDropsTheRowsOfHeldCaches) {
  answerRows({{u"A", 1}});
  load(param());
  const auto held = cache();
  CDBRecordCache::ClearAllCaches(true, false);
  EXPECT_FALSE(held->IsLoaded());
  EXPECT_EQ(shown(held->GetRowByKey(code(u"A"))), "null");
  EXPECT_EQ(logger.records.back().function, u"CDBRecordCache::ClearAllCaches");
}

// The buffer.

TEST_F(CacheOfATable, TheHundredthStatementSendsAll) {
  std::vector<std::string> expected;
  for (int i = 0; i < 99; ++i) {
    const std::string each = std::to_string(i);
    remove(qx::toUtf16(each).c_str());
    expected.push_back(deletion(each));
  }
  EXPECT_THAT(statements(), IsEmpty());
  remove(u"99");
  expected.push_back(deletion("99"));
  EXPECT_EQ(statements(), expected);
  cache()->FlushToDB();
  EXPECT_THAT(statements(), IsEmpty());
  EXPECT_EQ(company->recordsets, 1);
}

TEST_F(CacheOfATable, TheRecordSetIsReleasedAfterAFlush) {
  remove(u"A");
  cache()->FlushToDB();
  remove(u"A");
  remove(u"B");
  cache()->FlushToDB();
  EXPECT_EQ(company->recordsets, 2);
  EXPECT_EQ(company->runs.back().recordset, 2);
}

TEST_F(CacheOfATable, AFlushOfNothingNeedsNoRecordSet) {
  cache()->FlushToDB();
  EXPECT_EQ(company->recordsets, 0);
}

TEST_F(CacheOfATable, TheBufferHasTheSizeThatIsSet) {
  for (const int size : {-1, 0, 1, 2, 3}) {
    SmallBuffer small(host(), size);
    for (int i = 1; i < size; ++i) {
      small.RunSQL_AddUpdateRemove(u"X");
      EXPECT_THAT(statements(), IsEmpty()) << size;
    }
    small.RunSQL_AddUpdateRemove(u"X");
    EXPECT_EQ(statements().size(), static_cast<std::size_t>(std::max(size, 1)));
  }
}

TEST_F(CacheOfATable, ALoadThatClearsSendsTheStatementsFirst) {
  answerRows({});
  remove(u"A");
  load(param());
  EXPECT_THAT(statements(), ElementsAre(deletion("A"), kSelectAll));
  // A load from memory sends nothing.
  remove(u"B");
  load(param());
  EXPECT_THAT(statements(), IsEmpty());
  wait(301);
  load(param());
  EXPECT_THAT(statements(), ElementsAre(deletion("B"), kSelectAll));
}

TEST_F(CacheOfATable, FlushAllCachesSendsTheStatementsOfEveryTable) {
  remove(u"A", u"@U");
  remove(u"B", u"@T");
  CDBRecordCache::FlushAllCaches();
  EXPECT_THAT(statements(), ElementsAre(deletion("B", "@T"), deletion("A", "@U")));
}

TEST_F(CacheOfATable, TheLastHolderSendsTheStatements) {
  {
    SmallBuffer small(host(), 10);
    small.DeleteByKey(u"@T", code(u"A"));
  }
  EXPECT_THAT(statements(), ElementsAre(deletion("A")));
}

TEST_F(CacheOfATable, StatementsThatCannotBeSentAtTheEndAreLogged) {
  {
    SmallBuffer small(host(), 10);
    for (const OLECHAR* each : {u"A", u"B", u"C"}) small.DeleteByKey(u"@T", code(each));
    company->failStatement = 2;
  }
  EXPECT_THAT(statements(), ElementsAre(deletion("A"), deletion("B")));
  std::vector<LogRecord> errors;
  for (const LogRecord& record : logger.records)
    if (record.level == QXLoggerLib::sl_Error) errors.push_back(record);
  EXPECT_EQ(errors, (std::vector<LogRecord>{
                        {0, u"", QXLoggerLib::sl_Error, u"CDBRecordCache::~CDBRecordCache",
                         u"Lost statement: DELETE FROM [@T] WHERE [Code]=N'B'"},
                        {0, u"", QXLoggerLib::sl_Error, u"CDBRecordCache::~CDBRecordCache",
                         u"Lost statement: DELETE FROM [@T] WHERE [Code]=N'C'"}}));
}

TEST_F(CacheOfATable, StatementsAreLostToACompanyThatGivesNoRecordSet) {
  {
    SmallBuffer small(host(), 10);
    small.DeleteByKey(u"@T", code(u"A"));
    company->calls.failures["Company.GetBusinessObject 300"] = E_FAIL;
  }
  EXPECT_TRUE(
      logger.has(QXLoggerLib::sl_Error, u"Lost statement: DELETE FROM [@T] WHERE [Code]=N'A'"));
}

// Transactions.

TEST_F(CacheOfATable, AStartSendsWhatIsBufferedAndKeepsTheRows) {
  answerRows({{u"A", 1}});
  load(param());
  statements();
  remove(u"B");
  logger.records.clear();
  CDBRecordCache::BeforeTransaction_Start();
  EXPECT_THAT(statements(), ElementsAre(deletion("B")));
  EXPECT_TRUE(cache()->IsLoaded());
  EXPECT_EQ(logger.messages(QXLoggerLib::sl_Information), (Strings{u"Start"}));
  EXPECT_EQ(logger.messagesOf(u"CDBRecordCache::BeforeTransaction_Start"), (Strings{u"Start"}));
}

TEST_F(CacheOfATable, ACommitSendsWhatIsBufferedAndKeepsTheRows) {
  answerRows({{u"A", 1}});
  load(param());
  statements();
  remove(u"B");
  remove(u"C", u"@U");
  logger.records.clear();
  CDBRecordCache::BeforeTransaction_Commit();
  EXPECT_THAT(statements(), ElementsAre(deletion("B"), deletion("C", "@U")));
  EXPECT_TRUE(cache()->IsLoaded());
  EXPECT_EQ(logger.messages(QXLoggerLib::sl_Information), (Strings{u"Commit"}));
  EXPECT_EQ(logger.messagesOf(u"CDBRecordCache::BeforeTransaction_Commit"), (Strings{u"Commit"}));
}

TEST_F(CacheOfATable, ARollbackDropsTheStatementsOfEveryTableAndForgetsTheCaches) {
  const auto held = cache();
  remove(u"A");
  remove(u"B", u"@U");
  logger.records.clear();
  CDBRecordCache::BeforeTransaction_Rollback();
  EXPECT_NE(cache().get(), held.get());
  CDBRecordCache::FlushAllCaches();
  held->FlushToDB();
  EXPECT_THAT(statements(), IsEmpty());
  EXPECT_EQ(logger.messages(QXLoggerLib::sl_Information), (Strings{u"Rollback"}));
  EXPECT_EQ(logger.messagesOf(u"CDBRecordCache::BeforeTransaction_Rollback"),
            (Strings{u"Rollback"}));
}

TEST_F(CacheOfATable, AFailureBeforeATransactionHasATextOfItsOwn) {
  remove(u"A");
  company->calls.failures["SQL DELETE"] = qx::resultCode(-2000);
  EXPECT_EQ(refusalOf([] { CDBRecordCache::BeforeTransaction_Start(); }),
            "-1: Failed in CDBRecordCache::BeforeTransaction_Start()");
  EXPECT_EQ(refusalOf([] { CDBRecordCache::BeforeTransaction_Commit(); }),
            "-1: Failed in CDBRecordCache::BeforeTransaction_Commit()");
  company->calls.failures.clear();
  cache()->FlushToDB();
  EXPECT_THAT(statements(), ElementsAre(deletion("A"), deletion("A"), deletion("A")));
}

TEST_F(CacheOfATable, ARollbackAsksTheCompanyForNothing) {
  remove(u"A");
  company->calls.failures["SQL DELETE"] = qx::resultCode(-2000);
  company->calls.failures["Company.GetBusinessObject 300"] = E_FAIL;
  CDBRecordCache::BeforeTransaction_Rollback();
  EXPECT_THAT(statements(), IsEmpty());
}

}  // namespace
}  // namespace Persistence
