// A server that ends in the middle of work: the add-on receives the failure, nothing is written in
// part, and the work can be repeated once the server runs again.

#include "qxframework/automation/text.h"
#include "testing/postgres_server.h"
#include "tests/media/company_fixture.h"

#include <gmock/gmock.h>

namespace {

using Persistence::co_Equal;
using qx::test::Conditions;
using qx::test::dateValue;
using qx::test::failureOf;
using qx::test::Login;
using qx::test::PostgresServer;
using qx::test::Record;
using qx::test::Rows;
using qx::test::values;
using testing::ElementsAre;
using testing::StartsWith;

constexpr char kLost[] = "-2000: The connection to the database server was lost (";
constexpr char kLostAtCommit[] =
    "The connection to the database server was lost during the commit (";

class LostServer : public qx::test::CompanyFixture,
                   public testing::WithParamInterface<PostgresServer::End> {
 protected:
  LostServer() {
    addOrder(u"A", u"Ann", dateValue(2024, 1, 31), 12.5, 3);
    addOrder(u"B", u"Ben", dateValue(2024, 2, 1), -0.25, 2);
    addOrder(u"C", u"Cid", dateValue(2023, 12, 31), 1234.5, 2);
  }
  static void stop() { PostgresServer::shared().stop(GetParam()); }
  /// Starts the server and logs in again.
  void startAgain() {
    PostgresServer::shared().start();
    login = std::make_unique<Login>(database);
  }
  std::vector<std::string> numbers() const {
    Rows rows(company(), u"@ORDERS");
    rows.SetFields({u"U_No"});
    rows.Load({u"Code"}, {});
    return rows.all();
  }
};

TEST_P(LostServer, NextReportsTheLossAndNotTheEndOfTheRows) {
  Rows rows(company(), u"@ORDERS");
  rows.SetKeysOnly(true);
  rows.SetFields({u"U_No"});
  rows.Load({u"Code"}, {});
  Record record;
  ASSERT_EQ(rows.First(record), 0);
  stop();
  EXPECT_THAT(failureOf([&] { rows.Next(record); }), StartsWith(kLost));
  EXPECT_EQ(record.text(), "A");
  EXPECT_THAT(failureOf([&] { rows.Next(record); }), StartsWith(kLost))
      << "the next step reports the loss again";
  EXPECT_EQ(company()->GetConnected(), VARIANT_FALSE);
  Rows other(company(), u"@ORDERS");
  EXPECT_THAT(failureOf([&] { other.Load({u"Code"}, {}); }), StartsWith(kLost));
  startAgain();
  EXPECT_THAT(numbers(), ElementsAre("A", "B", "C"));
}

TEST_P(LostServer, TransactionIsRolledBackAndItsCommitFails) {
  company()->StartTransaction();
  addOrder(u"D", u"Dan", dateValue(2024, 3, 1), 1, 1);
  Rows rows(company(), u"@ORDERS");
  rows.Load({u"U_No"}, {});
  rows.Remove(values({{u"U_No", u"A"}}));
  stop();
  EXPECT_THAT(failureOf([&] { rows.Remove(values({{u"U_No", u"B"}})); }), StartsWith(kLost));
  const HRESULT ended = company()->raw_EndTransaction(et_Commit);
  EXPECT_LT(ended, 0) << "a commit must not seem to have worked";
  startAgain();
  EXPECT_THAT(numbers(), ElementsAre("A", "B", "C"));
  company()->StartTransaction();
  addOrder(u"D", u"Dan", dateValue(2024, 3, 1), 1, 1);
  company()->EndTransaction(et_Commit);
  EXPECT_THAT(numbers(), ElementsAre("A", "B", "C", "D"));
}

// A search returns "not found" if it cannot read; the loss is in the company's last error.
TEST_P(LostServer, SearchFindsNothingAndTheCompanyReportsTheLoss) {
  Rows rows(company(), u"@ORDERS");
  rows.SetKeysOnly(true);
  rows.Load({u"U_No"}, {});
  stop();
  Record record;
  EXPECT_FALSE(rows.Find(values({{u"U_No", u"B"}}), record));
  EXPECT_THAT("-2000: " + login->lastError(), StartsWith(kLost));
  EXPECT_FALSE(rows.Exists(values({{u"U_No", u"B"}})));
  EXPECT_THAT("-2000: " + login->lastError(), StartsWith(kLost));
  startAgain();
  EXPECT_THAT(numbers(), ElementsAre("A", "B", "C"));
}

TEST_P(LostServer, CommitReportsTheLossAndWritesNothing) {
  company()->StartTransaction();
  addOrder(u"D", u"Dan", dateValue(2024, 3, 1), 1, 1);
  addOrder(u"E", u"Eve", dateValue(2024, 3, 2), 2, 2);
  stop();
  EXPECT_LT(company()->raw_EndTransaction(et_Commit), 0);
  EXPECT_THAT(login->lastError(), StartsWith(kLostAtCommit));
  startAgain();
  EXPECT_THAT(numbers(), ElementsAre("A", "B", "C"));
}

TEST_P(LostServer, SameCompanyObjectWorksAfterANewConnection) {
  stop();
  Rows rows(company(), u"@ORDERS");
  EXPECT_THAT(failureOf([&] { rows.Load({u"Code"}, {}); }), StartsWith(kLost));
  PostgresServer::shared().start();
  EXPECT_THAT(failureOf([&] { numbers(); }), StartsWith(kLost)) << "not without a new connection";
  company()->raw_Disconnect();
  login->reconnect();
  EXPECT_THAT(numbers(), ElementsAre("A", "B", "C"));
}

// ---- a server that runs again before the next statement

class RestartedServer : public LostServer {
 protected:
  static void restart() {
    stop();
    PostgresServer::shared().start();
  }
};

TEST_P(RestartedServer, NextReportsTheLossAndNotTheEndOfTheRows) {
  Rows rows(company(), u"@ORDERS");
  rows.SetKeysOnly(true);
  rows.SetFields({u"U_No"});
  rows.Load({u"Code"}, {});
  Record record;
  ASSERT_EQ(rows.First(record), 0);
  restart();
  EXPECT_THAT(failureOf([&] { rows.Next(record); }), StartsWith(kLost));
  EXPECT_EQ(record.text(), "A");
  EXPECT_EQ(company()->GetConnected(), VARIANT_FALSE);
  EXPECT_THAT(failureOf([&] { rows.Next(record); }), StartsWith(kLost))
      << "not without a new connection";
  startAgain();
  EXPECT_THAT(numbers(), ElementsAre("A", "B", "C"));
}

TEST_P(RestartedServer, SearchFindsNothingAndTheCompanyReportsTheLoss) {
  Rows rows(company(), u"@ORDERS");
  rows.SetKeysOnly(true);
  rows.Load({u"U_No"}, {});
  restart();
  Record record;
  EXPECT_FALSE(rows.Find(values({{u"U_No", u"B"}}), record));
  EXPECT_THAT("-2000: " + login->lastError(), StartsWith(kLost));
  startAgain();
  EXPECT_THAT(numbers(), ElementsAre("A", "B", "C"));
}

// Statements after the loss must not run on a new connection, outside of the transaction.
TEST_P(RestartedServer, TransactionIsRolledBackAndItsCommitFails) {
  company()->StartTransaction();
  addOrder(u"D", u"Dan", dateValue(2024, 3, 1), 1, 1);
  restart();
  Rows rows(company(), u"@ORDERS");
  EXPECT_THAT(failureOf([&] { rows.Add(Record{{u"U_No", u"E"}}); }), StartsWith(kLost));
  EXPECT_THAT(failureOf([&] {
                rows.RemoveRange(values({{u"U_No", u"A"}}), {});
              }),
              StartsWith(kLost));
  EXPECT_LT(company()->raw_EndTransaction(et_Commit), 0) << "a commit must not seem to work";
  startAgain();
  EXPECT_THAT(numbers(), ElementsAre("A", "B", "C"));
}

TEST_P(RestartedServer, CommitReportsTheLossAndWritesNothing) {
  company()->StartTransaction();
  addOrder(u"D", u"Dan", dateValue(2024, 3, 1), 1, 1);
  restart();
  EXPECT_LT(company()->raw_EndTransaction(et_Commit), 0);
  EXPECT_THAT(login->lastError(), StartsWith(kLostAtCommit));
  startAgain();
  EXPECT_THAT(numbers(), ElementsAre("A", "B", "C"));
}

// StartTransaction sends nothing to the server: the transaction begins with its first statement.
TEST_P(RestartedServer, FirstStatementOfANewTransactionReportsTheLoss) {
  restart();
  company()->raw_StartTransaction();
  Rows rows(company(), u"@ORDERS");
  EXPECT_THAT(failureOf([&] { rows.Add(Record{{u"U_No", u"D"}}); }), StartsWith(kLost));
  EXPECT_LT(company()->raw_EndTransaction(et_Commit), 0);
  company()->raw_Disconnect();
  login->reconnect();
  company()->StartTransaction();
  addOrder(u"D", u"Dan", dateValue(2024, 3, 1), 1, 1);
  company()->EndTransaction(et_Commit);
  EXPECT_THAT(numbers(), ElementsAre("A", "B", "C", "D"));
}

std::string endName(const testing::TestParamInfo<PostgresServer::End>& info) {
  switch (info.param) {
    case PostgresServer::End::Fast:
      return "Fast";
    case PostgresServer::End::Immediate:
      return "Immediate";
    default:
      return "Killed";
  }
}

/// Returns the ways to end the server: all of them for MSSQL, the hardest one for the other
/// dialects. A restart takes long, and the way does not depend on the dialect.
std::vector<PostgresServer::End> endsOfMedium() {
  if (!qx::test::medium().is(qx::kMssql)) return {PostgresServer::End::Killed};
  return {PostgresServer::End::Fast, PostgresServer::End::Immediate, PostgresServer::End::Killed};
}

INSTANTIATE_TEST_SUITE_P(End, LostServer, testing::ValuesIn(endsOfMedium()), endName);
INSTANTIATE_TEST_SUITE_P(End, RestartedServer, testing::ValuesIn(endsOfMedium()), endName);

}  // namespace
