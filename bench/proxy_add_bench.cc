// Measures adding rows to a table through a proxy, in one transaction, against running the same
// statements without the persistence layer: by a recordset of the company, and by the C interface
// of SQLite.

#include "bench/bench_company.h"
#include "bench/measure.h"
#include "bench/run_bench.h"
#include "qxframework/automation/format.h"
#include "qxframework/automation/text.h"
#include "qxframework/host/recordset.h"
#include "qxframework/persistence/collection_proxy.h"
#include "qxframework/query/condition.h"
#include "qxframework/query/field_values.h"
#include "qxframework/query/value_container.h"
#include "testing/spying_company.h"

#include <sqlite3.h>

#include <stdexcept>

namespace {

using Persistence::CConditions;

constexpr int kRounds = 5;
constexpr int kAdds = 10'000;

struct Record : Persistence::CQXValueContainer {
  int number = 0;
  CComBSTR code;  // empty if the layer determines the next one
};

class Rows : public Persistence::CQXPersistentCollectionProxy {
 public:
  void MapToContainer(const Persistence::TyFieldValues&, Persistence::CQXValueContainer&) override {
  }
  void ContainerToMap(const Persistence::CQXValueContainer& container,
                      Persistence::TyFieldValues& values) override {
    const auto& record = static_cast<const Record&>(container);
    if (!record.code.IsEmpty()) {
      values.Add(u"Code", record.code);
      values.Add(u"Name", record.code);
    }
    values.Add(u"U_Count", record.number);
    values.Add(u"U_Price", record.number % 500 + 0.25);
    values.Add(u"U_Share", record.number % 90 + 0.5);
    values.Add(u"U_From", CComVariant(45000.0 + record.number % 365, VT_DATE));
    values.Add(u"U_Until", CComVariant(45400.0 + record.number % 365, VT_DATE));
    values.Add(u"U_Note", u"A note on an article, e.g. O'Brien's");
  }
};

// The two kinds of tables: for a host table the layer knows no key, so an Add is only the INSERT;
// for a user table it queries the greatest code first.
enum class Kind { HostTable, UserTable };

void addOurs(const CComPtr<ICompany>& company, Kind kind) {
  Rows rows;
  const bool userTable = kind == Kind::UserTable;
  rows.Connect(company, userTable ? u"@ADDED" : u"[@ADDED]", userTable);
  Record record;
  for (record.number = 0; record.number < kAdds; ++record.number) {
    if (!userTable) record.code = CComBSTR(qx::format(u"%08X", record.number));
    rows.Add(record);
  }
}

void runTexts(const CComPtr<ICompany>& company, const std::vector<CComBSTR>& statements) {
  const CComQIPtr<IRecordset> recordset(company->GetBusinessObject(qx::kRecordset));
  for (const CComBSTR& statement : statements) recordset->DoQuery(statement);
}

void check(sqlite3* db, int result) {
  if (result != SQLITE_OK) throw std::runtime_error(sqlite3_errmsg(db));
}

void runRaw(const std::string& file, const std::vector<std::string>& statements) {
  sqlite3* db = nullptr;
  check(db, sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr));
  check(db, sqlite3_exec(db, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr));
  for (const std::string& statement : statements)
    check(db, sqlite3_exec(db, statement.c_str(), nullptr, nullptr, nullptr));
  check(db, sqlite3_exec(db, "ROLLBACK", nullptr, nullptr, nullptr));
  sqlite3_close(db);
}

// Does the work in a transaction that is rolled back, so that the table is empty for the next one.
template <class Work>
void inTransaction(const CComPtr<ICompany>& company, Work&& work) {
  company->StartTransaction();
  work();
  company->EndTransaction(et_RollBack);
}

std::vector<std::string> statementsOfAdds(const CComPtr<ICompany>& company, Kind kind) {
  qx::test::StatementLog log;
  const CComPtr<ICompany> recorder = qx::test::spyOn(company, &log);
  inTransaction(company, [&] { addOurs(recorder, kind); });
  const std::size_t each = log.texts.size() / kAdds;
  if (log.texts.size() != (kind == Kind::UserTable ? 2 : 1) * std::size_t{kAdds})
    throw std::runtime_error("an Add runs other statements than expected");
  // The second Add is typical: the first one finds an empty table.
  for (std::size_t i = each; i < 2 * each; ++i) std::printf("%s\n", log.texts[i].c_str());
  return log.texts;
}

void print(const char* what, double seconds) {
  std::printf("%s: %.1f ms, %.1f us an Add\n", what, seconds * 1e3, seconds / kAdds * 1e6);
}

void measure(const qx::bench::BenchCompany& bench, Kind kind, const char* name,
             const char* rawName) {
  const CComPtr<ICompany> company = bench.company();
  std::vector<CComBSTR> texts;
  std::vector<std::string> rawTexts;
  for (const std::string& statement : statementsOfAdds(company, kind)) {
    texts.emplace_back(qx::toUtf16(statement));
    rawTexts.push_back(qx::bench::translated(bench.file(), statement));
  }
  const auto ours = [&] { inTransaction(company, [&] { addOurs(company, kind); }); };
  const auto besideTexts = qx::bench::compare(
      kRounds, ours, [&] { inTransaction(company, [&] { runTexts(company, texts); }); });
  const auto besideRaw = qx::bench::compare(kRounds, ours, [&] { runRaw(bench.file(), rawTexts); });
  print("ours", std::min(besideTexts.ours, besideRaw.ours));
  print("the same texts by DoQuery", besideTexts.peer);
  print("the same texts, translated before, by sqlite3_exec", besideRaw.peer);
  qx::bench::printRatio(name, besideTexts.ratio());
  qx::bench::printRatio(rawName, besideRaw.ratio());
}

void measureAll() {
  const qx::bench::BenchCompany bench;
  qx::bench::makeTable(bench.company(), u"ADDED");
  measure(bench, Kind::HostTable, "proxy-add", "add-exec-host-table");
  measure(bench, Kind::UserTable, "proxy-add-next-code", "add-exec");
}

}  // namespace

int main() { return qx::bench::run(measureAll); }
