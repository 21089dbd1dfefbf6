// Transactions of the framework over the host's real ones, with rows that the record cache holds
// back.

#include "qxframework/automation/text.h"
#include "qxframework/business/business_object.h"
#include "tests/media/transaction_fixture.h"

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Persistence::CDBRecordCache;
using qx::test::dateValue;
using qx::test::failureOfTransaction;
using testing::ElementsAre;
using testing::IsEmpty;

class BufferedTransactions : public qx::test::TransactionFixture {
 protected:
  BufferedTransactions() {
    login = std::make_unique<qx::test::Login>(database, qx::test::kAcceptBrackets);
  }
  /// Buffers a row that the database refuses: its number is too long for the column.
  void bufferRefused() { buffer(std::u16string(21, u'C').c_str()); }
};

TEST_F(BufferedTransactions, ACommitKeepsWhatWasBufferedAndWhatWasWrittenDirectly) {
  const auto transaction = start();
  addOrder(u"B", u"Ben", dateValue(2024, 2, 1), 1, 1);
  buffer(u"A");
  EXPECT_THAT(numbers(), ElementsAre("B")) << "the cache holds the other one back";
  EXPECT_THAT(numbersOfAnother(), IsEmpty());
  transaction->Commit();
  EXPECT_THAT(numbersOfAnother(), ElementsAre("A", "B"));
}

TEST_F(BufferedTransactions, ARollbackLosesWhatWasBufferedAndWhatWasWrittenDirectly) {
  const auto transaction = start();
  buffer(u"A");
  addOrder(u"B", u"Ben", dateValue(2024, 2, 1), 1, 1);
  transaction->Rollback();
  EXPECT_THAT(numbers(), IsEmpty());
  CDBRecordCache::FlushAllCaches();
  EXPECT_THAT(numbersOfAnother(), IsEmpty());
}

TEST_F(BufferedTransactions, WhatWasBufferedBeforeTheStartIsKeptByARollback) {
  buffer(u"A");
  EXPECT_THAT(numbersOfAnother(), IsEmpty());
  const auto transaction = start();
  EXPECT_THAT(numbersOfAnother(), ElementsAre("A"));
  buffer(u"B");
  transaction->Rollback();
  EXPECT_THAT(numbersOfAnother(), ElementsAre("A"));
}

// A full buffer is written at once, but inside the transaction.
TEST_F(BufferedTransactions, ABufferThatIsWrittenBeforeTheCommitBelongsToTheTransaction) {
  const auto transaction = start();
  for (int i = 0; i < 100; ++i) buffer(qx::format(u"A%d", i).c_str());
  EXPECT_EQ(numbers().size(), 100U);
  EXPECT_THAT(numbersOfAnother(), IsEmpty());
  transaction->Rollback();
  EXPECT_THAT(numbers(), IsEmpty());
}

TEST_F(BufferedTransactions, OnlyTheLastCommitOfNestedLevelsWritesThem) {
  const auto outer = start();
  buffer(u"A");
  const auto inner = start();
  buffer(u"B");
  inner->Commit();
  EXPECT_EQ(company()->GetInTransaction(), VARIANT_TRUE);
  EXPECT_THAT(numbersOfAnother(), IsEmpty());
  outer->Commit();
  EXPECT_EQ(company()->GetInTransaction(), VARIANT_FALSE);
  EXPECT_THAT(numbersOfAnother(), ElementsAre("A", "B"));
}

TEST_F(BufferedTransactions, ABufferedRowThatIsRefusedAtTheCommitTakesTheWholeTransactionAlong) {
  const auto transaction = start();
  addOrder(u"A", u"Ann", dateValue(2024, 2, 1), 1, 1);
  buffer(u"B");
  bufferRefused();
  EXPECT_EQ(failureOfTransaction([&] { transaction->Commit(); }),
            "Failed in CDBRecordCache::BeforeTransaction_Commit()");
  EXPECT_EQ(company()->GetInTransaction(), VARIANT_TRUE);
  transaction->Rollback();
  EXPECT_EQ(company()->GetInTransaction(), VARIANT_FALSE);
  EXPECT_THAT(numbersOfAnother(), IsEmpty());
  const auto next = start();
  buffer(u"D");
  next->Commit();
  EXPECT_THAT(numbersOfAnother(), ElementsAre("D"));
}

TEST_F(BufferedTransactions, ABufferedRowThatIsRefusedAtTheStartKeepsTheHostOutOfATransaction) {
  bufferRefused();
  EXPECT_EQ(failureOfTransaction([&] { start(); }),
            "Failed in CDBRecordCache::BeforeTransaction_Start()");
  EXPECT_EQ(company()->GetInTransaction(), VARIANT_FALSE);
  EXPECT_EQ(CQXTransactionManager::GetCurrentDepth(), 1);
  CDBRecordCache::ClearAllCaches(false, true);
  CComPtr<ICompany> own(company());
  CQXTransactionManager::Rollback(own);
  start()->Commit();
}

TEST_F(BufferedTransactions, AProcessThatDiesInsideATransactionLeavesNothingOfThem) {
  buffer(u"A");
  CDBRecordCache::FlushAllCaches();
  const pid_t child = fork();
  if (child == 0) {
    const qx::test::Login own(database, qx::test::kAcceptBrackets);
    CComPtr<ICompany> itsCompany(own.company());
    CDBRecordCache::ClearAllCaches(false, true);
    const auto transaction = CQXTransactionManager::Start(itsCompany);
    qx::test::Rows(itsCompany, u"@ORDERS").Add(qx::test::Record{{u"U_No", u"B"}});
    qx::test::TransactionFixture::bufferIn(itsCompany, u"C");
    CDBRecordCache::FlushAllCaches();
    _exit(0);
  }
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  EXPECT_THAT(numbersOfAnother(), ElementsAre("A"));
  const auto transaction = start();
  buffer(u"D");
  transaction->Commit();
  EXPECT_THAT(numbersOfAnother(), ElementsAre("A", "D"));
}

/// The business logic of an add-on.
class Entry : public Persistence::CQXBusinessObject {
 public:
  using CQXBusinessObject::CQXBusinessObject;
  using CQXBusinessObject::TransactionCommit;
  using CQXBusinessObject::TransactionRollBack;
  using CQXBusinessObject::TransactionStart;
};

TEST_F(BufferedTransactions, ABusinessObjectGoesOnAfterARefusedRow) {
  Entry entry(company());
  entry.TransactionStart();
  bufferRefused();
  EXPECT_EQ(failureOfTransaction([&] { entry.TransactionCommit(); }),
            "Failed in CDBRecordCache::BeforeTransaction_Commit()");
  entry.TransactionRollBack();
  entry.TransactionStart();
  buffer(u"D");
  EXPECT_EQ(entry.TransactionCommit(), 0);
  EXPECT_THAT(numbersOfAnother(), ElementsAre("D"));
}

}  // namespace
