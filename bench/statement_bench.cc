// Measures the reading of single rows by their keys, on SQLite: through an object proxy, and by the
// steps of a collection proxy that has the keys only. The peer is SQLite's C interface with one
// prepared statement, which copies the same cells into the same kind of map.

#include "bench/bench_company.h"
#include "bench/measure.h"
#include "bench/run_bench.h"
#include "bench/walk_peers.h"
#include "qxframework/automation/format.h"
#include "qxframework/automation/text.h"
#include "qxframework/persistence/collection_proxy.h"
#include "qxframework/persistence/object_proxy.h"
#include "qxframework/query/condition.h"
#include "qxframework/query/value_container.h"

#include <sqlite3.h>

#include <stdexcept>

namespace {

using namespace Persistence;

constexpr int kRounds = 3;
constexpr int kRows = 100'000;

struct Sum : CQXValueContainer {
  long value = 0;
};

class OneRow : public CQXPersistentObjectProxy {
 public:
  using CQXPersistentObjectProxy::Connect;
  using CQXPersistentObjectProxy::Load;
  void MapToContainer(const TyFieldValues& values, CQXValueContainer& container) override {
    static_cast<Sum&>(container).value += qx::bench::small(values);
  }
  void ContainerToMap(const CQXValueContainer&, TyFieldValues&) override {}
};

class Rows : public CQXPersistentCollectionProxy {
 public:
  void MapToContainer(const TyFieldValues& values, CQXValueContainer& container) override {
    static_cast<Sum&>(container).value += qx::bench::small(values);
  }
  void ContainerToMap(const CQXValueContainer&, TyFieldValues&) override {}
};

CComBSTR codeOf(int number) { return CComBSTR(qx::format(u"%08X", static_cast<unsigned>(number))); }

long oneByOneOurs(const CComPtr<ICompany>& company) {
  Sum sum;
  for (int i = 0; i < kRows; ++i) {
    const qx_ptr<CConditions> conditions = CConditions::CreateNewInstance();
    CCondition* const condition = conditions->Add();
    condition->PutAlias(u"Code");
    condition->PutOperation(co_Equal);
    condition->PutRelationship(cr_And);
    condition->PutCondVal(codeOf(qx::bench::numberAt(i, kRows)));
    condition->PutComparedAlias(u"VT_BSTR");
    OneRow row;
    row.Connect(company, u"@FEW", true);
    row.SetFields(qx::bench::kColumns);
    row.Load(conditions);
    row.GetFields(sum);
  }
  return sum.value;
}

long keysWalkOurs(const CComPtr<ICompany>& company) {
  Rows rows;
  rows.Connect(company, u"@FEW", true);
  rows.SetKeysOnly(true);
  rows.SetFields(qx::bench::kColumns);
  rows.Load({u"Code"}, qx_ptr<CConditions>());
  Sum sum;
  for (long result = rows.First(sum); result == 0;) result = rows.Next(sum);
  return sum.value;
}

void require(long sum) {
  long expected = 0;
  for (int i = 0; i < kRows; ++i) expected += i % 1000;
  if (sum != expected) {
    throw std::runtime_error("a walk has read a sum of " + std::to_string(sum) + " where " +
                             std::to_string(expected) + " was written");
  }
}

void print(const char* what, double seconds) {
  std::printf("%s: %.1f ms, %.2f us a row\n", what, seconds * 1e3, seconds / kRows * 1e6);
}

void report(const char* name, const qx::bench::Best& best) {
  print(name, best.ours);
  print("SQLite into the map", best.peer);
  qx::bench::printRatio(name, best.ratio());
}

void measure() {
  const qx::bench::BenchCompany bench;
  qx::bench::makeTable(bench.company(), u"FEW");
  qx::bench::fillTable(bench.file(), "FEW", kRows);
  const auto peer = [&](bool keysFirst) {
    return [&, keysFirst] { require(qx::bench::readOneByOne(bench.file(), kRows, keysFirst)); };
  };
  report("one-row", qx::bench::compare(
                        kRounds, [&] { require(oneByOneOurs(bench.company())); }, peer(false)));
  report("keys-walk", qx::bench::compare(
                          kRounds, [&] { require(keysWalkOurs(bench.company())); }, peer(true)));
}

}  // namespace

int main() { return qx::bench::run(measure); }
