// Measures a search in an index of a cached collection among 100,000 rows: against a prepared
// SELECT by an index of SQLite that copies the same cells into the same kind of map, and against
// one that reads a single cell.

#include "bench/bench_company.h"
#include "bench/measure.h"
#include "bench/run_bench.h"
#include "bench/walk_peers.h"
#include "qxframework/cache/cached_collection.h"
#include "qxframework/query/value_container.h"

#include <sqlite3.h>

#include <algorithm>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Persistence::TyFieldValues;

constexpr int kRounds = 15;
constexpr int kRows = 100'000;
constexpr int kSearches = 20'000;

struct Sum : Persistence::CQXValueContainer {
  long value = 0;
};

class Rows : public Persistence::CQXPersistentCollection_CacheBased {
 public:
  void MapToContainer(const TyFieldValues& values,
                      Persistence::CQXValueContainer& container) override {
    static_cast<Sum&>(container).value += qx::bench::small(values);
  }
  void ContainerToMap(const Persistence::CQXValueContainer&, TyFieldValues&) override {}
};

void require(bool good, const char* what) {
  if (!good) throw std::runtime_error(what);
}

// The numbers of the rows that are searched, in random order.
std::vector<int> searchedRows() {
  std::mt19937 random(20261122);
  std::vector<int> numbers(kSearches);
  for (int& number : numbers) number = static_cast<int>(random() % kRows);
  return numbers;
}

std::u16string nameOf(int number) { return u"Article " + qx::toUtf16(std::to_string(number)); }

/// A prepared SELECT of the row with a name, by an index.
class Peer {
 public:
  explicit Peer(const std::string& file) {
    sqlite3* raw = nullptr;
    const int opened =
        sqlite3_open_v2(file.c_str(), &raw, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
    db_.reset(raw);
    require(opened == SQLITE_OK, "the company's file does not open");
    require(sqlite3_exec(raw, R"(CREATE INDEX "byName" ON "@FEW" ("Name"))", nullptr, nullptr,
                         nullptr) == SQLITE_OK,
            sqlite3_errmsg(raw));
    require(sqlite3_prepare_v2(raw, R"(SELECT * FROM "@FEW" WHERE "Name" = ?)", -1, &statement_,
                               nullptr) == SQLITE_OK,
            sqlite3_errmsg(raw));
    for (int i = 0; i < sqlite3_column_count(statement_); ++i)
      values_.Add(static_cast<const OLECHAR*>(sqlite3_column_name16(statement_, i)), CComVariant());
  }
  ~Peer() { sqlite3_finalize(statement_); }
  Peer(const Peer&) = delete;
  Peer& operator=(const Peer&) = delete;

  /// Returns U_Count of the row, after copying all cells into the map.
  long findRow(const std::u16string& name) {
    step(name);
    for (int i = 0; i < sqlite3_column_count(statement_); ++i) values_.SetValueAt(i, cell(i));
    return qx::bench::small(values_);
  }
  /// Returns U_Count of the row and reads nothing else.
  long findCell(const std::u16string& name) {
    step(name);
    return sqlite3_column_int(statement_, kCount);
  }

 private:
  static constexpr int kCount = 2;  // the place of U_Count

  void step(const std::u16string& name) {
    sqlite3_reset(statement_);
    sqlite3_bind_text16(statement_, 1, name.data(),
                        static_cast<int>(name.size() * sizeof(char16_t)), SQLITE_STATIC);
    require(sqlite3_step(statement_) == SQLITE_ROW, "SQLite does not find a row");
  }
  CComVariant cell(int column) {
    switch (sqlite3_column_type(statement_, column)) {
      case SQLITE_INTEGER:
        return CComVariant(sqlite3_column_int(statement_, column));
      case SQLITE_FLOAT:
        return CComVariant(sqlite3_column_double(statement_, column));
      default:
        return CComVariant(static_cast<const OLECHAR*>(sqlite3_column_text16(statement_, column)));
    }
  }

  struct Close {
    void operator()(sqlite3* db) const { sqlite3_close(db); }
  };
  std::unique_ptr<sqlite3, Close> db_;
  sqlite3_stmt* statement_ = nullptr;
  TyFieldValues values_;
};

void setUp(Rows& rows, const CComPtr<ICompany>& company) {
  const std::vector<CComBSTR> keys{u"Code"};
  rows.Connect(company, u"@FEW", true, nullptr);
  rows.GetLoadParameter()->SetKeyFields(&keys);
  rows.GetLoadParameter()->SetPrefetchBehavior(Persistence::pb_AllRows, nullptr, 0);
  rows.AddIndex(u"byName", {u"Name"});
}

void print(const char* what, double seconds, int count) {
  std::printf("%s: %.0f ns each\n", what, seconds / count * 1e9);
}

void measure() {
  const qx::bench::BenchCompany bench;
  qx::bench::makeTable(bench.company(), u"FEW");
  qx::bench::fillTable(bench.file(), "FEW", kRows);
  Rows rows;
  setUp(rows, bench.company());
  print("load", qx::bench::seconds([&] { rows.Load(); }), kRows);
  print("build of the index", qx::bench::seconds([&] { rows.RebuildIndexes(); }), kRows);

  Peer peer(bench.file());
  const std::vector<int> numbers = searchedRows();
  long expected = 0;
  for (const int number : numbers) expected += number % 1000;
  const auto each = [&](auto find) {
    long sum = 0;
    for (const int number : numbers) sum += find(nameOf(number));
    require(sum == expected, "a search has found another row");
  };
  const CComBSTR index(u"byName");
  // Kept for all searches, as the peer keeps its statement.
  TyFieldValues key{{u"Name", u""}};
  const auto ours = [&] {
    each([&](const std::u16string& name) {
      Sum sum;
      key.SetValueAt(0, CComVariant(std::u16string_view(name)));
      rows.FindInIndex(index, key, &sum);
      return sum.value;
    });
  };
  const auto best = qx::bench::compare(
      kRounds, ours, [&] { each([&](const std::u16string& name) { return peer.findRow(name); }); });
  const auto lean = qx::bench::compare(kRounds, ours, [&] {
    each([&](const std::u16string& name) { return peer.findCell(name); });
  });
  print("ours", std::min(best.ours, lean.ours), kSearches);
  print("SQLite into the map", best.peer, kSearches);
  print("SQLite, one cell", lean.peer, kSearches);
  qx::bench::printRatio("cache-index", best.ratio());
}

}  // namespace

int main() { return qx::bench::run(measure); }
