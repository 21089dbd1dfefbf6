// Measures the record cache: loading a table beside SQLite's C interface filling a std::map with
// the same content, a page from memory beside the same page by a prepared statement, and buffered
// writes beside the same statements by sqlite3_exec.

#include "bench/bench_company.h"
#include "bench/cache_peers.h"
#include "bench/measure.h"
#include "bench/run_bench.h"
#include "qxframework/automation/text.h"
#include "qxframework/cache/db_record_cache.h"
#include "qxframework/query/condition.h"
#include "testing/spying_company.h"

#include <malloc.h>

#include <stdexcept>

namespace {

using Persistence::CDBRecordCache;
using Persistence::TyFieldValues;
using Persistence::TyRow;
using Persistence::TyRowsByKey;
using Param = Persistence::TyLoadParameter_WithPrefetchKeys;

constexpr int kRounds = 5;
constexpr int kRows = 100'000;
constexpr int kManyRows = 1'000'000;
constexpr int kPages = 1'000;  // in a table of kRows, each of 100 rows
constexpr int kAdds = 100'000;

void require(std::size_t found, std::size_t expected, const char* what) {
  if (found != expected) {
    throw std::runtime_error(std::string(what) + ": " + std::to_string(found) + " instead of " +
                             std::to_string(expected));
  }
}

qx_ptr<Param> parameter(const std::u16string& table) {
  qx_ptr<Param> param(new Param, true);
  const std::vector<CComBSTR> keys{u"Code"};
  param->SetKeyFields(&keys);
  param->SetMajorTable(CComBSTR(table));
  param->SetPrefetchBehavior(Persistence::pb_AllRows, nullptr, 0);
  param->SetMaxCacheTimeSpan(COleDateTimeSpan(1, 0, 0, 0));
  return param;
}

/// All rows from a page on; a page is the rows with one count.
qx_ptr<Param> pages(const std::u16string& table, int first) {
  qx_ptr<Param> param = parameter(table);
  const TyFieldValues start{{u"U_Count", first}};
  param->SetPrefetchBehavior(Persistence::pb_FirstRowsFrom, &start, 100'001);
  return param;
}

// Loads rows and releases them, as the peer does: the release of many rows must not be counted in
// the next load of few.
std::size_t loadOurs(const CComPtr<ICompany>& company, const std::u16string& table) {
  TyRowsByKey rows;
  CDBRecordCache::GetInstance(company, CComBSTR(table))->Load(parameter(table), rows);
  CDBRecordCache::ClearAllCaches(false, true);
  return rows.size();
}

/// Returns the statement of a load, as SQLite receives it.
std::string selectText(const qx::bench::BenchCompany& bench) {
  qx::test::StatementLog log;
  loadOurs(qx::test::spyOn(bench.company(), &log), u"@EMPTY");
  return qx::bench::translated(bench.file(), log.texts.at(0));
}

std::string replaced(std::string text, const std::string& what, const std::string& by) {
  text.replace(text.find(what), what.size(), by);
  return text;
}

void print(const char* what, double seconds, int count) {
  std::printf("%s: %.1f ms, %.0f ns each\n", what, seconds * 1e3, seconds / count * 1e9);
}

/// Returns the bytes that `work` leaves allocated, for each of `rows`.
template <class Work>
double bytesPerRow(int rows, Work&& work) {
  const std::size_t before = mallinfo2().uordblks;
  const auto kept = work();
  qx::bench::keep(kept);
  return static_cast<double>(mallinfo2().uordblks - before) / rows;
}

void measureLoad(const qx::bench::BenchCompany& bench, const std::string& select) {
  const std::string few = replaced(select, "EMPTY", "FEW");
  const auto best = qx::bench::compare(
      kRounds, [&] { require(loadOurs(bench.company(), u"@FEW"), kRows, "rows loaded"); },
      [&] { require(qx::bench::loadSqlite(bench.file(), few).size(), kRows, "rows of SQLite"); });
  print("load", best.ours, kRows);
  print("SQLite into a std::map", best.peer, kRows);
  qx::bench::printRatio("cache-load", best.ratio());

  CDBRecordCache::ClearAllCaches(false, true);
  const auto cache = CDBRecordCache::GetInstance(bench.company(), u"@FEW");
  const double ours = bytesPerRow(kRows, [&] {
    TyRowsByKey rows;
    return cache->Load(parameter(u"@FEW"), rows);
  });
  const double peer = bytesPerRow(kRows, [&] { return qx::bench::loadSqlite(bench.file(), few); });
  std::printf("bytes a cached row: %.0f, by its own count %.0f; in the std::map %.0f\n", ours,
              static_cast<double>(cache->Counters().bytes) / kRows, peer);
}

void measureGrowth(const qx::bench::BenchCompany& bench) {
  qx::bench::fillTable(bench.file(), "MANY", kManyRows);
  const auto best = qx::bench::compare(
      3, [&] { require(loadOurs(bench.company(), u"@MANY"), kManyRows, "rows loaded"); },
      [&] { require(loadOurs(bench.company(), u"@FEW"), kRows, "rows loaded"); });
  print("1,000,000 rows", best.ours, kManyRows);
  qx::bench::printRatio("cache-growth", best.ratio());
}

/// Serves every page once.
void serve(const qx_ptr<CDBRecordCache>& cache, const std::vector<qx_ptr<Param>>& starts) {
  for (const qx_ptr<Param>& start : starts) {
    TyRowsByKey rows;
    cache->Load(start, rows);
    require(rows.size(), 100, "rows of a page");
  }
}

/// Returns a cache with the pages from `first` on, and the parameters for them.
std::pair<qx_ptr<CDBRecordCache>, std::vector<qx_ptr<Param>>> cachedPages(
    const CComPtr<ICompany>& company, int first) {
  // A cache of its own for each number of rows; the table is that of the parameter.
  const auto cache = CDBRecordCache::GetInstance(company, first == 0 ? u"all pages" : u"few pages");
  TyRowsByKey rows;
  cache->Load(pages(u"@FEW", first), rows);
  std::vector<qx_ptr<Param>> starts;
  for (int page = first; page < kPages; ++page) starts.push_back(pages(u"@FEW", page));
  return {cache, starts};
}

void measurePages(const qx::bench::BenchCompany& bench, const std::string& select) {
  const auto all = cachedPages(bench.company(), 0);
  const auto few = cachedPages(bench.company(), kPages - kPages / 10);
  require(static_cast<std::size_t>(all.first->Counters().rows), kRows, "rows in memory");
  require(static_cast<std::size_t>(few.first->Counters().rows), kRows / 10, "rows in memory");
  qx::bench::PagePeer peer(bench.file(), replaced(select, "EMPTY", "FEW"), "U_Count");
  const auto beside = qx::bench::compare(
      kRounds, [&] { serve(all.first, all.second); },
      [&] {
        for (int page = 0; page < kPages; ++page)
          require(peer.page(page).size(), 100, "rows of a page of SQLite");
      });
  print("page of 100 rows of 100,000", beside.ours, kPages);
  print("the same by SQLite", beside.peer, kPages);
  qx::bench::printRatio("cache-page", beside.ratio());
  // As many different pages on both sides. A page costs the same steps among any number of rows,
  // but the counts of its rows and keys are 200 places in memory: of all pages together they are
  // far more than the processor's own cache holds, which the line before this ratio shows.
  const std::vector<qx_ptr<Param>> tenth(all.second.begin(), all.second.begin() + kPages / 10);
  const auto tenTimes = [](const auto& cache, const auto& starts) {
    for (int i = 0; i < 10; ++i) serve(cache, starts);
  };
  const auto growth = qx::bench::compare(
      kRounds, [&] { tenTimes(all.first, tenth); }, [&] { tenTimes(few.first, few.second); });
  print("100 pages of 100,000 rows, ten times", growth.ours, kPages);
  print("100 pages of 10,000 rows, ten times", growth.peer, kPages);
  qx::bench::printRatio("cache-page-growth", growth.ratio());
}

TyRow rowToAdd(int number) {
  return {{},
          {{u"U_Count", number},
           {u"U_Price", number % 500 + 0.25},
           {u"U_Share", number % 90 + 0.5},
           {u"U_From", CComVariant(45000.0 + number % 365, VT_DATE)},
           {u"U_Until", CComVariant(45400.0 + number % 365, VT_DATE)},
           {u"U_Note", u"A note on an article, e.g. O'Brien's"}}};
}

void addOurs(const CComPtr<ICompany>& company, const std::vector<TyRow>& rows) {
  CDBRecordCache::ClearAllCaches(false, true);
  CDBRecordCache::BeforeTransaction_Start();
  company->StartTransaction();
  const auto cache = CDBRecordCache::GetInstance(company, u"@ADDED");
  for (const TyRow& row : rows) cache->Add(u"@ADDED", true, row);
  CDBRecordCache::BeforeTransaction_Commit();
  // Rolled back, so that the table is empty for the next round.
  company->EndTransaction(et_RollBack);
}

void measureAdds(const qx::bench::BenchCompany& bench) {
  std::vector<TyRow> rows;
  for (int i = 0; i < kAdds; ++i) rows.push_back(rowToAdd(i));
  qx::test::StatementLog log;
  addOurs(qx::test::spyOn(bench.company(), &log), rows);
  std::vector<std::string> statements;
  for (const std::string& text : log.texts)
    if (text.starts_with("INSERT")) statements.push_back(qx::bench::translated(bench.file(), text));
  require(statements.size(), kAdds, "statements");
  CDBRecordCache::ClearAllCaches(false, true);
  const auto best = qx::bench::compare(
      3, [&] { addOurs(bench.company(), rows); },
      [&] { qx::bench::runSqlite(bench.file(), statements); });
  CDBRecordCache::ClearAllCaches(false, true);
  print("buffered Add", best.ours, kAdds);
  print("the same texts by sqlite3_exec", best.peer, kAdds);
  qx::bench::printRatio("buffered-add", best.ratio());
}

void measure() {
  const qx::bench::BenchCompany bench;
  for (const OLECHAR* table : {u"EMPTY", u"FEW", u"MANY", u"ADDED"})
    qx::bench::makeTable(bench.company(), table);
  qx::bench::fillTable(bench.file(), "FEW", kRows);
  const std::string select = selectText(bench);
  std::printf("%s\n", select.c_str());
  measureLoad(bench, select);
  measurePages(bench, select);
  measureAdds(bench);
  measureGrowth(bench);
  CDBRecordCache::ClearAllCaches(false, true);
}

}  // namespace

int main() { return qx::bench::run(measure); }
