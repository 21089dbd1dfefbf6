// Measures the proxies on a PostgreSQL server of their own: the turns that each operation takes,
// counted between driver and server, and the reading of single rows by their keys beside the ODBC
// driver with one prepared statement.

#include "bench/bench_company.h"
#include "bench/measure.h"
#include "bench/run_bench.h"
#include "bench/server_peer.h"
#include "bench/walk_peers.h"
#include "qxframework/automation/format.h"
#include "qxframework/automation/ole_date_time.h"
#include "qxframework/automation/text.h"
#include "qxframework/persistence/collection_proxy.h"
#include "qxframework/persistence/object_proxy.h"
#include "qxframework/query/condition.h"
#include "qxframework/query/value_container.h"
#include "testing/odbc_program.h"
#include "testing/postgres_server.h"
#include "testing/turn_counter.h"

#include <stdexcept>

namespace {

using namespace Persistence;
using qx::test::PostgresServer;
using qx::test::TurnCounter;

// Many, since each turn to the server wakes two processes, and how fast that is differs from round
// to round.
constexpr int kRounds = 40;
constexpr int kRows = 2'000;

struct Record : CQXValueContainer {
  long number = 0;
};

void write(const CQXValueContainer& container, TyFieldValues& values) {
  values.Clear();
  values.Add(u"U_Count", static_cast<const Record&>(container).number);
  values.Add(u"U_Note", u"A note on an article, e.g. O'Brien's");
}

class OneRow : public CQXPersistentObjectProxy {
 public:
  using CQXPersistentObjectProxy::Connect;
  using CQXPersistentObjectProxy::Load;
  void MapToContainer(const TyFieldValues& values, CQXValueContainer& container) override {
    static_cast<Record&>(container).number += qx::bench::small(values);
  }
  void ContainerToMap(const CQXValueContainer& container, TyFieldValues& values) override {
    write(container, values);
  }
};

class Rows : public CQXPersistentCollectionProxy {
 public:
  void MapToContainer(const TyFieldValues& values, CQXValueContainer& container) override {
    static_cast<Record&>(container).number += qx::bench::small(values);
  }
  void ContainerToMap(const CQXValueContainer& container, TyFieldValues& values) override {
    write(container, values);
  }
};

std::u16string codeOf(int number) { return qx::format(u"%08X", static_cast<unsigned>(number)); }

void load(OneRow& row, const CComPtr<ICompany>& company, int number, bool fields) {
  const qx_ptr<CConditions> conditions = CConditions::CreateNewInstance();
  CCondition* const condition = conditions->Add();
  condition->PutAlias(u"Code");
  condition->PutOperation(co_Equal);
  condition->PutRelationship(cr_And);
  condition->PutCondVal(CComBSTR(codeOf(number)));
  condition->PutComparedAlias(u"VT_BSTR");
  row.Connect(company, u"@FEW", true);
  if (fields) row.SetFields(qx::bench::kColumns);
  row.Load(conditions);
}

long oneByOneOurs(const CComPtr<ICompany>& company) {
  Record sum;
  for (int i = 0; i < kRows; ++i) {
    OneRow row;
    load(row, company, qx::bench::numberAt(i, kRows), true);
    row.GetFields(sum);
  }
  return sum.number;
}

// Copies the driver's rows into a map like the framework's.
long oneByOnePeer(qx::bench::ServerPeer& peer) {
  TyFieldValues values;
  for (const OLECHAR* column : qx::bench::kColumns) values.Add(column, CComVariant());
  long sum = 0;
  for (int i = 0; i < kRows; ++i) {
    const qx::bench::ServerRow& row = peer.read(codeOf(qx::bench::numberAt(i, kRows)));
    values.SetValueAt(0, CComVariant(row.code));
    values.SetValueAt(1, CComVariant(row.name));
    values.SetValueAt(2, CComVariant(row.count));
    values.SetValueAt(3, CComVariant(row.price));
    values.SetValueAt(4, CComVariant(row.share));
    values.SetValueAt(5, CComVariant(*qx::dateFromCivil(row.from), VT_DATE));
    values.SetValueAt(6, CComVariant(*qx::dateFromCivil(row.until), VT_DATE));
    values.SetValueAt(7, CComVariant(row.note));
    sum += qx::bench::small(values);
  }
  return sum;
}

// ---- turns

template <class Work>
void printTurns(const TurnCounter& counter, const char* name, Work work) {
  constexpr int kSettle = 3;
  for (int i = 0; i < kSettle; ++i) work();
  const int before = counter.turns();
  work();
  std::printf("turns %s %d\n", name, counter.turns() - before);
}

void measureTurns(const CComPtr<ICompany>& company, const TurnCounter& counter) {
  Rows rows;
  rows.Connect(company, u"@FEW", true);
  rows.SetKeysOnly(true);
  rows.Load({u"Code"}, qx_ptr<CConditions>());
  Record record;
  printTurns(counter, "add", [&] { rows.Add(record); });
  printTurns(counter, "load", [&] {
    OneRow row;
    load(row, company, 7, true);
  });
  printTurns(counter, "load-all-columns", [&] {
    OneRow row;
    load(row, company, 7, false);
  });
  OneRow row;
  load(row, company, 8, true);
  printTurns(counter, "update", [&] { row.Update(record); });
  TyFieldValues key;
  key.Add(u"Code", CComBSTR(codeOf(9)));
  printTurns(counter, "exists", [&] { rows.Exists(key); });
  printTurns(counter, "keys-only-step", [&] { rows.First(record); });
  company->StartTransaction();
  printTurns(counter, "add-in-transaction", [&] { rows.Add(record); });
  company->EndTransaction(et_RollBack);
}

void require(long sum) {
  if (sum != static_cast<long>(kRows) * (kRows - 1) / 2)
    throw std::runtime_error("a walk has read other rows than were written");
}

void measure() {
  PostgresServer& server = PostgresServer::shared();
  const std::string database = server.createDatabase();
  const TurnCounter counter(server.connection(database));
  {
    const qx::bench::BenchCompany direct("odbc:" + server.connection(database));
    qx::bench::makeTable(direct.company(), u"FEW");
    server.run(database,
               "INSERT INTO \"@few\" SELECT upper(lpad(to_hex(g), 8, '0')), 'Article ' || g, g, "
               "g + 0.25, g + 0.5, timestamp '2024-01-31', timestamp '2025-01-31', 'A note' FROM "
               "generate_series(0, " +
                   std::to_string(kRows - 1) + ") g; ANALYZE \"@few\"");
    qx::bench::ServerPeer peer(server.connection(database));
    const auto best = qx::bench::compare(
        kRounds, [&] { require(oneByOneOurs(direct.company())); },
        [&] { require(oneByOnePeer(peer)); });
    std::printf("ours: %.1f us a row\nthe driver: %.1f us a row\n", best.ours / kRows * 1e6,
                best.peer / kRows * 1e6);
    qx::bench::printRatio("one-row-odbc", best.ratio());
  }
  const qx::bench::BenchCompany counted("odbc:" + counter.connection());
  measureTurns(counted.company(), counter);
}

}  // namespace

int main() { return qx::bench::run(measure); }
