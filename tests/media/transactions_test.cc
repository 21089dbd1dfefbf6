// Transactions of the framework over the host's real ones, with rows that are written directly.

#include "qxframework/business/business_object.h"
#include "qxframework/business/transaction.h"
#include "tests/media/transaction_fixture.h"

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using qx::test::failureOfTransaction;
using testing::ElementsAre;
using testing::IsEmpty;

class Transactions : public qx::test::TransactionFixture {
 protected:
  void write(const OLECHAR* number) { add(u"@ORDERS", qx::test::Record{{u"U_No", number}}); }
};

TEST_F(Transactions, ACommitKeepsTheRows) {
  const auto transaction = start();
  write(u"A");
  EXPECT_THAT(numbers(), ElementsAre("A"));
  EXPECT_THAT(numbersOfAnother(), IsEmpty());
  transaction->Commit();
  EXPECT_THAT(numbersOfAnother(), ElementsAre("A"));
}

TEST_F(Transactions, ARollbackLosesTheRows) {
  const auto transaction = start();
  write(u"A");
  transaction->Rollback();
  EXPECT_THAT(numbers(), IsEmpty());
  EXPECT_THAT(numbersOfAnother(), IsEmpty());
}

TEST_F(Transactions, OnlyTheLastCommitOfNestedLevelsEndsTheHostsTransaction) {
  const auto outer = start();
  write(u"A");
  const auto inner = start();
  write(u"B");
  inner->Commit();
  EXPECT_EQ(company()->GetInTransaction(), VARIANT_TRUE);
  EXPECT_THAT(numbersOfAnother(), IsEmpty());
  outer->Commit();
  EXPECT_EQ(company()->GetInTransaction(), VARIANT_FALSE);
  EXPECT_THAT(numbersOfAnother(), ElementsAre("A", "B"));
}

TEST_F(Transactions, ACommitInTheWrongOrderIsRefusedAndHarmsNothing) {
  const auto outer = start();
  write(u"A");
  const auto inner = start();
  EXPECT_EQ(failureOfTransaction([&] { outer->Commit(); }),
            "Wrong depth, the transaction should only commit it's own transaction");
  write(u"B");
  inner->Commit();
  outer->Commit();
  EXPECT_THAT(numbersOfAnother(), ElementsAre("A", "B"));
}

TEST_F(Transactions, ARollbackOfAnInnerLevelLosesTheOuterOnesRows) {
  const auto outer = start();
  write(u"A");
  start()->Rollback();
  EXPECT_EQ(failureOfTransaction([&] { outer->Commit(); }), "Not in Transaction, can't commit");
  EXPECT_EQ(company()->GetInTransaction(), VARIANT_FALSE);
  EXPECT_THAT(numbersOfAnother(), IsEmpty());
}

TEST_F(Transactions, ATransactionFromOutsideIsRefusedAndGoesOn) {
  company()->StartTransaction();
  write(u"A");
  EXPECT_EQ(failureOfTransaction([&] { start(); }), "In outside transaction, not supported");
  company()->EndTransaction(et_Commit);
  EXPECT_THAT(numbersOfAnother(), ElementsAre("A"));
  start()->Commit();
}

// Code that does not know the manager calls the company itself.
TEST_F(Transactions, ATransactionThatWasEndedBehindItCannotBeCommitted) {
  const auto transaction = start();
  write(u"A");
  company()->EndTransaction(et_RollBack);
  EXPECT_EQ(failureOfTransaction([&] { transaction->Commit(); }),
            "Not in transaction when try to commit");
  transaction->Rollback();
  EXPECT_EQ(CQXTransactionManager::GetCurrentDepth(), 0);
  start()->Commit();
}

TEST_F(Transactions, AConnectionThatIsClosedInsideATransactionRollsItBack) {
  const auto transaction = start();
  write(u"A");
  company()->Disconnect();
  EXPECT_EQ(failureOfTransaction([&] { transaction->Commit(); }),
            "Not in transaction when try to commit");
  transaction->Rollback();
  login->reconnect();
  EXPECT_THAT(numbers(), IsEmpty());
  start()->Commit();
}

TEST_F(Transactions, AProcessThatDiesInsideATransactionLeavesNothing) {
  write(u"A");
  const pid_t child = fork();
  if (child == 0) {
    const qx::test::Login own(database);
    CComPtr<ICompany> itsCompany(own.company());
    const auto transaction = CQXTransactionManager::Start(itsCompany);
    qx::test::Rows(itsCompany, u"@ORDERS").Add(qx::test::Record{{u"U_No", u"B"}});
    _exit(0);
  }
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  EXPECT_THAT(numbersOfAnother(), ElementsAre("A"));
  const auto transaction = start();
  write(u"D");
  transaction->Commit();
  EXPECT_THAT(numbersOfAnother(), ElementsAre("A", "D"));
}

// The statements of the record cache have brackets, which only the other dialects accept.
TEST_F(Transactions, ABufferedRowIsCommittedInEveryDialectButDb2) {
  const bool accepted = !qx::test::medium().is(qx::kDb2);
  const auto transaction = start();
  buffer(u"A");
  EXPECT_EQ(failureOfTransaction([&] { transaction->Commit(); }),
            accepted ? "no failure" : "Failed in CDBRecordCache::BeforeTransaction_Commit()");
  if (!accepted) transaction->Rollback();
  const auto next = start();
  write(u"B");
  next->Commit();
  EXPECT_EQ(numbersOfAnother().size(), accepted ? 2U : 1U);
}

/// The business logic of an add-on.
class Entry : public Persistence::CQXBusinessObject {
 public:
  using CQXBusinessObject::CQXBusinessObject;
  using CQXBusinessObject::TransactionCommit;
  using CQXBusinessObject::TransactionRollBack;
  using CQXBusinessObject::TransactionStart;
};

TEST_F(Transactions, ABusinessObjectCommitsAndRollsBack) {
  Entry entry(company());
  entry.TransactionStart();
  write(u"A");
  EXPECT_EQ(entry.TransactionCommit(), 0);
  entry.TransactionStart();
  write(u"B");
  entry.TransactionRollBack();
  EXPECT_THAT(numbersOfAnother(), ElementsAre("A"));
}

TEST_F(Transactions, ABusinessObjectThatGoesInsideATransactionRollsItBack) {
  {
    Entry entry(company());
    entry.TransactionStart();
    entry.TransactionStart();
    write(u"A");
  }
  EXPECT_EQ(company()->GetInTransaction(), VARIANT_FALSE);
  EXPECT_EQ(CQXTransactionManager::GetCurrentDepth(), 0);
  EXPECT_THAT(numbersOfAnother(), IsEmpty());
}

}  // namespace
