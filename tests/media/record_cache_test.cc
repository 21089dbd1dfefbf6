// The record cache on each medium: what it keeps and sends, compared with the rows of the database,
// and random steps beside a model of its rules.

#include "qxframework/cache/db_record_cache.h"
#include "qxframework/cache/testing/cache_steps.h"
#include "testing/cases.h"
#include "testing/spying_company.h"
#include "tests/media/company_fixture.h"

#include <gmock/gmock.h>

namespace {

using namespace Persistence;
using namespace qx::test;
using testing::ElementsAre;
using testing::IsEmpty;
using Param = TyLoadParameter_WithPrefetchKeys;

class RecordCache : public CompanyFixture {
 protected:
  ~RecordCache() override { CDBRecordCache::ClearAllCaches(false, true); }

  qx_ptr<CDBRecordCache> cache() const { return CDBRecordCache::GetInstance(spied, u"@ORDERS"); }
  qx_ptr<Param> param(_TyPrefetchBehavior behavior, const TyFieldValues& start = {}) {
    clock.advance(std::chrono::seconds(1));
    qx_ptr<Param> made(new Param, true);
    const std::vector<CComBSTR> keys{u"Code"};
    made->SetKeyFields(&keys);
    made->SetMajorTable(u"@ORDERS");
    made->SetPrefetchBehavior(behavior, &start, 2);
    clock.advance(std::chrono::seconds(1));
    return made;
  }
  /// Returns the rows of a load as "00000001 Ann 3".
  std::vector<std::string> loaded(const qx_ptr<Param>& what) const {
    TyRowsByKey rows;
    cache()->Load(what, rows);
    std::vector<std::string> texts;
    for (const auto& [key, row] : rows) {
      CComVariant count;
      count.ChangeType(VT_BSTR, row->m_Fields.find(u"U_Count"));
      texts.push_back(utf8(key.GetValueAt(0)) + " " + utf8(row->m_Fields[u"U_Who"]) + " " +
                      utf8(count));
    }
    return texts;
  }
  /// Returns the rows of the database in the same form.
  std::vector<std::string> stored() const {
    return cached.rows(
        qx::toUtf16(byDialect("SELECT Code, U_Who, U_Count FROM [@ORDERS] ORDER BY Code",
                              "SELECT Code, U_Who, U_Count FROM @ORDERS ORDER BY Code",
                              "SELECT \"Code\", \"U_Who\", \"U_Count\" FROM "
                              "\"@ORDERS\" ORDER BY \"Code\"")));
  }
  void add(const OLECHAR* code, const OLECHAR* who, int count) const {
    cache()->Add(u"@ORDERS", false,
                 {{{u"Code", code}},
                  {{u"Code", code}, {u"Name", code}, {u"U_Who", who}, {u"U_Count", count}}});
  }

  Login cached{database, "&accept=brackets"};
  StatementLog log;
  CComPtr<ICompany> spied = spyOn(cached.company(), &log);
  qx::ManualClock clock{std::chrono::sys_days(std::chrono::year{2026} / 3 / 1)};
  qx::ScopedClock scopedClock{clock};
};

TEST_F(RecordCache, WritesReachTheDatabaseBeforeTheNextRead) {
  add(u"A", u"Ann", 1);
  add(u"B", u"O'Brien", 2);
  EXPECT_THAT(stored(), IsEmpty());
  EXPECT_THAT(loaded(param(pb_AllRows)), ElementsAre("A Ann 1", "B O'Brien 2"));
  EXPECT_THAT(stored(), ElementsAre("A|Ann|1", "B|O'Brien|2"));
}

TEST_F(RecordCache, RowsInMemoryAnswerAsTheDatabaseWould) {
  add(u"A", u"Ann", 1);
  add(u"B", u"Bea", 2);
  loaded(param(pb_AllRows));
  add(u"C", u"Cid", 3);
  cache()->DeleteByKey(u"@ORDERS", {{u"Code", u"A"}});
  cache()->Update(u"@ORDERS", {{{u"Code", u"B"}}, {{u"U_Who", u"Zoe"}, {u"U_Count", 9}}});
  const std::size_t statements = log.texts.size();
  const std::vector<std::string> inMemory = loaded(param(pb_AllRows));
  EXPECT_EQ(log.texts.size(), statements);
  cache()->FlushToDB();
  cache()->ClearCache(true, false);
  EXPECT_EQ(loaded(param(pb_AllRows)), inMemory);
  EXPECT_THAT(inMemory, ElementsAre("B Zoe 9", "C Cid 3"));
}

TEST_F(RecordCache, PagesComeFromOneReadWithTheWholeLastGroup) {
  add(u"A", u"Ann", 1);
  add(u"B", u"Bea", 2);
  add(u"C", u"Cid", 2);
  add(u"D", u"Dan", 3);
  EXPECT_THAT(loaded(param(pb_FirstRowsFrom, {{u"U_Count", 1}})), ElementsAre("A Ann 1"));
  const std::size_t statements = log.texts.size();
  EXPECT_THAT(loaded(param(pb_FirstRowsFrom, {{u"U_Count", 2}})),
              ElementsAre("B Bea 2", "C Cid 2"));
  EXPECT_EQ(log.texts.size(), statements);
  EXPECT_THAT(loaded(param(pb_FirstRowsFrom, {{u"U_Count", 3}})), ElementsAre("D Dan 3"));
  EXPECT_EQ(log.texts.size(), statements + 1);
}

TEST_F(RecordCache, GeneratedCodesCountOnFromTheHighest) {
  add(u"0000000F", u"Ann", 1);
  cache()->FlushToDB();
  for (int i = 2; i <= 4; ++i) {
    cache()->Add(u"@ORDERS", true, {{}, {{u"U_Who", u"Bea"}, {u"U_Count", i}}});
  }
  cache()->FlushToDB();
  EXPECT_THAT(stored(),
              ElementsAre("0000000F|Ann|1", "00000010|Bea|2", "00000011|Bea|3", "00000012|Bea|4"));
}

TEST_F(RecordCache, ARollbackLosesTheWritesOfItsTransactionOnly) {
  add(u"A", u"Ann", 1);
  CDBRecordCache::BeforeTransaction_Start();
  spied->StartTransaction();
  add(u"B", u"Bea", 2);
  cache()->FlushToDB();
  add(u"C", u"Cid", 3);
  CDBRecordCache::BeforeTransaction_Rollback();
  spied->EndTransaction(et_RollBack);
  EXPECT_THAT(loaded(param(pb_AllRows)), ElementsAre("A Ann 1"));
}

TEST_F(RecordCache, ACommitKeepsWhatWasBuffered) {
  CDBRecordCache::BeforeTransaction_Start();
  spied->StartTransaction();
  add(u"B", u"Bea", 2);
  CDBRecordCache::BeforeTransaction_Commit();
  spied->EndTransaction(et_Commit);
  EXPECT_THAT(stored(), ElementsAre("B|Bea|2"));
}

// Outside of a transaction the statements that ran have their effect, and run again.
TEST_F(RecordCache, AfterAFailedFlushTheStatementsThatRanRunAgain) {
  for (std::size_t k = 1; k <= 3; ++k) {
    add(u"A", u"Ann", 1);
    add(u"B", u"Bea", 2);
    cache()->DeleteByKey(u"@ORDERS", {{u"Code", u"A"}});
    log.refuse = log.texts.size() + k;
    EXPECT_THROW(cache()->FlushToDB(), _com_error);
    EXPECT_EQ(stored().size(), k - 1) << k;
    // An INSERT that ran is refused for its key; dropping the statements is the way out.
    if (k == 1) {
      cache()->FlushToDB();
    } else {
      EXPECT_THROW(cache()->FlushToDB(), _com_error) << k;
      EXPECT_EQ(stored().size(), k - 1) << k;
      cache()->ClearBufferedSQL();
    }
    cache()->DeleteByFieldValues(u"@ORDERS", {{u"U_Count", 1}});
    cache()->DeleteByFieldValues(u"@ORDERS", {{u"U_Count", 2}});
    cache()->FlushToDB();
    EXPECT_THAT(stored(), IsEmpty());
  }
}

TEST_F(RecordCache, RandomStepsHaveTheEffectsOfTheRules) {
  CacheSurroundings around;
  around.company = spied;
  around.caches = {"@ORDERS", "SHARED"};
  around.tables = {{"@ORDERS", "@ORDERS"}, {"SHARED", "@ORDERS"}};
  around.group = u"U_Count";
  around.number = u"U_Total";
  around.fill = [this](const ModelTables& tables) {
    const auto rows = cache();
    for (long value = 0; value < 6; ++value)
      rows->DeleteByFieldValues(u"@ORDERS", {{u"U_Count", value}});
    for (const auto& [code, values] : tables.tables.at("@ORDERS")) {
      const std::u16string text = qx::toUtf16(code);
      rows->Add(u"@ORDERS", false,
                {{},
                 {{u"Code", text.c_str()},
                  {u"Name", text.c_str()},
                  {u"U_Count", values.first},
                  {u"U_Total", values.second}}});
    }
    rows->FlushToDB();
    CDBRecordCache::ClearAllCaches(false, true);
  };
  around.statementCount = [this] { return log.texts.size(); };
  around.statement = [this](std::size_t i) { return log.texts[i]; };
  around.failIn = [this](int statements) {
    log.refuse = statements == 0 ? 0 : log.texts.size() + static_cast<std::size_t>(statements);
  };
  around.start = [this] { spied->StartTransaction(); };
  around.commit = [this] { spied->EndTransaction(et_Commit); };
  around.rollback = [this] { spied->EndTransaction(et_RollBack); };
  CacheSteps both(around, clock);
  constexpr std::size_t kSteps = 150;
  for (unsigned seed = 0; seed < cases(900) / kSteps + 1; ++seed) {
    const std::string difference = both.check(CacheStepSource(seed, 2).draw(kSteps));
    ASSERT_EQ(difference, "") << "seed " << seed;
  }
}

}  // namespace
