// Measures processes that add rows to one user table at once, through the framework, beside one
// process that adds as many rows alone: on a company in a file and on a PostgreSQL server. Prints
// also how many Adds fail, with and without a transaction, and the longest Add beside the mean.

#include "bench/bench_company.h"
#include "bench/measure.h"
#include "bench/run_bench.h"
#include "qxframework/persistence/collection_proxy.h"
#include "qxframework/query/field_values.h"
#include "qxframework/query/value_container.h"
#include "testing/child_process.h"
#include "testing/postgres_server.h"

#include <unistd.h>

#include <iostream>
#include <memory>
#include <sstream>
#include <stdexcept>

namespace {

using qx::test::ChildProcess;

constexpr int kRounds = 3;
constexpr int kMost = 16;
constexpr int kAddsOfEach = 500;
constexpr const char* kAlone = "alone";  // each Add is a transaction of its own
constexpr const char* kWorkerFlag = "--adds-to";

// ---- the process that adds rows

struct Nothing : Persistence::CQXValueContainer {};

class Rows : public Persistence::CQXPersistentCollectionProxy {
 public:
  void MapToContainer(const Persistence::TyFieldValues&, Persistence::CQXValueContainer&) override {
  }
  void ContainerToMap(const Persistence::CQXValueContainer&,
                      Persistence::TyFieldValues& values) override {
    values.Add(u"U_Count", 1L);
    values.Add(u"U_Price", 12.5);
    values.Add(u"U_Note", u"A note on an article, e.g. O'Brien's");
  }
};

struct Outcome {
  int failed = 0;
  double longest = 0;  // of one Add, in seconds
};

bool addOne(Rows& rows, const CComPtr<ICompany>& company, bool transaction) {
  const Nothing nothing;
  try {
    if (transaction) company->StartTransaction();
    rows.Add(nothing);
    if (transaction) company->EndTransaction(et_Commit);
    return true;
  } catch (const Persistence::CQXPersistenceException&) {
  } catch (const _com_error&) {
  }
  if (company->GetInTransaction() != VARIANT_FALSE) company->EndTransaction(et_RollBack);
  return false;
}

Outcome addMany(const CComPtr<ICompany>& company, int count, bool transaction) {
  Rows rows;
  rows.Connect(company, u"@MANY", true);
  Outcome outcome;
  for (int i = 0; i < count; ++i) {
    bool good = false;
    const double took = qx::bench::seconds([&] { good = addOne(rows, company, transaction); });
    outcome.longest = std::max(outcome.longest, took);
    if (!good) ++outcome.failed;
  }
  return outcome;
}

std::string g_database;

void work() {
  const qx::bench::BenchCompany bench(g_database);
  std::cout << "ready" << std::endl;
  for (std::string line; std::getline(std::cin, line);) {
    std::istringstream order(line);
    int count = 0;
    std::string how;
    order >> count >> how;
    const Outcome outcome = addMany(bench.company(), count, how != kAlone);
    std::cout << outcome.failed << ' ' << outcome.longest << std::endl;
  }
}

// ---- the process that measures

class Workers {
 public:
  explicit Workers(const std::string& database) {
    for (int i = 0; i < kMost; ++i) {
      workers_.push_back(std::make_unique<ChildProcess>(
          std::vector<std::string>{"/proc/self/exe", kWorkerFlag, database},
          std::vector<std::string>{}));
    }
    for (const auto& worker : workers_) {
      if (worker->line() != "ready") throw std::runtime_error("a process does not start");
    }
  }
  /// The first `processes` of them add `count` rows each.
  Outcome add(int processes, int count, const std::string& how) const {
    const std::string order = std::to_string(count) + " " + how;
    for (int i = 0; i < processes; ++i) at(i).send(order);
    Outcome all;
    for (int i = 0; i < processes; ++i) {
      std::istringstream line(at(i).line());
      Outcome one;
      if (!(line >> one.failed >> one.longest)) throw std::runtime_error("a process has ended");
      all.failed += one.failed;
      all.longest = std::max(all.longest, one.longest);
    }
    return all;
  }

 private:
  ChildProcess& at(int index) const { return *workers_[static_cast<std::size_t>(index)]; }

  std::vector<std::unique_ptr<ChildProcess>> workers_;
};

void printFailures(const Workers& workers, const char* engine) {
  constexpr int kAdds = 100;
  for (const char* how : {kAlone, "in-transactions"}) {
    for (int processes = 2; processes <= kMost; processes *= 2) {
      int failed = 0;
      const double took =
          qx::bench::seconds([&] { failed = workers.add(processes, kAdds, how).failed; });
      std::printf("%s %s: %d processes, %.0f us an Add, failed %d of %d\n", engine, how, processes,
                  took * 1e6 / (processes * kAdds), failed, processes * kAdds);
    }
  }
}

void measure(const std::string& database, const char* engine) {
  {
    const qx::bench::BenchCompany maker(database);
    qx::bench::makeTable(maker.company(), u"MANY");
  }
  const Workers workers(database);
  printFailures(workers, engine);
  Outcome last;
  const auto best = qx::bench::compare(
      kRounds, [&] { last = workers.add(kMost, kAddsOfEach, kAlone); },
      [&] { workers.add(1, kMost * kAddsOfEach, kAlone); });
  const double each = 1e6 / (kMost * kAddsOfEach);
  std::printf("%s: %.0f us an Add of %d processes, %.0f us of one; %d of %d failed\n", engine,
              best.ours * each, kMost, best.peer * each, last.failed, kMost * kAddsOfEach);
  const double mean = best.ours / kAddsOfEach;
  std::printf("%s: the longest Add of %d processes %.1f ms, the mean %.1f ms: %.1f times\n", engine,
              kMost, last.longest * 1e3, mean * 1e3, last.longest / mean);
  qx::bench::printRatio(("many-adds-" + std::string(engine)).c_str(), best.ratio());
}

void measureAll() {
  const auto folder =
      std::filesystem::temp_directory_path() / ("qx_many_adds_" + std::to_string(getpid()));
  std::filesystem::create_directory(folder);
  measure((folder / "company.db").string(), "sqlite");
  std::filesystem::remove_all(folder);
  qx::test::PostgresServer& server = qx::test::PostgresServer::shared();
  measure("odbc:" + server.connection(server.createDatabase()), "postgres");
}

}  // namespace

int main(int count, char** arguments) {
  if (count == 3 && std::string(arguments[1]) == kWorkerFlag) {
    g_database = arguments[2];
    return qx::bench::run(work);
  }
  return qx::bench::run(measureAll);
}
