// Measures walking a table with a collection proxy, including Load: against SQLite's C interface
// copying the same cells into the same kind of map, against SOCI's dynamic rows, and with ten times
// the rows.

#include "bench/bench_company.h"
#include "bench/measure.h"
#include "bench/run_bench.h"
#include "bench/walk_peers.h"
#include "qxframework/persistence/collection_proxy.h"
#include "qxframework/query/condition.h"
#include "qxframework/query/value_container.h"
#include "testing/spying_company.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace {

using Persistence::CConditions;

constexpr int kRounds = 15;
constexpr int kRows = 100'000;
constexpr int kManyRows = 1'000'000;

struct Sum : Persistence::CQXValueContainer {
  long value = 0;
};

class Rows : public Persistence::CQXPersistentCollectionProxy {
 public:
  void MapToContainer(const Persistence::TyFieldValues& values,
                      Persistence::CQXValueContainer& container) override {
    static_cast<Sum&>(container).value += qx::bench::small(values);
  }
  void ContainerToMap(const Persistence::CQXValueContainer&, Persistence::TyFieldValues&) override {
  }
};

long walkOurs(const CComPtr<ICompany>& company, const OLECHAR* table) {
  Rows rows;
  rows.Connect(company, table, true);
  rows.SetKeysOnly(false);
  rows.SetFields(qx::bench::kColumns);
  rows.Load({u"Code"}, qx_ptr<CConditions>());
  Sum sum;
  for (long result = rows.First(sum); result == 0;) result = rows.Next(sum);
  return sum.value;
}

// Takes the statement from the framework itself, so that the peers run the same one.
std::string selectText(const qx::bench::BenchCompany& bench) {
  qx::test::StatementLog log;
  walkOurs(qx::test::spyOn(bench.company(), &log), u"@EMPTY");
  const std::string sql = qx::bench::translated(bench.file(), log.texts.at(0));
  std::printf("SELECT: %s\n     -> %s\n", log.texts.at(0).c_str(), sql.c_str());
  return sql;
}

// Returns the greatest resident memory since resetPeak(), in megabytes.
double peakMemory() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);)
    if (line.starts_with("VmHWM:")) return std::atof(line.c_str() + 6) / 1024;
  return 0;
}

// Writing 5 to this file resets the peak.
void resetPeak() { std::ofstream("/proc/self/clear_refs") << 5; }

void print(const char* what, double seconds, int rows) {
  std::printf("%s: %.1f ms, %.0f ns a row\n", what, seconds * 1e3, seconds / rows * 1e9);
}

void require(long sum, long expected) {
  if (sum != expected)
    throw std::runtime_error("a walk has read a sum of " + std::to_string(sum) + " where " +
                             std::to_string(expected) + " was written");
}

// Compares ten walks over the smaller table with one over the larger: both take about as long, so a
// busy machine affects them alike.
void measureGrowth(const qx::bench::BenchCompany& bench) {
  qx::bench::fillTable(bench.file(), "MANY", kManyRows);
  resetPeak();
  const double before = peakMemory();
  const auto best = qx::bench::compare(
      kRounds / 3, [&] { walkOurs(bench.company(), u"@MANY"); },
      [&] {
        for (int i = 0; i < kManyRows / kRows; ++i) walkOurs(bench.company(), u"@FEW");
      });
  print("1,000,000 rows", best.ours, kManyRows);
  std::printf("memory: %.0f MB before, %.0f MB at most\n", before, peakMemory());
  qx::bench::printRatio("walk-growth", best.ratio());
}

void measure() {
  const qx::bench::BenchCompany bench;
  for (const OLECHAR* table : {u"EMPTY", u"FEW", u"MANY"})
    qx::bench::makeTable(bench.company(), table);
  qx::bench::fillTable(bench.file(), "FEW", kRows);
  std::string sql = selectText(bench);
  sql.replace(sql.find("EMPTY"), 5, "FEW");

  long expected = 0;
  for (int i = 0; i < kRows; ++i) expected += i % 1000;
  const auto ours = [&] { require(walkOurs(bench.company(), u"@FEW"), expected); };
  const auto besideSqlite = qx::bench::compare(
      kRounds, ours, [&] { require(qx::bench::walkSqlite(bench.file(), sql), expected); });
  const auto besideSoci = qx::bench::compare(
      kRounds, ours, [&] { require(qx::bench::walkSoci(bench.file(), sql), expected); });
  const double sociIntoMap =
      qx::bench::compare(
          kRounds, [] {}, [&] { require(qx::bench::walkSociIntoMap(bench.file(), sql), expected); })
          .peer;
  // The proxy was measured twice; its best time of both counts.
  const double few = std::min(besideSqlite.ours, besideSoci.ours);
  print("ours", few, kRows);
  print("SQLite into the map", besideSqlite.peer, kRows);
  print("SOCI", besideSoci.peer, kRows);
  print("SOCI into the map", sociIntoMap, kRows);
  qx::bench::printRatio("walk-sqlite", besideSqlite.ratio());
  qx::bench::printRatio("walk-soci", besideSoci.ratio());
  measureGrowth(bench);
}

}  // namespace

int main() { return qx::bench::run(measure); }
