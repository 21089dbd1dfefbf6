// A server that ends inside a transaction of the framework: the add-on receives the failure,
// nothing is written in part, and the next transaction can start.

#include "testing/postgres_server.h"
#include "tests/media/transaction_fixture.h"

#include <gmock/gmock.h>

namespace {

using qx::test::failureOfTransaction;
using qx::test::Login;
using qx::test::PostgresServer;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class LostTransaction : public qx::test::TransactionFixture {
 protected:
  LostTransaction() { login = newLogin(); }
  std::unique_ptr<Login> newLogin() const {
    return std::make_unique<Login>(database, qx::test::kAcceptBrackets);
  }
  static void stop() { PostgresServer::shared().stop(PostgresServer::End::Killed); }
  /// Starts the server, logs in again and commits an order.
  void startAgain() {
    PostgresServer::shared().start();
    Persistence::CDBRecordCache::ClearAllCaches(false, true);
    login = newLogin();
    const auto transaction = start();
    buffer(u"N");
    transaction->Commit();
  }
};

TEST_F(LostTransaction, TheCommitFailsWithItsBufferedWritesAndTheRollbackEndsIt) {
  const auto transaction = start();
  buffer(u"A");
  stop();
  EXPECT_EQ(failureOfTransaction([&] { transaction->Commit(); }),
            "Failed in CDBRecordCache::BeforeTransaction_Commit()");
  transaction->Rollback();
  EXPECT_EQ(CQXTransactionManager::GetCurrentDepth(), 0);
  startAgain();
  EXPECT_THAT(numbers(), ElementsAre("N"));
}

TEST_F(LostTransaction, TheCommitFailsWithWhatWasWrittenDirectly) {
  const auto transaction = start();
  addOrder(u"A", u"Ann", qx::test::dateValue(2024, 2, 1), 1, 1);
  stop();
  EXPECT_EQ(failureOfTransaction([&] { transaction->Commit(); }), "Failed to EndTransction");
  EXPECT_THAT(login->lastError(),
              StartsWith("The connection to the database server was lost during the commit ("));
  transaction->Rollback();
  startAgain();
  EXPECT_THAT(numbers(), ElementsAre("N"));
}

TEST_F(LostTransaction, TheRollbackSucceeds) {
  const auto transaction = start();
  addOrder(u"A", u"Ann", qx::test::dateValue(2024, 2, 1), 1, 1);
  buffer(u"B");
  stop();
  EXPECT_EQ(failureOfTransaction([&] { transaction->Rollback(); }), "no failure");
  EXPECT_EQ(CQXTransactionManager::GetCurrentDepth(), 0);
  startAgain();
  EXPECT_THAT(numbers(), ElementsAre("N"));
}

TEST_F(LostTransaction, TheStartReportsWhatCouldNotBeWrittenAheadOfIt) {
  buffer(u"A");
  stop();
  EXPECT_EQ(failureOfTransaction([&] { start(); }),
            "Failed in CDBRecordCache::BeforeTransaction_Start()");
  CComPtr<ICompany> own(company());
  CQXTransactionManager::Rollback(own);
  EXPECT_EQ(CQXTransactionManager::GetCurrentDepth(), 0);
  startAgain();
  EXPECT_THAT(numbers(), ElementsAre("N"));
}

}  // namespace
