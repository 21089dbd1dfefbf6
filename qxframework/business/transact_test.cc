#include "qxframework/business/transact.h"

#include "qxframework/business/internal/retry_pause.h"
#include "qxframework/business/testing/business_fixture.h"
#include "qxframework/os/clock.h"

#include <gmock/gmock.h>

#include <stdexcept>

namespace Persistence::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kStart[] = "Company.StartTransaction";
constexpr char kCommit[] = "Company.EndTransaction(0)";
constexpr char kRollBack[] = "Company.EndTransaction(1)";
constexpr char kUpdate[] = "SQL(UPDATE [@ORDERS] SET [U_Total] = 1)";
constexpr long kRefused = -2000;

class Transact : public BusinessTest {
 protected:
  Transact() {
    qx::setRetryRandom([] { return 0.5; });
  }
  ~Transact() override { qx::setRetryRandom({}); }

  /// Runs a statement that the company refuses with `fault` while `conflicts` lasts.
  void update() {
    ++runs;
    const bool refused = conflicts > 0;
    if (refused) --conflicts;
    host->calls.failures["SQL UPDATE"] = refused ? qx::resultCode(kRefused) : S_OK;
    sharing.fault = refused ? fault : qx::kNoFault;
    const CComQIPtr<IRecordset> recordset(company->GetBusinessObject(qx::kRecordset));
    recordset->DoQuery(CComBSTR(u"UPDATE [@ORDERS] SET [U_Total] = 1"));
  }
  /// Makes the work fail `count` times.
  void refuse(int count, long reason = qx::kConflictFault) {
    conflicts = count;
    fault = reason;
  }
  /// Makes the company forget the reason of a failure when it rolls back, as a host does.
  void forgetFaultsAtTheEnd() {
    host->calls.hooks["Company.EndTransaction"] = [this] { sharing.fault = qx::kNoFault; };
  }
  std::string failureOfUpdate(int tries = qx::kTransactTries) {
    return failureOf([&] {
      qx::transact(
          company, [this] { update(); }, tries);
    });
  }
  long slept() {
    return static_cast<long>(
        std::chrono::duration_cast<std::chrono::milliseconds>(clock.monotonic().time_since_epoch())
            .count());
  }

  qx::test::FakeSharing& sharing = host->share();
  qx::ManualClock clock;
  qx::ScopedClock scope{clock};
  int runs = 0;
  int conflicts = 0;
  long fault = qx::kNoFault;
};

TEST_F(Transact, CommitsTheWork) {
  qx::transact(company, [this] { update(); });
  EXPECT_THAT(happened(), ElementsAre("log Start", kStart, kUpdate, "log Commit", kCommit));
  EXPECT_EQ(CQXTransactionManager::GetCurrentDepth(), 0);
  EXPECT_EQ(clock.sleeps(), 0);
}

TEST_F(Transact, ReturnsTheValueOfTheRunThatWasCommitted) {
  refuse(2);
  const int run = qx::transact(company, [this] {
    update();
    return runs;
  });
  EXPECT_EQ(run, 3);
}

TEST_F(Transact, RunsTheWorkAgainAfterAConflictWithGrowingPauses) {
  refuse(2);
  EXPECT_EQ(failureOfUpdate(), "no failure");
  EXPECT_THAT(happened(), ElementsAre("log Start", kStart, kUpdate, "log Rollback", kRollBack,
                                      "log Start", kStart, kUpdate, "log Rollback", kRollBack,
                                      "log Start", kStart, kUpdate, "log Commit", kCommit));
  EXPECT_EQ(clock.sleeps(), 2);
  EXPECT_EQ(slept(), 5 + 10);
}

TEST_F(Transact, RunsTheWorkAgainAfterADeadlock) {
  refuse(1, qx::kDeadlockFault);
  EXPECT_EQ(failureOfUpdate(), "no failure");
  EXPECT_EQ(runs, 2);
}

TEST_F(Transact, PassesEveryOtherFailureOnAsItCame) {
  constexpr long kOthers[] = {
      qx::kNoFault, qx::kOtherFault, qx::kLockedFault, qx::kDuplicateFault, 6, -1};
  for (const long reason : kOthers) {
    runs = 0;
    refuse(1, reason);
    EXPECT_EQ(failureOfUpdate(), "_com_error -2000") << reason;
    EXPECT_THAT(happened(), ElementsAre("log Start", kStart, kUpdate, "log Rollback", kRollBack));
    EXPECT_EQ(runs, 1) << reason;
  }
  EXPECT_EQ(clock.sleeps(), 0);
}

TEST_F(Transact, PassesAFailureOfTheWorkItselfOn) {
  EXPECT_THROW(qx::transact(company, [] { throw std::runtime_error("no stock"); }),
               std::runtime_error);
  EXPECT_THAT(happened(), ElementsAre("log Start", kStart, "log Rollback", kRollBack));
}

TEST_F(Transact, GivesTheConflictToTheCallerAfterTheLastTry) {
  refuse(100);
  EXPECT_EQ(failureOfUpdate(), "_com_error -2000");
  EXPECT_EQ(runs, 60);
  EXPECT_EQ(clock.sleeps(), 59);
  EXPECT_EQ(slept(), 5 + 10 + 20 + 40 + 80 + 160 + 53 * 200);
  EXPECT_EQ(happened().back(), kRollBack);
}

TEST_F(Transact, RunsTheWorkAsOftenAsItIsTold) {
  refuse(100);
  EXPECT_EQ(failureOfUpdate(3), "_com_error -2000");
  EXPECT_EQ(runs, 3);
}

TEST_F(Transact, RunsTheWorkOnceIfItIsToldNotToTry) {
  for (const int tries : {1, 0, -1}) {
    runs = 0;
    refuse(100);
    EXPECT_EQ(failureOfUpdate(tries), "_com_error -2000");
    EXPECT_EQ(runs, 1) << tries;
  }
}

TEST_F(Transact, RunsTheWorkAgainAfterAConflictOfTheCommit) {
  host->calls.hooks["Company.EndTransaction"] = [this] {
    const bool refused = conflicts-- > 0;
    host->calls.failures["Company.EndTransaction"] = refused ? qx::resultCode(kRefused) : S_OK;
    sharing.fault = refused ? qx::kConflictFault : qx::kNoFault;
  };
  conflicts = 1;
  qx::transact(company, [this] { ++runs; });
  EXPECT_THAT(happened(), ElementsAre("log Start", kStart, "log Commit", kCommit, "log Rollback",
                                      "log Start", kStart, "log Commit", kCommit));
  EXPECT_EQ(runs, 2);
}

TEST_F(Transact, RunsTheWorkAgainAfterAConflictOfABufferedWrite) {
  host->calls.hooks["SQL INSERT"] = [this] {
    const bool refused = conflicts-- > 0;
    host->calls.failures["SQL INSERT"] = refused ? qx::resultCode(kRefused) : S_OK;
    sharing.fault = refused ? qx::kConflictFault : qx::kNoFault;
  };
  conflicts = 1;
  qx::transact(company, [this] { buffer(u"A-1"); });
  EXPECT_THAT(happened(),
              ElementsAre("log Start", kStart, "log Commit", kFirstInsert, "log Rollback",
                          kRollBack, "log Start", kStart, "log Commit", kFirstInsert, kCommit));
}

TEST_F(Transact, DropsWhatARunThatFailedHasBuffered) {
  refuse(1);
  qx::transact(company, [this] {
    buffer(runs == 0 ? u"A-1" : u"A-2");
    update();
  });
  EXPECT_THAT(happened(),
              ElementsAre("log Start", kStart, kUpdate, "log Rollback", kRollBack, "log Start",
                          kStart, kUpdate, "log Commit", kSecondInsert, kCommit));
}

// The manager then has nothing to roll back and does not tell the cache.
TEST_F(Transact, DropsWhatWasBufferedIfTheCompanyHasEndedTheTransactionItself) {
  refuse(1, qx::kDeadlockFault);
  qx::transact(company, [this] {
    if (runs == 0) {
      buffer(u"A-1");
      host->inTransaction = VARIANT_FALSE;
    }
    update();
  });
  EXPECT_THAT(happened(), ElementsAre("log Start", kStart, kUpdate, "log Rollback", "log Start",
                                      kStart, kUpdate, "log Commit", kCommit));
}

TEST_F(Transact, SendsWhatWasBufferedBeforeAheadOfTheTransactionAndKeepsIt) {
  buffer(u"A-1");
  refuse(1);
  EXPECT_EQ(failureOfUpdate(), "no failure");
  EXPECT_THAT(happened(),
              ElementsAre("log Start", kFirstInsert, kStart, kUpdate, "log Rollback", kRollBack,
                          "log Start", kStart, kUpdate, "log Commit", kCommit));
}

// Rows that were read before are not protected by the transaction.
TEST_F(Transact, TheWorkFindsARecordCacheWithoutRows) {
  const auto cache = CDBRecordCache::GetInstance(company, kTable);
  const qx_ptr<TyLoadParameter_WithPrefetchKeys> all(new TyLoadParameter_WithPrefetchKeys, true);
  const std::vector<CComBSTR> keys{u"U_No"};
  all->SetKeyFields(&keys);
  all->SetMajorTable(kTable);
  all->SetPrefetchBehavior(pb_AllRows, nullptr, 0);
  TyRowsByKey rows;
  cache->Load(all, rows);
  ASSERT_TRUE(cache->IsLoaded());
  qx::transact(company, [&] {
    EXPECT_FALSE(cache->IsLoaded());
    EXPECT_EQ(CDBRecordCache::GetInstance(company, kTable).operator->(), cache.operator->());
  });
}

// A rollback forgets the caches, and a commit sends those that are known.
TEST_F(Transact, EachRunSendsWhatACollectionThatWasMadeBeforeHasBuffered) {
  const auto cache = CDBRecordCache::GetInstance(company, kTable);
  refuse(2);
  qx::transact(company, [&] {
    const OLECHAR* const number = runs < 2 ? u"A-1" : u"A-2";
    cache->Add(kTable, false, {{{u"U_No", number}}, {{u"U_No", number}}});
    update();
  });
  EXPECT_THAT(happened(),
              ElementsAre("log Start", kStart, kUpdate, "log Rollback", kRollBack, "log Start",
                          kStart, kUpdate, "log Rollback", kRollBack, "log Start", kStart, kUpdate,
                          "log Commit", kSecondInsert, kCommit));
}

TEST_F(Transact, EachRunSendsWhatItHasBufferedAlthoughAHandlerHasRolledBack) {
  forgetFaultsAtTheEnd();
  refuse(1);
  qx_ptr<CDBRecordCache> cache;
  qx::transact(company, [&] {
    if (cache == nullptr) cache = CDBRecordCache::GetInstance(company, kTable);
    cache->Add(kTable, false, {{{u"U_No", u"A-1"}}, {{u"U_No", u"A-1"}}});
    const auto level = start();
    try {
      update();
      level->Commit();
    } catch (...) {
      level->Rollback();
      throw;
    }
  });
  EXPECT_THAT(happened(),
              ElementsAre("log Start", kStart, kUpdate, "log Rollback", kRollBack, "log Start",
                          kStart, kUpdate, "log Commit", kFirstInsert, kCommit));
}

TEST_F(Transact, KnowsTheConflictAlthoughAHandlerOfTheWorkHasRolledBack) {
  forgetFaultsAtTheEnd();
  refuse(2);
  qx::transact(company, [this] {
    const auto level = start();
    try {
      update();
      level->Commit();
    } catch (...) {
      level->Rollback();
      throw;
    }
  });
  EXPECT_EQ(runs, 3);
  EXPECT_EQ(CQXTransactionManager::GetCurrentDepth(), 0);
}

TEST_F(Transact, RunsTheWorkAgainIfAHandlerHasRolledBackAndKeptTheConflictForItself) {
  forgetFaultsAtTheEnd();
  refuse(1);
  qx::transact(company, [this] {
    const auto level = start();
    try {
      update();
      level->Commit();
    } catch (...) {
      level->Rollback();
    }
  });
  EXPECT_EQ(runs, 2);
}

TEST_F(Transact, WithinItsOwnWorkIsAnInnerLevelOfTheOneRun) {
  refuse(2);
  int outer = 0;
  qx::transact(company, [&] {
    ++outer;
    qx::transact(company, [this] { update(); });
  });
  EXPECT_EQ(outer, 3);
  EXPECT_EQ(runs, 3);
  EXPECT_EQ(std::ranges::count(happened(), kStart), 3);
}

TEST_F(Transact, WithinAnOpenTransactionRunsTheWorkOnce) {
  const auto outer = start();
  refuse(1);
  EXPECT_EQ(failureOfUpdate(), "_com_error -2000");
  EXPECT_EQ(runs, 1);
  EXPECT_THAT(happened(), ElementsAre("log Start", kStart, kUpdate, "log Rollback", kRollBack));
  EXPECT_EQ(failureOf([&] { outer->Commit(); }), "Not in Transaction, can't commit");
}

TEST_F(Transact, WithinAnOpenTransactionLeavesTheCommitToTheOutermostLevel) {
  const auto outer = start();
  EXPECT_EQ(failureOfUpdate(), "no failure");
  EXPECT_THAT(happened(), ElementsAre("log Start", kStart, kUpdate));
  outer->Commit();
  EXPECT_THAT(happened(), ElementsAre("log Commit", kCommit));
}

TEST_F(Transact, RunsTheWorkOnceForACompanyThatReportsNoConflicts) {
  refuse(1);
  const CComPtr<qx::test::FakeSharing> kept = host->sharing;
  host->sharing.Release();
  EXPECT_EQ(failureOfUpdate(), "_com_error -2000");
  EXPECT_EQ(runs, 1);
}

TEST_F(Transact, RunsTheWorkOnceIfTheCompanyCannotSayWhyItFailed) {
  refuse(1);
  host->calls.failures["Sharing.GetLastFault"] = E_FAIL;
  EXPECT_EQ(failureOfUpdate(), "_com_error -2000");
  EXPECT_EQ(runs, 1);
}

TEST_F(Transact, DoesNotRunTheWorkAgainIfTheTransactionCannotBeRolledBack) {
  refuse(1);
  EXPECT_EQ(failureOf([&] {
              qx::transact(company, [this] {
                loseCompany();
                update();
              });
            }),
            "_com_error -2000");
  EXPECT_EQ(runs, 1);
  EXPECT_EQ(CQXTransactionManager::GetCurrentDepth(), 0);
}

TEST_F(Transact, DoesNotTouchATransactionThatIsNotTheManagers) {
  host->inTransaction = VARIANT_TRUE;
  EXPECT_EQ(failureOfUpdate(), "In outside transaction, not supported");
  EXPECT_THAT(happened(), IsEmpty());
  EXPECT_EQ(host->inTransaction, VARIANT_TRUE);
}

TEST_F(Transact, PutsTheDepthInOrderIfTheStartFails) {
  buffer(u"A-1");
  host->calls.failures["SQL INSERT"] = qx::resultCode(kRefused);
  sharing.fault = qx::kConflictFault;
  EXPECT_EQ(failureOfUpdate(), "-1: Failed in CDBRecordCache::BeforeTransaction_Start()");
  EXPECT_EQ(CQXTransactionManager::GetCurrentDepth(), 0);
  EXPECT_EQ(runs, 0);
  happened();
  host->calls.failures.clear();
  EXPECT_EQ(failureOfUpdate(), "no failure");
  EXPECT_THAT(happened(),
              ElementsAre("log Start", kFirstInsert, kStart, kUpdate, "log Commit", kCommit))
      << "the buffered write is kept";
}

}  // namespace
}  // namespace Persistence::test
