#include "qxframework/business/transaction.h"

#include "qxframework/business/testing/business_fixture.h"

#include <gmock/gmock.h>

#include <limits>
#include <type_traits>

namespace Persistence::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kStart[] = "Company.StartTransaction";
constexpr char kCommit[] = "Company.EndTransaction(0)";
constexpr char kRollBack[] = "Company.EndTransaction(1)";
constexpr char kNotOpen[] = "Not in Transaction, can't commit";
constexpr char kNothingToRollBack[] = "Not in Transaction, can't Rollback";
constexpr char kNoCompany[] = "Invalid company pointer in CQXTransaction object";
constexpr char kHostIsOut[] = "Not in transaction when try to commit";

int depth() { return CQXTransactionManager::GetCurrentDepth(); }

/// The depth before any test.
const int kFirstDepth = depth();

static_assert(!std::is_default_constructible_v<CQXTransaction>);
static_assert(std::is_copy_constructible_v<CQXTransaction>);
static_assert(std::is_copy_assignable_v<CQXTransaction>);
static_assert(std::is_copy_constructible_v<CQXTransactionManager>);

class Transaction : public BusinessTest {
 protected:
  std::string commitOf(const qx_ptr<CQXTransaction>& level) {
    return failureOf([&] { level->Commit(); });
  }
  std::string rollbackOf(const qx_ptr<CQXTransaction>& level) {
    return failureOf([&] { level->Rollback(); });
  }
  std::string startFailure() {
    return failureOf([&] { start(); });
  }
  std::string managersCommit() {
    return failureOf([&] { CQXTransactionManager::Commit(company); });
  }
  std::string managersRollback() {
    return failureOf([&] { CQXTransactionManager::Rollback(company); });
  }
  std::vector<qx_ptr<CQXTransaction>> levels(int count) {
    std::vector<qx_ptr<CQXTransaction>> open;
    for (int i = 0; i < count; ++i) open.push_back(start());
    happened();
    return open;
  }
};

// ---- depth 0

TEST_F(Transaction, AProcessBeginsAtDepthZero) { EXPECT_EQ(kFirstDepth, 0); }

TEST_F(Transaction, AtDepthZeroAStartStartsTheHostsTransactionAfterTheCacheIsTold) {
  EXPECT_EQ(depth(), 0);
  start();
  EXPECT_THAT(happened(), ElementsAre("log Start", kStart));
  EXPECT_EQ(depth(), 1);
}

TEST_F(Transaction, AtDepthZeroAFinishedLevelCanNeitherCommitNorRollBack) {
  for (const bool committed : {true, false}) {
    const auto level = start();
    committed ? level->Commit() : level->Rollback();
    happened();
    EXPECT_EQ(commitOf(level), kNotOpen);
    EXPECT_EQ(rollbackOf(level), kNothingToRollBack);
    EXPECT_THAT(happened(), IsEmpty());
    EXPECT_EQ(depth(), 0);
  }
}

// ---- depth 1

TEST_F(Transaction, AtDepthOneAStartOnlyCounts) {
  const auto open = levels(1);
  start();
  EXPECT_THAT(happened(), IsEmpty());
  EXPECT_EQ(depth(), 2);
}

TEST_F(Transaction, AtDepthOneACommitEndsTheHostsTransactionAfterTheCacheIsTold) {
  const auto open = levels(1);
  open[0]->Commit();
  EXPECT_THAT(happened(), ElementsAre("log Commit", kCommit));
  EXPECT_EQ(depth(), 0);
}

TEST_F(Transaction, AtDepthOneARollbackEndsTheHostsTransactionAfterTheCacheIsTold) {
  const auto open = levels(1);
  open[0]->Rollback();
  EXPECT_THAT(happened(), ElementsAre("log Rollback", kRollBack));
  EXPECT_EQ(depth(), 0);
}

// ---- deeper

TEST_F(Transaction, DeeperAStartOnlyCounts) {
  for (int level = 1; level <= 5; ++level) {
    const auto added = start();
    EXPECT_EQ(depth(), level);
  }
  EXPECT_THAT(happened(), ElementsAre("log Start", kStart));
}

TEST_F(Transaction, DeeperACommitOfTheInnermostLevelOnlyCounts) {
  const auto open = levels(4);
  for (int level = 3; level > 0; --level) {
    open[static_cast<std::size_t>(level)]->Commit();
    EXPECT_EQ(depth(), level);
  }
  EXPECT_THAT(happened(), IsEmpty());
  open[0]->Commit();
  EXPECT_THAT(happened(), ElementsAre("log Commit", kCommit));
  EXPECT_EQ(depth(), 0);
}

TEST_F(Transaction, DeeperARollbackOfAnyLevelEndsTheWhole) {
  for (std::size_t chosen = 0; chosen < 4; ++chosen) {
    const auto open = levels(4);
    open[chosen]->Rollback();
    EXPECT_THAT(happened(), ElementsAre("log Rollback", kRollBack)) << chosen;
    EXPECT_EQ(depth(), 0);
    for (std::size_t other = 0; other < 4; ++other) {
      EXPECT_EQ(commitOf(open[other]), kNotOpen) << chosen << " " << other;
    }
    EXPECT_THAT(happened(), IsEmpty());
  }
}

// ---- the order of levels

TEST_F(Transaction, AnOuterLevelCannotCommitBeforeTheInnerOne) {
  const auto open = levels(2);
  EXPECT_EQ(commitOf(open[0]),
            "Wrong depth, the transaction should only commit it's own transaction");
  EXPECT_EQ(depth(), 2);
  EXPECT_THAT(happened(), IsEmpty());
  open[1]->Commit();
  open[0]->Commit();
  EXPECT_THAT(happened(), ElementsAre("log Commit", kCommit));
}

TEST_F(Transaction, AFinishedInnerLevelCannotCommitAgainInsideTheOuterOne) {
  const auto open = levels(2);
  open[1]->Commit();
  EXPECT_EQ(commitOf(open[1]), kNotOpen);
  EXPECT_EQ(depth(), 1);
}

// The host sees nothing of it, and the depth starts again at 0.
TEST_F(Transaction, AnOuterLevelIsStillToBeRolledBackAfterAnInnerOne) {
  const auto open = levels(2);
  open[1]->Rollback();
  happened();
  EXPECT_EQ(rollbackOf(open[0]), "no failure");
  EXPECT_THAT(happened(), IsEmpty());
  EXPECT_EQ(rollbackOf(open[0]), kNothingToRollBack);
}

// A function that dies without finishing its level, as its caller sees it.
TEST_F(Transaction, AReleasedLevelStaysOpenUntilAnotherRollsBack) {
  const auto outer = start();
  start();
  happened();
  EXPECT_EQ(depth(), 2);
  EXPECT_EQ(commitOf(outer),
            "Wrong depth, the transaction should only commit it's own transaction");
  outer->Rollback();
  EXPECT_THAT(happened(), ElementsAre("log Rollback", kRollBack));
  EXPECT_EQ(depth(), 0);
}

TEST_F(Transaction, ALevelHoldsTheCompanyUntilItIsFinished) {
  const ULONG before = qx::test::referencesTo(company);
  const auto first = start();
  const auto second = start();
  EXPECT_EQ(qx::test::referencesTo(company), before + 2);
  second->Commit();
  first->Rollback();
  EXPECT_EQ(qx::test::referencesTo(company), before);
}

TEST_F(Transaction, ACopyOfALevelIsFinishedByItself) {
  const auto level = start();
  CQXTransaction copy(*level);
  level->Commit();
  happened();
  EXPECT_EQ(failureOf([&] { copy.Commit(); }), kNotOpen);
  EXPECT_EQ(failureOf([&] { copy.Rollback(); }), "no failure");
  EXPECT_THAT(happened(), IsEmpty());
  EXPECT_EQ(failureOf([&] { copy.Rollback(); }), kNothingToRollBack);
}

TEST_F(Transaction, OneDepthCountsForAllCompanies) {
  const auto open = levels(1);
  const auto other = qx::test::makeScriptedCompany();
  CComPtr<ICompany> otherCompany(other.p);
  const auto inner = CQXTransactionManager::Start(otherCompany);
  EXPECT_EQ(depth(), 2);
  EXPECT_THAT(other->calls.calls, IsEmpty());
  EXPECT_EQ(commitOf(inner), kHostIsOut) << "the other company is in no transaction";
  EXPECT_EQ(depth(), 2);
}

// ---- the manager's own operations

TEST_F(Transaction, TheManagersCommitNeedsAnOpenLevel) {
  EXPECT_EQ(managersCommit(), "Invalid transaction depth when commit");
  EXPECT_THAT(happened(), IsEmpty());
}

TEST_F(Transaction, TheManagersCommitCountsAndEnds) {
  const auto open = levels(2);
  EXPECT_EQ(managersCommit(), "no failure");
  EXPECT_EQ(depth(), 1);
  EXPECT_THAT(happened(), IsEmpty());
  EXPECT_EQ(managersCommit(), "no failure");
  EXPECT_EQ(depth(), 0);
  EXPECT_THAT(happened(), ElementsAre("log Commit", kCommit));
}

TEST_F(Transaction, TheManagersRollbackOutsideOfAHostTransactionOnlyResetsTheDepth) {
  const auto open = levels(3);
  buffer(u"A-1");
  host->inTransaction = VARIANT_FALSE;
  EXPECT_EQ(managersRollback(), "no failure");
  EXPECT_EQ(depth(), 0);
  EXPECT_THAT(happened(), IsEmpty());
  start();
  EXPECT_THAT(happened(), ElementsAre("log Start", kFirstInsert, kStart)) << "nothing is discarded";
}

TEST_F(Transaction, TheManagersRollbackEndsATransactionThatIsNotItsOwn) {
  host->inTransaction = VARIANT_TRUE;
  EXPECT_EQ(managersRollback(), "no failure");
  EXPECT_THAT(happened(), ElementsAre("log Rollback", kRollBack));
}

TEST_F(Transaction, AnImpossibleDepthIsRefused) {
  for (const int wrong : {-1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
    Depth::set(wrong);
    EXPECT_EQ(startFailure(), "Invalid transaction depth");
    EXPECT_EQ(depth(), wrong);
  }
  EXPECT_THAT(happened(), IsEmpty());
  EXPECT_EQ(managersRollback(), "no failure");
  EXPECT_EQ(depth(), 0) << "a rollback resets it whatever it was";
}

TEST_F(Transaction, ANegativeDepthIsRefusedByEachCommit) {
  const auto open = levels(1);
  Depth::set(-1);
  EXPECT_EQ(commitOf(open[0]), kNotOpen);
  EXPECT_EQ(managersCommit(), "Invalid transaction depth when commit");
  EXPECT_THAT(happened(), IsEmpty());
}

TEST_F(Transaction, ALevelBelowTheGreatestDepthCanBeStarted) {
  Depth::set(std::numeric_limits<int>::max() - 1);
  const auto level = start();
  EXPECT_EQ(depth(), std::numeric_limits<int>::max());
  host->inTransaction = VARIANT_TRUE;
  EXPECT_EQ(commitOf(level), "no failure");
}

// ---- the host

TEST_F(Transaction, ATransactionFromOutsideIsRefused) {
  buffer(u"A-1");
  host->inTransaction = VARIANT_TRUE;
  EXPECT_EQ(startFailure(), "In outside transaction, not supported");
  EXPECT_EQ(depth(), 0);
  EXPECT_THAT(happened(), IsEmpty()) << "the cache has written nothing into it";
}

TEST_F(Transaction, OnlyTheAutomationTrueMeansThatTheHostIsInATransaction) {
  host->inTransaction = 1;
  const auto level = start();
  EXPECT_THAT(happened(), ElementsAre("log Start", kStart));
  host->inTransaction = 1;
  EXPECT_EQ(commitOf(level), kHostIsOut);
}

TEST_F(Transaction, ARefusedStartLeavesDepthZero) {
  host->calls.failures["Company.StartTransaction"] = qx::resultCode(-2000);
  EXPECT_EQ(startFailure(), "Failed to start transaction");
  EXPECT_EQ(depth(), 0);
  host->calls.failures.clear();
  EXPECT_EQ(startFailure(), "no failure");
  EXPECT_THAT(happened(), ElementsAre("log Start", kStart, "log Start", kStart));
}

TEST_F(Transaction, APositiveAnswerOfTheHostIsNoFailure) {
  host->calls.failures["Company.StartTransaction"] = S_FALSE;
  host->calls.failures["Company.EndTransaction"] = S_FALSE;
  const auto level = start();
  EXPECT_EQ(commitOf(level), "no failure");
  EXPECT_EQ(depth(), 0);
}

TEST_F(Transaction, ARefusedCommitLeavesDepthZeroAndTheLevelToARollback) {
  const auto open = levels(1);
  host->calls.failures["Company.EndTransaction"] = qx::resultCode(-2000);
  EXPECT_EQ(commitOf(open[0]), "Failed to EndTransction");
  EXPECT_EQ(depth(), 0);
  EXPECT_THAT(happened(), ElementsAre("log Commit", kCommit));
  EXPECT_EQ(commitOf(open[0]), kNotOpen);
  EXPECT_EQ(rollbackOf(open[0]), "no failure");
  EXPECT_THAT(happened(), IsEmpty()) << "the host's transaction is over";
}

TEST_F(Transaction, AHostThatHasLostItsTransactionRefusesTheCommitAndKeepsTheDepth) {
  const auto open = levels(2);
  host->inTransaction = VARIANT_FALSE;
  EXPECT_EQ(commitOf(open[1]), kHostIsOut);
  EXPECT_EQ(depth(), 2);
  EXPECT_EQ(rollbackOf(open[1]), "no failure");
  EXPECT_EQ(depth(), 0);
  EXPECT_THAT(happened(), IsEmpty());
}

TEST_F(Transaction, TheResultOfTheHostsRollbackIsNotLookedAt) {
  const auto open = levels(1);
  host->calls.failures["Company.EndTransaction"] = qx::resultCode(-2000);
  EXPECT_EQ(rollbackOf(open[0]), "no failure");
  EXPECT_THAT(happened(), ElementsAre("log Rollback", kRollBack));
  EXPECT_EQ(rollbackOf(open[0]), kNothingToRollBack);
}

TEST_F(Transaction, ACompanyThatCannotAnswerKeepsTheDepthOfAStartAndOfACommit) {
  loseCompany();
  EXPECT_EQ(startFailure(), "_com_error -2147467259");
  EXPECT_EQ(depth(), 1);
  EXPECT_EQ(managersCommit(), "_com_error -2147467259");
  EXPECT_EQ(depth(), 1);
  EXPECT_THAT(happened(), IsEmpty());
}

TEST_F(Transaction, ACompanyThatCannotAnswerIsReportedByTheRollbackThatResetsTheDepth) {
  const auto open = levels(2);
  loseCompany();
  EXPECT_EQ(rollbackOf(open[1]), "_com_error -2147467259");
  EXPECT_EQ(depth(), 0);
  EXPECT_THAT(happened(), IsEmpty());
  host->calls.failures.clear();
  EXPECT_EQ(rollbackOf(open[1]), "no failure") << "the level was not finished";
  EXPECT_THAT(happened(), ElementsAre("log Rollback", kRollBack));
}

TEST_F(Transaction, WithoutACompanyAnOutermostLevelIsRefused) {
  CComPtr<ICompany> none;
  EXPECT_EQ(failureOf([&] { CQXTransactionManager::Start(none); }), "_com_error -2147467261");
  EXPECT_EQ(depth(), 1);
  EXPECT_EQ(failureOf([&] { CQXTransactionManager::Commit(none); }), "_com_error -2147467261");
  EXPECT_EQ(depth(), 1);
  EXPECT_EQ(failureOf([&] { CQXTransactionManager::Rollback(none); }), "_com_error -2147467261");
  EXPECT_EQ(depth(), 0);
}

TEST_F(Transaction, AnInnerLevelWithoutACompanyCannotBeFinished) {
  const auto open = levels(1);
  CComPtr<ICompany> none;
  const auto inner = CQXTransactionManager::Start(none);
  EXPECT_EQ(commitOf(inner), kNoCompany);
  EXPECT_EQ(rollbackOf(inner), kNoCompany);
  EXPECT_EQ(depth(), 2);
  EXPECT_EQ(rollbackOf(open[0]), "no failure");
  EXPECT_EQ(depth(), 0);
}

// ---- buffered writes

TEST_F(Transaction, WhatWasBufferedBeforeTheStartIsWrittenAheadOfTheTransaction) {
  buffer(u"A-1");
  happened();
  const auto level = start();
  EXPECT_THAT(happened(), ElementsAre("log Start", kFirstInsert, kStart));
  level->Rollback();
  EXPECT_THAT(happened(), ElementsAre("log Rollback", kRollBack));
}

TEST_F(Transaction, WhatIsBufferedInsideIsWrittenByTheLastCommit) {
  const auto open = levels(2);
  buffer(u"A-1");
  open[1]->Commit();
  buffer(u"A-2");
  EXPECT_THAT(happened(), IsEmpty());
  open[0]->Commit();
  EXPECT_THAT(happened(), ElementsAre("log Commit", kFirstInsert, kSecondInsert, kCommit));
}

TEST_F(Transaction, WhatIsBufferedInsideIsLostByARollback) {
  const auto open = levels(2);
  buffer(u"A-1");
  open[1]->Rollback();
  EXPECT_THAT(happened(), ElementsAre("log Rollback", kRollBack));
  start();
  EXPECT_THAT(happened(), ElementsAre("log Start", kStart)) << "nothing is left to write";
}

TEST_F(Transaction, ABufferedWriteThatFailsAtTheStartLeavesDepthOne) {
  buffer(u"A-1");
  host->calls.failures["SQL INSERT"] = qx::resultCode(-2000);
  EXPECT_EQ(startFailure(), "-1: Failed in CDBRecordCache::BeforeTransaction_Start()");
  EXPECT_THAT(happened(), ElementsAre("log Start", kFirstInsert)) << "the host has not started";
  EXPECT_EQ(depth(), 1);
  EXPECT_EQ(managersRollback(), "no failure");
  host->calls.failures.clear();
  start();
  EXPECT_THAT(happened(), ElementsAre("log Start", kFirstInsert, kStart)) << "it is written later";
}

TEST_F(Transaction, ABufferedWriteThatFailsAtTheCommitLeavesTheHostsTransactionToARollback) {
  const auto open = levels(1);
  buffer(u"A-1");
  host->calls.failures["SQL INSERT"] = qx::resultCode(-2000);
  EXPECT_EQ(commitOf(open[0]), "-1: Failed in CDBRecordCache::BeforeTransaction_Commit()");
  EXPECT_THAT(happened(), ElementsAre("log Commit", kFirstInsert));
  EXPECT_EQ(depth(), 0);
  EXPECT_EQ(host->inTransaction, VARIANT_TRUE);
  EXPECT_EQ(commitOf(open[0]), kNotOpen);
  EXPECT_EQ(rollbackOf(open[0]), "no failure");
  EXPECT_THAT(happened(), ElementsAre("log Rollback", kRollBack));
  start();
  EXPECT_THAT(happened(), ElementsAre("log Start", kStart)) << "the failed write is discarded";
}

}  // namespace
}  // namespace Persistence::test
