// A database that fails at any statement, hooks that throw or come back to the cache, and a company
// that changes with writes pending.

#include "qxframework/cache/db_record_cache.h"
#include "qxframework/cache/testing/cache_fixture.h"
#include "testing/raised_by.h"

#include <functional>

namespace Persistence {
namespace {

using namespace qx::test;
using testing::ElementsAre;
using testing::IsEmpty;

class CacheFault : public CacheFixture {
 protected:
  static std::string deletion(const std::string& codeOfRow) {
    return "DELETE FROM [@T] WHERE [Code]=N'" + codeOfRow + "'";
  }
  void remove(const OLECHAR* codeOfRow) const { cache()->DeleteByKey(u"@T", code(codeOfRow)); }
  void failNext(int number = 1) {
    company->failStatement = static_cast<int>(company->runs.size()) + number;
  }
};

// What the class promises to its holder: after a failure all statements are still buffered. Those
// that ran before the failed one run again.
TEST_F(CacheFault, AFlushThatFailsAtAnyStatementKeepsAll) {
  const std::vector<std::string> all{deletion("A"), deletion("B"), deletion("C"), deletion("D")};
  for (int k = 1; k <= 4; ++k) {
    for (const OLECHAR* each : {u"A", u"B", u"C", u"D"}) remove(each);
    failNext(k);
    EXPECT_EQ(raisedBy([this] { cache()->FlushToDB(); }), -2000) << k;
    EXPECT_EQ(statements(), (std::vector<std::string>(all.begin(), all.begin() + k))) << k;
    cache()->FlushToDB();
    EXPECT_EQ(statements(), all) << k;
  }
}

TEST_F(CacheFault, TheHundredthWriteReportsTheFailureOfAnyStatement) {
  for (int k : {1, 50, 100}) {
    for (int i = 1; i < 100; ++i) remove(u"A");
    failNext(k);
    EXPECT_EQ(raisedBy([this] { remove(u"Z"); }), -2000);
    EXPECT_EQ(statements().size(), static_cast<std::size_t>(k));
    // The next write finds the buffer full and tries again.
    remove(u"Y");
    EXPECT_EQ(statements().size(), 101U);
  }
}

TEST_F(CacheFault, AWriteThatCannotBeSentIsNotInMemory) {
  answerGroups({{u"A", 1, 10}});
  load(from(1));
  for (int i = 1; i < 100; ++i) remove(u"X");
  failNext();
  EXPECT_EQ(raisedBy([this] { cache()->Add(u"@T", false, rowOf(u"B", 1, 1)); }), -2000);
  EXPECT_EQ(shown(cache()->GetRowByKey(code(u"B"))), "null");
  // Its statement is buffered none the less.
  statements();
  cache()->FlushToDB();
  EXPECT_EQ(statements().back(), "INSERT INTO [@T] ([Code], [U_G], [U_N]) \r\nVALUES (N'B', 1, 1)");
}

TEST_F(CacheFault, AnUpdateThatCannotBeSentIsNotInMemory) {
  answerGroups({{u"A", 1, 10}});
  load(from(1));
  for (int i = 1; i < 100; ++i) remove(u"X");
  failNext();
  EXPECT_EQ(raisedBy([this] { cache()->Update(u"@T", rowOf(u"A", 1, 11)); }), -2000);
  EXPECT_EQ(shown(cache()->GetRowByKey(code(u"A"))), "Code=A | Code=A U_G=1 U_N=10");
}

TEST_F(CacheFault, ADeletedRowIsGoneFromMemoryBeforeItsStatementIsSent) {
  answerGroups({{u"A", 1, 10}});
  load(from(1));
  for (int i = 1; i < 100; ++i) remove(u"X");
  failNext();
  EXPECT_EQ(raisedBy([this] { remove(u"A"); }), -2000);
  EXPECT_EQ(shown(cache()->GetRowByKey(code(u"A"))), "null");
}

TEST_F(CacheFault, AFlushThatFailsInALoadLeavesTheRows) {
  answerRows({{u"A", 1}});
  load(param());
  remove(u"X");
  wait(301);
  failNext();
  const qx_ptr<Param> all = param();
  EXPECT_EQ(raisedBy([&] { load(all); }), -2000);
  EXPECT_TRUE(cache()->IsLoaded());
  EXPECT_EQ(shown(cache()->GetRowByKey(code(u"A"))), "Code=A | Code=A U_N=1");
  EXPECT_THAT(statements(), ElementsAre(kSelectAll, deletion("X")));
  EXPECT_EQ(load(all), 1);
  EXPECT_THAT(statements(), ElementsAre(deletion("X"), kSelectAll));
}

TEST_F(CacheFault, AStartKeyThatCannotBeReadKeepsTheParameterOfTheLastLoad) {
  answerGroups({{u"A", 1, 10}});
  load(from(1));
  failNext();
  EXPECT_EQ(raisedBy([&] { load(from(9)); }), -2000);
  EXPECT_EQ(shown(cache()->GetRowByKey(code(u"A"))), "null");
  cache()->Add(u"@T", false, rowOf(u"X", 1, 1));
  EXPECT_EQ(shown(cache()->GetRowByKey(code(u"X"))), "Code=X | Code=X U_G=1 U_N=1");
}

TEST_F(CacheFault, AQueryThatFailsLeavesNoRowsAndIsTriedAgain) {
  answerRows({{u"A", 1}});
  load(param());
  wait(301);
  failNext();
  const qx_ptr<Param> all = param();
  EXPECT_EQ(raisedBy([&] { load(all); }), -2000);
  EXPECT_THAT(shown(rows), IsEmpty());
  EXPECT_FALSE(cache()->IsLoaded());
  EXPECT_EQ(shown(cache()->GetRowByKey(code(u"A"))), "null");
  EXPECT_EQ(load(all), 1);
  EXPECT_THAT(statements(), ElementsAre(kSelectAll, kSelectAll, kSelectAll));
}

TEST_F(CacheFault, AReadThatFailsOnAnyRowLeavesNoRows) {
  answerRows({{u"A", 1}, {u"B", 2}, {u"C", 3}});
  const qx_ptr<Param> all = param();
  for (int k = 1; k <= 3; ++k) {
    int moves = 0;
    company->calls.hooks["Recordset.MoveNext"] = [&] {
      if (++moves == k) company->calls.failures["Recordset.MoveNext"] = E_FAIL;
    };
    EXPECT_EQ(raisedBy([&] { load(all); }), E_FAIL) << k;
    EXPECT_EQ(shown(cache()->GetRowByKey(code(u"A"))), "null") << k;
    company->calls.hooks.clear();
    company->calls.failures.clear();
    EXPECT_EQ(load(all), 3) << k;
    cache()->ClearCache(true, false);
  }
}

TEST_F(CacheFault, AParameterThatNoStatementServesIsRefused) {
  EXPECT_EQ(refusalOf([this] { load(param(pb_FirstRows)); }),
            "-1: not support yet, not make sense in reality");
  EXPECT_FALSE(cache()->IsLoaded());
}

TEST_F(CacheFault, AFailingCompanyChangeKeepsTheEarlierCompany) {
  const auto first = cache();
  remove(u"A");
  failNext();
  const CComPtr<ScriptedCompany> other = makeScriptedCompany();
  const auto change = [&] {
    return CDBRecordCache::GetInstance(CComPtr<ICompany>(other.p), u"@T");
  };
  EXPECT_EQ(raisedBy(change), -2000);
  EXPECT_EQ(cache().get(), first.get());
  // The statements are given up by name.
  failNext();
  EXPECT_EQ(raisedBy(change), -2000);
  CDBRecordCache::ClearAllCaches(false, true);
  EXPECT_NE(change().get(), first.get());
  EXPECT_THAT(statements(), ElementsAre(deletion("A"), deletion("A")));
}

TEST_F(CacheFault, FlushAllCachesStopsAtTheFirstFailure) {
  remove(u"A");
  cache(u"@U")->DeleteByKey(u"@U", code(u"B"));
  failNext();
  EXPECT_EQ(raisedBy([] { CDBRecordCache::FlushAllCaches(); }), -2000);
  EXPECT_THAT(statements(), ElementsAre(deletion("A")));
  CDBRecordCache::FlushAllCaches();
  EXPECT_THAT(statements(), ElementsAre(deletion("A"), "DELETE FROM [@U] WHERE [Code]=N'B'"));
}

// Hooks: a class of an add-on's own reads rows in its way.

struct Hooked : CDBRecordCache {
  explicit Hooked(const CComPtr<ICompany>& company) : CDBRecordCache(company) {}
  void LoadRowFromRecordSet(IRecordset* recordSet, bool keysOnly, TyFieldValues& key,
                            TyFieldValues& prefetch, std::vector<CComBSTR>& names,
                            TyRow& row) override {
    CDBRecordCache::LoadRowFromRecordSet(recordSet, keysOnly, key, prefetch, names, row);
    const std::function<void()> now = hook;  // a hook may remove itself
    if (now) now();
  }
  std::function<void()> hook;
};

class CacheHook : public CacheFault {
 protected:
  CacheHook() { answerRows({{u"A", 1}, {u"B", 2}}); }
  /// Loads with a hook that runs once, after the first row was read.
  int loadWith(std::function<void()> work) {
    hooked.hook = [this, work] {
      hooked.hook = nullptr;
      work();
    };
    rows.clear();
    return hooked.Load(all, rows);
  }

  Hooked hooked{host()};
  qx_ptr<Param> all = param();
};

TEST_F(CacheHook, AHookThatThrowsEndsTheLoadWithoutRows) {
  for (int k = 1; k <= 2; ++k) {
    int calls = 0;
    hooked.hook = [&] {
      if (++calls == k) throw 42;
    };
    EXPECT_THROW(hooked.Load(all, rows), int);
    EXPECT_THAT(shown(rows), IsEmpty());
    EXPECT_FALSE(hooked.IsLoaded());
    EXPECT_EQ(shown(hooked.GetRowByKey(code(u"A"))), "null");
  }
  hooked.hook = nullptr;
  EXPECT_EQ(hooked.Load(all, rows), 2);
}

TEST_F(CacheHook, ALoadWithinALoadIsRefusedAndHarmsNothing) {
  TyRowsByKey inner;
  std::string refusal;
  EXPECT_EQ(loadWith([&] { refusal = refusalOf([&] { hooked.Load(all, inner); }); }), 2);
  EXPECT_EQ(refusal, "-1: The cache is loading rows of '@T'; load again when that load has ended");
  EXPECT_THAT(shown(inner), IsEmpty());
  EXPECT_THAT(shown(rows), ElementsAre("Code=A | Code=A U_N=1", "Code=B | Code=B U_N=2"));
  EXPECT_TRUE(hooked.IsLoaded());
}

TEST_F(CacheHook, ALoadOfAnotherTableWithinALoadSucceeds) {
  TyRowsByKey inner;
  EXPECT_EQ(loadWith([&] { cache(u"@U")->Load(param(pb_AllRows, {}, u"@U"), inner); }), 2);
  EXPECT_EQ(inner.size(), 2U);
  EXPECT_EQ(rows.size(), 2U);
}

TEST_F(CacheHook, ADirectReadWithinALoadHasARecordSetOfItsOwn) {
  std::string found;
  const qx_ptr<Param> one = param(pb_NoPrefetch);
  one->SetConditions(codeIs(u"A"));
  company->answers
      [u"SELECT [Code] AS N'__kf__.Code', *\r\nFROM [@T]\r\nWHERE [Code] = "
       u"N'A'\r\nORDER BY [Code] ASC\r\n"] = {{u"__kf__.Code", u"U_N"}, {{u"A", 7}}};
  EXPECT_EQ(loadWith([&] { found = shown(hooked.GetByKey_DirectFromDB(one)); }), 2);
  EXPECT_EQ(found, "Code=A | U_N=7");
  EXPECT_THAT(shown(rows), ElementsAre("Code=A | Code=A U_N=1", "Code=B | Code=B U_N=2"));
  EXPECT_EQ(company->runs.front().recordset, 1);
  EXPECT_EQ(company->runs.back().recordset, 2);
}

TEST_F(CacheHook, AQuestionForExistenceWithinALoadHasARecordSetOfItsOwn) {
  bool exists = false;
  const qx_ptr<Param> count = param(pb_NoPrefetch);
  count->SetReturnRecordCountOnly(true);
  company->answers[u"SELECT COUNT(*)\r\nFROM [@T]\r\n"] = {{u""}, {{1}}};
  EXPECT_EQ(loadWith([&] { exists = hooked.ExistsInDB(count); }), 2);
  EXPECT_TRUE(exists);
  EXPECT_EQ(rows.size(), 2U);
}

TEST_F(CacheHook, AFlushWithinALoadHasARecordSetOfItsOwn) {
  EXPECT_EQ(loadWith([&] {
              hooked.DeleteByKey(u"@T", code(u"X"));
              hooked.FlushToDB();
            }),
            2);
  EXPECT_EQ(rows.size(), 2U);
  EXPECT_THAT(statements(), ElementsAre(kSelectAll, deletion("X")));
}

TEST_F(CacheHook, ClearingWithinALoadFailsTheLoad) {
  EXPECT_EQ(refusalOf([&] { loadWith([&] { hooked.ClearCache(true, false); }); }),
            "-1: The rows of '@T' were cleared while they were loaded; load them again");
  EXPECT_THAT(shown(rows), IsEmpty());
  EXPECT_FALSE(hooked.IsLoaded());
  EXPECT_EQ(shown(hooked.GetRowByKey(code(u"B"))), "null");
  EXPECT_EQ(hooked.Load(all, rows), 2);
}

TEST_F(CacheHook, AForgottenCacheEndsItsLoadWithTheSameFailure) {
  answerGroups({{u"A", 1, 1}, {u"B", 1, 2}});
  const auto kept = cache();
  const qx_ptr<Param> groups = from(1);
  company->calls.hooks["Recordset.MoveNext"] = [&] {
    company->calls.hooks.clear();
    CDBRecordCache::ClearAllCaches(true, false);
  };
  EXPECT_EQ(refusalOf([&] { kept->Load(groups, rows); }),
            "-1: The rows of '@T' were cleared while they were loaded; load them again");
  EXPECT_EQ(kept->Load(groups, rows), 2);
}

}  // namespace
}  // namespace Persistence
