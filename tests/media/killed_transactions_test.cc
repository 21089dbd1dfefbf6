// Processes that are killed at random moments of their transactions: after the restart each
// transaction is in the database as a whole or not at all, and each one whose commit was reported
// is there.

#include "qxframework/automation/text.h"
#include "testing/cases.h"
#include "testing/forwarding_company.h"
#include "testing/spying_company.h"
#include "tests/media/transaction_fixture.h"

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <iostream>
#include <map>
#include <random>

namespace {

using Persistence::CDBRecordCache;
using qx::test::Login;

constexpr char kStep = 's';
constexpr char kCommitted = 'c';
/// The last step at which a process is killed; it is in the fourth transaction of the process.
constexpr int kLastStep = 45;
constexpr int kRowsOfATransaction = 8;

/// Reports each call that starts or ends a transaction, before and after it.
class SteppingCompany final : public qx::test::ForwardingCompany {
 public:
  SteppingCompany(const CComPtr<ICompany>& real, int report)
      : ForwardingCompany(real), report_(report) {}
  HRESULT raw_StartTransaction() override {
    return between([&] { return ForwardingCompany::raw_StartTransaction(); });
  }
  HRESULT raw_EndTransaction(HvEndTransaction end) override {
    return between([&] { return ForwardingCompany::raw_EndTransaction(end); });
  }

 private:
  template <class Call>
  HRESULT between(Call call) {
    if (write(report_, &kStep, 1) != 1) _exit(1);
    const HRESULT result = call();
    if (write(report_, &kStep, 1) != 1) _exit(1);
    return result;
  }

  int report_;
};

/// The killed process: commits one transaction after the other and reports each step. The number of
/// every row is that of its transaction.
class Writer {
 public:
  Writer(const std::string& database, int run, int report)
      : login_(database), run_(run), report_(report) {
    log_.onStatement = [this] { say(kStep); };
    company_ = qx::makeObject<SteppingCompany>(qx::test::spyOn(login_.company(), &log_), report).p;
  }
  void transaction(int number) {
    const std::u16string name = qx::format(u"%d.%d", run_, number);
    const auto outer = CQXTransactionManager::Start(company_);
    for (int row = 0; row < kRowsOfATransaction; row += 4) {
      const auto inner = CQXTransactionManager::Start(company_);
      buffer(u"@ORDERS", u"U_No", name);
      buffer(u"@LINES", u"U_OrderNo", name);
      // One row in four goes past the buffer. In each second transaction the two rows above leave
      // the buffer ahead of the commit.
      writeDirectly(name);
      if (number % 2 == 1) CDBRecordCache::FlushAllCaches();
      buffer(u"@ORDERS", u"U_No", name);
      inner->Commit();
    }
    outer->Commit();
    say(kCommitted);
  }

 private:
  void say(char what) const {
    if (write(report_, &what, 1) != 1) _exit(1);
  }
  // Codes of its own, since the death of the process before it may not be known to the server yet.
  std::u16string nextCode() { return qx::format(u"%04X%04X", run_, ++codes_); }
  void buffer(const OLECHAR* table, const OLECHAR* column, const std::u16string& name) {
    Persistence::TyRow row;
    const std::u16string code = nextCode();
    row.m_KeyFields.Add(u"Code", code);
    row.m_Fields.Add(u"Code", code);
    row.m_Fields.Add(u"Name", code);
    row.m_Fields.Add(column, name);
    CDBRecordCache::GetInstance(company_, table)->Add(table, false, row);
  }
  void writeDirectly(const std::u16string& name) {
    const CComQIPtr<IRecordset> rows(company_->GetBusinessObject(qx::kRecordset));
    const std::u16string code = nextCode();
    rows->DoQuery(CComBSTR(
        qx::format(u"INSERT INTO [@LINES] (Code, Name, U_OrderNo) VALUES (N'%s', N'%s', N'%s')",
                   code, code, name)));
  }

  Login login_;
  qx::test::StatementLog log_;
  CComPtr<ICompany> company_;
  int run_;
  int report_;
  int codes_ = 0;
};

class KilledTransactions : public qx::test::TransactionFixture {
 protected:
  KilledTransactions() { login.reset(); }

  /// Starts a writer, kills it once it has reported `steps` steps, and returns the number of
  /// transactions whose commit it has reported.
  int commitsUntilKilledAt(int steps, int run) const {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) throw std::runtime_error("no pipe");
    const pid_t child = fork();
    if (child == 0) {
      close(ends[0]);
      Writer writer(database, run, ends[1]);
      for (int number = 0;; ++number) writer.transaction(number);
    }
    close(ends[1]);
    int commits = 0;
    int seen = 0;
    for (char what = 0; read(ends[0], &what, 1) == 1;) {
      commits += what == kCommitted ? 1 : 0;
      // It goes on meanwhile: the kill falls at any moment from here.
      if (++seen == steps) kill(child, SIGKILL);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << status;
    close(ends[0]);
    return commits;
  }
  /// Returns the number of rows of each transaction of a run; of all runs without one. It is one
  /// statement, because a server can still be committing for the dead process.
  std::map<std::string, int> rowsByTransaction(const std::u16string& run = u"") const {
    const std::u16string like = run.empty() ? u"%" : run + u".%";
    const Login restarted(database);
    std::map<std::string, int> counts;
    for (const std::string& name : restarted.rows(
             u"SELECT U_No FROM [@ORDERS] WHERE U_No LIKE N'" + like +
             u"' UNION ALL SELECT U_OrderNo FROM [@LINES] WHERE U_OrderNo LIKE N'" + like + u"'")) {
      ++counts[name];
    }
    return counts;
  }
};

TEST_F(KilledTransactions, AreInTheDatabaseAsAWholeOrNotAtAll) {
  std::mt19937 random(20261122);
  std::uniform_int_distribution<int> steps(1, kLastStep);
  std::size_t reported = 0;
  const int runs = static_cast<int>(qx::test::cases(25));
  for (int run = 0; run < runs; ++run) {
    const int at = steps(random);
    const int commits = commitsUntilKilledAt(at, run);
    reported += static_cast<std::size_t>(commits);
    const auto counts = rowsByTransaction(qx::format(u"%d", run));
    for (const auto& [name, rows] : counts)
      EXPECT_EQ(rows, kRowsOfATransaction) << name << " " << at;
    // The commit that was under way may have succeeded without a report.
    EXPECT_GE(counts.size(), static_cast<std::size_t>(commits)) << run << " " << at;
    EXPECT_LE(counts.size(), static_cast<std::size_t>(commits) + 1) << run << " " << at;
  }
  const auto all = rowsByTransaction();
  EXPECT_GE(all.size(), reported) << "later kills have lost earlier transactions";
  for (const auto& [name, rows] : all) EXPECT_EQ(rows, kRowsOfATransaction) << name;
  std::cout << runs << " kills, " << reported << " reported commits, " << all.size() - reported
            << " commits that the kill kept from being reported\n";
}

}  // namespace
